#include "FileTestSupport.h"

#include <cstdio>
#include <filesystem>
#include <set>

// ---- Scratch trees

std::string testName() {
    const ::testing::TestInfo *test = ::testing::UnitTest::GetInstance()->current_test_info();
    return std::string(test->test_suite_name()) + "-" + test->name();
}

std::string rootOf(const ScratchDir &scratch) {
    std::string root = scratch.path("");
    root.pop_back();
    return root;
}

std::string makeFile(const ScratchDir &scratch, const std::string &relative, const std::string &bytes) {
    std::string full = scratch.path(relative);
    std::filesystem::create_directories(std::filesystem::path(full).parent_path());
    return scratch.write(relative, std::vector<unsigned char>(bytes.begin(), bytes.end()));
}

std::string makeDir(const ScratchDir &scratch, const std::string &relative) {
    std::string full = scratch.path(relative);
    std::filesystem::create_directories(full);
    return full;
}

bool pathExists(const std::string &path) { return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

bool isDirectory(const std::string &path) {
    DWORD attributes = GetFileAttributesA(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

std::string readAll(const std::string &path) {
    std::string bytes;
    std::FILE *f = std::fopen(path.c_str(), "rb");
    if (!f)
        return "<missing>";
    char block[4096];
    size_t n;
    while ((n = std::fread(block, 1, sizeof block, f)) > 0)
        bytes.append(block, n);
    std::fclose(f);
    return bytes;
}

std::string executableDirectory() {
    char path[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, path, sizeof path);
    std::string text = path;
    return text.substr(0, text.rfind('\\'));
}

std::string fullPath(mFSobject &o) { return o.getFullPath().c_str(); }

// ---- The application

void FileAppFixture::SetUp() {
    vt::AppFixture::SetUp();
    frame = new vt::TestFrame(app);
}

void FileAppFixture::TearDown() {
    // The frame's end pops its state before the application goes.
    DestroyWindow(reinterpret_cast<HWND>(frame->getPeer()));
    vt::drainMessages();
    vt::AppFixture::TearDown();
}

// ---- The dialog driver

namespace {

const DWORD appearMs = 20000;
const DWORD goneMs = 15000;
const DWORD forceMs = 10000;
const DWORD pollMs = 50;
const UINT messageMs = 2000;

// Dialog control ids of the platform's file dialogs.
const int nameEditId = 0x480;
const int nameComboId = 0x47c;
const int typeComboId = 0x470;

BOOL CALLBACK collectDialog(HWND window, LPARAM list) {
    DWORD pid = 0;
    GetWindowThreadProcessId(window, &pid);
    char name[32] = "";
    GetClassNameA(window, name, sizeof name);
    if (pid == GetCurrentProcessId() && IsWindowVisible(window) && std::string(name) == "#32770")
        reinterpret_cast<std::vector<HWND> *>(list)->push_back(window);
    return TRUE;
}

std::vector<HWND> processDialogs() {
    std::vector<HWND> found;
    EnumWindows(collectDialog, reinterpret_cast<LPARAM>(&found));
    return found;
}

BOOL CALLBACK findEdit(HWND window, LPARAM found) {
    char name[32] = "";
    GetClassNameA(window, name, sizeof name);
    if (std::string(name) != "Edit")
        return TRUE;
    *reinterpret_cast<HWND *>(found) = window;
    return FALSE;
}

// The name field is a plain edit, or an edit somewhere inside the name combo box.
HWND nameField(HWND dialog) {
    HWND edit = GetDlgItem(dialog, nameEditId);
    HWND combo = GetDlgItem(dialog, nameComboId);
    if (!edit && combo)
        EnumChildWindows(combo, findEdit, reinterpret_cast<LPARAM>(&edit));
    return edit;
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

// Posted, not sent: the button may open a modal box that this thread has to answer.
void press(HWND dialog, int id) {
    PostMessageA(dialog, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(GetDlgItem(dialog, id)));
}

} // namespace

DialogDriver::DialogDriver(const DialogScript &script) : script(script), worker(&DialogDriver::run, this) {}

DialogDriver::~DialogDriver() {
    if (worker.joinable())
        worker.join();
}

const DialogSeen &DialogDriver::finish() {
    if (worker.joinable())
        worker.join();
    return seen;
}

void DialogDriver::run() {
    HWND dialog = nullptr;
    for (DWORD start = GetTickCount(); !dialog && GetTickCount() - start < appearMs; Sleep(pollMs)) {
        for (HWND candidate : processDialogs())
            if (nameField(candidate))
                dialog = candidate;
    }
    if (dialog) {
        seen.found = true;
        seen.title = windowText(dialog);
        seen.presetName = windowText(nameField(dialog));
        seen.filterNames = comboItems(GetDlgItem(dialog, typeComboId));
        if (script.cancel) {
            press(dialog, IDCANCEL);
        } else {
            sendBounded(nameField(dialog), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(script.typeName.c_str()));
            press(dialog, IDOK);
        }
        std::set<HWND> answered;
        bool cancelPending = false;
        for (DWORD start = GetTickCount(); IsWindow(dialog) && GetTickCount() - start < goneMs; Sleep(pollMs)) {
            bool promptShown = false;
            for (HWND other : processDialogs()) {
                if (other == dialog)
                    continue;
                promptShown = true;
                if (answered.insert(other).second) {
                    ++seen.prompts;
                    press(other, script.promptAnswer);
                    cancelPending = script.cancelAfterPrompt;
                }
            }
            if (cancelPending && !promptShown) {
                press(dialog, IDCANCEL);
                cancelPending = false;
            }
        }
    }
    // Whatever is still up is closed, so that the call under test returns.
    for (DWORD start = GetTickCount(); GetTickCount() - start < forceMs; Sleep(pollMs * 2)) {
        std::vector<HWND> left = processDialogs();
        if (left.empty())
            return;
        seen.forcedClose = true;
        for (HWND window : left)
            press(window, IDCANCEL);
    }
}
