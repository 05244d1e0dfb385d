#include "DemoMenu.h"

#include <cstdio>

namespace {
std::function<void(mMainFrame *)> &settingsHandler() {
    static std::function<void(mMainFrame *)> handler;
    return handler;
}
} // namespace

void addDemoMenu(mFrame *frame) {
    mMenu *file = new mMenu(true, false);
    file->setLabel("&File");
    file->append(new mMenuItem(demoSettingsCommand, "&Settings...", false, false));
    file->append(new mMenuItem(mMenuItem::SEPARATOR));
    file->append(new mMenuItem(demoExitCommand, "E&xit", false, false));
    mMenu *bar = new mMenu(false, false);
    bar->append(file);
    frame->setMenu(bar);

    mMenu *help = new mMenu(true, false);
    help->setLabel("&Help");
    help->append(new mMenuItem(demoAboutCommand, "&About Velnor11 demo...", false, false));
    frame->setHelpMenu(help);
    std::printf("menu: File (Settings..., Exit) and Help (About) on the bar\n");
}

bool demoMenuCommand(mMainFrame *frame, int id) {
    switch (id) {
    case demoSettingsCommand:
        if (settingsHandler())
            settingsHandler()(frame);
        return true;
    case demoExitCommand:
        frame->getApp()->shutdown(0);
        return true;
    case demoAboutCommand:
        mMsgBox::ok("Velnor11 demo: sprites, sound and windows on one class library.", "About Velnor11 demo",
                    mMsgBox::OK, false, mMsgBox::INFORMATION, false);
        return true;
    default:
        return false;
    }
}

void setDemoSettingsHandler(std::function<void(mMainFrame *)> handler) { settingsHandler() = handler; }
