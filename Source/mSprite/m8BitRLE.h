// An 8-bit image kept as run-length tokens: transparent areas are skipped rather than
// compared, and a copy writes only what is visible. A source only; it is never drawn into.
#pragma once
#include "mSprite/mBitMap.h"
#include "mSprite/mRLERows.h"

class VELNOR_API m8BitRLE : public mBitMap {
public:
    m8BitRLE();
    // From a plain or a run-length 8-bit image.
    m8BitRLE(const mBitMap &source);
    m8BitRLE(const m8BitRLE &source) : m8BitRLE(static_cast<const mBitMap &>(source)) {}

    mColor *getUsedColors(int &count, int threshold) override;
    mBitMap *load(const void *data, long length, bool fileHeader) override;
    int getUnusedIndex() const override;
    void flip() override;
    bool hasTransparency() const override { return true; }
    using mBitMap::isSolid;
    bool isSolid(mPoint p) override;
    void changePalette(const mPalette &palette, bool firstPixelTransparent) override;
    BitmapType getBitmapType() const override { return bitmapRLE; }

protected:
    ~m8BitRLE() override;

private:
    friend class m8Bit;
    friend class m15Bit;

    m8BitRLE(const unsigned char *info, long length);
    void init();
    void from8BitRLE(const mBitMap &source);
    void from8Bit(const mBitMap &source);
    int rowToRLE(unsigned char *&out, const unsigned char *row, unsigned char transparent);
    void convertIndexVals(unsigned short *table);
    void mirrorRows();
    bool scanSolid(mPoint &p);
    void tallyValues(long tally[256]) const;
    // Builds the row index anew from the stream; every change of the stream ends with it.
    void indexRows();
    // The end of the token stream; the start itself when there is none.
    const unsigned char *streamEnd() const { return data && header->dataSize > 0 ? data + header->dataSize : data; }

    // The row index of a run-length source: its own, or for a source of another class one
    // built into `scratch` for this copy. The copies into plain targets draw through it.
    static const mRLERows &rowsOf(const mBitMap &source, mRLERows &scratch);

    mRLERows rows;
};
