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
        EXPECT_EQ(fullPath(*o), fullPath(dir) + "\\" + o->getName().c_str());
    }
    dir.destroyContentsVector(contents);
    return names;
}

TEST(DirectoryContents, ListsEntriesWithTheirKind) {
    Scratch scratch;
    scratch.file("a.txt", "1");
    scratch.file("b.dat", "22");
    scratch.dir("sub");
    mFSdir dir(scratch.root().c_str());

    std::map<std::string, char> expected = {{".", 'd'}, {"..", 'd'}, {"a.txt", 'f'}, {"b.dat", 'f'}, {"sub", 'd'}};
    EXPECT_EQ(listing(dir, nullptr), expected);
    mString empty, pattern("*.txt");
    EXPECT_EQ(listing(dir, &empty), expected);
    EXPECT_EQ(listing(dir, &pattern), (std::map<std::string, char>{{"a.txt", 'f'}}));

    mFSdir missing(scratch.path("nowhere").c_str());
    EXPECT_TRUE(listing(missing, nullptr).empty());
}

TEST(DirectoryExists, KindMustMatch) {
    Scratch scratch;
    std::string file = scratch.file("thing.txt", "x");
    std::string dir = scratch.dir("folder");
    EXPECT_TRUE(mFile(file.c_str()).exists());
    EXPECT_FALSE(mFSdir(file.c_str()).exists());
    EXPECT_TRUE(mFSdir(dir.c_str()).exists());
    EXPECT_FALSE(mFile(dir.c_str()).exists());
    EXPECT_FALSE(mFile(scratch.path("none.txt").c_str()).exists());
}

TEST(DirectoryCreate, MakesEveryMissingLevelUnlessAFileIsInTheWay) {
    Scratch scratch;
    mFSdir deep(scratch.path("a\\b\\c").c_str());
    EXPECT_TRUE(deep.createIfNeeded());
    EXPECT_TRUE(fs::is_directory(scratch.path("a\\b\\c")));
    EXPECT_TRUE(deep.createIfNeeded()) << "an existing directory is fine";

    scratch.file("blocker", "x");
    EXPECT_FALSE(mFSdir(scratch.path("blocker\\sub").c_str()).createIfNeeded());
    EXPECT_FALSE(fs::is_directory(scratch.path("blocker\\sub")));
}

TEST(DirectoryRemove, PlainRemovalTakesOnlyAnEmptyDirectory) {
    Scratch scratch;
    std::string kept = scratch.file("full\\f.txt", "x");
    EXPECT_FALSE(mFSdir(scratch.path("full").c_str()).removeDir(false));
    EXPECT_TRUE(fs::exists(kept));

    EXPECT_TRUE(mFSdir(scratch.dir("empty").c_str()).removeDir(false));
    EXPECT_FALSE(fs::exists(scratch.path("empty")));

    mFSdir missing(scratch.path("missing").c_str());
    EXPECT_TRUE(missing.removeDir(false));
    EXPECT_TRUE(missing.removeDir(true));
}

TEST(DirectoryRemove, RecursiveRemovalEmptiesTheTreeAndReportsAFileThatStays) {
    Scratch scratch;
    std::string files[] = {scratch.file("tree\\a.txt", "1"), scratch.file("tree\\x\\b.txt", "2"),
                           scratch.file("tree\\x\\y\\c.txt", "3")};
    mFSdir tree(scratch.path("tree").c_str());
    EXPECT_TRUE(tree.removeDir(true));
    for (const std::string &f : files)
        EXPECT_FALSE(fs::exists(f)) << f;
    EXPECT_TRUE(fs::is_directory(scratch.path("tree\\x\\y"))) << "the directories stay";
    EXPECT_FALSE(tree.removeDir(false));

    std::string locked = scratch.file("tree\\x\\locked.txt", "1");
    SetFileAttributesA(locked.c_str(), FILE_ATTRIBUTE_READONLY);
    EXPECT_FALSE(tree.removeDir(true));
    EXPECT_TRUE(fs::exists(locked));
    SetFileAttributesA(locked.c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST(Disks, MountedDisksFollowTheDriveMask) {
    DWORD mask = GetLogicalDrives() & 0x3ffffff;
    std::vector<mFSdisk> *disks = mFSdisk::getMountedDisks();
    DWORD seen = 0;
    for (mFSdisk &d : *disks) {
        const mString &v = d.getVolumeName();
        ASSERT_TRUE(v.length() == 1 && v[0] >= 'A' && v[0] <= 'Z') << v.c_str();
        seen |= 1UL << (v[0] - 'A');
    }
    EXPECT_EQ(seen, mask);
    EXPECT_EQ((int)disks->size(), __builtin_popcount(mask));
    mFSdisk::destroyDiskVector(disks);

    EXPECT_FALSE(mFSdir(executableDirectory().c_str()).getDisk()->isCDrom());
}

} // namespace
