#include <Velnor11.h>

#include <gtest/gtest.h>

TEST(mRect, HalfOpenAndEmptiness) {
    mRect r(0, 0, 10, 10);
    EXPECT_FALSE(r.hasPoint(mPoint(10, 5)));
    EXPECT_FALSE(r.hasPoint(mPoint(5, 10)));
    EXPECT_TRUE(r.hasPoint(mPoint(0, 0)));
    EXPECT_TRUE(r.hasPoint(mPoint(9, 9)));
    EXPECT_TRUE(mRect(5, 0, 5, 10).isEmpty());
    EXPECT_TRUE(mRect(6, 0, 5, 10).isEmpty());
    EXPECT_EQ(-1, mRect(6, 0, 5, 10).width());
    mRect e(1, 2, 3, 4);
    e.setEmpty();
    EXPECT_EQ(mRect(0, 2, 0, 4), e);
    EXPECT_NE(mRect(), e);
}

TEST(mRect, IntersectionKeepsCrossedSides) {
    mRect a(0, 0, 10, 10);
    a &= mRect(20, 20, 30, 30);
    EXPECT_EQ(mRect(20, 20, 10, 10), a);
    EXPECT_TRUE(a.isEmpty());
    EXPECT_EQ(-10, a.width());

    mRect b(0, 0, 10, 10);
    b &= mRect(5, 5, 5, 5);
    EXPECT_EQ(mRect(0, 0, 0, 10), b);

    mRect c(0, 0, 10, 10);
    c &= mRect(-5, 3, 4, 20);
    EXPECT_EQ(mRect(0, 3, 4, 10), c);
}

TEST(mRect, UnionIgnoresEmptySides) {
    mRect a(5, 5, 5, 5);
    a |= mRect(0, 0, 1, 1);
    EXPECT_EQ(mRect(0, 0, 1, 1), a);
    mRect b(0, 0, 1, 1);
    b |= mRect(5, 5, 5, 5);
    EXPECT_EQ(mRect(0, 0, 1, 1), b);
    b |= mRect(-2, 3, 0, 8);
    EXPECT_EQ(mRect(-2, 0, 1, 8), b);
}

TEST(mRect, MovesAndInsets) {
    mRect r(1, 2, 11, 22);
    r += mPoint(5, -2);
    EXPECT_EQ(mRect(6, 0, 16, 20), r);
    r -= mPoint(6, 0);
    EXPECT_EQ(mRect(0, 0, 10, 20), r);
    r += mInset(1, 2, 3, 4);
    EXPECT_EQ(mRect(-1, -2, 13, 24), r);
    r -= mInset(1, 2, 3, 4);
    EXPECT_EQ(mRect(0, 0, 10, 20), r);
    mRect z(7, 8, 10, 12);
    z.zeroOrigin();
    EXPECT_EQ(mRect(0, 0, 3, 4), z);
}

TEST(mGeometry, PointsAndSizes) {
    EXPECT_EQ(5, mPoint(0, 0).distance(mPoint(3, 4)));
    EXPECT_EQ(1, mPoint(0, 0).distance(mPoint(1, 1)));
    EXPECT_EQ(2, mPoint(5, 5).distance(mPoint(3, 6)));
    mPoint p(1, 2);
    p += mPoint(3, 4);
    p -= mPoint(1, 1);
    EXPECT_EQ(mPoint(3, 5), p);
    mFPoint f(mPoint(3, -4));
    f += mFPoint(0.5f, 0.25f);
    EXPECT_FLOAT_EQ(3.5f, f.x);
    EXPECT_FLOAT_EQ(-3.75f, f.y);
    mSize s(10, 3);
    s &= mSize(4, 8);
    EXPECT_EQ(mSize(4, 3), s);
    s |= mSize(5, 1);
    EXPECT_EQ(mSize(5, 3), s);
}

TEST(mError, ReadableText) {
    EXPECT_STREQ(":0 x", mError("x").text("", false).c_str());
    EXPECT_STREQ("x, value = 0", mError("x", 0, nullptr, 0).text("", true).c_str());
    EXPECT_STREQ("mFile:12 Error:bad, value = -3", mError("bad", -3, "mFile", 12).text("Error:", false).c_str());
    EXPECT_STREQ("mApp:7 oops", mError("oops", 0, "mUtil\\mApp", 7).text("", false).c_str());
    EXPECT_STREQ("mUtil/mApp:7 oops", mError("oops", 0, "mUtil/mApp", 7).text("", false).c_str());
    mError e("m", 5, "f", 1);
    mError copy(e);
    EXPECT_EQ(e.message.c_str(), copy.message.c_str());
    EXPECT_EQ(5, copy.value);
}
