#include "ExpectError.h"
#include "ScratchDir.h"
#include "mFile/mFile.h"
#include "mWindow/mPalette.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace {

const char source[] = "mWindow/mPalette";
using RGBs = std::vector<unsigned long>;

// What the platform holds, read past the class; every entry must keep a slot of its own.
RGBs platformRGB(const mPalette &p) {
    HPALETTE handle = reinterpret_cast<HPALETTE>(p.getPeer());
    std::vector<PALETTEENTRY> entries(GetPaletteEntries(handle, 0, 0, nullptr));
    GetPaletteEntries(handle, 0, (UINT)entries.size(), entries.data());
    RGBs rgb;
    for (const PALETTEENTRY &e : entries) {
        EXPECT_EQ(PC_NOCOLLAPSE, e.peFlags);
        rgb.push_back(((unsigned long)e.peRed << 16) | ((unsigned long)e.peGreen << 8) | e.peBlue);
    }
    return rgb;
}

std::vector<mColor> colorsOf(const RGBs &rgb, bool transparent = false) {
    std::vector<mColor> colors;
    for (unsigned long v : rgb) {
        colors.push_back(mColor((int)v));
        colors.back().setTransparent(transparent);
    }
    return colors;
}

int useCount(SYSTEM_INFO_STRUCT *handle) {
    mPeerRef *entry = mPeerRef::find(handle, false);
    return entry ? entry->getRefCount() : 0;
}

bool isLivePalette(SYSTEM_INFO_STRUCT *handle) { return GetObjectType(reinterpret_cast<HGDIOBJ>(handle)) == OBJ_PAL; }

const RGBs sample = {0x000000, 0xFFFFFF, 0xFF0000, 0x00FF00, 0x0000FF, 0x0C2238};

TEST(mPalette, HoldsItsColoursAtThePlatformAndGivesThemInEveryForm) {
    // The transparent flag plays no part.
    std::vector<mColor> colors = colorsOf(sample, true);
    mPalette p(colors.data(), 6);
    EXPECT_EQ(sample, platformRGB(p));

    const RGBs peerForm = {0x000000, 0xFFFFFF, 0x0000FF, 0x00FF00, 0xFF0000, 0x38220C};
    int n = -1, rgbCount = -1, peerCount = -1;
    mColor *back = p.getColors(n);
    unsigned long *rgb = p.getRGBColors(rgbCount), *peer = p.getPeerColors(peerCount);
    EXPECT_EQ(sample, RGBs(rgb, rgb + rgbCount));
    EXPECT_EQ(peerForm, RGBs(peer, peer + peerCount));
    ASSERT_EQ(6, n);
    for (int i = 0; i < n; ++i) {
        EXPECT_EQ(sample[i], back[i].getRGB());
        EXPECT_EQ(sample[i], p.getColor(i).getRGB());
        EXPECT_FALSE(back[i].isTransparent() || p.getColor(i).isTransparent());
        EXPECT_EQ(i, p.getIndex(colors[i]));
    }
    delete[] back;
    delete[] rgb;
    delete[] peer;
    EXPECT_TRUE(p.getColor(-1).isTransparent());
    EXPECT_TRUE(p.getColor(6).isTransparent());
}

TEST(mPalette, CopiesShareOnePlatformObjectAndItsChangesUntilTheLastGoes) {
    std::vector<mColor> colors = colorsOf(sample);
    mPalette before(colors.data(), 1);
    mPalette *first = new mPalette(colors.data(), 3);
    SYSTEM_INFO_STRUCT *handle = first->getPeer();
    mPalette *second = new mPalette(*first);
    EXPECT_EQ(handle, second->getPeer());
    EXPECT_EQ(3, second->getColorCount());
    EXPECT_EQ(2, useCount(handle));
    first->setColor(2, mColor(9, 8, 7));
    EXPECT_EQ(0x090807ul, platformRGB(*second)[2]);
    EXPECT_MERROR(first->setColor(-1, mColor(1, 1, 1)), "Bad color index for palette", -1, source);
    EXPECT_MERROR(first->setColor(3, mColor(1, 1, 1)), "Bad color index for palette", 3, source);
    EXPECT_MERROR(first->setColor(1, mColor(true)), "Transparent color for palette", 1, source);
    EXPECT_EQ(0xFFFFFFul, second->getColor(1).getRGB());

    mPalette other(colors.data(), 2);
    other = *second;
    other = other;
    EXPECT_EQ(3, useCount(handle));
    mPalette after(colors.data(), 1);

    delete first;
    delete second;
    EXPECT_TRUE(isLivePalette(handle));
    EXPECT_EQ(1, useCount(handle));
    other = mPalette(colors.data(), 1);
    EXPECT_FALSE(isLivePalette(handle));
    EXPECT_EQ(nullptr, mPeerRef::find(handle, false));
    // Entries on either side of the one that went are still there.
    EXPECT_EQ(1, useCount(before.getPeer()));
    EXPECT_EQ(1, useCount(after.getPeer()));
}

// A wrapper that comes second to an object cannot spare it: the library made it.
TEST(mPeerRef, OnlyTheFirstWrapperCanMarkAnObjectForeign) {
    mColor black;
    SYSTEM_INFO_STRUCT *handle;
    {
        mPalette own(&black, 1);
        handle = own.getPeer();
        mPeerRef *second = mPeerRef::find(handle, true);
        second->markForeign();
        EXPECT_FALSE(second->isForeign());
        second->release();
        EXPECT_TRUE(isLivePalette(handle));
    }
    EXPECT_FALSE(isLivePalette(handle));
}

// ---- Files

TEST(mPalette, ReadsPaletteFilesOfExactly1026Bytes) {
    ScratchDir dir("palette-file");
    std::vector<unsigned char> bytes = {0xEE, 0xEE};
    RGBs expected;
    for (int e = 0; e < 256; ++e) {
        bytes.insert(bytes.end(), {(unsigned char)e, (unsigned char)(255 - e), (unsigned char)(e * 7), 0x5A});
        expected.push_back(mColor(e, 255 - e, e * 7).getRGB());
    }
    EXPECT_EQ(expected, platformRGB(mPalette(mString(dir.write("good.pal", bytes).c_str()))));

    for (size_t size : {1025u, 1027u, 0u}) {
        bytes.resize(size, 0);
        std::string path = dir.write("bad.pal", bytes);
        EXPECT_MERROR(mPalette p(mString(path.c_str())), "Bad palette file size", size, source);
    }
    EXPECT_MERROR(mPalette p(mString(dir.path("missing.pal").c_str())), "Bad palette file size", 0, source);
}

TEST(mPalette, ReadsEntriesFromTheMiddleOfAnOpenStream) {
    ScratchDir dir("palette-stream");
    std::vector<unsigned char> bytes = {9, 9, 9, 9, 9, 9, 9};
    RGBs expected;
    for (int e = 0; e < 16; ++e) {
        bytes.insert(bytes.end(), {(unsigned char)(e + 1), (unsigned char)(e + 2), (unsigned char)(e + 3), 0xFF});
        expected.push_back(mColor(e + 1, e + 2, e + 3).getRGB());
    }
    bytes.insert(bytes.end(), {17, 18, 19, 0, 18, 19, 20, 0, 19, 20, 21, 0, 20, 21, 22, 0});
    mInputFile file(mString(dir.write("embedded.bin", bytes).c_str()));
    EXPECT_THROW(mPalette closed(file, 4), mError);
    ASSERT_TRUE(file.OpenFile(true));
    ASSERT_TRUE(file.seekFrom(7, mFile::seekStart));
    EXPECT_EQ(expected, platformRGB(mPalette(file, 16)));
    EXPECT_EQ(7 + 16 * 4, file.getCurrentPosition());

    // A table cut short by the end of the file keeps what is there; the rest stays black.
    expected = {0x111213, 0x121314, 0x131415, 0x141516, 0, 0, 0, 0};
    EXPECT_EQ(expected, platformRGB(mPalette(file, 8)));
}

// ---- Merging

struct Merge {
    RGBs base;  // empty: no base
    RGBs colors;
    int ignoreBits;
    bool replace, maskBase;
    RGBs expected;
};

// Buckets are the masked blue & 63; under ignoreBits 2: 0x0A -> 8, 0x03 -> 0, 0x46 -> 4, 0x01 -> 0.
TEST(mPaletteMerge, WorkedExamples) {
    const RGBs mixed = {0x0A0B3F, 0x000001, 0x0A0B3F, 0xFFFFFF, 0x102040, 0x000001};
    const RGBs nearby = {0x01010A, 0x020203, 0x030346, 0x040401, 0x01010A, 0x01010B};
    const RGBs four(nearby.begin(), nearby.begin() + 4);
    const RGBs added = {0x040402, 0xC80000, 0x020203};
    const RGBs repeated = {0x000041, 0x000001, 0x000041, 0x808080, 0x000003};
    const RGBs wide = {0x000000, 0x7F7F7F, 0x800000, 0x017F00};
    const Merge merges[] = {
        // Without tolerance the base is kept as it was, whatever the flags say.
        {mixed, {}, 0, true, false, mixed},
        {mixed, {}, 0, false, true, mixed},
        // Tolerance rebuilds the base in bucket order, its own colours compared exactly or masked.
        {nearby, {}, 2, true, false, {0x040401, 0x020203, 0x030346, 0x01010B, 0x01010A}},
        {nearby, {}, 2, true, true, {0x040401, 0x020203, 0x030346, 0x01010A}},
        {nearby, {}, 2, false, true, {0x040401, 0x020203, 0x030346, 0x01010A}},
        // Near colours replace with the flag; without it the base stays and new colours follow.
        {four, added, 2, true, false, {0xC80000, 0x040402, 0x020203, 0x030346, 0x01010A}},
        {four, added, 2, false, false, {0x01010A, 0x020203, 0x030346, 0x040401, 0xC80000}},
        {{0x000010, 0x000002, 0x000010}, {0x110005, 0x220001, 0x000002, 0x330005, 0x110005}, 0, false, false,
         {0x000010, 0x000002, 0x000010, 0x220001, 0x330005, 0x110005}},
        // Without a base only distinct colours remain; tolerance is limited to 0 through 7 bits.
        {{}, repeated, 0, false, false, {0x808080, 0x000001, 0x000041, 0x000003}},
        {{}, repeated, 2, false, false, {0x808080, 0x000001, 0x000041}},
        {{}, wide, 12, false, false, {0x800000, 0x000000}},
        {{}, wide, -3, false, false, {0x017F00, 0x800000, 0x000000, 0x7F7F7F}},
    };
    for (const Merge &m : merges) {
        std::vector<mColor> baseColors = colorsOf(m.base), colors = colorsOf(m.colors, true);
        std::unique_ptr<mPalette> base(m.base.empty() ? nullptr : new mPalette(baseColors.data(), (int)m.base.size()));
        mPalette merged(base.get(), colors.data(), (int)colors.size(), m.ignoreBits, m.replace, m.maskBase);
        EXPECT_EQ(m.expected, platformRGB(merged)) << m.ignoreBits << m.replace << m.maskBase;
    }
}

TEST(mPaletteMerge, StopsAt256EntriesAndDropsTheRest) {
    std::vector<mColor> baseColors, more;
    for (int i = 0; i < 250; ++i)
        baseColors.push_back(mColor(i, 0, i));
    for (int i = 0; i < 20; ++i)
        more.push_back(mColor(i, 1, i));
    mPalette base(baseColors.data(), 250);
    RGBs rgb = platformRGB(mPalette(&base, more.data(), 20, 0, false, false));
    ASSERT_EQ(256u, rgb.size());
    EXPECT_EQ(platformRGB(base), RGBs(rgb.begin(), rgb.begin() + 250));
    for (int i = 0; i < 6; ++i)
        EXPECT_NE(rgb.end(), std::find(rgb.begin() + 250, rgb.end(), more[i].getRGB())) << i;
}

} // namespace
