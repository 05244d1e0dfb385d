// A 15-bit image that is also a drawing surface: one block of pixels serves the blitters and
// the platform.
#pragma once
#include "mSprite/m15Bit.h"
#include "mWindow/mGraphics.h"

class VELNOR_API m15BitMemImage : public m15Bit, public mGraphics {
public:
    // `compatible` is the surface to be like, the display if null.
    m15BitMemImage(mGraphics *compatible, const mSize &size);

    // The pixel block, bottom row first; the same block as getData().
    unsigned short *getDIBPtr() const { return reinterpret_cast<unsigned short *>(data); }
    int getLineBytes() const { return header->lineBytes; }

    // Pixels are colours here: there is no table to copy, and nothing changes.
    int copyPalette(const mBitMap *source) override { return 0; }
    int copyPalette(const mPalette &palette, int targetIndex, int sourceIndex, int count) override { return 0; }

protected:
    ~m15BitMemImage() override;
};
