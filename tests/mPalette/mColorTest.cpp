#include "mWindow/mColor.h"

#include <gtest/gtest.h>
#include <windows.h>

namespace {

void expectChannels(const mColor &c, int red, int green, int blue) {
    EXPECT_EQ(red, c.getRed());
    EXPECT_EQ(green, c.getGreen());
    EXPECT_EQ(blue, c.getBlue());
}

TEST(mColor, ConstructorsTruncateAndClearTheFlag) {
    mColor clear(true);
    EXPECT_TRUE(clear.isTransparent());
    expectChannels(clear, 0, 0, 0);
    EXPECT_FALSE(mColor().isTransparent());

    mColor packed(0x123456);
    expectChannels(packed, 0x12, 0x34, 0x56);
    EXPECT_FALSE(packed.isTransparent());

    mColor wide(256 + 5, -1, 511);
    expectChannels(wide, 5, 255, 255);
    EXPECT_FALSE(wide.isTransparent());
}

TEST(mColor, RgbFormLeavesTheFlagAlone) {
    mColor c(true);
    c.setRGB(0xFF0000);
    EXPECT_TRUE(c.isTransparent());
    expectChannels(c, 255, 0, 0);
    EXPECT_EQ(0xFF0000ul, c.getRGB());

    c.setColor(mColor(1, 2, 3));
    EXPECT_TRUE(c.isTransparent());
    EXPECT_EQ(0x010203ul, c.getRGB());
}

TEST(mColor, Rgb15WidensFiveBitsOverTheFullRange) {
    mColor c(true);
    c.setRGB15(0x7FFF);
    expectChannels(c, 255, 255, 255);
    EXPECT_FALSE(c.isTransparent());

    c.setRGB15(0x0421);
    expectChannels(c, 8, 8, 8);
    EXPECT_EQ(0x0421, c.getRGB15());

    c.setRGB15(0x7C00);
    expectChannels(c, 255, 0, 0);
    c.setRGB15(0x03E0);
    expectChannels(c, 0, 255, 0);
    c.setRGB15(0x001F);
    expectChannels(c, 0, 0, 255);

    EXPECT_EQ(0x7E00, mColor(255, 128, 7).getRGB15());
}

TEST(mColor, Rgb15RoundTripsEveryValueAndIgnoresBit15) {
    for (unsigned v = 0; v < 0x8000; ++v) {
        mColor c;
        c.setRGB15((unsigned short)v);
        ASSERT_EQ(v, c.getRGB15()) << v;
        c.setRGB15((unsigned short)(v | 0x8000));
        ASSERT_EQ(v, c.getRGB15()) << "bit 15 set, " << v;
    }
}

TEST(mColor, PeerFormIsBlueGreenRed) {
    unsigned long ref = 0xDEADBEEF;
    mColor(0x112233).getPeerColor(&ref);
    EXPECT_EQ(0x00332211ul, ref);
    EXPECT_EQ((unsigned long)RGB(0x11, 0x22, 0x33), ref);

    mColor c(true);
    unsigned long in = 0xAA665544;
    c.setPeerColor(&in);
    expectChannels(c, 0x44, 0x55, 0x66);
    EXPECT_TRUE(c.isTransparent());
}

unsigned long peerOf(const mColor &c) {
    unsigned long ref;
    c.getPeerColor(&ref);
    return ref;
}

TEST(mColor, SystemColoursComeFromThePlatform) {
    mColor c(true);
    c.setSysColor(mColor::buttonFace);
    EXPECT_FALSE(c.isTransparent());
    EXPECT_EQ((unsigned long)GetSysColor(COLOR_BTNFACE), peerOf(c));
    EXPECT_EQ((unsigned long)GetSysColor(COLOR_INACTIVECAPTIONTEXT), peerOf(mColor(mColor::inactiveCaptionText)));
    EXPECT_EQ((unsigned long)GetSysColor(COLOR_WINDOW), peerOf(mColor(mColor::window)));
    EXPECT_EQ((unsigned long)GetSysColor(0), peerOf(mColor(mColor::sysColor17)));
    EXPECT_EQ((unsigned long)GetSysColor(0), peerOf(mColor(mColor::sysColor18)));
    EXPECT_EQ((unsigned long)GetSysColor(0), peerOf(mColor((mColor::SYSCOLOR)40)));
    EXPECT_EQ(peerOf(mColor(mColor::windowText)), peerOf(mColor(mColor::text)));
}

} // namespace
