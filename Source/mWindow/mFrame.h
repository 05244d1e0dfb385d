// Frames with window styles, and the main frame that carries an application state.
#pragma once
#include "mWindow/mTopLevel.h"

class mApp;
class mMenu;
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

    void updateMenu();

protected:
    mFrame(const mRect &bounds, int style, const mString &title);
    ~mFrame() override;

    mMenu *menu;
    mMenu *systemMenu;
    mMenu *helpMenu;

private:
    static mCreateInfo genInfo(int style, const mString &title);
};

class VELNOR_API mMainFrame : public mFrame {
public:
    mMainFrame(mApp *app, mModule *module, const mRect &bounds, int style, const mString &title,
               unsigned short resumeMessage);

    mModule *getModule() const { return module; }
    mApp *getApp() const { return app; }
    void setDefaultHelp(mString file) { defaultHelp = file; }
    bool closeHelp();
    void onWindowGone() override;

protected:
    mModule *module;
    mApp *app;
    bool helpOpen;
    mString defaultHelp;
};
