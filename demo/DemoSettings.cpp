#include "DemoSettings.h"
#include "DemoMenu.h"

#include <Velnor11.h>

#include <cstdio>
#include <windows.h>

namespace {

const char *const speeds[] = {"slow", "normal", "fast"};
const int speedCount = sizeof speeds / sizeof speeds[0];

// The values, kept below the demo's own module key of the profile store.
struct Settings {
    mString name = "Player";
    long sound = 1;
    long speed = 1;
    long volume = 50;

    void load() {
        const mString module;
        mApp::getProfileValue("PlayerName", name, true, module);
        mApp::getProfileValue("Sound", sound, true, module);
        mApp::getProfileValue("Speed", speed, true, module);
        mApp::getProfileValue("Volume", volume, true, module);
        if (speed < 0 || speed >= speedCount)
            speed = 1;
    }
    void store() const {
        const mString module;
        mApp::setProfileValue("PlayerName", name, true, module);
        mApp::setProfileValue("Sound", sound, true, module);
        mApp::setProfileValue("Speed", speed, true, module);
        mApp::setProfileValue("Volume", volume, true, module);
    }
    std::string describe() const {
        char text[200];
        std::snprintf(text, sizeof text, "name \"%s\", sound %s, speed %s, volume %ld", name.c_str(),
                      sound ? "on" : "off", speeds[speed], volume);
        return text;
    }
};

class SettingsDialog : public mDialog {
public:
    explicit SettingsDialog(mWindow *owner) : mDialog(owner, true) {}

    bool onInitDialog() override {
        settings.load();
        name = new mEdit(this, DEMO_SETTINGS_NAME);
        sound = new mButton(this, DEMO_SETTINGS_SOUND);
        speed = new mComboBox(this, DEMO_SETTINGS_SPEED);
        volume = new mScrollBar(this, DEMO_SETTINGS_VOLUME);
        volumeLabel = new mStatic(this, DEMO_SETTINGS_VOLUME_LABEL);
        name->setTextLimit(40);
        name->setText(settings.name);
        sound->setCheck(settings.sound != 0);
        for (const char *s : speeds)
            speed->add(mString(s));
        speed->select((short)settings.speed);
        volume->setMinMax(0, 100, false);
        volume->setPage(10, false);
        volume->setScrollPos((int)settings.volume, true);
        showVolume();
        mLogWindow::logit(mLogWindow::LOG_INFO, "settings: opened with %s", settings.describe().c_str());
        return true;
    }

    // The bar has moved its thumb by itself; the label follows it.
    bool onHScroll(int code, mScrollBar *bar, int) override {
        if (bar != volume)
            return false;
        showVolume();
        mLogWindow::logit(mLogWindow::LOG_DBG0, "settings: volume bar code %d, at %d", code, volume->getScrollPos());
        return true;
    }

    bool onCommand(int id, int code) override {
        switch (id) {
        case IDOK:
            settings.name = name->getText();
            settings.sound = sound->isChecked();
            settings.speed = speed->getSelected();
            settings.volume = volume->getScrollPos();
            settings.store();
            mLogWindow::logit(mLogWindow::LOG_INFO, "settings: stored %s", settings.describe().c_str());
            destroy(1);
            return true;
        case IDCANCEL:
            destroy(0);
            return true;
        default:
            mLogWindow::logit(mLogWindow::LOG_DBG0, "settings: control %d notified %d", id, code);
            return false;
        }
    }

protected:
    void showVolume() { volumeLabel->setText(mString("Volume: ") + (long)volume->getScrollPos()); }

    Settings settings;
    mEdit *name = nullptr;
    mButton *sound = nullptr;
    mComboBox *speed = nullptr;
    mScrollBar *volume = nullptr;
    mStatic *volumeLabel = nullptr;
};

// The dialog with a person's input queued up behind its opening: it is handled by the
// dialog's own loop, in order, and ends with a press of OK.
class SettingsTour : public SettingsDialog {
public:
    explicit SettingsTour(mWindow *owner) : SettingsDialog(owner) {}

    bool onInitDialog() override {
        SettingsDialog::onInitDialog();
        post(name, EM_SETSEL, 0, -1);
        for (const char *c = "Ada"; *c; ++c)
            post(name, WM_CHAR, (WPARAM)*c, 1);
        click(sound, 3, 3);
        post(speed, WM_KEYDOWN, VK_DOWN, 1);
        const mRect bar = volume->getClientBounds();
        const int arrow = GetSystemMetrics(SM_CXHSCROLL) / 2;
        click(volume, (int)bar.right - arrow, (int)bar.height() / 2);
        click(volume, (int)bar.right - arrow, (int)bar.height() / 2);
        click(new mButton(this, IDOK), 3, 3);
        return true;
    }

private:
    static void post(mWindow *to, UINT message, WPARAM wParam, LPARAM lParam) {
        PostMessageA(reinterpret_cast<HWND>(to->getPeer()), message, wParam, lParam);
    }
    static void click(mWindow *on, int x, int y) {
        post(on, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(x, y));
        post(on, WM_LBUTTONUP, 0, MAKELPARAM(x, y));
    }
};

} // namespace

bool openDemoSettings(mWindow *owner) {
    SettingsDialog dialog(owner);
    return dialog.go(DEMO_SETTINGS_DIALOG, false, nullptr) == 1;
}

void startDemoSettings(mWindow *owner, const std::string &outDir) {
    mLogWindow *log = new mLogWindow(owner, "Velnor11 log", 500, mLogWindow::LOG_DBG0, true);
    log->setBounds(mRect(700, 40, 1010, 520));
    log->setMain();
    const std::string echo = outDir + "\\demo-log.txt";
    log->echoFile(echo.c_str());
    std::printf("log: main log shown, echoed to %s\n", echo.c_str());

    // The tour comes through the menu's Settings command, as a click on the menu sends it; from
    // then on the command opens the dialog for a person.
    int result = -1;
    setDemoSettingsHandler([&result](mMainFrame *frame) {
        SettingsTour tour(frame);
        result = tour.go(DEMO_SETTINGS_DIALOG, false, nullptr);
    });
    owner->sendCommand(demoSettingsCommand, 0, nullptr);
    setDemoSettingsHandler([](mMainFrame *frame) { openDemoSettings(frame); });
    Settings kept;
    kept.load();
    mLogWindow::logit(mLogWindow::LOG_INFO, "settings: dialog closed with %d; the profile store keeps %s", result,
                      kept.describe().c_str());
    std::printf("settings: dialog closed with %d; the profile store keeps %s\n", result, kept.describe().c_str());
}
