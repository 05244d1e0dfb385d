// One byte per pixel, an index into the image's colour table; the composition target of
// the sprites. Takes copies from 8-bit, run-length and (through a mapping table) 15-bit images.
#pragma once
#include "mSprite/mBitMap.h"

class m15Bit;

class VELNOR_API m8Bit : public mBitMap {
public:
    m8Bit();
    m8Bit(const mSize &size, const mPalette *palette);
    // A clone of an 8-bit or run-length image, or a conversion of another format through
    // the mapping table of `mappingImage`.
    m8Bit(const mBitMap &source, const mBitMap *mappingImage);

    // The slot of the 4096-entry mapping table for a 15-bit colour: its top four bits of
    // red, green and blue.
    static unsigned mappingKey(unsigned rgb15) {
        return ((rgb15 & 0x7800) >> 3) + ((rgb15 & 0x03C0) >> 2) + ((rgb15 & 0x001E) >> 1);
    }

    mColor *getUsedColors(int &count, int threshold) override;
    mBitMap *load(const void *data, long length, bool fileHeader) override;
    void flip() override;
    bool hasTransparency() const override;
    bool isSolid(mPoint p, const mRect &frame, mFPoint origin, const mTransform &t) override;
    bool isSolid(mPoint p) override;
    void copy(const mBitMap *source, mRect area, mRect clip, mPoint position, mFPoint origin,
              const mTransform &t) override;
    void copy(const mBitMap *source, mRect sourceRect, mPoint position) override;
    void changePalette(const mPalette &palette, bool firstPixelTransparent) override;
    mBitMap *createBlank(int bits, const mSize &size, const mPalette *palette) override;
    BitmapType getBitmapType() const override { return bitmap8; }
    unsigned short *getStdImage(const mRect &area, bool opaque) const override;
    void writeStdImage(const unsigned short *image, const mSize &imageSize, const mRect &area,
                       const mPoint &position, bool keepTarget) override;
    void setMapping(const mPalette *palette, mColor transparent) override;
    using mBitMap::scroll;
    void scroll(const mRect &area, int dx, int dy, mColor &fillColor) override;
    void fill(mRect area, const mColor &color) override;
    void fill(const mColor &color);

    void setTransparent(int index) { transparent = (short)index; }
    void setTransparent();
    void setTransparent(const mColor &color);
    short getTransparent() const { return transparent; }
    int getConversionTransparentIndex() const { return conversionIndex; }
    mColor getConversionTransparentColor() const { return conversionTransparent; }

protected:
    ~m8Bit() override;

private:
    m8Bit(const unsigned char *info, long length);
    void init();
    int getClosestIndex(unsigned short key);
    void copy15(const m15Bit &source, const mRect &sourceRect, mPoint position);
    void copyPlain(const mBitMap &source, const mRect &sourceRect, mPoint position);
    // The colour table index nearest to a colour; the image must have colours.
    unsigned char indexOf(const mColor &color) const;
    unsigned char *row(long y) const { return data + (header->height - y - 1) * header->lineBytes; }

    unsigned char *mapping;
    mColor conversionTransparent;
    int conversionIndex;
    short transparent;
};
