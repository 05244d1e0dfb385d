// An 8-bit image that is also a drawing surface: one block of pixels serves the blitters and
// the platform, and its colour table is the one a window is repainted with.
#pragma once
#include "mSprite/m8Bit.h"
#include "mWindow/mGraphics.h"

class VELNOR_API m8BitMemImage : public m8Bit, public mGraphics {
public:
    // `compatible` is the surface to be like, the display if null; the image takes the
    // colours of `palette`.
    m8BitMemImage(mGraphics *compatible, const mSize &size, const mPalette *palette);

    // The pixel block, bottom row first; the same block as getData().
    unsigned char *getDIBPtr() const { return data; }
    int getLineBytes() const { return header->lineBytes; }

    // Both keep the colour table of the surface in step with the image's, so that a change of
    // colour shows at the next copy to a window without touching a pixel.
    int copyPalette(const mBitMap *source) override;
    int copyPalette(const mPalette &palette, int targetIndex, int sourceIndex, int count) override;

protected:
    ~m8BitMemImage() override;
};
