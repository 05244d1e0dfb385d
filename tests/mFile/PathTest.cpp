// Parsing of paths into volume, directory path and name, and the name patterns.
#include "ExpectError.h"
#include "FileTestSupport.h"

namespace {

void expectParts(mFSobject &o, const char *volume, const char *path, const char *name) {
    EXPECT_STREQ(o.getVolume().c_str(), volume);
    EXPECT_STREQ(o.getPath().c_str(), path);
    EXPECT_STREQ(o.getName().c_str(), name);
}

TEST(PathParsing, DriveRootHasOnlyAVolume) {
    mFSdir root("C:\\");
    expectParts(root, "C", "", "");
    EXPECT_STREQ(root.getFullPath().c_str(), "C:\\");
    EXPECT_TRUE(root.isRoot());
    EXPECT_FALSE(root.exists());
    EXPECT_FALSE(root.isUNC());
}

TEST(PathParsing, AnySeparatorIsAcceptedAndBackslashesComeOut) {
    mFile f("C:/a\\b/c.txt");
    expectParts(f, "C", "a\\b", "c.txt");
    EXPECT_STREQ(f.getFullPath().c_str(), "C:\\a\\b\\c.txt");

    mFile doubled("d://x\\\\y//z.bin");
    expectParts(doubled, "d", "x\\y", "z.bin");
}

TEST(PathParsing, TrailingSeparatorAndDotsAreNotNodes) {
    mFSdir trailing("C:\\a\\");
    expectParts(trailing, "C", "", "a");
    EXPECT_TRUE(trailing.isRoot());

    mFile dotted("C:\\a\\.\\b\\..\\c.txt");
    expectParts(dotted, "C", "a", "c.txt");

    mFile up("C:\\a\\..\\b");
    expectParts(up, "C", "", "b");
}

TEST(PathParsing, DotsAsTheLastNodeStayTheName) {
    mFSdir dots("C:\\a\\b\\..");
    expectParts(dots, "C", "a\\b", "..");
    mFSdir dot("C:\\a\\.");
    expectParts(dot, "C", "a", ".");
}

TEST(PathParsing, ClimbingAboveTheVolumeIsRefused) {
    EXPECT_MERROR(mFile f("C:\\..\\b"), "Bad File system path!", 0, "mFile/mFSobject");
    mFSdir base("C:\\x");
    EXPECT_MERROR(mFile f(base, "..\\..\\y"), "Bad File system path!", 0, "mFile/mFSobject");
}

TEST(PathParsing, UncNamesKeepServerAndShareAsTheVolume) {
    mFile f("\\\\srv\\share\\d\\f.txt");
    expectParts(f, "\\\\srv\\share", "d", "f.txt");
    EXPECT_TRUE(f.isUNC());
    EXPECT_STREQ(f.getFullPath().c_str(), "\\\\srv\\share\\d\\f.txt");

    mFSdir share("\\\\srv/share");
    expectParts(share, "\\\\srv\\share", "", "");
    EXPECT_TRUE(share.isUNC());
    EXPECT_STREQ(share.getFullPath().c_str(), "\\\\srv\\share\\");
}

TEST(PathParsing, ServerWithoutShareIsMalformed) {
    EXPECT_MERROR(mFSdir d("\\\\srv"), "Malformed UNC file path", 0, "mFile/mFSobject");
    EXPECT_MERROR(mFSdir d("\\\\srv\\"), "Malformed UNC file path", 0, "mFile/mFSobject");
}

TEST(PathParsing, AbsolutePathsAreDriveLettersWithASeparatorOrTwoBackslashes) {
    EXPECT_TRUE(mFSobject::isAbsolutePath("C:\\x"));
    EXPECT_TRUE(mFSobject::isAbsolutePath("z:/"));
    EXPECT_TRUE(mFSobject::isAbsolutePath("\\\\s"));
    EXPECT_FALSE(mFSobject::isAbsolutePath("//srv/share"));
    EXPECT_FALSE(mFSobject::isAbsolutePath("C:"));
    EXPECT_FALSE(mFSobject::isAbsolutePath("C:foo"));
    EXPECT_FALSE(mFSobject::isAbsolutePath("1:\\x"));
    EXPECT_FALSE(mFSobject::isAbsolutePath("\\x"));
    EXPECT_FALSE(mFSobject::isAbsolutePath(""));
}

TEST(PathParsing, RelativeToABase) {
    mFSdir dir("D:\\x");
    mFile inside(dir, "a/b.txt");
    EXPECT_STREQ(inside.getFullPath().c_str(), "D:\\x\\a\\b.txt");

    // A leading separator roots the text on the base's volume.
    mFile rooted(dir, "\\y");
    EXPECT_STREQ(rooted.getFullPath().c_str(), "D:\\y");

    // A colon inside a relative text is just another separator.
    mFile colon(dir, "C:foo");
    EXPECT_STREQ(colon.getFullPath().c_str(), "D:\\x\\C\\foo");

    mFile absolute(dir, "E:\\z.txt");
    EXPECT_STREQ(absolute.getFullPath().c_str(), "E:\\z.txt");

    mFSdir deeper("D:\\x\\y");
    mFile up(deeper, "..\\z.txt");
    EXPECT_STREQ(up.getFullPath().c_str(), "D:\\x\\z.txt");
}

TEST(PathParsing, AFileBaseMeansItsDirectory) {
    mFile file("D:\\x\\f.txt");
    mFile sibling(file, "y.txt");
    EXPECT_STREQ(sibling.getFullPath().c_str(), "D:\\x\\y.txt");

    mFSdir unc("\\\\srv\\share\\d");
    mFile inUnc(unc, "e.txt");
    EXPECT_TRUE(inUnc.isUNC());
    EXPECT_STREQ(inUnc.getFullPath().c_str(), "\\\\srv\\share\\d\\e.txt");
}

TEST(PathParents, ParentStopsBelowTheVolumeRoot) {
    mFSdir ab("C:\\a\\b");
    EXPECT_FALSE(ab.isRoot());
    mFSdir *parent = ab.getParent();
    ASSERT_NE(parent, nullptr);
    expectParts(*parent, "C", "", "a");
    EXPECT_EQ(ab.getParent(), parent) << "the parent is kept";

    mFSdir a("C:\\a");
    EXPECT_TRUE(a.isRoot());
    EXPECT_EQ(a.getParent(), nullptr);

    mFile fileInRoot("C:\\a");
    ASSERT_NE(fileInRoot.getParent(), nullptr);
    EXPECT_STREQ(fileInRoot.getParent()->getFullPath().c_str(), "C:\\");
}

TEST(PathParents, DiskAndRootFollowTheVolume) {
    mFile f("e:\\x\\y.txt");
    EXPECT_STREQ(f.getDisk()->getVolumeName().c_str(), "e");
    EXPECT_FALSE(f.getDisk()->isUNC());
    EXPECT_STREQ(f.getRootDir()->getFullPath().c_str(), "e:\\");
    mFSdir fromDisk(f.getDisk());
    EXPECT_STREQ(fromDisk.getFullPath().c_str(), "e:\\");

    mFile u("\\\\srv\\share\\x.txt");
    EXPECT_TRUE(u.getDisk()->isUNC());
    EXPECT_STREQ(u.getRootDir()->getFullPath().c_str(), "\\\\srv\\share\\");

    mFile inDir("e:\\x\\y.txt");
    mFSdir holder(&inDir);
    EXPECT_STREQ(holder.getFullPath().c_str(), "e:\\x");
}

TEST(PathParents, CopiesShareNoCache) {
    mFile original("C:\\a\\b.txt");
    mFSdir *parent = original.getParent();
    mFile copy(original);
    EXPECT_STREQ(copy.getFullPath().c_str(), "C:\\a\\b.txt");
    EXPECT_NE(copy.getParent(), parent);

    mFSdir assigned;
    assigned = mFSdir("\\\\srv\\share\\q");
    EXPECT_TRUE(assigned.isUNC());
    EXPECT_STREQ(assigned.getFullPath().c_str(), "\\\\srv\\share\\q");
}

struct Match {
    const char *name;
    const char *pattern;
    bool expected;
};

TEST(WildCard, StarsStopAtDotsAndTextsMatchAsPrefixes) {
    const Match cases[] = {
        {"a.TXT", "*.txt", true},    {"readme", "*.*", false}, {"x.y", "*.*", true},
        {"a.b", "?.?", true},        {".x", "?x", false},      {"abc", "a*", true},
        {"abc.txt", "a*", false},    {"abcdef", "ab", true},   {"ab", "abc", true},
        {"anything", "", true},      {"abc", "*c", false},     {"ABC.Doc", "abc.doc", true},
        {"abd", "abc", false},       {"x.txt", "*.t?t", true}, {"file.c", "*.cpp", true},
        {"file.cpp", "*.h", false},  {"a.b", "a?b", false},
    };
    for (const Match &m : cases)
        EXPECT_EQ(mFSobject::wildCardMatch(m.name, m.pattern), m.expected) << m.name << " ~ " << m.pattern;

    mFile f("C:\\dir\\notes.TXT");
    EXPECT_TRUE(f.wildCardMatch("*.txt"));
    EXPECT_FALSE(f.wildCardMatch("*.doc"));
}

} // namespace
