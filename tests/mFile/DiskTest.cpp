// Directories and disks against real scratch trees.
#include "FileTestSupport.h"

#include <map>

namespace {

// Names of a listing with their kind: 'd' for a directory object, 'f' for a file object.
std::map<std::string, char> listing(mFSdir &dir, const mString *pattern) {
    std::map<std::string, char> names;
    std::vector<mFSobject *> *contents = dir.getContents(pattern);
    for (mFSobject *o : *contents) {
        names[o->getName().c_str()] = o->isDir() ? 'd' : 'f';
        EXPECT_NE(o->isDir(), o->isFile());
        EXPECT_EQ(fullPath(*o), fullPath(dir) + "\\" + o->getName().c_str());
    }
    dir.destroyContentsVector(contents);
    return names;
}

TEST(DirectoryContents, ListsEntriesWithTheirKind) {
    ScratchDir scratch(testName());
    makeFile(scratch, "a.txt", "1");
    makeFile(scratch, "b.dat", "22");
    makeDir(scratch, "sub");
    mFSdir dir(rootOf(scratch).c_str());

    std::map<std::string, char> expected = {{".", 'd'}, {"..", 'd'}, {"a.txt", 'f'}, {"b.dat", 'f'}, {"sub", 'd'}};
    EXPECT_EQ(listing(dir, nullptr), expected);
    mString empty;
    EXPECT_EQ(listing(dir, &empty), expected);

    mString pattern("*.txt");
    std::map<std::string, char> onlyText = {{"a.txt", 'f'}};
    EXPECT_EQ(listing(dir, &pattern), onlyText);
}

TEST(DirectoryContents, MissingDirectoryGivesAnEmptyList) {
    ScratchDir scratch(testName());
    mFSdir missing(scratch.path("nowhere").c_str());
    std::vector<mFSobject *> *contents = missing.getContents(nullptr);
    ASSERT_NE(contents, nullptr);
    EXPECT_TRUE(contents->empty());
    missing.destroyContentsVector(contents);
}

TEST(DirectoryExists, KindMustMatch) {
    ScratchDir scratch(testName());
    std::string file = makeFile(scratch, "thing.txt", "x");
    std::string dir = makeDir(scratch, "folder");
    EXPECT_TRUE(mFile(file.c_str()).exists());
    EXPECT_FALSE(mFSdir(file.c_str()).exists());
    EXPECT_TRUE(mFSdir(dir.c_str()).exists());
    EXPECT_FALSE(mFile(dir.c_str()).exists());
    EXPECT_FALSE(mFile(scratch.path("none.txt").c_str()).exists());
}

TEST(DirectoryCreate, MakesEveryMissingLevel) {
    ScratchDir scratch(testName());
    mFSdir deep(scratch.path("a\\b\\c").c_str());
    EXPECT_FALSE(deep.exists());
    EXPECT_TRUE(deep.createIfNeeded());
    EXPECT_TRUE(isDirectory(scratch.path("a\\b")));
    EXPECT_TRUE(isDirectory(scratch.path("a\\b\\c")));
    EXPECT_TRUE(deep.createIfNeeded()) << "an existing directory is fine";
}

TEST(DirectoryCreate, FailsWhenAFileIsInTheWay) {
    ScratchDir scratch(testName());
    makeFile(scratch, "blocker", "x");
    mFSdir below(scratch.path("blocker\\sub").c_str());
    EXPECT_FALSE(below.createIfNeeded());
    EXPECT_FALSE(isDirectory(scratch.path("blocker\\sub")));
}

TEST(DirectoryRemove, PlainRemovalOnlyTakesAnEmptyDirectory) {
    ScratchDir scratch(testName());
    std::string kept = makeFile(scratch, "full\\f.txt", "x");
    mFSdir full(scratch.path("full").c_str());
    EXPECT_FALSE(full.removeDir(false));
    EXPECT_TRUE(pathExists(kept));

    mFSdir empty(makeDir(scratch, "empty").c_str());
    EXPECT_TRUE(empty.removeDir(false));
    EXPECT_FALSE(pathExists(scratch.path("empty")));

    mFSdir missing(scratch.path("missing").c_str());
    EXPECT_TRUE(missing.removeDir(false));
    EXPECT_TRUE(missing.removeDir(true));
}

TEST(DirectoryRemove, RecursiveRemovalEmptiesTheTreeAndKeepsItsDirectories) {
    ScratchDir scratch(testName());
    std::string files[] = {makeFile(scratch, "tree\\a.txt", "1"), makeFile(scratch, "tree\\x\\b.txt", "2"),
                           makeFile(scratch, "tree\\x\\y\\c.txt", "3")};
    mFSdir tree(scratch.path("tree").c_str());
    EXPECT_TRUE(tree.removeDir(true));
    for (const std::string &f : files)
        EXPECT_FALSE(pathExists(f)) << f;
    EXPECT_TRUE(isDirectory(scratch.path("tree\\x\\y")));
    EXPECT_FALSE(tree.removeDir(false)) << "the subdirectories are still there";
}

TEST(DirectoryRemove, RecursiveRemovalReportsAFileThatStays) {
    ScratchDir scratch(testName());
    std::string locked = makeFile(scratch, "tree\\locked.txt", "1");
    SetFileAttributesA(locked.c_str(), FILE_ATTRIBUTE_READONLY);
    mFSdir tree(scratch.path("tree").c_str());
    EXPECT_FALSE(tree.removeDir(true));
    EXPECT_TRUE(pathExists(locked));
    SetFileAttributesA(locked.c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST(Disks, MountedDisksFollowTheDriveMask) {
    DWORD mask = GetLogicalDrives() & 0x3ffffff;
    std::vector<mFSdisk> *disks = mFSdisk::getMountedDisks();
    DWORD seen = 0;
    for (mFSdisk &d : *disks) {
        const mString &v = d.getVolumeName();
        ASSERT_EQ(v.length(), 1);
        ASSERT_TRUE(v[0] >= 'A' && v[0] <= 'Z');
        seen |= 1UL << (v[0] - 'A');
        EXPECT_EQ(fullPath(*d.getRoot()), std::string(v.c_str()) + ":\\");
    }
    EXPECT_EQ(seen, mask);
    EXPECT_EQ((int)disks->size(), __builtin_popcount(mask));
    mFSdisk::destroyDiskVector(disks);

    mFSdir here(executableDirectory().c_str());
    EXPECT_FALSE(here.getDisk()->isCDrom());
}

} // namespace
