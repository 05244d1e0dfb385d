#include "mSprite/m8BitMemImage.h"

#include "mWindow/mPalette.h"

static const char srcPath[] = "mSprite/m8BitMemImage";

m8BitMemImage::m8BitMemImage(mGraphics *compatible, const mSize &size, const mPalette *palette)
    : m8Bit(), mGraphics(nullptr, nullptr, false) {
    setMatch(false);
    setColors(palette);
    // The platform owns the block; `data` only borrows it, and stays null until it exists, so
    // that a failure here frees nothing of it.
    unsigned long error = 0;
    void *block = createSection(compatible, size.cx, size.cy, 8, header->colors, header->colorCount, error);
    if (!block)
        VELNOR_THROW("Failed to create DI Bitmap", error);
    header->width = size.cx;
    header->height = size.cy;
    header->lineBytes = (size.cx + 3) & ~3L;
    header->dataSize = header->lineBytes * size.cy;
    data = static_cast<unsigned char *>(block);
}

m8BitMemImage::~m8BitMemImage() {
    data = nullptr;
    setPalette(nullptr);
}

int m8BitMemImage::copyPalette(const mBitMap *source) {
    const int n = m8Bit::copyPalette(source);
    setSectionColors(header->colors, header->colorCount, 0, n);
    return n;
}

int m8BitMemImage::copyPalette(const mPalette &palette, int targetIndex, int sourceIndex, int count) {
    const int n = m8Bit::copyPalette(palette, targetIndex, sourceIndex, count);
    setSectionColors(header->colors, header->colorCount, targetIndex, n);
    return n;
}
