#include "ExpectError.h"
#include "ScratchDir.h"
#include "mFile/mFile.h"
#include "mWindow/mPalette.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <vector>

namespace {

const char source[] = "mWindow/mPalette";

HPALETTE hpal(const mPalette &p) { return reinterpret_cast<HPALETTE>(p.getPeer()); }

// What the platform holds, read past the class.
std::vector<PALETTEENTRY> platformEntries(const mPalette &p) {
    UINT n = GetPaletteEntries(hpal(p), 0, 0, nullptr);
    std::vector<PALETTEENTRY> entries(n);
    if (n)
        GetPaletteEntries(hpal(p), 0, n, entries.data());
    return entries;
}

std::vector<unsigned long> platformRGB(const mPalette &p) {
    std::vector<unsigned long> rgb;
    for (const PALETTEENTRY &e : platformEntries(p))
        rgb.push_back(((unsigned long)e.peRed << 16) | ((unsigned long)e.peGreen << 8) | e.peBlue);
    return rgb;
}

int useCount(SYSTEM_INFO_STRUCT *handle) {
    mPeerRef *entry = mPeerRef::find(handle, false);
    return entry ? entry->getRefCount() : 0;
}

bool isLivePalette(SYSTEM_INFO_STRUCT *handle) {
    return GetObjectType(reinterpret_cast<HGDIOBJ>(handle)) == OBJ_PAL;
}

std::vector<mColor> sampleColors() {
    return {mColor(0, 0, 0), mColor(255, 255, 255), mColor(255, 0, 0), mColor(0, 255, 0), mColor(0, 0, 255),
            mColor(12, 34, 56)};
}

TEST(mPalette, HoldsItsColoursAtThePlatform) {
    std::vector<mColor> colors = sampleColors();
    colors[2].setTransparent(true);
    mPalette p(colors.data(), (int)colors.size());
    ASSERT_EQ((int)colors.size(), p.getColorCount());

    std::vector<PALETTEENTRY> entries = platformEntries(p);
    ASSERT_EQ(colors.size(), entries.size());
    for (size_t i = 0; i < colors.size(); ++i) {
        EXPECT_EQ(colors[i].getRed(), entries[i].peRed);
        EXPECT_EQ(colors[i].getGreen(), entries[i].peGreen);
        EXPECT_EQ(colors[i].getBlue(), entries[i].peBlue);
        EXPECT_EQ(PC_NOCOLLAPSE, entries[i].peFlags);
    }

    int n = -1;
    mColor *back = p.getColors(n);
    unsigned long *rgb = p.getRGBColors(n);
    unsigned long *peerForm = p.getPeerColors(n);
    ASSERT_EQ((int)colors.size(), n);
    for (int i = 0; i < n; ++i) {
        EXPECT_EQ(colors[i].getRGB(), back[i].getRGB());
        EXPECT_FALSE(back[i].isTransparent());
        EXPECT_EQ(colors[i].getRGB(), rgb[i]);
        EXPECT_EQ((unsigned long)RGB(colors[i].getRed(), colors[i].getGreen(), colors[i].getBlue()), peerForm[i]);
        EXPECT_EQ(colors[i].getRGB(), p.getColor(i).getRGB());
        EXPECT_FALSE(p.getColor(i).isTransparent());
    }
    delete[] back;
    delete[] rgb;
    delete[] peerForm;

    EXPECT_TRUE(p.getColor(-1).isTransparent());
    EXPECT_TRUE(p.getColor(n).isTransparent());
}

TEST(mPalette, SetColorReachesEverySharerAndRefusesBadArguments) {
    std::vector<mColor> colors = sampleColors();
    mPalette p(colors.data(), (int)colors.size());
    mPalette sharer(p);
    p.setColor(3, mColor(9, 8, 7));
    EXPECT_EQ(0x090807ul, sharer.getColor(3).getRGB());
    EXPECT_EQ(PC_NOCOLLAPSE, platformEntries(sharer)[3].peFlags);

    EXPECT_MERROR(p.setColor(-1, mColor(1, 1, 1)), "Bad color index for palette", -1, source);
    EXPECT_MERROR(p.setColor(6, mColor(1, 1, 1)), "Bad color index for palette", 6, source);
    EXPECT_MERROR(p.setColor(2, mColor(true)), "Transparent color for palette", 2, source);
    EXPECT_EQ(0xFF0000ul, p.getColor(2).getRGB());
}

TEST(mPalette, IndexOfAColourIsTheNearestEntry) {
    std::vector<mColor> colors = sampleColors();
    mPalette p(colors.data(), (int)colors.size());
    for (int i = 0; i < (int)colors.size(); ++i)
        EXPECT_EQ(i, p.getIndex(colors[i])) << i;
    EXPECT_EQ(2, p.getIndex(mColor(240, 20, 10)));
    EXPECT_EQ(5, p.getIndex(mColor(14, 30, 60)));
    EXPECT_EQ(1, p.getIndex(mColor(250, 250, 240)));
}

TEST(mPalette, CopiesShareOnePlatformObjectUntilTheLastGoes) {
    std::vector<mColor> colors = sampleColors();
    mPalette *first = new mPalette(colors.data(), 3);
    SYSTEM_INFO_STRUCT *handle = first->getPeer();
    EXPECT_EQ(1, useCount(handle));
    mPalette *second = new mPalette(*first);
    EXPECT_EQ(handle, second->getPeer());
    EXPECT_EQ(3, second->getColorCount());
    EXPECT_EQ(2, useCount(handle));

    mPalette other(colors.data(), 2);
    other = *second;
    EXPECT_EQ(3, useCount(handle));
    other = other;
    EXPECT_EQ(3, useCount(handle));

    delete first;
    EXPECT_TRUE(isLivePalette(handle));
    EXPECT_EQ(0x000000ul, second->getColor(0).getRGB());
    delete second;
    EXPECT_TRUE(isLivePalette(handle));
    EXPECT_EQ(1, useCount(handle));
    other = mPalette(colors.data(), 1);
    EXPECT_FALSE(isLivePalette(handle));
    EXPECT_EQ(nullptr, mPeerRef::find(handle, false));
}

// A palette that the library did not make stands in for any foreign object.
struct ForeignPalette {
    ForeignPalette() {
        struct {
            WORD version, entries;
            PALETTEENTRY e[1];
        } lp = {0x300, 1, {{1, 2, 3, 0}}};
        handle = reinterpret_cast<SYSTEM_INFO_STRUCT *>(CreatePalette(reinterpret_cast<LOGPALETTE *>(&lp)));
    }
    ~ForeignPalette() { DeleteObject(reinterpret_cast<HGDIOBJ>(handle)); }
    SYSTEM_INFO_STRUCT *handle;
};

TEST(mPeerRef, ForeignObjectsSurviveTheirLastWrapper) {
    ForeignPalette foreign;
    EXPECT_EQ(nullptr, mPeerRef::find(foreign.handle, false));
    mPeerRef *entry = mPeerRef::find(foreign.handle, true);
    entry->markForeign();
    EXPECT_TRUE(entry->isForeign());
    EXPECT_EQ(entry, mPeerRef::find(foreign.handle, true));
    EXPECT_EQ(2, entry->getRefCount());
    entry->release();
    entry->release();
    EXPECT_EQ(nullptr, mPeerRef::find(foreign.handle, false));
    EXPECT_TRUE(isLivePalette(foreign.handle));
}

TEST(mPeerRef, OnlyTheFirstWrapperCanMarkForeign) {
    ForeignPalette made;
    SYSTEM_INFO_STRUCT *handle = made.handle;
    made.handle = nullptr;
    mPeerRef *entry = mPeerRef::find(handle, true);
    mPeerRef::find(handle, true);
    entry->markForeign();
    EXPECT_FALSE(entry->isForeign());
    entry->release();
    EXPECT_TRUE(isLivePalette(handle));
    entry->release();
    EXPECT_FALSE(isLivePalette(handle));
}

TEST(mPeerRef, ReleasingOneEntryKeepsTheOthers) {
    std::vector<mColor> colors = sampleColors();
    mPalette a(colors.data(), 1), c(colors.data(), 3);
    SYSTEM_INFO_STRUCT *middle;
    {
        mPalette b(colors.data(), 2);
        middle = b.getPeer();
        EXPECT_EQ(1, useCount(middle));
    }
    EXPECT_EQ(nullptr, mPeerRef::find(middle, false));
    EXPECT_EQ(1, useCount(a.getPeer()));
    EXPECT_EQ(1, useCount(c.getPeer()));
}

// ---- Files

std::vector<unsigned char> paletteFile(size_t size) {
    std::vector<unsigned char> bytes(size, 0);
    for (size_t i = 0; i < 2 && i < size; ++i)
        bytes[i] = 0xEE;
    for (int e = 0; e < 256 && 2 + 4 * e + 3 < (int)size; ++e) {
        bytes[2 + 4 * e] = (unsigned char)e;
        bytes[3 + 4 * e] = (unsigned char)(255 - e);
        bytes[4 + 4 * e] = (unsigned char)(e * 7);
        bytes[5 + 4 * e] = (unsigned char)(0x5A ^ e);
    }
    return bytes;
}

TEST(mPalette, ReadsAPaletteFileOfExactly1026Bytes) {
    ScratchDir dir("palette-file");
    mPalette p(mString(dir.write("good.pal", paletteFile(1026)).c_str()));
    ASSERT_EQ(256, p.getColorCount());
    std::vector<PALETTEENTRY> entries = platformEntries(p);
    ASSERT_EQ(256u, entries.size());
    for (int e = 0; e < 256; ++e) {
        EXPECT_EQ(e, entries[e].peRed);
        EXPECT_EQ(255 - e, entries[e].peGreen);
        EXPECT_EQ((unsigned char)(e * 7), entries[e].peBlue);
        EXPECT_EQ(PC_NOCOLLAPSE, entries[e].peFlags) << "the fourth byte of an entry is dropped";
    }
}

TEST(mPalette, RefusesPaletteFilesOfAnyOtherSize) {
    ScratchDir dir("palette-size");
    for (size_t size : {1025u, 1027u, 0u, 2050u}) {
        std::string path = dir.write("bad.pal", paletteFile(size));
        EXPECT_MERROR(mPalette p(mString(path.c_str())), "Bad palette file size", size, source);
    }
    EXPECT_MERROR(mPalette p(mString(dir.path("missing.pal").c_str())), "Bad palette file size", 0, source);
}

TEST(mPalette, ReadsEntriesFromTheMiddleOfAnOpenStream) {
    ScratchDir dir("palette-stream");
    std::vector<unsigned char> bytes = {9, 9, 9, 9, 9, 9, 9};
    for (int e = 0; e < 20; ++e)
        bytes.insert(bytes.end(), {(unsigned char)(e + 1), (unsigned char)(e + 2), (unsigned char)(e + 3), 0xFF});
    mInputFile file(mString(dir.write("embedded.bin", bytes).c_str()));
    ASSERT_TRUE(file.OpenFile(true));
    ASSERT_TRUE(file.seekFrom(7, mFile::seekStart));
    mPalette p(file, 16);
    EXPECT_EQ(7 + 16 * 4, file.getCurrentPosition());
    ASSERT_EQ(16, p.getColorCount());
    for (int e = 0; e < 16; ++e)
        EXPECT_EQ(mColor(e + 1, e + 2, e + 3).getRGB(), p.getColor(e).getRGB());

    // A table cut short by the end of the file keeps what is there; the rest stays black.
    mPalette tail(file, 8);
    EXPECT_EQ(mColor(17, 18, 19).getRGB(), tail.getColor(0).getRGB());
    EXPECT_EQ(mColor(20, 21, 22).getRGB(), tail.getColor(3).getRGB());
    EXPECT_EQ(0ul, tail.getColor(4).getRGB());
    EXPECT_EQ(0ul, tail.getColor(7).getRGB());
}

TEST(mPalette, ReadingAClosedStreamFailsWithTheFileError) {
    ScratchDir dir("palette-closed");
    mInputFile file(mString(dir.write("closed.bin", paletteFile(1026)).c_str()));
    EXPECT_THROW(mPalette p(file, 4), mError);
}

// ---- Merging

std::vector<mColor> rgbList(std::initializer_list<unsigned long> rgb) {
    std::vector<mColor> colors;
    for (unsigned long v : rgb)
        colors.push_back(mColor((int)v));
    return colors;
}

mPalette makePalette(const std::vector<mColor> &colors) { return mPalette(colors.data(), (int)colors.size()); }

void expectAllNoCollapse(const mPalette &p) {
    for (const PALETTEENTRY &e : platformEntries(p))
        EXPECT_EQ(PC_NOCOLLAPSE, e.peFlags);
}

TEST(mPaletteMerge, EmptyMergeWithoutToleranceReproducesTheBase) {
    std::vector<mColor> colors = rgbList({0x0A0B3F, 0x000001, 0x0A0B3F, 0xFFFFFF, 0x102040, 0x000001});
    mPalette base = makePalette(colors);
    std::vector<unsigned long> expected = platformRGB(base);
    for (bool maskBase : {false, true})
        for (bool replace : {false, true}) {
            mPalette merged(&base, nullptr, 0, 0, replace, maskBase);
            EXPECT_EQ(expected, platformRGB(merged)) << maskBase << replace;
        }
}

// Buckets under ignoreBits 2 are the masked blue & 63: 0x0A -> 8, 0x03 -> 0, 0x46 -> 4, 0x01 -> 0.
TEST(mPaletteMerge, ToleranceRebuildsTheBaseInBucketOrder) {
    mPalette base = makePalette(rgbList({0x01010A, 0x020203, 0x030346, 0x040401, 0x01010A, 0x01010B}));
    mPalette rebuilt(&base, nullptr, 0, 2, true, false);
    // The exact duplicate goes; the near one stays, since the base is compared exactly.
    std::vector<unsigned long> order = {0x040401, 0x020203, 0x030346, 0x01010B, 0x01010A};
    EXPECT_EQ(order, platformRGB(rebuilt));
    EXPECT_EQ(5, rebuilt.getColorCount());
    expectAllNoCollapse(rebuilt);

    mPalette masked(&base, nullptr, 0, 2, true, true);
    std::vector<unsigned long> maskedOrder = {0x040401, 0x020203, 0x030346, 0x01010A};
    EXPECT_EQ(maskedOrder, platformRGB(masked));
}

TEST(mPaletteMerge, NearColoursReplaceOrYieldByTheReplaceFlag) {
    mPalette base = makePalette(rgbList({0x01010A, 0x020203, 0x030346, 0x040401}));
    std::vector<mColor> colors = rgbList({0x050502, 0xC80000, 0x020203});
    colors[0] = mColor(4, 4, 2);
    colors[1].setTransparent(true);

    mPalette replaced(&base, colors.data(), 3, 2, true, false);
    std::vector<unsigned long> withReplace = {0xC80000, 0x040402, 0x020203, 0x030346, 0x01010A};
    EXPECT_EQ(withReplace, platformRGB(replaced));

    // Without replace the base is kept as it was and the new colours follow in bucket order.
    mPalette kept(&base, colors.data(), 3, 2, false, false);
    std::vector<unsigned long> withoutReplace = {0x01010A, 0x020203, 0x030346, 0x040401, 0xC80000};
    EXPECT_EQ(withoutReplace, platformRGB(kept));
}

TEST(mPaletteMerge, KeptBaseComesFirstThenNewColoursByBucket) {
    mPalette base = makePalette(rgbList({0x000010, 0x000002, 0x000010}));
    std::vector<mColor> colors = rgbList({0x110005, 0x220001, 0x000002, 0x330005, 0x110005});
    mPalette merged(&base, colors.data(), (int)colors.size(), 0, false, false);
    std::vector<unsigned long> order = {0x000010, 0x000002, 0x000010, 0x220001, 0x330005, 0x110005};
    EXPECT_EQ(order, platformRGB(merged));
    expectAllNoCollapse(merged);
}

TEST(mPaletteMerge, WithoutBaseOnlyDistinctColoursRemain) {
    std::vector<mColor> colors = rgbList({0x000041, 0x000001, 0x000041, 0x808080, 0x000003});
    mPalette exact(nullptr, colors.data(), (int)colors.size(), 0, false, false);
    std::vector<unsigned long> order = {0x808080, 0x000001, 0x000041, 0x000003};
    EXPECT_EQ(order, platformRGB(exact));

    // Two bits of tolerance join 0x01 and 0x03, and 0x41 with 0x41.
    mPalette loose(nullptr, colors.data(), (int)colors.size(), 2, false, false);
    std::vector<unsigned long> looseOrder = {0x808080, 0x000001, 0x000041};
    EXPECT_EQ(looseOrder, platformRGB(loose));
}

TEST(mPaletteMerge, ToleranceIsLimitedToSevenBits) {
    std::vector<mColor> colors = rgbList({0x000000, 0x7F7F7F, 0x800000, 0x017F00});
    mPalette wide(nullptr, colors.data(), (int)colors.size(), 12, false, false);
    EXPECT_EQ(2, wide.getColorCount());
    mPalette negative(nullptr, colors.data(), (int)colors.size(), -3, false, false);
    EXPECT_EQ(4, negative.getColorCount());
}

TEST(mPaletteMerge, StopsAt256EntriesAndDropsTheRest) {
    std::vector<mColor> baseColors, more;
    for (int i = 0; i < 250; ++i)
        baseColors.push_back(mColor(i, 0, i));
    for (int i = 0; i < 20; ++i)
        more.push_back(mColor(i, 1, i));
    mPalette base = makePalette(baseColors);
    mPalette merged(&base, more.data(), (int)more.size(), 0, false, false);
    ASSERT_EQ(256, merged.getColorCount());
    std::vector<unsigned long> rgb = platformRGB(merged);
    for (int i = 0; i < 250; ++i)
        EXPECT_EQ(baseColors[i].getRGB(), rgb[i]);
    for (int i = 0; i < 6; ++i)
        EXPECT_NE(rgb.end(), std::find(rgb.begin() + 250, rgb.end(), more[i].getRGB())) << i;

    std::vector<mColor> many;
    for (int i = 0; i < 300; ++i)
        many.push_back(mColor(i / 256, i % 256, 0));
    mPalette full(nullptr, many.data(), (int)many.size(), 0, false, false);
    EXPECT_EQ(256, full.getColorCount());
    std::vector<unsigned long> fullRgb = platformRGB(full);
    std::sort(fullRgb.begin(), fullRgb.end());
    for (int i = 0; i < 256; ++i)
        EXPECT_EQ(many[i].getRGB(), fullRgb[i]);
}

} // namespace
