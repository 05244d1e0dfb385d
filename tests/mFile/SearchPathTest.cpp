// Relative names resolved through the application: its directory and its file search path.
#include "ExpectError.h"
#include "FileTestSupport.h"

namespace {

// Two scratch directories behind the application directory on the search path.
class SearchPathTest : public FileAppFixture {
protected:
    SearchPathTest() : first(testName() + "-1"), second(testName() + "-2") {}
    void SetUp() override {
        FileAppFixture::SetUp();
        app->appendFileSearchPath(mFSdir(rootOf(first).c_str()));
        app->appendFileSearchPath(mFSdir(rootOf(second).c_str()));
    }
    ScratchDir first;
    ScratchDir second;
};

TEST_F(SearchPathTest, TheFirstEntryIsTheExecutablesDirectory) {
    std::vector<mFSdir> &dirs = app->getFileSearchPath();
    ASSERT_EQ(dirs.size(), 3u);
    mFSdir appDir = app->getAppDirectory();
    EXPECT_EQ(fullPath(appDir), executableDirectory());
    EXPECT_EQ(fullPath(dirs[0]), executableDirectory());
}

TEST_F(SearchPathTest, InputFilesTakeTheFirstDirectoryThatHasThem) {
    makeFile(first, "both.txt", "1");
    std::string inSecond = makeFile(second, "both.txt", "2");
    std::string onlySecond = makeFile(second, "nested\\only.txt", "3");

    mInputFile both("both.txt");
    EXPECT_EQ(fullPath(both), first.path("both.txt"));
    ASSERT_TRUE(both.OpenFile(true));
    char c = 0;
    both.readBytes(&c, 1);
    EXPECT_EQ(c, '1');

    mInputFile nested("nested/only.txt");
    EXPECT_EQ(fullPath(nested), onlySecond);

    mInputFile nowhere("sp_not_anywhere.txt");
    EXPECT_EQ(fullPath(nowhere), executableDirectory() + "\\sp_not_anywhere.txt");
    EXPECT_FALSE(nowhere.exists());

    mFSdir secondDir(rootOf(second).c_str());
    mInputFile based(secondDir, "both.txt");
    EXPECT_EQ(fullPath(based), inSecond) << "a base is not searched";
}

TEST_F(SearchPathTest, OtherObjectsLieInTheApplicationDirectory) {
    makeFile(second, "out.txt", "x");
    mOutputFile out("out.txt");
    EXPECT_EQ(fullPath(out), executableDirectory() + "\\out.txt");
    mIOFile io("sub\\io.bin");
    EXPECT_EQ(fullPath(io), executableDirectory() + "\\sub\\io.bin");
    mFile plain("plain.bin");
    EXPECT_EQ(fullPath(plain), executableDirectory() + "\\plain.bin");
}

TEST_F(SearchPathTest, DirectoriesAndFilesAreFoundAsTheirKind) {
    makeFile(first, "thing", "a file");
    makeDir(second, "thing");
    mFSdir dir("thing");
    EXPECT_EQ(fullPath(dir), second.path("thing"));
    mInputFile file("thing");
    EXPECT_EQ(fullPath(file), first.path("thing"));
}

TEST_F(SearchPathTest, UnparsableCandidatesAreSkippedOnlyByInputFiles) {
    std::vector<mFSdir> &dirs = app->getFileSearchPath();
    std::string child = makeDir(first, "child");
    dirs.clear();
    dirs.push_back(mFSdir("C:\\"));
    dirs.push_back(mFSdir(child.c_str()));
    std::string target = makeFile(first, "up.txt", "x");

    mInputFile found("..\\up.txt");
    EXPECT_EQ(fullPath(found), target);

    EXPECT_MERROR(mFSdir d("..\\up"), "Bad File system path!", 0, "mFile/mFSobject");
    // Found nowhere, the name is parsed in the first directory all the same.
    EXPECT_MERROR(mInputFile f("..\\missing.txt"), "Bad File system path!", 0, "mFile/mFSobject");
}

TEST_F(SearchPathTest, AnEmptySearchPathIsAnError) {
    app->getFileSearchPath().clear();
    // The one-field form: no value and an empty source.
    EXPECT_MERROR(mInputFile f("x.txt"), "invalid vector<T> subscript", 0, "");
    EXPECT_MERROR(mFSdir d("x"), "invalid vector<T> subscript", 0, "");
    std::string absolute = makeFile(first, "abs.txt", "x");
    mInputFile f(absolute.c_str());
    EXPECT_TRUE(f.exists());
}

} // namespace
