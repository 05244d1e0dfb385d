// The diagnostic channel: a frame holding a scrolling list of lines, with a level filter, an
// optional echo to a file, and one process-wide main log that code anywhere can write to.
#pragma once
#include "mWindow/mFrame.h"

#include <cstdarg>

class mLogList;

class VELNOR_API mLogWindow : public mFrame {
public:
    enum LOG_LEVELS { LOG_NONE = 0, LOG_DBG0 = 1, LOG_DBG1 = 2, LOG_DBG2 = 3, LOG_INFO = 4, LOG_WARN = 5, LOG_FATAL = 6 };
    // The prefix of each level, ending in one blank.
    static const char *const sMsg[LOG_FATAL + 1];

    // A level below 1 is taken as 1; the line limit is brought into 10 to 1000.
    mLogWindow(mWindow *parent, const mString &title, int maxLines, LOG_LEVELS level, bool visible);

    void onSize(ShowState state, const mSize &size) override;
    bool onPaint() override;
    // The list covers the whole client area: there is nothing to erase.
    bool onEraseBkgnd() override { return true; }

    void setMain() { mainLog = this; }
    static mLogWindow *getMain() { return mainLog; }
    void setLogLevel(LOG_LEVELS level);
    LOG_LEVELS getLogLevel() const { return logLevel; }
    // Ends the echo in effect; a non-empty path starts a new one, appended to the file.
    void echoFile(const mString &path);

    void log(const mString &text);
    void log(const char *format, ...);
    void log(LOG_LEVELS level, const mString &text);
    void log(LOG_LEVELS level, const char *format, ...);
    static void logit(const mString &text);
    static void logit(const char *format, ...);
    static void logit(LOG_LEVELS level, const mString &text);
    static void logit(LOG_LEVELS level, const char *format, ...);

    // Hex dumps go to the main log, whichever window is asked; at most 64 kB are dumped.
    void logHex(const void *data, int bytes) { logHexMain(data, bytes); }
    static void logHexMain(const void *data, int bytes);

    // Logs a failed assertion and returns 0; it never stops the program. The name is in
    // parentheses so that the standard assert macro leaves it alone: call it as
    // (mLogWindow::assert)(...).
    static int(assert)(LOG_LEVELS level, const char *expression, const char *file, int line);
    static int doNothing(...) { return 0; }

protected:
    ~mLogWindow() override;

private:
    friend class mLogList;
    bool passes(LOG_LEVELS level) const { return level >= logLevel; }
    static const char *prefixOf(LOG_LEVELS level);
    void write(const char *prefix, const char *text);
    void writeFormatted(const char *prefix, const char *format, va_list args);

    mLogList *list;
    LOG_LEVELS logLevel;

    static mLogWindow *mainLog;
};
