// Menus mirrored by objects: an item remembers its state and position and writes changes
// straight through to the platform's menu; a menu is an item with a peer of its own.
#pragma once
#include "mUtil/mError.h"
#include "mUtil/mGeometry.h"

#include <vector>

class mFrame;
class mGraphics;
class mMenu;
class mModule;
class mWindow;

class VELNOR_API mMenuItem {
public:
    enum FLAGS { CHECKED = 1, ENABLED = 2, DISABLED = 4 };
    enum SPECIAL { SEPARATOR = 0 };

    mMenuItem(unsigned short id, mString label, bool rightJustify, bool ownerDraw);
    explicit mMenuItem(SPECIAL);
    mMenuItem(mMenu *parent, int position);

    // Fills a platform item record with this item's id, state, type and text.
    virtual void getPeerInfo(void *record);
    virtual bool isMenuItem() { return true; }
    virtual mWindow *getWindow();
    virtual int getPosition();
    virtual ~mMenuItem();
    virtual void onDraw(mGraphics *graphics, const mRect &area, bool entire, bool checked, int state) {}
    virtual mSize onMeasure() { return mSize(0, 0); }

    mMenu *getParent() const { return parent; }
    unsigned short getId() const { return id; }
    bool isSeparator() const { return separator; }
    bool isOwnerDraw() const { return ownerDraw; }
    bool isRightJustify() const { return rightJustify; }

    void setLabel(mString text);
    mString getLabel() const;
    void setState(int value);
    int getState() const { return state; }
    void changeState(int set, int clear);
    bool checkFlag(FLAGS flag) const { return (state & flag) != 0; }
    // Takes the item out of its menu; the caller owns it from then on.
    void remove();

protected:
    mMenuItem();
    void setOwnerDraw(bool on) { ownerDraw = on; }
    void assignParent(mMenu *menu, int index);
    int getPeerState(int old) const;
    void setWrapperState(int peerState);

    mMenu *parent;
    int state;
    mString *label;
    unsigned short id;
    bool separator;
    bool ownerDraw;
    bool rightJustify;
    int position;

private:
    friend class mMenu;
    mMenuItem(const mMenuItem &);
    mMenuItem &operator=(const mMenuItem &);
};

class VELNOR_API mMenu : public mMenuItem {
public:
    enum ALIGN_MODE { ALIGN_START = 0, ALIGN_CENTER = 1, ALIGN_END = 2 };

    mMenu(mModule *module, unsigned short id);
    mMenu(bool popup, bool ownerDraw);
    ~mMenu() override;

    void getPeerInfo(void *record) override;
    bool isMenuItem() override { return false; }
    mWindow *getWindow() override;

    SYSTEM_INFO_STRUCT *getPeer() const { return peer; }
    bool isPopup() const { return popup; }

    // The menu owns what is inserted. A negative position counts from the end, -1 appending.
    void insert(mMenuItem *item, int position);
    void append(mMenuItem *item) { insert(item, -1); }
    int getCount() const { return (int)items->size(); }
    mMenuItem *getItem(int index) const;
    // Depth first among the items; a sub-menu's own id is not compared.
    mMenuItem *findId(unsigned short id) const;
    bool changeState(unsigned short id, int set, int clear);
    bool checkFlag(unsigned short id, FLAGS flag) const;
    // Runs the menu as a pop-up at a screen position; the result is the command chosen, 0 if none.
    int popUp(mWindow *owner, const mPoint &screenPosition, bool rightButton, ALIGN_MODE horizontal,
              ALIGN_MODE vertical, bool sendCommand);

    // Owner drawing of a frame's menu items, from the platform's draw or measure record.
    static bool oDraw(mFrame *frame, const void *record, bool draw);

private:
    friend class mFrame;
    friend class mMenuItem;
    mMenu(mFrame *frame, SYSTEM_INFO_STRUCT *systemPeer);
    mMenu(mMenu *parent, int position, SYSTEM_INFO_STRUCT *subPeer);

    void attach(mFrame *owner);
    void setHelpMenu(mFrame *owner);
    void checkFree() const;
    void createWrappers();
    void removeItem(mMenuItem *item);
    void renumber(int from);
    void convertPopup(bool toPopup);

    SYSTEM_INFO_STRUCT *peer;
    mFrame *frame;
    bool isSystem;
    bool isHelp;
    bool popup;
    std::vector<mMenuItem *> *items;
};
