// Whatever has a frame of its own on the desktop: size limits, remembered bounds, title, enabling.
#pragma once
#include "mWindow/mWindow.h"

class mIcon;

class VELNOR_API mTopLevel : public mWindow {
public:
    bool process(int message, mWParam wParam, mLParam lParam, mLResult &result) override;
    virtual void onUserDrag(bool starting) {}

    void setLimits(const mSize &minSize, const mSize &maxSize);
    void getLimits(mSize &minSize, mSize &maxSize);
    void setShow(ShowState state);
    ShowState getShow();
    void setEnable(bool enable);
    bool isEnabled();
    void activate();
    void center(bool onScreen);
    void setIcon(mIcon *newIcon);
    void setTitle(const mString &title);
    mString getTitle();

    // Bounds remembered in the profile store from run to run; once loaded, they are stored
    // again by themselves when the window goes.
    ShowState loadBounds(const mString &key, mRect defaults, bool minimized, const mString &module);
    ShowState loadPosition(const mString &key, bool minimized, const mString &module);
    bool storeBounds(const mString &key, const mString &module);
    void changeConfigKey(const mString &key, const mString &module);

protected:
    mTopLevel(mWindow *parent);
    ~mTopLevel() override;

    void boundRect(mRect &area, bool left, bool top);
    void boundSize();
    static ShowState decodeShowState(mString state);
    void mOnDestroy(bool &handled) override;

    long minWidth, minHeight, maxWidth, maxHeight;
    mString configKey;
    mString configModule;
    mIcon *icon;

private:
    bool hasLimits() const { return minWidth || minHeight || maxWidth || maxHeight; }
    bool correction(const mRect &area, int &dx, int &dy) const;
    void remember(const mString &key, const mString &module);
};
