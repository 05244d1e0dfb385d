// The platform's open and save dialogs, answered from a helper thread.
#include "ExpectError.h"
#include "FileTestSupport.h"

#include <set>
#include <thread>

namespace {

const DWORD scriptMs = 30000;
const DWORD forceMs = 10000;
const DWORD pollMs = 50;
const UINT messageMs = 2000;
// Control ids of the name and file type combo boxes in the platform's file dialogs.
const int nameComboId = 0x47c;
const int typeComboId = 0x470;

std::vector<HWND> processDialogs() {
    std::vector<HWND> found;
    EnumWindows(
        [](HWND window, LPARAM list) -> BOOL {
            DWORD pid = 0;
            GetWindowThreadProcessId(window, &pid);
            char name[32] = "";
            GetClassNameA(window, name, sizeof name);
            if (pid == GetCurrentProcessId() && IsWindowVisible(window) && std::string(name) == "#32770")
                reinterpret_cast<std::vector<HWND> *>(list)->push_back(window);
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&found));
    return found;
}

// Messages to the dialog's thread never wait without a limit.
LRESULT sendBounded(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    DWORD_PTR result = 0;
    if (!SendMessageTimeoutA(window, message, wParam, lParam, SMTO_ABORTIFHUNG, messageMs, &result))
        return -1;
    return (LRESULT)result;
}

std::string windowText(HWND window) {
    char text[512] = "";
    sendBounded(window, WM_GETTEXT, sizeof text, reinterpret_cast<LPARAM>(text));
    return text;
}

std::vector<std::string> comboItems(HWND combo) {
    std::vector<std::string> items;
    LRESULT count = combo ? sendBounded(combo, CB_GETCOUNT, 0, 0) : 0;
    for (LRESULT i = 0; i < count; ++i) {
        char text[512] = "";
        if (sendBounded(combo, CB_GETLBTEXTLEN, i, 0) < (LRESULT)sizeof text)
            sendBounded(combo, CB_GETLBTEXT, i, reinterpret_cast<LPARAM>(text));
        items.push_back(text);
    }
    return items;
}

HWND fileDialog() {
    for (HWND candidate : processDialogs())
        if (GetDlgItem(candidate, nameComboId))
            return candidate;
    return nullptr;
}

// Posted, not sent: the button may open a modal box that this thread has to answer.
void press(HWND dialog, int id) {
    PostMessageA(dialog, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(GetDlgItem(dialog, id)));
}

// Answers the next file dialog of this process from a helper thread: types the name and presses
// OK (an empty name cancels), and answers every box raised after OK with promptAnswer. Every
// wait is bounded; one that runs out closes the dialogs, so the call under test always returns.
class DialogDriver {
public:
    explicit DialogDriver(const std::string &typeName, int promptAnswer = IDOK, bool cancelAfterPrompt = false)
        : typeName(typeName), promptAnswer(promptAnswer), cancelAfterPrompt(cancelAfterPrompt),
          worker(&DialogDriver::run, this) {}
    ~DialogDriver() { finish(); }
    // Waits for the helper thread; what it saw is then in the fields below.
    DialogDriver &finish() {
        if (worker.joinable())
            worker.join();
        return *this;
    }

    bool asScripted = false; // the dialog came up and went without being closed by force
    std::string title;
    std::string presetName;
    std::vector<std::string> filterNames;
    int prompts = 0;

private:
    void run() {
        DWORD start = GetTickCount();
        HWND dialog = nullptr;
        for (; !dialog && GetTickCount() - start < scriptMs; Sleep(pollMs))
            dialog = fileDialog();
        if (dialog)
            begin(dialog);
        for (; dialog && IsWindow(dialog) && GetTickCount() - start < scriptMs; Sleep(pollMs))
            answerPrompts(dialog);
        asScripted = dialog && !IsWindow(dialog);
        // Whatever is still up is closed, so that the call under test returns.
        for (start = GetTickCount(); GetTickCount() - start < forceMs; Sleep(pollMs * 2)) {
            std::vector<HWND> left = processDialogs();
            if (left.empty())
                return;
            for (HWND window : left)
                press(window, IDCANCEL);
        }
    }

    // Notes what the dialog shows, then types the name and presses OK, or cancels.
    void begin(HWND dialog) {
        HWND name = GetDlgItem(dialog, nameComboId);
        title = windowText(dialog);
        presetName = windowText(name);
        filterNames = comboItems(GetDlgItem(dialog, typeComboId));
        if (!typeName.empty())
            sendBounded(name, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(typeName.c_str()));
        press(dialog, typeName.empty() ? IDCANCEL : IDOK);
    }

    // Every other dialog of the process is a box the file dialog raised after OK.
    void answerPrompts(HWND dialog) {
        bool promptShown = false;
        for (HWND other : processDialogs()) {
            promptShown = promptShown || other != dialog;
            if (other != dialog && answered.insert(other).second) {
                ++prompts;
                press(other, promptAnswer);
            }
        }
        if (cancelAfterPrompt && prompts > 0 && !promptShown)
            press(dialog, IDCANCEL);
    }

    std::string typeName;
    int promptAnswer;
    bool cancelAfterPrompt;
    std::set<HWND> answered;
    std::thread worker;
};

// The dialogs belong to the frame of an application of the test's own.
class FileDialogTest : public FileAppFixture {
protected:
    Scratch scratch;
};

TEST_F(FileDialogTest, OpenGivesTheChosenFileAndShowsWhatItWasGiven) {
    std::string chosen = scratch.file("pick.txt", "x");
    mFSdir dir(scratch.root().c_str());
    std::vector<mString> filters = {"Text files|*.txt", "no bar here", "Everything|*.*"};
    mString title("Pick one");
    mString preset("preset.txt");

    DialogDriver driver("pick.txt");
    mInputFile f(&dir, &filters, &title, &preset);
    driver.finish();

    EXPECT_EQ(fullPath(f), chosen);
    EXPECT_TRUE(driver.asScripted);
    EXPECT_EQ(driver.title, "Pick one");
    EXPECT_EQ(driver.presetName, "preset.txt");
    EXPECT_EQ(driver.filterNames, (std::vector<std::string>{"Text files", "Everything"}));
    EXPECT_EQ(driver.prompts, 0);
}

TEST_F(FileDialogTest, OpenStartsInTheApplicationDirectoryWithTheDefaultFilter) {
    // Away from the working directory, so that a dialog left to start there cannot find the name.
    app->getFileSearchPath().front() = mFSdir(scratch.root().c_str());
    std::string chosen = scratch.file("pick.txt", "x");
    DialogDriver driver("pick.txt");
    mInputFile f(nullptr, nullptr, nullptr, nullptr);
    driver.finish();

    EXPECT_EQ(fullPath(f), chosen);
    EXPECT_TRUE(driver.asScripted);
    EXPECT_EQ(driver.presetName, "");
    EXPECT_EQ(driver.filterNames, (std::vector<std::string>{"All Files"}));
}

TEST_F(FileDialogTest, RefusalAndCancelAreNoFileSelected) {
    mFSdir dir(scratch.root().c_str());
    DialogDriver opening("missing.txt", IDOK, true);
    EXPECT_MERROR(mInputFile f(&dir, nullptr, nullptr, nullptr), "No File selected", 0, "mFile/mFile");
    EXPECT_GE(opening.finish().prompts, 1) << "the dialog says that the file must exist";
    EXPECT_TRUE(opening.finish().asScripted);

    DialogDriver saving("");
    EXPECT_MERROR(mOutputFile f(&dir, true, nullptr, nullptr, nullptr), "No File selected", 0, "mFile/mFile");
    EXPECT_TRUE(saving.finish().asScripted);
}

TEST_F(FileDialogTest, SaveGivesTheNameAndAsksBeforeOverwritingOnlyWhenTold) {
    std::string existing = scratch.file("existing.txt", "keep");
    mFSdir dir(scratch.root().c_str());
    mString title("Store it");
    struct Case {
        const char *name;
        bool ask;
        int prompts;
    } cases[] = {{"new.bin", true, 0}, {"existing.txt", true, 1}, {"existing.txt", false, 0}};
    for (const Case &c : cases) {
        DialogDriver driver(c.name, IDYES);
        mOutputFile f(&dir, c.ask, nullptr, &title, nullptr);
        driver.finish();
        EXPECT_EQ(fullPath(f), scratch.path(c.name));
        EXPECT_TRUE(driver.asScripted);
        EXPECT_EQ(driver.title, "Store it");
        EXPECT_EQ(driver.prompts, c.prompts) << c.name << " askOverwrite " << c.ask;
    }
    EXPECT_FALSE(fs::exists(scratch.path("new.bin"))) << "saving only names the file";
    EXPECT_EQ(readAll(existing), "keep");
}

} // namespace
