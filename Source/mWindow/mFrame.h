// Frames with window styles, and the main frame that carries an application state.
#pragma once
#include "mWindow/mTopLevel.h"

class mApp;
class mMenu;
class mMenuItem;
class mModule;

class VELNOR_API mFrame : public mTopLevel {
public:
    // Style bits given to the constructors.
    enum {
        TITLE_BAR = 1, SIZING = 2, MAXIMIZE_BOX = 4, MINIMIZE_BOX = 8, CLOSE_ENABLED = 16,
        SYSTEM_MENU = 32, HSCROLL = 64, VSCROLL = 128
    };

    mFrame(mWindow *parent, const mRect &bounds, int style, const mString &title);
    bool process(int message, mWParam wParam, mLParam lParam, mLResult &result) override;
    virtual bool onMenuSelect(int id) { return false; }

    // The bar and the help menu at its end; each setter returns what stood there before,
    // which the caller then owns. The frame owns what it holds when it goes.
    mMenu *setMenu(mMenu *bar);
    mMenu *getMenu() const { return menu; }
    mMenu *setHelpMenu(mMenu *help);
    mMenuItem *getHelpMenu() const;
    mMenu *getSystemMenu();
    void resetSystemMenu();
    mMenu *detachSystemMenu();
    void updateMenu();

protected:
    mFrame(const mRect &bounds, int style, const mString &title);
    ~mFrame() override;

    mMenu *menu;
    mMenu *systemMenu;
    mMenu *helpMenu;

private:
    static mCreateInfo genInfo(int style, const mString &title);
    void appendHelp();
    void removeHelp();
};

class VELNOR_API mMainFrame : public mFrame {
public:
    mMainFrame(mApp *app, mModule *module, const mRect &bounds, int style, const mString &title,
               unsigned short resumeMessage);

    mModule *getModule() const { return module; }
    mApp *getApp() const { return app; }
    mRect getClientBounds() override { return mWindow::getClientBounds(); }
    void onWindowGone() override;

    // The platform's help viewer, on the file given or else the default one.
    void setDefaultHelp(mString file) { defaultHelp = file; }
    bool openHelpTopic(const mString &keyword, const mString &file);
    bool openHelpTopic(unsigned long context, const mString &file);
    bool openHelpContents(const mString &file);
    bool openHelpSystem();
    bool closeHelp();

protected:
    mString getFullHelpFile(const mString &file) const;
    bool help(const mString &file, unsigned int command, uintptr_t data);

    mModule *module;
    mApp *app;
    bool helpOpen;
    mString defaultHelp;
};
