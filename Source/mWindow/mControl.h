// The platform's standard controls, subclassed so that their messages pass through process
// first: buttons, statics, list boxes, combo boxes, edits and scroll bars. Each family maps plain
// arguments to style bits and the platform's notifications into a block of codes of its own.
#pragma once
#include "mWindow/mWindow.h"

#include <vector>

class mFont;
class mModule;

class VELNOR_API mControl : public mWindow {
public:
    // Wraps a peer of any class.
    explicit mControl(SYSTEM_INFO_STRUCT *peer);

    bool process(int message, mWParam wParam, mLParam lParam, mLResult &result) override;
    virtual void setEnable(bool enable);
    virtual void setText(const mString &text);
    virtual mString getText();
    virtual int getTextLength();
    // True keeps a notification from the parent's onCommand.
    virtual bool onNotifyParent(int code) { return false; }

    void *getOrigProc() const { return origProc; }
    int getId() const { return id; }
    bool isEnabled();
    // Null keeps the current font.
    void setFont(const mFont *f);
    mFont *getFont() const;
    void focus();
    void transferFocus(bool back);
    void setTabStop(bool on);
    bool isTabStop();
    void tabProcessing(bool on);
    void allKeyProcessing(bool on);

    void attach(SYSTEM_INFO_STRUCT *peer);
    void createUserPeer(const mString &className, mWindow *parent, int id, const mRect &bounds, const mString &title,
                        bool visible, bool group);

    static bool isClass(SYSTEM_INFO_STRUCT *peer, const char *name);
    static mControl *findCWindow(SYSTEM_INFO_STRUCT *peer);
    static mControl *findControl(mWindow *parent, int id);
    static bool registerControlClass(mModule *module, const mString &name, bool background);
    static bool oDraw(mWindow *parent, const void *record, bool draw);
    static bool oDrawItem(mWindow *parent, const void *record, bool draw, bool deleting);

protected:
    mControl();
    mControl(SYSTEM_INFO_STRUCT *peer, const char *className);
    mControl(mWindow *parent, int id, const char *className);
    // A control of the library's generic class, the base class name with "gc" behind it.
    mControl(mWindow *parent, int id, const mRect &bounds, const mString &title, bool visible);
    ~mControl() override;

    // Creates a peer of a predefined class as a child of `owner` and subclasses it.
    void createControl(mWindow *owner, const char *className, const mRect &bounds, unsigned long style,
                       unsigned long exStyle, int controlId, const mString &text);

    // One platform notification code and the library's code for it.
    struct CodePair {
        int platform, library;
    };
    // The family conversion: false for a peer of another class or one without an object,
    // true (dropped) for a code not in the table; otherwise the object's onNotifyParent.
    template <size_t N>
    static bool convertCode(int &code, SYSTEM_INFO_STRUCT *peer, const char *className, const CodePair (&table)[N]) {
        return convert(code, peer, className, table, (int)N);
    }
    static bool translate(int &code, const CodePair *table, int count);
    mLResult send(unsigned int message, mWParam wParam, mLParam lParam);

private:
    static bool convert(int &code, SYSTEM_INFO_STRUCT *peer, const char *className, const CodePair *table, int count);
    void detach();
    void wrap(SYSTEM_INFO_STRUCT *peer, const char *className);

    void *origProc;
    int id;
    unsigned long dlgCode;
    mFont *font;

    static std::vector<mControl *> controls;
    static bool genericRegistered;
};

class VELNOR_API mButton : public mControl {
public:
    enum BUTTON_STYLE {
        PUSH_BUTTON = 1, DEFAULT_PUSH_BUTTON = 2, CHECK_BOX = 3, AUTO_CHECK_BOX = 4, RADIO_BUTTON = 5,
        AUTO_RADIO_BUTTON = 6, OWNER_DRAW_BUTTON = 7
    };
    enum CHECK_STATE { UNCHECKED = 0, CHECKED = 1, INDETERMINATE = 2 };

    mButton(mWindow *parent, int id);
    mButton(mWindow *parent, const mRect &bounds, BUTTON_STYLE style, int id, const mString &text, bool visible,
            bool tabStop);

    CHECK_STATE getCheck();
    void setCheck(CHECK_STATE state);
    void setCheck(bool on) { setCheck(on ? CHECKED : UNCHECKED); }
    bool isChecked() { return getCheck() == CHECKED; }
    bool getHilite();
    void setHilite(bool on);
    void radioCheck(int first, int last);
    BUTTON_STYLE getStyle();

    static unsigned long convStyle(BUTTON_STYLE style);
    static bool convertButton(int &code, SYSTEM_INFO_STRUCT *peer);
};

class VELNOR_API mStatic : public mControl {
public:
    enum STATIC_STYLE { LEFT_TEXT = 1, CENTER_TEXT = 2, RIGHT_TEXT = 3, SIMPLE_TEXT = 4, OWNER_DRAW_STATIC = 5 };
    // Frame bits given to the constructor.
    enum { CLIENT_EDGE = 1, WINDOW_EDGE = 2, STATIC_EDGE = 4, CENTER_IMAGE = 8 };

    mStatic(mWindow *parent, int id);
    mStatic(mWindow *parent, const mRect &bounds, STATIC_STYLE style, int id, const mString &text, bool visible,
            int frame);

    STATIC_STYLE getStyle();

    static unsigned long convStyle(STATIC_STYLE style);
    static bool convertStatic(int &code, SYSTEM_INFO_STRUCT *peer);
};

// What list boxes and combo boxes share: a list of items with text or data, one selected.
// The two speak the same language in different message numbers.
class VELNOR_API mItemControl : public mControl {
public:
    // The message numbers of one family.
    struct Messages {
        unsigned int add, insert, remove, clear, count, textLength, text, getData, setData, getSelected, select,
            itemHeight, find, findExact;
    };

    int add(const mString &text);
    int add(unsigned long data);
    int add(const mString &text, short index);
    int add(unsigned long data, short index);
    int remove(short index);
    void clear();
    int getCount();
    using mControl::getText;
    // The empty text for a bad index.
    mString getText(short index);
    unsigned long getItem(short index);
    void setItem(short index, unsigned long data);
    virtual int getSelected();
    virtual void select(short index);
    void setItemHeight(short index, int height);
    // The height that onItemMeasure gives for the item and its data.
    void recalcItemHeight(short index);
    int findString(const mString &text, short start, bool exact);
    int findData(unsigned long data, short start);

protected:
    explicit mItemControl(const Messages &messages) : messages(&messages) {}
    mItemControl(mWindow *owner, int id, const char *className, const Messages &messages)
        : mControl(owner, id, className), messages(&messages) {}

private:
    const Messages *messages;
};

class VELNOR_API mListBox : public mItemControl {
public:
    enum SELMODE { SEL_SINGLE = 0, SEL_MULTIPLE = 1, SEL_EXTENDED = 2, SEL_NONE = 3 };
    enum DRAWMODE { DRAW_PLAIN = 0, DRAW_OWNER = 1 };

    mListBox(mWindow *parent, int id);
    mListBox(mWindow *parent, const mRect &bounds, int id, bool visible, bool sorted, bool hScroll, bool vScroll,
             bool border, SELMODE selection, DRAWMODE drawing, bool hasStrings, bool integralHeight);

    bool isMulti() const { return multi; }
    // A list of several selections answers with, and moves, its caret.
    int getSelected() override;
    void select(short index) override;
    bool isSelected(short index);
    // Only a list with several selections takes a range.
    void select(short first, short last, bool on);
    void makeVisible(short index);
    // A zero rectangle for a bad index.
    mRect getItemBounds(short index);
    int getTopIndex();
    void setScrollWidth(int width);
    int getScrollWidth();

    static bool convertListBox(int &code, SYSTEM_INFO_STRUCT *peer);

private:
    bool multi;
};

class VELNOR_API mComboBox : public mItemControl {
public:
    enum DROPMODE { DROP_SIMPLE = 0, DROP_DOWN = 1, DROP_LIST = 2 };

    mComboBox(mWindow *parent, int id);
    mComboBox(mWindow *parent, const mRect &bounds, int id, const mString &text, bool visible, bool sorted,
              bool autoScroll, bool vScroll, bool border, DROPMODE drop, mListBox::DRAWMODE drawing, bool hasStrings,
              bool integralHeight);

    void setTextLimit(int limit);
    void getEditSelection(int &start, int &end);
    void setEditSelection(int start, int end);
    void dropDown(bool show);
    SYSTEM_INFO_STRUCT *getEditControlPeer();

    static bool convertComboBox(int &code, SYSTEM_INFO_STRUCT *peer);
};

class VELNOR_API mEdit : public mControl {
public:
    enum ALIGNMODE { ALIGN_LEFT = 0, ALIGN_CENTER = 1, ALIGN_RIGHT = 2 };
    enum CASEMODE { CASE_ANY = 0, CASE_UPPER = 1, CASE_LOWER = 2, CASE_NUMBER = 3 };

    mEdit(mWindow *parent, int id);
    explicit mEdit(SYSTEM_INFO_STRUCT *peer);
    mEdit(mWindow *parent, const mRect &bounds, int id, bool visible, const mString &text, bool hScroll, bool autoH,
          bool vScroll, bool autoV, bool border, bool multiline, bool wantReturn, bool noHideSel, bool readOnly,
          ALIGNMODE align, CASEMODE letterCase, bool password);

    void getEditSelection(int &start, int &end);
    void setEditSelection(int start, int end);
    void scroll(int lines, int columns);
    void gotoCaret();
    bool isModified();
    void modified(bool on);
    int getLines();
    int getCharNo(int line);
    int getLineLength(int character);
    mString getLine(int line);
    void replaceSelection(const mString &text);
    void setTextLimit(int limit);
    int getLineNumber(int character);
    void setReadOnly(bool on);
    void cut();
    void copy();
    void paste();
    void clear();

    static bool convertEdit(int &code, SYSTEM_INFO_STRUCT *peer);
};

class VELNOR_API mScrollBar : public mControl {
public:
    mScrollBar(mWindow *parent, int id);
    mScrollBar(mWindow *parent, const mRect &bounds, bool horizontal, int id, bool visible, bool alignRightOrBottom,
               bool tabStop);
    // The owner's own bar: no peer of its own; the owner keeps it (setScroller).
    mScrollBar(mWindow *owner, bool horizontal);

    bool onNotifyParent(int code) override;
    bool isHorizontal() const { return horizontal; }
    bool isControl() const { return barKind == SB_CONTROL_KIND; }
    int getMin();
    int getMax();
    void setMinMax(int minimum, int maximum, bool redraw);
    int getPage();
    void setPage(int page, bool redraw);
    int getScrollPos();
    void setScrollPos(int position, bool redraw);
    int getTrackPosition();
    void disable(bool redraw);
    void enableArrows(bool first, bool second);
    void setVisible(bool visible);

    static bool convertScrollBar(mScrollBar *&bar, int &code, SYSTEM_INFO_STRUCT *peer);

private:
    enum { SB_CONTROL_KIND = 2 };
    enum { FIELD_MIN, FIELD_MAX, FIELD_PAGE, FIELD_POS, FIELD_TRACK };
    int readField(int field);
    // Reads the fields of `mask` into the record behind `info`.
    void readInfo(unsigned int mask, void *info);
    void writeInfo(unsigned int mask, int minimum, int maximum, int page, int position, bool redraw);

    bool horizontal;
    int barKind;
    SYSTEM_INFO_STRUCT *barOwner;
};
