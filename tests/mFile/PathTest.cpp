// Parsing of paths into volume, directory path and name, and the name patterns.
#include "ExpectError.h"
#include "FileTestSupport.h"

namespace {

TEST(PathParsing, TextsComeApartIntoVolumePathAndName) {
    struct Case {
        const char *text, *volume, *path, *name, *full;
        bool unc;
    } cases[] = {
        {"C:\\", "C", "", "", "C:\\", false},
        {"C:/a\\b/c.txt", "C", "a\\b", "c.txt", "C:\\a\\b\\c.txt", false},
        {"d://x\\\\y//z.bin", "d", "x\\y", "z.bin", "d:\\x\\y\\z.bin", false},
        // A trailing separator and inner dots are no nodes; dots as the last node stay the name.
        {"C:\\a\\", "C", "", "a", "C:\\a", false},
        {"C:\\a\\.\\b\\..\\c.txt", "C", "a", "c.txt", "C:\\a\\c.txt", false},
        {"C:\\a\\..\\b", "C", "", "b", "C:\\b", false},
        {"C:\\a\\b\\..", "C", "a\\b", "..", "C:\\a\\b\\..", false},
        {"C:\\a\\.", "C", "a", ".", "C:\\a\\.", false},
        {"\\\\srv\\share\\d\\f.txt", "\\\\srv\\share", "d", "f.txt", "\\\\srv\\share\\d\\f.txt", true},
        {"\\\\srv/share", "\\\\srv\\share", "", "", "\\\\srv\\share\\", true},
    };
    for (const Case &c : cases) {
        mFSdir d(c.text);
        EXPECT_STREQ(d.getVolume().c_str(), c.volume) << c.text;
        EXPECT_STREQ(d.getPath().c_str(), c.path) << c.text;
        EXPECT_STREQ(d.getName().c_str(), c.name) << c.text;
        EXPECT_STREQ(d.getFullPath().c_str(), c.full) << c.text;
        EXPECT_EQ(d.isUNC(), c.unc) << c.text;
    }
    mFSdir root("C:\\");
    EXPECT_TRUE(root.isRoot());
    EXPECT_FALSE(root.exists()) << "a root has no name to look for";
}

TEST(PathParsing, ClimbingAboveTheVolumeAndServersWithoutShareAreRefused) {
    EXPECT_MERROR(mFile f("C:\\..\\b"), "Bad File system path!", 0, "mFile/mFSobject");
    mFSdir base("C:\\x");
    EXPECT_MERROR(mFile f(base, "..\\..\\y"), "Bad File system path!", 0, "mFile/mFSobject");
    EXPECT_MERROR(mFSdir d("\\\\srv"), "Malformed UNC file path", 0, "mFile/mFSobject");
    EXPECT_MERROR(mFSdir d("\\\\srv\\"), "Malformed UNC file path", 0, "mFile/mFSobject");
}

TEST(PathParsing, AbsolutePathsAreDriveLettersWithASeparatorOrTwoBackslashes) {
    for (const char *text : {"C:\\x", "z:/", "\\\\s"})
        EXPECT_TRUE(mFSobject::isAbsolutePath(text)) << text;
    for (const char *text : {"//srv/share", "C:", "C:foo", "1:\\x", "\\x", ""})
        EXPECT_FALSE(mFSobject::isAbsolutePath(text)) << text;
}

TEST(PathParsing, RelativeToABase) {
    struct Case {
        const char *base;
        bool baseIsFile;
        const char *text, *full;
    } cases[] = {
        {"D:\\x", false, "a/b.txt", "D:\\x\\a\\b.txt"},
        {"D:\\x", false, "\\y", "D:\\y"},           // rooted on the base's volume
        {"D:\\x", false, "C:foo", "D:\\x\\C\\foo"}, // a colon in a relative text only separates
        {"D:\\x", false, "E:\\z.txt", "E:\\z.txt"},
        {"D:\\x\\y", false, "..\\z.txt", "D:\\x\\z.txt"},
        {"D:\\x\\f.txt", true, "y.txt", "D:\\x\\y.txt"}, // a file base means its directory
        {"\\\\srv\\share\\d", false, "e.txt", "\\\\srv\\share\\d\\e.txt"},
    };
    for (const Case &c : cases) {
        mFSdir dir(c.base);
        mFile file(c.base);
        mFile made(c.baseIsFile ? static_cast<mFSobject &>(file) : dir, c.text);
        EXPECT_STREQ(made.getFullPath().c_str(), c.full) << c.base << " + " << c.text;
    }
}

TEST(PathParents, ParentDiskAndRootFollowThePath) {
    mFSdir ab("C:\\a\\b");
    mFSdir *parent = ab.getParent();
    ASSERT_NE(parent, nullptr);
    EXPECT_STREQ(parent->getFullPath().c_str(), "C:\\a");
    EXPECT_EQ(ab.getParent(), parent) << "the parent is kept";
    EXPECT_EQ(mFSdir("C:\\a").getParent(), nullptr) << "a directory in the root has none";
    mFile fileInRoot("C:\\a");
    ASSERT_NE(fileInRoot.getParent(), nullptr);
    EXPECT_STREQ(fileInRoot.getParent()->getFullPath().c_str(), "C:\\");

    mFile f("e:\\x\\y.txt");
    EXPECT_STREQ(f.getDisk()->getVolumeName().c_str(), "e");
    EXPECT_STREQ(f.getRootDir()->getFullPath().c_str(), "e:\\");
    EXPECT_STREQ(mFSdir(f.getDisk()).getFullPath().c_str(), "e:\\");
    EXPECT_STREQ(mFSdir(&f).getFullPath().c_str(), "e:\\x");
    EXPECT_FALSE(f.getDisk()->isUNC());
    mFile u("\\\\srv\\share\\x.txt");
    EXPECT_TRUE(u.getDisk()->isUNC());
    EXPECT_STREQ(u.getRootDir()->getFullPath().c_str(), "\\\\srv\\share\\");
}

TEST(PathParents, CopiesShareNoCache) {
    mFile original("C:\\a\\b.txt");
    mFSdir *parent = original.getParent();
    mFile copy(original);
    EXPECT_STREQ(copy.getFullPath().c_str(), "C:\\a\\b.txt");
    EXPECT_NE(copy.getParent(), parent);

    mFSdir assigned("C:\\old");
    EXPECT_STREQ(assigned.getFullPath().c_str(), "C:\\old");
    assigned = mFSdir("\\\\srv\\share\\q");
    EXPECT_STREQ(assigned.getFullPath().c_str(), "\\\\srv\\share\\q");
}

TEST(WildCard, StarsStopAtDotsAndTextsMatchAsPrefixes) {
    struct Match {
        const char *name;
        const char *pattern;
        bool expected;
    } cases[] = {
        {"a.TXT", "*.txt", true}, {"readme", "*.*", false}, {"x.y", "*.*", true}, {"a.b", "?.?", true},
        {".x", "?x", false}, {"abc", "a*", true}, {"abc.txt", "a*", false}, {"abcdef", "ab", true},
        {"ab", "abc", true}, {"anything", "", true}, {"abc", "*c", false}, {"ABC.Doc", "abc.doc", true},
        {"abd", "abc", false}, {"x.txt", "*.t?t", true}, {"file.c", "*.cpp", true}, {"file.cpp", "*.h", false},
        {"a.b", "a?b", false},
    };
    for (const Match &m : cases)
        EXPECT_EQ(mFSobject::wildCardMatch(m.name, m.pattern), m.expected) << m.name << " ~ " << m.pattern;
    EXPECT_TRUE(mFile("C:\\dir\\notes.TXT").wildCardMatch("notes.*")) << "the name is matched, not the path";
}

} // namespace
