#include "mSprite/m15BitMemImage.h"

static const char srcPath[] = "mSprite/m15BitMemImage";

m15BitMemImage::m15BitMemImage(mGraphics *compatible, const mSize &size) : m15Bit(), mGraphics(nullptr, nullptr, false) {
    setMatch(false);
    // 16 bits per pixel with no masks is the platform's 5-5-5 layout, the image's own.
    unsigned long error = 0;
    void *block = createSection(compatible, size.cx, size.cy, 16, nullptr, 0, error);
    if (!block)
        VELNOR_THROW("Failed to create DI Bitmap", error);
    header->width = size.cx;
    header->height = size.cy;
    header->lineBytes = (2 * size.cx + 3) & ~3L;
    header->dataSize = header->lineBytes * size.cy;
    data = static_cast<unsigned char *>(block);
}

m15BitMemImage::~m15BitMemImage() { data = nullptr; }
