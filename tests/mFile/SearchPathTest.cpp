// Relative names resolved through the application: its directory and its file search path.
#include "ExpectError.h"
#include "FileTestSupport.h"

namespace {

// Two scratch directories behind the application directory on the search path.
class SearchPathTest : public FileAppFixture {
protected:
    void SetUp() override {
        FileAppFixture::SetUp();
        app->appendFileSearchPath(mFSdir(first.root().c_str()));
        app->appendFileSearchPath(mFSdir(second.root().c_str()));
    }
    Scratch first{"-1"};
    Scratch second{"-2"};
};

TEST_F(SearchPathTest, OnlyInputFilesTakeTheFirstDirectoryThatHasThem) {
    first.file("both.txt", "1");
    std::string inSecond = second.file("both.txt", "2");
    std::string onlySecond = second.file("nested\\only.txt", "3");

    mInputFile both("both.txt");
    EXPECT_EQ(fullPath(both), first.path("both.txt"));
    mInputFile nested("nested/only.txt");
    EXPECT_EQ(fullPath(nested), onlySecond);
    // Found nowhere, the name lies in the first directory: the executable's.
    mInputFile nowhere("sp_not_anywhere.txt");
    EXPECT_EQ(fullPath(nowhere), executableDirectory() + "\\sp_not_anywhere.txt");

    mFSdir secondDir(second.root().c_str());
    mInputFile based(secondDir, "both.txt");
    EXPECT_EQ(fullPath(based), inSecond) << "a base is not searched";

    // Only input files search; the others lie in the application directory.
    mOutputFile out("both.txt");
    mIOFile io("both.txt");
    mFile plain("both.txt");
    for (mFSobject *o : std::initializer_list<mFSobject *>{&out, &io, &plain})
        EXPECT_EQ(fullPath(*o), executableDirectory() + "\\both.txt");
}

TEST_F(SearchPathTest, DirectoriesAndFilesAreFoundAsTheirKind) {
    first.file("thing", "a file");
    second.dir("thing");
    mFSdir dir("thing");
    EXPECT_EQ(fullPath(dir), second.path("thing"));
    mInputFile file("thing");
    EXPECT_EQ(fullPath(file), first.path("thing"));
}

TEST_F(SearchPathTest, UnparsableCandidatesAreSkippedOnlyByInputFiles) {
    std::vector<mFSdir> &dirs = app->getFileSearchPath();
    std::string child = first.dir("child");
    dirs.clear();
    dirs.push_back(mFSdir("C:\\"));
    dirs.push_back(mFSdir(child.c_str()));
    std::string target = first.file("up.txt", "x");

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
    std::string absolute = first.file("abs.txt", "x");
    EXPECT_TRUE(mInputFile(absolute.c_str()).exists());
}

} // namespace
