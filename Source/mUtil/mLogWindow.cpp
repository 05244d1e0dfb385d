#include "mUtil/mLogWindow.h"
#include "mFile/mFile.h"
#include "mWindow/mControl.h"
#include "mWindow/mDialog.h"
#include "mWindow/mGraphics.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

const char *const mLogWindow::sMsg[LOG_FATAL + 1] = {"---",     "[DBG0] ", "[DBG1] ", "[DBG2] ",
                                                     "[INFO] ", "[WARN] ", "[FATAL] "};
mLogWindow *mLogWindow::mainLog = nullptr;

// The echo file; nothing derives from it, so it is deleted as what it is.
class mEchoFile final : public mOutputFile {
public:
    explicit mEchoFile(const mString &path) : mFile(), mOutputFile(path) {}
};

// The list of a log window: it keeps a bounded number of lines, purging the oldest tenth at a
// time with painting held back, follows the newest line unless a reader marked another, and
// echoes every line to a file.
class mLogList : public mListBox {
public:
    mLogList(mLogWindow *owner, int maxLines)
        : mListBox(owner, owner->getClientBounds(), 1, true, false, true, true, true, SEL_NONE, DRAW_PLAIN, false,
                   false),
          owner(owner), paintHeld(false), scrollWidth(10), charWidth(0),
          maxLines(std::min(1000, std::max(10, maxLines))), purgeLines(this->maxLines / 10), echo(nullptr) {}

    bool onPaint() override { return paintHeld; }
    bool onEraseBkgnd() override { return paintHeld; }
    bool onChar(int qualifiers, int code) override;

    void setEcho(const mString &path);
    void addLine(const char *text);

protected:
    ~mLogList() override {
        delete echo;
        owner->list = nullptr;
    }

private:
    void writeEcho(const char *text);
    void measureBlank();

    mLogWindow *owner;
    bool paintHeld;
    int scrollWidth;
    int charWidth;
    int maxLines;
    int purgeLines;
    mEchoFile *echo;
};

void mLogList::setEcho(const mString &path) {
    delete echo;
    echo = nullptr;
    if (path.empty())
        return;
    echo = new mEchoFile(path);
    echo->OpenFile(false, mFile::appendFile);
    writeEcho("---------");
}

// A failing echo file never stops logging.
void mLogList::writeEcho(const char *text) {
    try {
        echo->writeLine(text);
    } catch (const mError &) {
    }
}

void mLogList::measureBlank() {
    mGraphics *graphics = getGraphics();
    mFont *font = getFont();
    graphics->setFont(font);
    charWidth = graphics->getWidth(" ");
    delete font;
    delete graphics;
}

void mLogList::addLine(const char *text) {
    if (echo)
        writeEcho(text);
    if (!charWidth)
        measureBlank();
    int count = getCount();
    int selected = getSelected();
    bool purged = count > maxLines;
    if (purged) {
        paintHeld = true;
        for (int i = 0; i < purgeLines; ++i)
            remove(0);
        if (selected != -1)
            selected = std::max(0, selected - purgeLines);
        count = std::max(0, count - purgeLines);
    }
    int width = ((int)std::strlen(text) + 1) * charWidth;
    if (width > scrollWidth) {
        scrollWidth = width;
        setScrollWidth(width);
    }
    short line = (short)add(mString(text));
    mRect bounds = getItemBounds(line);
    if (bounds.top < getClientBounds().bottom - 40 && !paintHeld)
        return;
    if (selected != -1 && selected < count - 1) {
        // A reader who marked a line is not scrolled away from it.
        if (purged)
            select((short)selected);
    } else {
        makeVisible(line);
        select(-1);
    }
    if (paintHeld) {
        paintHeld = false;
        update(true);
    }
}

bool mLogList::onChar(int, int code) {
    if (code != 3 && code != 24)
        return false;
    mString all;
    for (short i = 0, n = (short)getCount(); i < n; ++i)
        all += getText(i) + "\r\n";
    mWinUtil::copyToClipboard(all);
    if (code == 24)
        clear();
    return false;
}

// ---- The window.

mLogWindow::mLogWindow(mWindow *parent, const mString &title, int maxLines, LOG_LEVELS level, bool visible)
    : mFrame(parent, mRect(0, 100, 200, 500), TITLE_BAR | SIZING | MAXIMIZE_BOX | MINIMIZE_BOX | SYSTEM_MENU, title),
      list(nullptr), logLevel(LOG_DBG0) {
    setLogLevel(level);
    setAutoClip(false);
    list = new mLogList(this, maxLines);
    mFont font(mFont::fontModern, 14, false, false);
    list->setFont(&font);
    if (visible)
        setVisible(true);
    update(true);
}

mLogWindow::~mLogWindow() {
    if (mainLog == this)
        mainLog = nullptr;
}

void mLogWindow::onSize(ShowState state, const mSize &) {
    if (state != MINIMIZED && list)
        list->setBounds(getClientBounds());
}

bool mLogWindow::onPaint() {
    bool erase;
    mRect area;
    mGraphics *graphics = beginPaint(erase, area);
    if (list)
        graphics->removeClip(list->getBounds());
    return true;
}

void mLogWindow::setLogLevel(LOG_LEVELS level) { logLevel = level < LOG_DBG0 ? LOG_DBG0 : level; }

void mLogWindow::echoFile(const mString &path) {
    if (list)
        list->setEcho(path);
}

const char *mLogWindow::prefixOf(LOG_LEVELS level) { return sMsg[std::min(level, LOG_FATAL)]; }

void mLogWindow::write(const char *prefix, const char *text) {
    if (!list)
        return;
    mString line(prefix);
    line += text;
    list->addLine(line.c_str());
}

// Text longer than the buffer is cut.
void mLogWindow::writeFormatted(const char *prefix, const char *format, va_list args) {
    char buffer[600];
    std::vsnprintf(buffer, sizeof buffer, format, args);
    buffer[sizeof buffer - 1] = 0;
    write(prefix, buffer);
}

void mLogWindow::log(const mString &text) { write("", text.c_str()); }

void mLogWindow::log(const char *format, ...) {
    va_list args;
    va_start(args, format);
    writeFormatted("", format, args);
    va_end(args);
}

void mLogWindow::log(LOG_LEVELS level, const mString &text) {
    if (passes(level))
        write(prefixOf(level), text.c_str());
}

void mLogWindow::log(LOG_LEVELS level, const char *format, ...) {
    if (!passes(level))
        return;
    va_list args;
    va_start(args, format);
    writeFormatted(prefixOf(level), format, args);
    va_end(args);
}

void mLogWindow::logit(const mString &text) {
    if (mainLog)
        mainLog->log(text);
}

void mLogWindow::logit(const char *format, ...) {
    if (!mainLog)
        return;
    va_list args;
    va_start(args, format);
    mainLog->writeFormatted("", format, args);
    va_end(args);
}

void mLogWindow::logit(LOG_LEVELS level, const mString &text) {
    if (mainLog)
        mainLog->log(level, text);
}

void mLogWindow::logit(LOG_LEVELS level, const char *format, ...) {
    if (!mainLog || !mainLog->passes(level))
        return;
    va_list args;
    va_start(args, format);
    mainLog->writeFormatted(prefixOf(level), format, args);
    va_end(args);
}

// One line for each 16 bytes: the offset, the bytes in hex in a field of 49 columns, and the
// bytes as text, with anything outside 0x20 to 0x7F shown as a dot.
void mLogWindow::logHexMain(const void *data, int bytes) {
    if (!mainLog)
        return;
    static const char digits[] = "0123456789ABCDEF";
    const unsigned char *p = static_cast<const unsigned char *>(data);
    for (int offset = 0; offset < bytes && offset < 0xFFFF; offset += 16) {
        char line[7 + 49 + 16 + 1];
        std::snprintf(line, 8, "+%04X: ", offset);
        std::memset(line + 7, ' ', 49);
        int n = std::min(16, bytes - offset);
        char *text = line + 7 + 49;
        for (int i = 0; i < n; ++i) {
            unsigned char b = p[offset + i];
            line[7 + 3 * i] = digits[b >> 4];
            line[8 + 3 * i] = digits[b & 15];
            text[i] = b >= 0x20 && b <= 0x7F ? (char)b : '.';
        }
        text[n] = 0;
        logit(mString(line));
    }
}

int(mLogWindow::assert)(LOG_LEVELS level, const char *expression, const char *file, int line) {
    if (mainLog && mainLog->passes(level))
        logit("%s:%d: Assertion (%s) failed.", file, line, expression);
    return 0;
}
