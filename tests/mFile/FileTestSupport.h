// Helpers of the file tests: scratch trees on the real disk, the one application of the
// test program, a guard for its search path, and a driver for the platform's file dialogs.
#pragma once
#include "mFile/mFile.h"
#include "mUtil/mApp.h"

#include <functional>
#include <string>
#include <thread>
#include <vector>
#include <windows.h>

// A directory below the working directory, made fresh and removed with everything in it.
class ScratchDir {
public:
    ScratchDir();
    ~ScratchDir();
    // Full path of a name inside, which may hold backslashes.
    std::string at(const std::string &relative) const;
    // Writes the bytes as they are, making the directories on the way; gives the full path.
    std::string file(const std::string &relative, const std::string &bytes) const;
    std::string dir(const std::string &relative) const;
    const std::string &path() const { return root; }

private:
    ScratchDir(const ScratchDir &);
    ScratchDir &operator=(const ScratchDir &);
    std::string root;
};

bool pathExists(const std::string &path);
bool isDirectory(const std::string &path);
std::string readAll(const std::string &path);
std::string executableDirectory();
std::string fullPath(mFSobject &o);

// The mError that the call throws; one with the message "nothing thrown" when it throws none.
mError thrownBy(const std::function<void()> &call);

// The application of the test program, made on first use: a main frame whose module is the
// test executable, so that the search path starts with the directory of the executable.
mApp &testApp();

// Restores the search path of the current state as it was.
class SearchPathGuard {
public:
    SearchPathGuard() : saved(testApp().getFileSearchPath()) {}
    ~SearchPathGuard() { testApp().getFileSearchPath() = saved; }

private:
    std::vector<mFSdir> saved;
};

// What the test wants done with the next file dialog of this process.
struct DialogScript {
    bool cancel = false;
    std::string typeName;       // typed into the name field before pressing OK
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
