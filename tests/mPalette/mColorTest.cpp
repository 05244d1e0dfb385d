#include "mWindow/mColor.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <utility>

namespace {

unsigned long peerOf(const mColor &c) {
    unsigned long ref = 0xDEADBEEF;
    c.getPeerColor(&ref);
    return ref;
}

// Setting the channels leaves the transparent flag alone; a 15-bit or a system colour clears it.
TEST(mColor, OnlyWholeColoursClearTheFlag) {
    mColor c(true);
    c.setRGB(0xFF0000);
    EXPECT_TRUE(c.isTransparent());
    EXPECT_EQ(0xFF0000ul, c.getRGB());
    unsigned long peer = 0xAA665544;
    c.setPeerColor(&peer);
    EXPECT_EQ(0x445566ul, c.getRGB());
    EXPECT_TRUE(c.isTransparent());
    c.setRGB15(0);
    EXPECT_FALSE(c.isTransparent());
    c.setTransparent(true);
    c.setSysColor(mColor::window);
    EXPECT_FALSE(c.isTransparent());
}

TEST(mColor, Rgb15WidensFiveBitsOverTheFullRange) {
    const std::pair<unsigned short, unsigned long> cases[] = {
        {0x7FFF, 0xFFFFFF}, {0x0421, 0x080808}, {0x7C00, 0xFF0000}, {0x03E0, 0x00FF00}, {0x001F, 0x0000FF}};
    for (const auto &c : cases) {
        mColor color;
        color.setRGB15(c.first);
        EXPECT_EQ(c.second, color.getRGB()) << c.first;
    }
    EXPECT_EQ(0x7E00, mColor(255, 128, 7).getRGB15());

    // Every value comes back; bit 15 plays no part.
    for (unsigned v = 0; v < 0x10000; ++v) {
        mColor c;
        c.setRGB15((unsigned short)v);
        ASSERT_EQ(v & 0x7FFF, c.getRGB15()) << v;
    }
}

TEST(mColor, PeerFormIsBlueGreenRedAndSystemColoursComeFromThePlatform) {
    EXPECT_EQ(0x00332211ul, peerOf(mColor(0x112233)));
    const std::pair<mColor::SYSCOLOR, int> system[] = {
        {mColor::inactiveCaptionText, COLOR_INACTIVECAPTIONTEXT}, {mColor::text, COLOR_WINDOWTEXT},
        {mColor::sysColor18, 0}, {(mColor::SYSCOLOR)40, 0}};
    for (const auto &s : system)
        EXPECT_EQ((unsigned long)GetSysColor(s.second), peerOf(mColor(s.first))) << s.first;
}

} // namespace
