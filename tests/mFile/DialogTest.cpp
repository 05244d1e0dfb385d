// The platform's open and save dialogs, answered from a helper thread.
#include "ExpectError.h"
#include "FileTestSupport.h"

namespace {

DialogScript typing(const std::string &name) {
    DialogScript script;
    script.typeName = name;
    return script;
}

DialogScript cancelling() {
    DialogScript script;
    script.cancel = true;
    return script;
}

// The dialogs belong to the frame of an application of the test's own.
class FileDialogTest : public FileAppFixture {
protected:
    ScratchDir scratch{testName()};
};

TEST_F(FileDialogTest, OpenGivesTheChosenFileAndShowsWhatItWasGiven) {
    std::string chosen = makeFile(scratch, "pick.txt", "x");
    mFSdir dir(rootOf(scratch).c_str());
    std::vector<mString> filters = {"Text files|*.txt", "no bar here", "Everything|*.*"};
    mString title("Pick one");
    mString preset("preset.txt");

    DialogDriver driver(typing("pick.txt"));
    mInputFile f(&dir, &filters, &title, &preset);
    const DialogSeen &seen = driver.finish();

    EXPECT_EQ(fullPath(f), chosen);
    EXPECT_FALSE(f.isOpen());
    ASSERT_TRUE(seen.found);
    EXPECT_EQ(seen.title, "Pick one");
    EXPECT_EQ(seen.presetName, "preset.txt");
    EXPECT_EQ(seen.filterNames, (std::vector<std::string>{"Text files", "Everything"}));
    EXPECT_EQ(seen.prompts, 0);
    EXPECT_FALSE(seen.forcedClose);
}

TEST_F(FileDialogTest, OpenStartsInTheApplicationDirectoryWithTheDefaultFilter) {
    std::string name = "dialog_pick_" + std::to_string(GetCurrentProcessId()) + ".txt";
    std::string path = executableDirectory() + "\\" + name;
    mOutputFile made(path.c_str());
    ASSERT_TRUE(made.OpenFile(true, mFile::createFile));
    made.close();

    DialogDriver driver(typing(name));
    mError e("nothing thrown");
    std::string result;
    try {
        mInputFile f(nullptr, nullptr, nullptr, nullptr);
        result = fullPath(f);
    } catch (const mError &error) {
        e = error;
    }
    const DialogSeen &seen = driver.finish();
    made.remove();

    EXPECT_STREQ(e.message.c_str(), "nothing thrown");
    EXPECT_EQ(result, path);
    EXPECT_EQ(seen.presetName, "");
    EXPECT_EQ(seen.filterNames, (std::vector<std::string>{"All Files"}));
}

TEST_F(FileDialogTest, OpenRefusesAMissingFile) {
    mFSdir dir(rootOf(scratch).c_str());
    DialogScript script = typing("missing.txt");
    script.cancelAfterPrompt = true;
    DialogDriver driver(script);
    EXPECT_MERROR(mInputFile f(&dir, nullptr, nullptr, nullptr), "No File selected", 0, "mFile/mFile");
    EXPECT_GE(driver.finish().prompts, 1) << "the dialog says that the file must exist";
}

TEST_F(FileDialogTest, CancelIsNoFileSelected) {
    mFSdir dir(rootOf(scratch).c_str());
    {
        DialogDriver driver(cancelling());
        EXPECT_MERROR(mInputFile f(&dir, nullptr, nullptr, nullptr), "No File selected", 0, "mFile/mFile");
        EXPECT_TRUE(driver.finish().found);
    }
    {
        DialogDriver driver(cancelling());
        EXPECT_MERROR(mOutputFile f(&dir, true, nullptr, nullptr, nullptr), "No File selected", 0, "mFile/mFile");
        EXPECT_TRUE(driver.finish().found);
    }
}

TEST_F(FileDialogTest, SaveGivesANewNameWithoutMakingTheFile) {
    mFSdir dir(rootOf(scratch).c_str());
    mString title("Store it");
    DialogDriver driver(typing("new.bin"));
    mOutputFile f(&dir, true, nullptr, &title, nullptr);
    const DialogSeen &seen = driver.finish();

    EXPECT_EQ(fullPath(f), scratch.path("new.bin"));
    EXPECT_FALSE(pathExists(scratch.path("new.bin")));
    EXPECT_EQ(seen.title, "Store it");
    EXPECT_EQ(seen.prompts, 0);
}

TEST_F(FileDialogTest, SaveAsksBeforeOverwritingOnlyWhenTold) {
    std::string existing = makeFile(scratch, "existing.txt", "keep");
    mFSdir dir(rootOf(scratch).c_str());
    for (bool ask : {true, false}) {
        DialogScript script = typing("existing.txt");
        script.promptAnswer = IDYES;
        DialogDriver driver(script);
        mOutputFile f(&dir, ask, nullptr, nullptr, nullptr);
        const DialogSeen &seen = driver.finish();
        EXPECT_EQ(fullPath(f), existing);
        EXPECT_EQ(seen.prompts, ask ? 1 : 0) << "askOverwrite " << ask;
        EXPECT_FALSE(seen.forcedClose);
    }
    EXPECT_EQ(readAll(existing), "keep");
}

} // namespace
