#include "../mSprite/ImageKit.h"
#include "ExpectError.h"
#include "ObjFileFixture.h"
#include "mAswLib/mObjStore.h"

#include <fstream>
#include <iterator>

namespace {

Bytes fileBytes(const mString &path) {
    std::ifstream in(path.c_str(), std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

unsigned long longAt(const Bytes &b, size_t at) { return b[at] | b[at + 1] << 8 | b[at + 2] << 16 | (unsigned long)b[at + 3] << 24; }

// An image of a kind the store does not take.
class Foreign : public m8Bit {
public:
    Foreign() : m8Bit(mSize(2, 2), nullptr) {}
    BitmapType getBitmapType() const override { return bitmapGeneric; }
};

// The file, read back: every image must come back with its size, kind and pixel block, and
// with its colours as 15-bit words.
void expectReadsBack(const mString &path, const std::vector<mBitMap *> &images) {
    mObjFile file(path);
    ASSERT_EQ((int)images.size(), file.getNumObjects());
    for (size_t i = 0; i < images.size(); ++i) {
        SCOPED_TRACE(i);
        Owned<mBitMap> back = own(mBitMap::create(&file, (int)i));
        const mBHeader &want = head(*images[i]), &got = head(*back);
        EXPECT_EQ(images[i]->getBitmapType(), back->getBitmapType());
        EXPECT_EQ(want.width, got.width);
        EXPECT_EQ(want.height, got.height);
        EXPECT_EQ(blockOf(*images[i]), blockOf(*back));
        for (int c = 0; c < want.colorCount; ++c)
            EXPECT_EQ(want.colors[c].getRGB15(), back->getColor(c).getRGB15()) << c;
    }
}

TEST_F(ObjFileTest, StoredImagesReadBackWithTheirPixelsAndColours) {
    mPalette palette = paletteOf(rampColors(200));
    Owned<m8Bit> colored = make8(37, 21, &palette, [](long x, long y) { return (x / 5 + y) % 200; });
    Owned<m8Bit> plain = make8(6, 5, nullptr, [](long x, long y) { return x * y; });
    // Bytes that the coder cannot shrink go in stored, and the next record overwrites what the
    // longer stream left behind them.
    Bytes noise = pattern(64 * 64, 9);
    Owned<m8Bit> random = make8(64, 64, nullptr, [&](long x, long y) { return noise[y * 64 + x]; });
    Owned<m15Bit> deep = make15(9, 4, [](long x, long y) { return (x * 3001 + y * 77) & 0x7FFF; });
    Owned<mBitMap> runs = rleFromStream(5, 3, {0, 2, 0, 0, 5, 7, 0, 0, 0, 2, 1, 0, 4, 9, 0, 0, 0, 2, 0, 0, 0, 3, 1, 2, 3, 0, 2, 4, 0, 0, 0, 1});
    const std::vector<mBitMap *> images = {colored.get(), random.get(), plain.get(), deep.get(), runs.get()};

    const mString path = put({});
    {
        mObjStore store(path);
        for (mBitMap *image : images)
            EXPECT_EQ(mObjStore::storeOk, store.write(*image, "a name longer than twelve"));
        Foreign foreign;
        EXPECT_EQ(mObjStore::storeBadImage, store.write(foreign, "no"));
    }
    expectReadsBack(path, images);

    // The records: id, type 0, the name cut at 12, and the flags of a table, of a block stored
    // and of a coded one.
    const Bytes bytes = fileBytes(path);
    std::vector<size_t> at = {2};
    for (size_t i = 0; i + 1 < images.size(); ++i)
        at.push_back(at.back() + 35 + longAt(bytes, at.back() + 27));
    const unsigned long flags[] = {64, 0, 1, 1, 1};
    for (size_t i = 0; i < images.size(); ++i) {
        EXPECT_EQ(i, bytes[at[i]] | bytes[at[i] + 1] << 8);
        EXPECT_EQ(0, bytes[at[i] + 4] | bytes[at[i] + 5] << 8);
        EXPECT_EQ(Bytes({'a', ' ', 'n', 'a', 'm', 'e', ' ', 'l', 'o', 'n', 'g', 'e', 0}),
                  Bytes(bytes.begin() + at[i] + 6, bytes.begin() + at[i] + 19));
        EXPECT_EQ(flags[i], longAt(bytes, at[i] + 31)) << i;
    }
}

TEST_F(ObjFileTest, StoreWithNothingWrittenLeavesAFileTheReaderRefuses) {
    const mString path = put({});
    { mObjStore store(path); }
    EXPECT_EQ(Bytes({0, 0}), fileBytes(path));
    EXPECT_MERROR(mObjFile file(path), (mString("Does not appear to be an object file: ") + path).c_str(), 0,
                  "mAswLib/mObjFile");
}

} // namespace
