// A high-colour image: one 16-bit word per pixel, red, green and blue of five bits each.
// Takes copies from 15-bit images directly and from 8-bit and run-length images through a
// table of 256 words.
#pragma once
#include "mSprite/mBitMap.h"

class VELNOR_API m15Bit : public mBitMap {
public:
    m15Bit();
    m15Bit(const mSize &size);
    // A clone of a 15-bit image, or a conversion of an 8-bit or run-length one; `palette`
    // gives the colours of an image without its own, and is required for a run-length one.
    m15Bit(const mBitMap &source, mPalette *palette);

    mBitMap *load(const void *data, long length, bool fileHeader) override;
    void flip() override;
    bool hasTransparency() const override { return transparent < 65535; }
    bool isSolid(mPoint p, const mRect &frame, mFPoint origin, const mTransform &t) override;
    bool isSolid(mPoint p) override;
    void copy(const mBitMap *source, mRect area, mRect clip, mPoint position, mFPoint origin,
              const mTransform &t) override;
    void copy(const mBitMap *source, mRect sourceRect, mPoint position) override;
    mBitMap *createBlank(int bits, const mSize &size, const mPalette *palette) override;
    BitmapType getBitmapType() const override { return bitmap15; }
    unsigned short *getStdImage(const mRect &area, bool opaque) const override;
    void writeStdImage(const unsigned short *image, const mSize &imageSize, const mRect &area,
                       const mPoint &position, bool keepTarget) override;
    void setMapping(const mPalette *palette, mColor transparent) override;
    using mBitMap::scroll;
    void scroll(const mRect &area, int dx, int dy, mColor &fillColor) override;
    void fill(mRect area, const mColor &color) override;
    void fill(const mColor &color);

    void setTransparent(const mColor &color);
    void setTransparent();
    mColor getTransparent() const;
    mPalette *getMappingPalette() const;

protected:
    ~m15Bit() override;

private:
    friend class m8Bit;

    m15Bit(const unsigned char *info, long length);
    void init();
    void copy8(const mBitMap *source, const mRect &sourceRect, mPoint position);
    void copyRows(const mBitMap &source, const mRect &sourceRect, mPoint position, unsigned short transparent);
    unsigned short *pixels() const { return reinterpret_cast<unsigned short *>(data); }
    unsigned short *row(long y) const { return pixels() + (header->height - y - 1) * (header->lineBytes / 2); }

    unsigned short transparent;
    mPalette *mappingPalette;
    unsigned short *mappingTable;
};
