#include "ControlKit.h"
#include "ScratchDir.h"

#include <fstream>
#include <sstream>

using ck::hwnd;
using Lines = std::vector<std::string>;

namespace {

class LogWindowTest : public ck::ControlFixture {
protected:
    void SetUp() override {
        ck::ControlFixture::SetUp();
        log = new mLogWindow(frame, "Log", 5000, mLogWindow::LOG_INFO, false);
    }
    Lines lines() {
        HWND list = GetDlgItem(hwnd(log), 1);
        Lines all;
        for (int i = 0, n = (int)SendMessageA(list, LB_GETCOUNT, 0, 0); i < n; ++i) {
            char text[700] = {};
            SendMessageA(list, LB_GETTEXT, i, (LPARAM)text);
            all.push_back(text);
        }
        return all;
    }
    mLogWindow *log = nullptr;
};

std::string readFile(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream all;
    all << in.rdbuf();
    return all.str();
}

} // namespace

TEST_F(LogWindowTest, LevelsPrefixesAndTheMainLog) {
    mLogWindow::logit("lost %s", "nowhere"); // no main log yet
    log->setMain();
    EXPECT_EQ(log, mLogWindow::getMain());
    mLogWindow::logit("plain %d", 1);
    mLogWindow::logit(mLogWindow::LOG_DBG2, "filtered %d", 2);
    mLogWindow::logit(mLogWindow::LOG_INFO, "info %d", 3);
    log->log(mLogWindow::LOG_WARN, mString("warning"));
    log->setLogLevel(mLogWindow::LOG_NONE); // taken as the lowest filter
    EXPECT_EQ(mLogWindow::LOG_DBG0, log->getLogLevel());
    for (int level = mLogWindow::LOG_DBG0; level <= mLogWindow::LOG_FATAL; ++level)
        mLogWindow::logit((mLogWindow::LOG_LEVELS)level, mString("level"));
    EXPECT_EQ(0, (mLogWindow::assert)(mLogWindow::LOG_WARN, "x > 0", "file.cpp", 12));
    log->setLogLevel(mLogWindow::LOG_FATAL);
    EXPECT_EQ(0, (mLogWindow::assert)(mLogWindow::LOG_WARN, "hidden", "file.cpp", 13));
    mLogWindow::logit(std::string(700, 'z').c_str()); // cut, never overrun
    EXPECT_EQ(Lines({"plain 1", "[INFO] info 3", "[WARN] warning", "[DBG0] level", "[DBG1] level", "[DBG2] level",
                     "[INFO] level", "[WARN] level", "[FATAL] level", "file.cpp:12: Assertion (x > 0) failed.",
                     std::string(599, 'z')}),
              lines());
    EXPECT_EQ(0, mLogWindow::doNothing(4, "text", 1.5));
    log->destroy();
    settle();
    EXPECT_EQ(nullptr, mLogWindow::getMain());
    mLogWindow::logit("silent again");
}

TEST_F(LogWindowTest, HexDumpAndEchoFile) {
    ScratchDir dir("logtest");
    const std::string path = dir.path("echo.log");
    log->setMain();
    log->echoFile(path.c_str());
    const unsigned char bytes[17] = {'H', 'i', 0x1F, 0x7F, 0x80, 0xFF, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 'Z'};
    log->logHex(bytes, 17);
    mLogWindow::logHexMain(bytes, 0);
    log->echoFile("");
    log->log("not echoed");
    log->echoFile(path.c_str());
    log->log("second run");
    log->echoFile("");
    const std::string first = "+0000: 48 69 1F 7F 80 FF 00 01 02 03 04 05 06 07 08 09  Hi.\x7F............",
                      second = "+0010: 5A" + std::string(47, ' ') + "Z";
    EXPECT_EQ(Lines({first, second, "not echoed", "second run"}), lines());
    EXPECT_EQ("---------\r\n" + first + "\r\n" + second + "\r\n---------\r\nsecond run\r\n", readFile(path));
}

TEST_F(LogWindowTest, FullListPurgesATenthAndCopiesToTheClipboard) {
    mLogWindow *small = new mLogWindow(frame, "Small", 5, mLogWindow::LOG_DBG0, false);
    for (int i = 0; i < 13; ++i)
        small->log("line %d", i);
    HWND list = GetDlgItem(hwnd(small), 1);
    // Ten lines at most, one purged at a time once the count passes them.
    EXPECT_EQ(11, SendMessageA(list, LB_GETCOUNT, 0, 0));
    char text[32];
    SendMessageA(list, LB_GETTEXT, 0, (LPARAM)text);
    EXPECT_STREQ("line 2", text);
    PostMessageA(list, WM_CHAR, 24, 1); // Ctrl+X
    settle();
    mString copied;
    ASSERT_TRUE(mWinUtil::copyFromClipboard(copied));
    EXPECT_EQ(0, copied.find("line 2\r\nline 3\r\n", 0));
    EXPECT_EQ(0, SendMessageA(list, LB_GETCOUNT, 0, 0));
}
