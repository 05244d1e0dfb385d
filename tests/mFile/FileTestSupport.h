// Helpers of the file tests: scratch trees on the real disk, an application whose search path
// starts with the test program's directory, and a driver for the platform's file dialogs.
#pragma once
#include "ScratchDir.h"
#include "VelnorTest.h"

#include <string>
#include <thread>
#include <vector>

// A name for the scratch directory of the running test.
std::string testName();
// The scratch directory itself, without a trailing separator.
std::string rootOf(const ScratchDir &scratch);
// Writes the bytes as they are, making the directories on the way; gives the full path.
std::string makeFile(const ScratchDir &scratch, const std::string &relative, const std::string &bytes);
std::string makeDir(const ScratchDir &scratch, const std::string &relative);

bool pathExists(const std::string &path);
bool isDirectory(const std::string &path);
std::string readAll(const std::string &path);
std::string executableDirectory();
std::string fullPath(mFSobject &o);

// A test with an application of its own whose main frame's module is the test program, so that
// the file search path starts with the program's directory.
class FileAppFixture : public vt::AppFixture {
protected:
    FileAppFixture() : vt::AppFixture("VelnorFileTests") {}
    void SetUp() override;
    void TearDown() override;
    vt::TestFrame *frame = nullptr;
};

// What the test wants done with the next file dialog of this process.
struct DialogScript {
    bool cancel = false;
    std::string typeName;           // typed into the name field before pressing OK
    int promptAnswer = IDOK;        // the button pressed on a box that comes up after OK
    bool cancelAfterPrompt = false; // the dialog is cancelled once a prompt was answered
};

// What the driver saw of the dialog.
struct DialogSeen {
    bool found = false;
    std::string title;
    std::string presetName;
    std::vector<std::string> filterNames;
    int prompts = 0;
    bool forcedClose = false; // a wait ran out and the dialogs were closed by force
};

// Answers the next file dialog of this process from a helper thread. Every wait is bounded;
// one that runs out closes the dialogs, so the call under test always returns.
class DialogDriver {
public:
    explicit DialogDriver(const DialogScript &script);
    ~DialogDriver();
    // Waits for the helper thread and gives what it saw.
    const DialogSeen &finish();

private:
    void run();
    DialogScript script;
    DialogSeen seen;
    std::thread worker;
};
