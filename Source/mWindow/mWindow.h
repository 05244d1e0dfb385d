// A platform window tied to an object with overridable events.
#pragma once
#include "mUtil/mError.h"
#include "mUtil/mGeometry.h"

#include <cstddef>
#include <vector>

class mBrush;
class mColor;
class mControl;
class mGraphics;
class mModule;
class mPalette;
class mScrollBar;
class mWindow;

// Visitor of enumChildren; onChild returns true to end the walk.
class VELNOR_API mChildList {
public:
    virtual ~mChildList() {}
    virtual bool onChild(mWindow &child, int id) = 0;
};

// What a peer is created from.
struct VELNOR_API mCreateInfo {
    mCreateInfo() : style(0), exStyle(0), instance(nullptr), id(0), unbound(true), noClose(false) {}
    mString title;
    unsigned long style;
    unsigned long exStyle;
    SYSTEM_INFO_STRUCT *instance;
    mString className;
    long id;
    bool unbound;
    bool noClose;
};

class VELNOR_API mWindow {
public:
    enum ShowState { NORMAL = 0, MINIMIZED = 1, MAXIMIZED = 2 };
    enum SYSCURSOR { WAIT = 0, IBEAM = 1, ARROW = 2, CROSS = 3, NO = 4, NONE = 5 };

    // The library's private message numbers.
    enum { USER_MESSAGE_BASE = 0x8000, USER_MESSAGE_LIMIT = 12288, DEFERRED_DESTROY = 0xB000, REFLECT_COLOR = 0xB001 };

    static void *operator new(size_t size);
    static void operator delete(void *block);

    virtual void onSize(ShowState state, const mSize &size) {}
    virtual void onMove(const mPoint &position) {}
    virtual bool onPaint() { return false; }
    virtual bool onEraseBkgnd() { return false; }
    virtual bool onActivate(bool active, bool minimized) { return false; }
    virtual bool onActivateApp(bool active) { return false; }
    virtual bool onGotFocus(mWindow *other) { return false; }
    virtual bool onLostFocus(mWindow *other) { return false; }
    virtual bool onDoubleClick(int button, int info, const mPoint &point) { return false; }
    virtual bool onMouseDown(int button, int info, const mPoint &point) { return false; }
    virtual bool onMouseUp(int button, int info, const mPoint &point) { return false; }
    virtual bool onMouseMove(int info, const mPoint &point) { return false; }
    virtual void onTrackCursor(mWindow *window) {}
    virtual bool onChar(int qualifiers, int code) { return false; }
    virtual bool onCharUp(int qualifiers, int code) { return false; }
    virtual bool onHScroll(int code, mScrollBar *bar, int position) { return false; }
    virtual bool onVScroll(int code, mScrollBar *bar, int position) { return false; }
    virtual void onSetColor(mBrush *&brush, mColor *&text, mColor *&background) {}
    virtual void onDestroy() {}
    virtual void onWindowGone() {}
    virtual bool onClose(bool forced) { return true; }
    virtual bool onCommand(int id, int code) { return false; }
    virtual void onDraw(mGraphics *graphics, const mRect &area, bool selected, bool focus, int state) {}
    virtual int onMeasure() { return 0; }
    virtual void onItemDraw(mGraphics *graphics, const mRect &area, bool selected, int state, short item,
                            unsigned long data) {}
    virtual int onItemMeasure(short item, unsigned long data) { return 0; }
    virtual void onItemDelete(short item, unsigned long data) {}
    virtual bool onUserMessage(short message, int param1, long param2, int &result) { return false; }
    virtual mGraphics *beginPaint(bool &erase, mRect &area);
    virtual void endPaint();
    virtual mGraphics *getGraphics();
    virtual mPoint getPosition();
    virtual mRect getBounds();
    virtual mInset getInsets();
    virtual mRect getClientBounds();
    virtual void setPosition(const mPoint &position);
    virtual void setBounds(const mRect &bounds);
    virtual void destroy();
    virtual bool process(int message, mWParam wParam, mLParam lParam, mLResult &result);
    // process() as the platform's procedures call it: an exception cannot be trusted to cross
    // the platform's frames, so it is parked for mApp::dispatch to throw again, and the
    // message counts as handled with 0.
    bool processParked(int message, mWParam wParam, mLParam lParam, mLResult &result);

    SYSTEM_INFO_STRUCT *getPeer() const { return peer; }
    bool isValid() const { return !gone; }
    mWindow *getParent() const { return parent; }
    mWindow *getMain();
    mModule *getModule();

    static void registerClass(const mString &name, SYSTEM_INFO_STRUCT *instance);
    static mString getBaseClassName() { return baseClassName; }
    static mString getClassPrefix() { return "mWin"; }
    static void getClassName(SYSTEM_INFO_STRUCT *peer, char *buffer, int size);
    static mWindow *findWindow(SYSTEM_INFO_STRUCT *peer);
    static int convVKey(int key);
    static int convertDrawState(int state);

    mWindow *getNextWindow();
    mWindow *childWindow(const mPoint &point);
    static mWindow *getFocus();
    static void killFocus();
    SYSTEM_INFO_STRUCT *getControlPeer(int id);
    mControl *getControl(int id);
    // Keeps the window's own bar of that orientation; one that replaces a bar without a peer
    // of its own deletes it.
    void setScroller(mScrollBar *bar);

    mSize getSize();
    mPoint convertToScreen(const mPoint &point);
    void setSize(const mSize &size);
    void move(int dx, int dy);

    bool isVisible();
    void setVisible(bool visible);
    void update(bool all);
    void invalidate(const mRect &area, bool erase);
    void setAutoClip(bool on);

    // The window's own copy of a palette; windows with one repaint when the system palette changes.
    mPalette *getPalette() const;
    mPalette *getPalettePtr() const { return palette; }
    bool hasPalette() const { return palette != nullptr; }
    void setPalette(const mPalette *p);

    bool setCursor(unsigned short id);
    bool setSysCursor(SYSCURSOR cursor);
    unsigned short getCursor(bool &isSystem) const {
        isSystem = cursorIsSystem;
        return cursor;
    }
    void setCursorPos(mPoint point);
    void setMouseCapture(bool on);
    bool setTrackCursor(bool on);

    void postUserMessage(int id, int wParam, long lParam);
    int sendUserMessage(int id, int wParam, long lParam);
    // A command as the platform delivers it: the code in the high word, the control's peer or none.
    void sendCommand(unsigned short id, unsigned short code, mControl *control);

    bool enumChildren(mChildList &list, bool deep);

protected:
    mWindow(mWindow *parent);
    mWindow(mWindow *parent, const mRect &bounds, bool sizingBorder);
    mWindow(mWindow *parent, SYSTEM_INFO_STRUCT *peer);
    mWindow(const mWindow &w);
    mWindow &operator=(const mWindow &w);
    virtual ~mWindow();

    void createPeer(const mRect &bounds, mCreateInfo &info);
    void createPeer(const mRect &bounds, unsigned long style);
    void createPeer(const mString &className, mModule *module);
    void setParent(mWindow *p) { parent = p; }
    mLResult setControlColor(void *dc);
    static int buttonInfo(int keys);
    static int getKeyQualifiers();
    bool vkeyUD(int key, int qualifiers, bool down);
    bool childEnum(SYSTEM_INFO_STRUCT *child);

    virtual void mOnPaint(bool &handled);
    virtual void mOnActivate(bool &handled, int state, void *other, int minimized);
    virtual void mOnActivateApp(bool &handled, int active, unsigned long thread);
    virtual void mOnSetFocus(bool &handled, void *other);
    virtual void mOnKillFocus(bool &handled, void *other);
    virtual void mOnLButtonDown(bool &handled, int dbl, int x, int y, int keys);
    virtual void mOnLButtonUp(bool &handled, int x, int y, int keys);
    virtual void mOnRButtonDown(bool &handled, int dbl, int x, int y, int keys);
    virtual void mOnRButtonUp(bool &handled, int x, int y, int keys);
    virtual void mOnMouseMove(bool &handled, int x, int y, int keys);
    virtual void mOnKeyUD(bool &handled, int key, int down, int repeat, int flags);
    virtual int mOnEraseBkgnd(bool &handled, void *dc);
    virtual void mOnChar(bool &handled, int character, int repeat);
    virtual void mOnSysKeyUD(bool &handled, int key, int down, int repeat, int flags);
    virtual void mOnSysChar(bool &handled, int character, int repeat);
    virtual mLResult mOnColorControl(bool &handled, void *dc, void *control, int kind);
    virtual void mOnDeleteItem(bool &handled, const void *record);
    virtual void mOnCommand(bool &handled, int id, void *control, int code);
    virtual void mOnSysCommand(bool &handled, int command, int x, int y);
    virtual void mOnHScroll(bool &handled, void *control, int code, int position);
    virtual void mOnVScroll(bool &handled, void *control, int code, int position);
    virtual void mOnCancelMode(bool &handled);
    virtual void mOnDrawItem(bool &handled, const void *record);
    virtual void mOnMeasureItem(bool &handled, const void *record);
    virtual bool drawMeasure(const void *record, bool draw);
    virtual void mOnDestroy(bool &handled);
    virtual void mOnClose(bool &handled);
    virtual void mOnSize(bool &handled, int type, int width, int height);
    virtual void mOnMove(bool &handled, int x, int y);
    virtual void mOnPaletteChanged(bool &handled, void *window);

    int mSetCursor(void *window, int hit, int mouse, bool &handled);
    // Idle rounds while the platform runs a modal loop (a dialog, an open menu, a drag).
    void mOnEnterIdle(int reason, void *window);
    bool applyCursor();

    SYSTEM_INFO_STRUCT *peer;
    void *paintInfo;
    mGraphics *graphics;
    mPalette *palette;
    unsigned short cursor;
    bool cursorIsSystem;
    bool enumDeep;
    mChildList *childList;
    mWindow *parent;
    mScrollBar *hScroll, *vScroll;
    bool gone;
    bool stopped;  // the visitor of the walk in progress ended it

    static mString baseClassName;
    static std::vector<mWindow *> trackers;
};
