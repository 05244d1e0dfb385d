#include <Velnor11.h>

#include <gtest/gtest.h>

TEST(mString, EmptyCopiesAreBlockless) {
    mString owner;
    owner.reserve(40);
    EXPECT_EQ(40, owner.capacity());
    mString copy(owner);
    EXPECT_EQ(0, copy.capacity());
    EXPECT_TRUE(copy.empty());
    EXPECT_STREQ("", copy.c_str());
}

TEST(mString, GrowthIsExactAndRoomIsNeverGivenBack) {
    mString s("abc");
    EXPECT_EQ(3, s.capacity());
    s += "de";
    EXPECT_EQ(5, s.capacity());
    s.append(1, 'f');
    EXPECT_EQ(6, s.capacity());
    s.erase(0, 4);
    EXPECT_STREQ("ef", s.c_str());
    EXPECT_EQ(6, s.capacity());

    mString shared("xyz");
    mString other(shared);
    other.reserve(100);
    EXPECT_EQ(100, other.capacity());
    EXPECT_NE(shared.c_str(), other.c_str());
    other.reserve(50);
    EXPECT_EQ(100, other.capacity());
    EXPECT_STREQ("xyz", other.c_str());

    mString third(shared);
    third.reserve(2);  // below the room: stays shared
    EXPECT_EQ(shared.c_str(), third.c_str());
}

TEST(mString, AssignWithCountPadsWithNul) {
    mString s;
    s.assign("ab", 4);
    EXPECT_EQ(4, s.length());
    EXPECT_STREQ("ab", s.c_str());
    EXPECT_EQ(0, s.c_str()[3]);
    s.assign("abcdef", 3);
    EXPECT_STREQ("abc", s.c_str());
    s.assign("", 0);
    EXPECT_TRUE(s.empty());

    mString n;
    n = '\0';
    EXPECT_EQ(1, n.length());
    mString fill(3, 'z');
    EXPECT_STREQ("zzz", fill.c_str());
}

TEST(mString, AtOutOfRange) {
    const mString cs("ab");
    EXPECT_EQ(0, cs.at(2));
    EXPECT_EQ(0, cs.at(-1));
    mString s("ab");
    char &scratch = s.at(5);
    scratch = 'Q';
    EXPECT_STREQ("ab", s.c_str());
    EXPECT_EQ('Q', s.at(-3)) << "the scratch character keeps what was written to it";
}

TEST(mString, Substr) {
    mString s("abcd");
    EXPECT_STREQ("cd", s.substr(2, -1).c_str());
    EXPECT_STREQ("", s.substr(4, -1).c_str());
    EXPECT_STREQ("", s.substr(1, 0).c_str());
    EXPECT_STREQ("bc", s.substr(1, 2).c_str());
    EXPECT_STREQ("bcd", s.substr(1, 99).c_str());
    EXPECT_EQ(2, s.substr(1, 2).capacity());
}

TEST(mString, CompareIsByUnsignedBytes) {
    mString a("abc");
    EXPECT_EQ(0, a.compare("abc"));
    EXPECT_EQ(-1, a.compare("abd"));
    EXPECT_EQ(1, a.compare("ab"));
    EXPECT_EQ(-1, a.compare("\xE0"));
    EXPECT_TRUE(a < mString("b"));
    EXPECT_TRUE(a == "abc");
    EXPECT_TRUE(a != "abC");
    EXPECT_TRUE(a >= "abc");
    EXPECT_EQ(0, a.compare(1, 2, mString("bcx")));
    EXPECT_EQ(0, a.compare(1, 0, mString("zzz")));
    EXPECT_EQ(-1, a.compare(0, 3, mString("abd")));
}

TEST(mString, ForwardSearches) {
    mString s("abcabc");
    EXPECT_EQ(0, mString("abc").find("", 0));
    EXPECT_EQ(-1, mString("abc").find("", 3));
    EXPECT_EQ(-1, mString().find("", 0));
    EXPECT_EQ(3, s.find("abc", 1));
    EXPECT_EQ(4, s.find('b', 2));
    EXPECT_EQ(-1, s.find('\0', 0));
    EXPECT_EQ(-1, s.find('a', -1));
    EXPECT_EQ(-1, s.find('a', 6));
    EXPECT_EQ(2, s.find_first_of("xc", 0));
    EXPECT_EQ(-1, s.find_first_of("", 0));
    EXPECT_EQ(-1, s.find_first_of("xyz", 0));
}

TEST(mString, BackwardSearches) {
    mString s("abc");
    EXPECT_EQ(2, s.rfind("c", -1));
    EXPECT_EQ(2, s.rfind('c', -1));
    EXPECT_EQ(2, s.rfind('c', 10));
    EXPECT_EQ(-1, s.rfind('c', 1));
    EXPECT_EQ(0, s.rfind("ab", -1));
    EXPECT_EQ(-1, s.rfind("ab", 0));
    EXPECT_EQ(1, s.rfind("", 1));
    EXPECT_EQ(-1, mString().rfind('a', -1));
    EXPECT_EQ(-1, s.rfind("abcd", -1));
    mString path("a\\b\\c");
    EXPECT_EQ(3, path.find_last_of("\\/", -1));
    EXPECT_EQ(1, path.find_last_of("\\/", 2));
    EXPECT_EQ(-1, path.find_last_of("", -1));
}

TEST(mString, ReplaceLeavesSharersAlone) {
    for (const char *with : {"XYZ", "", "Q"}) {
        mString s("abcd");
        mString sharer(s);
        s.replace(1, 1, mString(with));
        EXPECT_STREQ("abcd", sharer.c_str());
        EXPECT_EQ(mString("a") + with + "cd", s);
    }
    mString s("abcd");
    s.replace(4, 0, mString("ef"));
    EXPECT_STREQ("abcdef", s.c_str());
    s.replace(7, 0, mString("gh"));
    EXPECT_STREQ("abcdef", s.c_str());
    s.replace(2, -1, mString("Z"));
    EXPECT_STREQ("abZ", s.c_str());
    s.replace(1, 50, 3, '-');
    EXPECT_STREQ("a---", s.c_str());
    s.replace(0, -1, mString());
    EXPECT_EQ(0, s.length());
    EXPECT_STREQ("", s.c_str());
}

TEST(mString, EraseInsertPrepend) {
    mString s("abcd");
    s.erase(1, -1);
    EXPECT_STREQ("a", s.c_str());
    s = "abcd";
    s.erase(-1, 2);
    EXPECT_STREQ("bcd", s.c_str());
    s.erase(2, -5);
    EXPECT_STREQ("bcd", s.c_str());
    s.insert(1, "XY");
    EXPECT_STREQ("bXYcd", s.c_str());
    s.insert(5, 2, '!');
    EXPECT_STREQ("bXYcd!!", s.c_str());
    s.insert(0, mString("0123"), 1, 2);
    EXPECT_STREQ("12bXYcd!!", s.c_str());
    s.prepend(2, '>');
    EXPECT_STREQ(">>12bXYcd!!", s.c_str());
    s.erase();
    EXPECT_EQ(0, s.capacity());
}

TEST(mString, CaseMapping) {
    mString s("MiXed 9 \xC4");
    mString sharer(s);
    s.toUpper();
    EXPECT_STREQ("MIXED 9 \xC4", s.c_str());
    s.toLower();
    EXPECT_STREQ("mixed 9 \xC4", s.c_str());
    EXPECT_STREQ("MiXed 9 \xC4", sharer.c_str());
}

TEST(mString, NumberFormatting) {
    EXPECT_STREQ("00FF", mString(255, 4, '0', 16, false).c_str());
    EXPECT_STREQ("FF..", mString(255, -4, '.', 16, false).c_str());
    EXPECT_STREQ("34", mString(4660, 2, '0', 16, false).c_str());
    EXPECT_STREQ("1234", mString(4660, 2, '0', 16, true).c_str());
    EXPECT_STREQ("-0005", mString((unsigned long)-5, 5, '0', -10, false).c_str());
    EXPECT_STREQ("   -5", mString((unsigned long)-5, 5, ' ', -10, false).c_str());
    EXPECT_STREQ("4294967291", mString((unsigned long)-5, 0, ' ', 10, false).c_str());
    EXPECT_STREQ("fffffffb", mString((unsigned long)-5, 0, ' ', -16, false).c_str());
    EXPECT_STREQ("FFFFFFFB", mString((unsigned long)-5, 0, ' ', 16, false).c_str());
    EXPECT_STREQ("101", mString(5, 0, ' ', 2, false).c_str());
    EXPECT_STREQ("z", mString(35, 0, ' ', -36, false).c_str());
    EXPECT_STREQ("23", mString((unsigned long)-123, 2, '0', -10, false).c_str()) << "sign lost when cut";
    EXPECT_EQ(33, mString(1, 0, ' ', 10, false).capacity());
    EXPECT_EQ(40, mString(1, -40, ' ', 10, false).capacity());
}

TEST(mString, Concatenation) {
    mString a("ab"), b("cd");
    mString ab = a + b;
    EXPECT_STREQ("abcd", ab.c_str());
    EXPECT_EQ(4, ab.capacity());
    EXPECT_EQ(0, (mString() + mString()).capacity());
    EXPECT_STREQ("x-ab", ("x-" + a).c_str());
    mString withNul = a + '\0';
    EXPECT_EQ(3, withNul.length());
    mString n = a + (long)-42;
    EXPECT_STREQ("ab-42", n.c_str());
    EXPECT_EQ(13, n.capacity());
    EXPECT_STREQ("ab-1", (a + 4294967295UL).c_str());
    EXPECT_STREQ("ab7", (a + 7).c_str());
    mString c("v=");
    c += (long)2147483647;
    EXPECT_STREQ("v=2147483647", c.c_str());
}
