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

TEST(DirectoryContents, ListsAndFindsEntriesByTheirKind) {
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

    // Existence asks for the object's own kind.
    EXPECT_TRUE(mFile(scratch.path("a.txt").c_str()).exists());
    EXPECT_FALSE(mFSdir(scratch.path("a.txt").c_str()).exists());
    EXPECT_TRUE(mFSdir(scratch.path("sub").c_str()).exists());
    EXPECT_FALSE(mFile(scratch.path("sub").c_str()).exists());
    EXPECT_FALSE(missing.exists());
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

    EXPECT_TRUE(mFSdir(scratch.path("missing").c_str()).removeDir(false)) << "nothing to remove is no failure";
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
    DWORD mask = GetLogicalDrives();
    std::string letters, expected;
    for (int drive = 0; drive < 26; ++drive)
        if (mask & (1UL << drive))
            expected += (char)('A' + drive);
    std::vector<mFSdisk> *disks = mFSdisk::getMountedDisks();
    for (mFSdisk &d : *disks)
        letters += d.getVolumeName().c_str();
    mFSdisk::destroyDiskVector(disks);
    EXPECT_EQ(letters, expected);

    EXPECT_FALSE(mFSdir(executableDirectory().c_str()).getDisk()->isCDrom());
}

} // namespace
