// Directories and disks against real scratch trees.
#include "FileTestSupport.h"

#include <gtest/gtest.h>

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
    ScratchDir scratch;
    scratch.file("a.txt", "1");
    scratch.file("b.dat", "22");
    scratch.dir("sub");
    mFSdir dir(scratch.path().c_str());

    std::map<std::string, char> expected = {{".", 'd'}, {"..", 'd'}, {"a.txt", 'f'}, {"b.dat", 'f'}, {"sub", 'd'}};
    EXPECT_EQ(listing(dir, nullptr), expected);
    mString empty;
    EXPECT_EQ(listing(dir, &empty), expected);

    mString pattern("*.txt");
    std::map<std::string, char> onlyText = {{"a.txt", 'f'}};
    EXPECT_EQ(listing(dir, &pattern), onlyText);
}

TEST(DirectoryContents, MissingDirectoryGivesAnEmptyList) {
    ScratchDir scratch;
    mFSdir missing(scratch.at("nowhere").c_str());
    std::vector<mFSobject *> *contents = missing.getContents(nullptr);
    ASSERT_NE(contents, nullptr);
    EXPECT_TRUE(contents->empty());
    missing.destroyContentsVector(contents);
}

TEST(DirectoryExists, KindMustMatch) {
    ScratchDir scratch;
    std::string file = scratch.file("thing.txt", "x");
    std::string dir = scratch.dir("folder");
    EXPECT_TRUE(mFile(file.c_str()).exists());
    EXPECT_FALSE(mFSdir(file.c_str()).exists());
    EXPECT_TRUE(mFSdir(dir.c_str()).exists());
    EXPECT_FALSE(mFile(dir.c_str()).exists());
    EXPECT_FALSE(mFile(scratch.at("none.txt").c_str()).exists());
}

TEST(DirectoryCreate, MakesEveryMissingLevel) {
    ScratchDir scratch;
    mFSdir deep(scratch.at("a\\b\\c").c_str());
    EXPECT_FALSE(deep.exists());
    EXPECT_TRUE(deep.createIfNeeded());
    EXPECT_TRUE(isDirectory(scratch.at("a\\b")));
    EXPECT_TRUE(isDirectory(scratch.at("a\\b\\c")));
    EXPECT_TRUE(deep.createIfNeeded()) << "an existing directory is fine";
}

TEST(DirectoryCreate, FailsWhenAFileIsInTheWay) {
    ScratchDir scratch;
    scratch.file("blocker", "x");
    mFSdir below(scratch.at("blocker\\sub").c_str());
    EXPECT_FALSE(below.createIfNeeded());
    EXPECT_FALSE(isDirectory(scratch.at("blocker\\sub")));
}

TEST(DirectoryRemove, PlainRemovalOnlyTakesAnEmptyDirectory) {
    ScratchDir scratch;
    std::string kept = scratch.file("full\\f.txt", "x");
    mFSdir full(scratch.at("full").c_str());
    EXPECT_FALSE(full.removeDir(false));
    EXPECT_TRUE(pathExists(kept));

    mFSdir empty(scratch.dir("empty").c_str());
    EXPECT_TRUE(empty.removeDir(false));
    EXPECT_FALSE(pathExists(scratch.at("empty")));

    mFSdir missing(scratch.at("missing").c_str());
    EXPECT_TRUE(missing.removeDir(false));
    EXPECT_TRUE(missing.removeDir(true));
}

TEST(DirectoryRemove, RecursiveRemovalEmptiesTheTreeAndKeepsItsDirectories) {
    ScratchDir scratch;
    std::string files[] = {scratch.file("tree\\a.txt", "1"), scratch.file("tree\\x\\b.txt", "2"),
                           scratch.file("tree\\x\\y\\c.txt", "3")};
    mFSdir tree(scratch.at("tree").c_str());
    EXPECT_TRUE(tree.removeDir(true));
    for (const std::string &f : files)
        EXPECT_FALSE(pathExists(f)) << f;
    EXPECT_TRUE(isDirectory(scratch.at("tree\\x\\y")));
    EXPECT_FALSE(tree.removeDir(false)) << "the subdirectories are still there";
}

TEST(DirectoryRemove, RecursiveRemovalReportsAFileThatStays) {
    ScratchDir scratch;
    std::string locked = scratch.file("tree\\locked.txt", "1");
    SetFileAttributesA(locked.c_str(), FILE_ATTRIBUTE_READONLY);
    mFSdir tree(scratch.at("tree").c_str());
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
