// The profile store, on the real registry.
#include "helpers.h"
#include "mUtil/mModule.h"

#include <vector>

namespace {
const char moduleKey[] = "VelnorTestProfile";

class Profile : public ::testing::Test {
protected:
    ScratchKey scratch{moduleKey};
    const mString module{moduleKey};

    void writeList(const std::vector<long> &values, const mString &suffix) {
        mApp::setProfileValue("list", values, suffix, true, module);
    }
    mString storedText() {
        mString text;
        EXPECT_TRUE(mApp::getProfileValue("list", text, true, module));
        return text;
    }
    // Reads the list over values and suffix that start as markers, so that "untouched" shows.
    bool readList(int minimum, std::vector<long> &values, mString &suffix) {
        values = {999};
        suffix = "marker";
        return mApp::getProfileValue("list", values, minimum, suffix, true, module);
    }
};
} // namespace

TEST_F(Profile, TextsAndNumbersLiveInTheirOwnRoot) {
    mApp::setProfileValue("name", mString("user text"), true, module);
    mApp::setProfileValue("name", mString("machine text"), false, module);
    mApp::setProfileValue("count", -123456L, true, module);
    mString text;
    long number = 0;
    EXPECT_TRUE(mApp::getProfileValue("name", text, true, module));
    EXPECT_STREQ(text.c_str(), "user text");
    EXPECT_TRUE(mApp::getProfileValue("name", text, false, module));
    EXPECT_STREQ(text.c_str(), "machine text");
    EXPECT_TRUE(mApp::getProfileValue("count", number, true, module));
    EXPECT_EQ(number, -123456L);
    EXPECT_FALSE(mApp::getProfileValue("count", number, false, module));

    // Written where the platform keeps it, with the types other programs expect.
    char raw[32];
    DWORD type = 0, size = sizeof raw;
    ASSERT_EQ(RegGetValueA(HKEY_CURRENT_USER, scratch.path().c_str(), "name", RRF_RT_ANY, &type, raw, &size),
              ERROR_SUCCESS);
    EXPECT_EQ(type, (DWORD)REG_SZ);
    EXPECT_EQ(size, 10u);
    size = sizeof raw;
    ASSERT_EQ(RegGetValueA(HKEY_CURRENT_USER, scratch.path().c_str(), "count", RRF_RT_ANY, &type, raw, &size),
              ERROR_SUCCESS);
    EXPECT_EQ(type, (DWORD)REG_DWORD);
}

TEST_F(Profile, AbsentOrMistypedValuesLeaveTheResultAlone) {
    mString text = "kept";
    long number = 17;
    EXPECT_FALSE(mApp::getProfileValue("name", text, true, module));
    EXPECT_FALSE(scratch.exists(HKEY_CURRENT_USER)) << "reading must not create the key";
    mApp::setProfileValue("name", mString("a text"), true, module);
    mApp::setProfileValue("count", 5L, true, module);
    EXPECT_FALSE(mApp::getProfileValue("name", number, true, module));
    EXPECT_FALSE(mApp::getProfileValue("count", text, true, module));
    EXPECT_FALSE(mApp::getProfileValue("other", text, true, module));
    EXPECT_STREQ(text.c_str(), "kept");
    EXPECT_EQ(number, 17);
}

TEST_F(Profile, TextsUpTo150CharactersRead) {
    mString longest(150, 'x'), tooLong(151, 'y'), text;
    mApp::setProfileValue("longest", longest, true, module);
    mApp::setProfileValue("tooLong", tooLong, true, module);
    EXPECT_TRUE(mApp::getProfileValue("longest", text, true, module));
    EXPECT_EQ(text, longest);
    EXPECT_FALSE(mApp::getProfileValue("tooLong", text, true, module));
    EXPECT_EQ(text, longest);
}

TEST_F(Profile, ListsKeepTheirTextForm) {
    writeList({10, 20, -5}, "maximized");
    EXPECT_STREQ(storedText().c_str(), "10 20 -5 maximized");
    writeList({10, 20, -5}, "2nd");
    EXPECT_STREQ(storedText().c_str(), "10 20 -5 '2nd");
    writeList({}, "");
    EXPECT_STREQ(storedText().c_str(), "");
}

TEST_F(Profile, SuffixesThatLookLikeNumbersSurviveARoundTrip) {
    std::vector<long> values;
    mString suffix;
    for (const char *text : {"2nd", "-minus", " blank", "'quoted", "plain"}) {
        writeList({7, -8}, text);
        ASSERT_TRUE(readList(2, values, suffix)) << text;
        EXPECT_EQ(values, (std::vector<long>{7, -8})) << text;
        EXPECT_STREQ(suffix.c_str(), text);
    }
}

TEST_F(Profile, AnEmptyListNeedsAMinimumOfZero) {
    writeList({}, "");
    std::vector<long> values;
    mString suffix;
    EXPECT_FALSE(readList(1, values, suffix));
    EXPECT_EQ(values, std::vector<long>{999});
    EXPECT_TRUE(readList(0, values, suffix));
    EXPECT_TRUE(values.empty());
    EXPECT_STREQ(suffix.c_str(), "marker");
}

TEST_F(Profile, TheMinimumCountsButAllNumbersAreKept) {
    std::vector<long> values;
    mString suffix;
    writeList({1, 2, 3}, "tail");
    EXPECT_FALSE(readList(4, values, suffix));
    EXPECT_EQ(values, std::vector<long>{999});
    EXPECT_STREQ(suffix.c_str(), "marker");
    writeList({1, 2, 3, 4, 5}, "");
    EXPECT_TRUE(readList(4, values, suffix));
    EXPECT_EQ(values, (std::vector<long>{1, 2, 3, 4, 5}));
    EXPECT_STREQ(suffix.c_str(), "marker");
}

TEST_F(Profile, TextsWrittenByHandReadAsLists) {
    std::vector<long> values;
    mString suffix;
    mApp::setProfileValue("list", mString("hello 1 2"), true, module);
    EXPECT_TRUE(readList(0, values, suffix));
    EXPECT_TRUE(values.empty());
    EXPECT_STREQ(suffix.c_str(), "hello 1 2");
    // Extra blanks are skipped, and a last number needs no blank behind it.
    mApp::setProfileValue("list", mString("  4   -17 2147483647"), true, module);
    EXPECT_TRUE(readList(3, values, suffix));
    EXPECT_EQ(values, (std::vector<long>{4, -17, 2147483647L}));
    EXPECT_STREQ(suffix.c_str(), "marker");
}

TEST_F(Profile, ListsThatDoNotFitThrow) {
    std::vector<long> twenty(20, 1234567);
    mError e = errorOf([&] { writeList(twenty, ""); });
    EXPECT_STREQ(e.message.c_str(), "Attempted to write too many values to profile");
    EXPECT_EQ(e.value, 144);  // eight characters a number: the 18th passes 138
    EXPECT_STREQ(e.file, "mUtil/mApp");

    std::vector<long> values = {1, 2};  // "1 2 ": four characters
    EXPECT_STREQ(errorOf([&] { writeList(values, mString(146, 's')); }).message.c_str(),
                 "Attempted to write a long suffix on value list");
    // 149 characters in all fit, the quote of a suffix not counted.
    writeList(values, mString("9") + mString(144, 's'));
    mString suffix;
    EXPECT_TRUE(readList(2, values, suffix));
    EXPECT_EQ(suffix, mString("9") + mString(144, 's'));
    EXPECT_FALSE(scratch.exists(HKEY_LOCAL_MACHINE));
}

TEST_F(Profile, AKeyThePlatformRefusesThrows) {
    // Names of keys end at 255 characters.
    mError e = errorOf([] { mApp::setProfileValue("name", 1L, true, mString(300, 'k')); });
    EXPECT_STREQ(e.message.c_str(), "Cannot create profile value");
    EXPECT_NE(e.value, 0);
}

TEST(ProfileDefaultModule, NeedsAnApplicationWithAModule) {
    ASSERT_EQ(mApp::getCurrentApp(), nullptr);
    mString text;
    mError e = errorOf([&] { mApp::getProfileValue("name", text, true, ""); });
    EXPECT_STREQ(e.message.c_str(), "Tried to use default module key when no app");

    mApp app("ProfileDefault");
    e = errorOf([&] { mApp::setProfileValue("name", 1L, true, ""); });
    EXPECT_STREQ(e.message.c_str(), "Tried to use default module key when no module");

    ScratchKey scratch(vt::testModule()->getModuleName(true));
    app.setMainWindow(nullptr, vt::testModule(), 0);
    mApp::setProfileValue("name", mString("by default"), true, "");
    EXPECT_TRUE(mApp::getProfileValue("name", text, true, scratch.module));
    EXPECT_STREQ(text.c_str(), "by default");
}
