// Relative names resolved through the application: its directory and its file search path.
#include "FileTestSupport.h"

#include <gtest/gtest.h>

namespace {

// Two scratch directories appended to the search path for the length of a test.
class SearchPathTest : public ::testing::Test {
protected:
    SearchPathTest() : before(testApp().getFileSearchPath().size()) {
        testApp().appendFileSearchPath(mFSdir(first.path().c_str()));
        testApp().appendFileSearchPath(mFSdir(second.path().c_str()));
    }
    SearchPathGuard guard;
    size_t before;
    ScratchDir first;
    ScratchDir second;
};

TEST_F(SearchPathTest, TheFirstEntryIsTheExecutablesDirectory) {
    std::vector<mFSdir> &dirs = testApp().getFileSearchPath();
    ASSERT_EQ(dirs.size(), before + 2);
    mFSdir app = testApp().getAppDirectory();
    EXPECT_EQ(fullPath(app), executableDirectory());
    EXPECT_EQ(fullPath(dirs[0]), executableDirectory());
}

TEST_F(SearchPathTest, InputFilesTakeTheFirstDirectoryThatHasThem) {
    first.file("both.txt", "1");
    std::string inSecond = second.file("both.txt", "2");
    std::string onlySecond = second.file("nested\\only.txt", "3");

    mInputFile both("both.txt");
    EXPECT_EQ(fullPath(both), first.at("both.txt"));
    ASSERT_TRUE(both.OpenFile(true));
    char c = 0;
    both.readBytes(&c, 1);
    EXPECT_EQ(c, '1');

    mInputFile nested("nested/only.txt");
    EXPECT_EQ(fullPath(nested), onlySecond);

    mInputFile nowhere("sp_not_anywhere.txt");
    EXPECT_EQ(fullPath(nowhere), executableDirectory() + "\\sp_not_anywhere.txt");
    EXPECT_FALSE(nowhere.exists());

    mFSdir secondDir(second.path().c_str());
    mInputFile based(secondDir, "both.txt");
    EXPECT_EQ(fullPath(based), inSecond) << "a base is not searched";
}

TEST_F(SearchPathTest, OtherObjectsLieInTheApplicationDirectory) {
    second.file("out.txt", "x");
    mOutputFile out("out.txt");
    EXPECT_EQ(fullPath(out), executableDirectory() + "\\out.txt");
    mIOFile io("sub\\io.bin");
    EXPECT_EQ(fullPath(io), executableDirectory() + "\\sub\\io.bin");
    mFile plain("plain.bin");
    EXPECT_EQ(fullPath(plain), executableDirectory() + "\\plain.bin");
}

TEST_F(SearchPathTest, DirectoriesAndFilesAreFoundAsTheirKind) {
    first.file("thing", "a file");
    second.dir("thing");
    mFSdir dir("thing");
    EXPECT_EQ(fullPath(dir), second.at("thing"));
    mInputFile file("thing");
    EXPECT_EQ(fullPath(file), first.at("thing"));
}

TEST_F(SearchPathTest, UnparsableCandidatesAreSkippedOnlyByInputFiles) {
    std::vector<mFSdir> &dirs = testApp().getFileSearchPath();
    std::string child = first.dir("child");
    dirs.clear();
    dirs.push_back(mFSdir("C:\\"));
    dirs.push_back(mFSdir(child.c_str()));
    std::string target = first.file("up.txt", "x");

    mInputFile found("..\\up.txt");
    EXPECT_EQ(fullPath(found), target);

    mError e = thrownBy([] { mFSdir d("..\\up"); });
    EXPECT_STREQ(e.message.c_str(), "Bad File system path!");

    e = thrownBy([] { mInputFile f("..\\missing.txt"); });
    EXPECT_STREQ(e.message.c_str(), "Bad File system path!") << "the first directory is used when none has it";
}

TEST_F(SearchPathTest, AnEmptySearchPathIsAnError) {
    testApp().getFileSearchPath().clear();
    for (int kind = 0; kind < 2; ++kind) {
        mError e = thrownBy([&] {
            if (kind == 0)
                mInputFile f("x.txt");
            else
                mFSdir d("x");
        });
        EXPECT_STREQ(e.message.c_str(), "invalid vector<T> subscript");
        ASSERT_NE(e.file, nullptr);
        EXPECT_STREQ(e.file, "") << "the one-field form names no source";
        EXPECT_EQ(e.line, 0u);
    }
    std::string absolute = first.file("abs.txt", "x");
    mInputFile f(absolute.c_str());
    EXPECT_TRUE(f.exists());
}

} // namespace
