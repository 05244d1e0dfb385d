// The profile store, on the real registry.
#include "helpers.h"

#include <utility>
#include <vector>

namespace {
typedef std::vector<long> Longs;

class Profile : public ::testing::Test {
protected:
    ScratchKey scratch{"VelnorTestProfile"};
    const mString &module = scratch.module;

    // Reads the list over values and suffix that start as markers, so that "untouched" shows.
    bool readList(int minimum, Longs &values, mString &suffix) {
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

    // Written with the types other programs expect.
    for (auto stored : {std::make_pair("name", (DWORD)REG_SZ), std::make_pair("count", (DWORD)REG_DWORD)}) {
        DWORD type = REG_NONE;
        RegGetValueA(HKEY_CURRENT_USER, scratch.path().c_str(), stored.first, RRF_RT_ANY, &type, nullptr, nullptr);
        EXPECT_EQ(type, stored.second) << stored.first;
    }
}

TEST_F(Profile, AbsentMistypedOrLongValuesLeaveTheResultAlone) {
    mString text = "kept";
    long number = 17;
    EXPECT_FALSE(mApp::getProfileValue("name", text, true, module));
    EXPECT_FALSE(scratch.exists()) << "reading must not create the key";
    mApp::setProfileValue("name", mString("a text"), true, module);
    mApp::setProfileValue("count", 5L, true, module);
    mApp::setProfileValue("tooLong", mString(151, 'y'), true, module);
    EXPECT_FALSE(mApp::getProfileValue("name", number, true, module));
    EXPECT_FALSE(mApp::getProfileValue("count", text, true, module));
    EXPECT_FALSE(mApp::getProfileValue("other", text, true, module));
    EXPECT_FALSE(mApp::getProfileValue("tooLong", text, true, module));
    EXPECT_STREQ(text.c_str(), "kept");
    EXPECT_EQ(number, 17);
    // 150 characters are the longest text that reads.
    mApp::setProfileValue("longest", mString(150, 'x'), true, module);
    EXPECT_TRUE(mApp::getProfileValue("longest", text, true, module));
    EXPECT_EQ(text, mString(150, 'x'));
}

TEST_F(Profile, ListsKeepTheirTextFormAndComeBack) {
    struct Case { Longs values; const char *suffix, *text; };
    // A suffix that could pass for a number, or begins with a quote or a blank, gets a quote.
    const Case cases[] = {
        {{10, 20, -5}, "maximized", "10 20 -5 maximized"},
        {{10, 20, -5}, "2nd", "10 20 -5 '2nd"},
        {{7}, "-minus", "7 '-minus"},
        {{7}, " blank", "7 ' blank"},
        {{7}, "'quoted", "7 ''quoted"},
        {{}, "", ""},
    };
    for (const Case &c : cases) {
        mApp::setProfileValue("list", c.values, c.suffix, true, module);
        mString text;
        EXPECT_TRUE(mApp::getProfileValue("list", text, true, module));
        EXPECT_STREQ(text.c_str(), c.text);
        Longs values;
        mString suffix;
        EXPECT_TRUE(readList((int)c.values.size(), values, suffix)) << c.text;
        EXPECT_EQ(values, c.values) << c.text;
        EXPECT_STREQ(suffix.c_str(), *c.suffix ? c.suffix : "marker");
    }
}

TEST_F(Profile, ListsReadFromAnyText) {
    struct Case { const char *text; int minimum; bool found; Longs values; const char *suffix; };
    const Case cases[] = {
        {"", 1, false, {999}, "marker"},
        {"1 2 3 tail", 4, false, {999}, "marker"},
        // The minimum counts, but all numbers are kept.
        {"1 2 3 4 5 ", 4, true, {1, 2, 3, 4, 5}, "marker"},
        {"hello 1 2", 0, true, {}, "hello 1 2"},
        // Extra blanks are skipped, and a last number needs no blank behind it.
        {"  4   -17 2147483647", 3, true, {4, -17, 2147483647L}, "marker"},
    };
    for (const Case &c : cases) {
        mApp::setProfileValue("list", mString(c.text), true, module);
        Longs values;
        mString suffix;
        EXPECT_EQ(readList(c.minimum, values, suffix), c.found) << c.text;
        EXPECT_EQ(values, c.values) << c.text;
        EXPECT_STREQ(suffix.c_str(), c.suffix) << c.text;
    }
}

TEST_F(Profile, WritesThatCannotBeDoneThrow) {
    mError e = errorOf([&] { mApp::setProfileValue("list", Longs(20, 1234567), "", true, module); });
    EXPECT_STREQ(e.message.c_str(), "Attempted to write too many values to profile");
    EXPECT_EQ(e.value, 144);  // eight characters a number: the 18th passes 138

    Longs values = {1, 2};  // "1 2 ": four characters
    e = errorOf([&] { mApp::setProfileValue("list", values, mString(146, 's'), true, module); });
    EXPECT_STREQ(e.message.c_str(), "Attempted to write a long suffix on value list");
    // 149 characters in all fit, the quote of a suffix not counted.
    mString suffix = mString("9") + mString(144, 's');
    mApp::setProfileValue("list", values, suffix, true, module);
    EXPECT_TRUE(readList(2, values, suffix));
    EXPECT_EQ(suffix, mString("9") + mString(144, 's'));

    // Names of keys end at 255 characters.
    e = errorOf([] { mApp::setProfileValue("name", 1L, true, mString(300, 'k')); });
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
