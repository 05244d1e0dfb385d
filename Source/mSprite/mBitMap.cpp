#include "mSprite/mBitMap.h"

#include "mAswLib/mObjFile.h"
#include "mFile/mFile.h"
#include "mSprite/m15Bit.h"
#include "mSprite/m8Bit.h"
#include "mSprite/m8BitRLE.h"
#include "mUtil/mApp.h"
#include "mUtil/mModule.h"
#include "mWindow/mPalette.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <vector>

static const char srcPath[] = "mSprite/mBitMap";

namespace {

// The format prototypes, in the order in which create() tries them.
std::vector<mBitMap *> formats;
mGenericBitMap genericFormat;

// A block from the library's heap, released on every way out of a scope.
typedef std::unique_ptr<void, void (*)(void *)> mBlock;
mBlock ownBlock(void *block) { return mBlock(block, mApp::free); }

// A block of a module's resources; the module decides what releasing means.
struct mResource {
    mModule *module;
    const void *block;
    ~mResource() { module->freeResource(block); }
};

const void *findResource(mModule *module, bool compressed, unsigned short id, long &length) {
    try {
        return compressed ? module->loadAnyResource("IMPAKBMP", length, id) : module->loadBitMapResource(length, id);
    } catch (const mError &) {
        VELNOR_THROW("Bitmap Resource not found", id);
    }
}

} // namespace

mBHeader::mBHeader()
    : refCount(1), width(0), height(0), dataSize(-1), bits(0), noPalette(false), lineBytes(0), compression(0),
      colorCount(0), reserved(0), colors(nullptr), rgb15(nullptr) {}

// ---- Creation.

mBitMap *mBitMap::create(const void *data, long length, bool fileHeader) {
    for (mBitMap *format : formats) {
        if (mBitMap *image = format->load(data, length, fileHeader))
            return image;
    }
    mBitMap *image = genericFormat.load(data, length, fileHeader);
    if (!image)
        VELNOR_THROW("Bitmap format not supported", 0);
    return image;
}

mBitMap *mBitMap::create(mModule *module, unsigned short id, bool compressed) {
    if (!module)
        VELNOR_THROW("Bitmap Resource not found", id);
    long length = 0;
    mResource resource = {module, findResource(module, compressed, id, length)};
    if (!resource.block)
        VELNOR_THROW("Bitmap Resource not found", id);
    if (!compressed)
        return create(resource.block, length, false);
    mBlock decoded = ownBlock(mModule::decodeCompressed(resource.block, length));
    return create(decoded.get(), length, true);
}

mBitMap *mBitMap::create(mObjFile *file, int index) {
    if (!file || file->getType(index) != mObjFile::objBitmap)
        VELNOR_THROW("Not a bitmap object", 0);
    try {
        mObjFile::mObjType type;
        int size = 0;
        mBlock block = ownBlock(file->getObject(index, type, size));
        return createFromObject(block.get(), block ? size : 0);
    } catch (mError &error) {
        error.message = "Bitmap object:" + error.message;
        throw;
    }
}

mBitMap *mBitMap::createFromObject(void *block, long length) {
    unsigned char *start = static_cast<unsigned char *>(block);
    if (length >= 2) {
        long prefix = mModule::leReadWord(start);
        if (prefix >= 2) {
            if (prefix > length)
                prefix = length;
            start += prefix;
            length -= prefix;
        } else {
            start[0] = 'B';
            start[1] = 'M';
        }
    }
    return create(start, length, true);
}

mBitMap *mBitMap::create(mInputFile &file, long length, bool compressed) {
    if (!file.isOpen())
        VELNOR_THROW("Bitmap file not opened! -" + file.getFullPath(), 0);
    if (length < 0)
        length = 0;
    mBlock block = ownBlock(mApp::malloc((int)length));
    if (!block)
        VELNOR_THROW("Bitmap too large", length);
    length = file.readBytes(block.get(), (int)length);
    if (compressed)
        block = ownBlock(mModule::decodeCompressed(block.get(), length));
    return create(block.get(), length, true);
}

mBitMap *mBitMap::create(int bits, const mSize &size, const mPalette *palette) {
    for (mBitMap *format : formats) {
        if (mBitMap *image = format->createBlank(bits, size, palette))
            return image;
    }
    return nullptr;
}

// ---- The registry.

void mBitMap::registerAll() {
    mBitMap *prototype = new m8Bit();
    prototype->registerFormat();
    prototype = new m8BitRLE();
    prototype->registerFormat();
    prototype = new m15Bit();
    prototype->registerFormat();
}

void mBitMap::unregisterAll() {
    std::vector<mBitMap *> prototypes;
    prototypes.swap(formats);
    for (mBitMap *prototype : prototypes)
        prototype->free();
}

void mBitMap::registerFormat() { formats.push_back(this); }

void mBitMap::unregisterFormat() {
    for (auto it = formats.begin(); it != formats.end(); ++it) {
        if (*it == this) {
            formats.erase(it);
            return;
        }
    }
}

// ---- Life and access.

mBitMap::mBitMap() : header(new mBHeader()), data(nullptr) {}

mBitMap::~mBitMap() {
    delete[] header->colors;
    delete[] header->rgb15;
    delete header;
    mApp::free(data);
}

mBitMap *mBitMap::use() const {
    if (!data)
        VELNOR_THROW("Cannot use bitmap that is not loaded", 0);
    ++header->refCount;
    return const_cast<mBitMap *>(this);
}

void mBitMap::free() {
    if (--header->refCount <= 0)
        delete this;
}

mColor *mBitMap::getColors(int &count) const {
    count = header->colors ? header->colorCount : 0;
    if (count < 1) {
        count = 0;
        return nullptr;
    }
    mColor *copy = new mColor[count];
    std::memcpy(copy, header->colors, count * sizeof(mColor));
    return copy;
}

mColor mBitMap::getColor(int index) const {
    if (index < 0 || index >= header->colorCount)
        VELNOR_THROW("Color index does not exist", header->colorCount);
    return header->colors[index];
}

void mBitMap::setColor(const mColor &color, int index) {
    if (index < 0 || index >= header->colorCount)
        VELNOR_THROW("Color index does not exist", header->colorCount);
    header->colors[index] = color;
    dropRGB15();
}

mPalette *mBitMap::getPalette() const {
    if (header->noPalette || header->colorCount < 1)
        return nullptr;
    return new mPalette(header->colors, header->colorCount);
}

unsigned short *mBitMap::getRGB15convert() const {
    if (header->noPalette || header->colorCount < 1)
        return nullptr;
    if (!header->rgb15) {
        unsigned short *table = new unsigned short[header->colorCount];
        for (int i = 0; i < header->colorCount; ++i)
            table[i] = header->colors[i].getRGB15();
        header->rgb15 = table;
    }
    return header->rgb15;
}

// Works in 64 bits so that no rectangle or position, however absurd, can wrap around
// into a range that looks valid.
void mBitMap::clip(const mSize &sourceSize, mRect &sourceRect, mPoint &position) const {
    long long left = sourceRect.left, top = sourceRect.top, right = sourceRect.right, bottom = sourceRect.bottom;
    long long x = position.x, y = position.y;
    if (left < 0) {
        x -= left;
        left = 0;
    }
    if (x < 0) {
        left -= x;
        x = 0;
    }
    if (top < 0) {
        y -= top;
        top = 0;
    }
    if (y < 0) {
        top -= y;
        y = 0;
    }
    if (right > sourceSize.cx)
        right = sourceSize.cx;
    if (right - left + x > header->width)
        right = header->width - x + left;
    if (bottom > sourceSize.cy)
        bottom = sourceSize.cy;
    if (bottom - top + y > header->height)
        bottom = header->height - y + top;
    // Only an empty result can lie outside the range of long; clamping keeps it empty.
    auto narrow = [](long long v) { return (long)(v < LONG_MIN ? LONG_MIN : v > LONG_MAX ? LONG_MAX : v); };
    sourceRect = mRect(narrow(left), narrow(top), narrow(right), narrow(bottom));
    position = mPoint(narrow(x), narrow(y));
}

bool mBitMap::isWithin(const mRect &area, const mSize &size) {
    return area.left >= 0 && area.top >= 0 && !area.isEmpty() && area.right <= size.cx && area.bottom <= size.cy;
}

bool mBitMap::fitsAt(const mPoint &position, const mSize &part, const mSize &whole) {
    return position.x >= 0 && position.y >= 0 && part.cx <= whole.cx - position.x && part.cy <= whole.cy - position.y;
}

bool mBitMap::clipCopy(const mBitMap *source, mRect &sourceRect, mPoint &position) const {
    clip(source->getSize(), sourceRect, position);
    return !sourceRect.isEmpty();
}

bool mBitMap::clipToImage(mRect &area) const {
    area &= mRect(0, 0, header->width, header->height);
    return !area.isEmpty();
}

// ---- What a format does not override.

mColor *mBitMap::getUsedColors(int &count, int threshold) {
    count = 0;
    return nullptr;
}

mBitMap *mBitMap::load(const void *data, long length, bool fileHeader) { return nullptr; }

int mBitMap::getUnusedIndex() const { return -1; }

void mBitMap::flip() { VELNOR_THROW("Flip of this bitmap not supported", 0); }

bool mBitMap::hasTransparency() const { return false; }

bool mBitMap::isSolid(mPoint p, const mRect &frame, mFPoint origin, const mTransform &t) { return true; }

bool mBitMap::isSolid(mPoint p) { return true; }

void mBitMap::copy(const mBitMap *source, mRect area, mRect clip, mPoint position, mFPoint origin,
                   const mTransform &t) {
    VELNOR_THROW("Transformation not supported on this bitmap", 0);
}

void mBitMap::copy(const mBitMap *source, mRect sourceRect, mPoint position) {
    VELNOR_THROW("Copy not supported on this bitmap", 0);
}

void mBitMap::changePalette(const mPalette &palette, bool firstPixelTransparent) {
    VELNOR_THROW("Conversion of palette not supported for this format", 0);
}

mBitMap *mBitMap::createBlank(int bits, const mSize &size, const mPalette *palette) { return nullptr; }

unsigned short *mBitMap::getStdImage(const mRect &area, bool opaque) const {
    VELNOR_THROW("Get of standard image not supported for this format", 0);
}

void mBitMap::writeStdImage(const unsigned short *image, const mSize &imageSize, const mRect &area,
                            const mPoint &position, bool keepTarget) {
    VELNOR_THROW("Write of standard image not supported for this format", 0);
}

void mBitMap::setMapping(const mPalette *palette, mColor transparent) {}

void mBitMap::scroll(const mRect &area, int dx, int dy, mColor &fillColor) {
    VELNOR_THROW("Scrolling of bitmap not supported for this format", 0);
}

// One form for every format: the whole image through the format's own area scroll.
void mBitMap::scroll(int dx, int dy, mColor &fillColor) {
    scroll(mRect(0, 0, header->width, header->height), dx, dy, fillColor);
}

void mBitMap::fill(mRect area, const mColor &color) { VELNOR_THROW("Fill of bitmap not supported for this format", 0); }

void mBitMap::scrollPixels(mRect area, int dx, int dy, mColor &fillColor, int pixelBytes) {
    if (!clipToImage(area))
        return;
    const long long width = area.width(), height = area.height();
    const long long cols = width - (dx < 0 ? -(long long)dx : dx), rows = height - (dy < 0 ? -(long long)dy : dy);
    if (cols > 0 && rows > 0) {
        const long fromX = dx > 0 ? area.left : area.left - dx, toX = dx > 0 ? area.left + dx : area.left;
        const long fromY = dy > 0 ? area.top : area.top - dy, toY = dy > 0 ? area.top + dy : area.top;
        const size_t bytes = (size_t)cols * pixelBytes;
        // Moving up, the top rows go first; otherwise the bottom ones, so nothing is
        // overwritten before it is read. Within a row memmove takes care of the direction.
        for (long i = 0; i < rows; ++i) {
            const long k = dy < 0 ? i : (long)rows - 1 - i;
            unsigned char *from = data + (header->height - (fromY + k) - 1) * header->lineBytes + fromX * pixelBytes;
            unsigned char *to = data + (header->height - (toY + k) - 1) * header->lineBytes + toX * pixelBytes;
            std::memmove(to, from, bytes);
        }
    }
    if (fillColor.isTransparent())
        return;
    // The strips, each kept within the area however far the move went.
    const long long left = area.left, top = area.top, right = area.right, bottom = area.bottom;
    auto strip = [&](long long l, long long t, long long r, long long b) {
        mRect s((long)std::max(l, left), (long)std::max(t, top), (long)std::min(r, right), (long)std::min(b, bottom));
        if (!s.isEmpty())
            fill(s, fillColor);
    };
    if (dx < 0)
        strip(right + dx, top, right, bottom);
    else if (dx > 0)
        strip(left, top, left + dx, bottom);
    if (dy < 0)
        strip(left, bottom + dy, right, bottom);
    else if (dy > 0)
        strip(left, top, right, top + dy);
}

// ---- Tiling and colour tables.

void mBitMap::tile(mBitMap *source, bool centered) {
    if (!source)
        return;
    const long tileWidth = source->header->width, tileHeight = source->header->height;
    if (tileWidth < 1 || tileHeight < 1)
        return;
    long x0 = 0, y0 = 0;
    if (centered) {
        x0 = (header->width - tileWidth) / 2;
        y0 = (header->height - tileHeight) / 2;
        if (x0 > 0)
            x0 -= ((x0 - 1) / tileWidth + 1) * tileWidth;
        if (y0 > 0)
            y0 -= ((y0 - 1) / tileHeight + 1) * tileHeight;
    }
    const mRect whole(0, 0, tileWidth, tileHeight);
    for (long y = y0; y < header->height; y += tileHeight)
        for (long x = x0; x < header->width; x += tileWidth)
            copy(source, whole, mPoint(x, y));
}

int mBitMap::copyPalette(const mPalette &palette, int targetIndex, int sourceIndex, int count) {
    if (header->noPalette)
        VELNOR_THROW("Target does not use palette", 0);
    if (count == 0)
        count = palette.getColorCount();
    if (targetIndex < 0)
        VELNOR_THROW("Bad target index", 0);
    const long long limit = 1LL << header->bits;
    long long n = count;
    if (sourceIndex + targetIndex + n >= limit)
        n = limit - targetIndex - sourceIndex;
    if (n > limit - targetIndex)
        n = limit - targetIndex;
    if (n <= 0)
        return 0;
    count = (int)n;
    if (targetIndex + count > header->colorCount || !header->colors) {
        mColor *table = new mColor[targetIndex + count];
        if (header->colors)
            std::memcpy(table, header->colors, header->colorCount * sizeof(mColor));
        setColors(nullptr, 0);
        header->colors = table;
        header->colorCount = targetIndex + count;
    }
    int available = 0;
    std::unique_ptr<mColor[]> source(palette.getColors(available));
    for (int i = 0; i < count; ++i) {
        const long long from = (long long)sourceIndex + i;
        header->colors[targetIndex + i] = from >= 0 && from < available ? source[from] : mColor(true);
    }
    dropRGB15();
    return count;
}

int mBitMap::copyPalette(const mBitMap *source) {
    if (header->noPalette)
        VELNOR_THROW("Target does not use palette", 0);
    if (source->header->noPalette)
        VELNOR_THROW("Source does not use palette", 0);
    if (!source->header->colors)
        return 0;
    int n = source->header->colorCount;
    if (n > (1 << header->bits))
        n = 1 << header->bits;
    if (n > header->colorCount) {
        mColor *table = new mColor[n];
        if (header->colors)
            std::memcpy(table, header->colors, header->colorCount * sizeof(mColor));
        setColors(nullptr, 0);
        header->colors = table;
        header->colorCount = n;
    }
    std::memcpy(header->colors, source->header->colors, n * sizeof(mColor));
    dropRGB15();
    return n;
}

void mBitMap::copyCMap(const mBitMap &source) {
    if (source.header->colors) {
        setColors(source.header->colors, source.header->colorCount);
        header->reserved = source.header->reserved;
    } else {
        setColors(nullptr, 0);
        header->reserved = 0;
    }
}

unsigned short *mBitMap::createNewIndicies(const mPalette &palette, int count, int transparentIndex) {
    // The platform's matching can throw; the table is not lost then.
    std::unique_ptr<unsigned short[]> table(new unsigned short[count > 0 ? count : 1]);
    for (int i = 0; i < count; ++i)
        table[i] = (unsigned short)(i < header->colorCount ? palette.getIndex(header->colors[i]) : i);
    if (transparentIndex < 0 || transparentIndex >= count)
        return table.release();
    std::vector<bool> taken(count, false);
    for (int i = 0; i < count; ++i) {
        if (i != transparentIndex && table[i] < count)
            taken[table[i]] = true;
    }
    const int landed = table[transparentIndex];
    if (landed < count && taken[landed]) {
        // Another colour landed there: the transparent pixels move to a free index.
        const int index = freeIndex(taken);
        if (index >= 0)
            table[transparentIndex] = (unsigned short)index;
    }
    return table.release();
}

// ---- Helpers of the formats.

bool mBitMap::holdsRows(const mBitMap &image, int pixelBytes) {
    const mBHeader &h = *image.header;
    return image.data && h.width >= 0 && h.height >= 0 && h.lineBytes >= (long long)h.width * pixelBytes &&
           (long long)h.lineBytes * h.height <= h.dataSize;
}

mColor *mBitMap::colorsUsed(const long *tally, int &count, int threshold) const {
    const int entries = header->colors ? std::min(header->colorCount, 256) : 0;
    std::vector<mColor> used;
    for (int i = 0; i < entries; ++i) {
        if (tally[i] >= threshold)
            used.push_back(header->colors[i]);
    }
    count = (int)used.size();
    if (!count)
        return nullptr;
    mColor *result = new mColor[count];
    std::copy(used.begin(), used.end(), result);
    return result;
}

int mBitMap::freeIndex(const std::vector<bool> &taken) {
    const int count = (int)taken.size();
    for (int k = count - 11; k >= -10; --k) {
        const int index = k < 0 ? k + count : k;
        if (index >= 0 && index < count && !taken[index])
            return index;
    }
    return -1;
}

const unsigned char *mBitMap::infoHeader(const void *data, long &length, bool fileHeader) {
    const unsigned char *p = static_cast<const unsigned char *>(data);
    if (!p)
        return nullptr;
    if (fileHeader) {
        if (length < 54 || p[0] != 'B' || p[1] != 'M')
            return nullptr;
        p += 14;
        length -= 14;
    } else if (length < 40) {
        return nullptr;
    }
    return mModule::leReadLong(p) == 40 ? p : nullptr;
}

void mBitMap::allocPixels(long width, long height, int bytesPerPixel) {
    if (width < 0 || height < 0)
        VELNOR_THROW("Bad bitmap size", width < 0 ? width : height);
    // An image without pixels has no rows either: a walk over the rows of a payload that states
    // no width and a height of a billion would otherwise run on for nothing.
    if (width == 0 || height == 0)
        width = height = 0;
    const long long lineBytes = ((long long)width * bytesPerPixel + 3) & ~3LL;
    if (lineBytes > INT_MAX)
        VELNOR_THROW("Bitmap too large", width);
    header->width = width;
    header->height = height;
    header->lineBytes = (long)lineBytes;
    allocData(lineBytes * height);
}

void mBitMap::allocData(long long size) {
    // A few bytes at least, so that an empty image still has a first stored pixel.
    const long long block = size < 4 ? 4 : size;
    if (size < 0 || block > INT_MAX - 16)
        VELNOR_THROW("Bitmap too large", size < 0 ? -1 : (long)(size >> 20));
    unsigned char *fresh = static_cast<unsigned char *>(mApp::malloc((int)block));
    if (!fresh)
        VELNOR_THROW("Bitmap too large", (long)(size >> 20));
    std::memset(fresh, 0, (size_t)block);
    mApp::free(data);
    data = fresh;
    header->dataSize = (long)size;
}

void mBitMap::setColors(const mColor *colors, int count) {
    mColor *table = nullptr;
    if (colors && count > 0) {
        table = new mColor[count];
        std::memcpy(table, colors, count * sizeof(mColor));
    }
    delete[] header->colors;
    header->colors = table;
    header->colorCount = table ? count : 0;
    dropRGB15();
}

void mBitMap::setColors(const mPalette *palette) {
    if (!palette) {
        setColors(nullptr, 0);
        return;
    }
    int count = 0;
    mColor *colors = palette->getColors(count);
    delete[] header->colors;
    header->colors = count > 0 ? colors : nullptr;
    header->colorCount = count > 0 ? count : 0;
    if (count <= 0)
        delete[] colors;
    dropRGB15();
}

void mBitMap::dropRGB15() const {
    delete[] header->rgb15;
    header->rgb15 = nullptr;
}

// ---- The format of last resort.

mGenericBitMap::mGenericBitMap() { init(); }

mGenericBitMap::mGenericBitMap(const unsigned char *data, long length) {
    init();
    VELNOR_THROW("No support for this bitmap format", 0);
}

mGenericBitMap::~mGenericBitMap() {}

void mGenericBitMap::init() {
    header->bits = 0;
    header->compression = 2;
}

mBitMap *mGenericBitMap::load(const void *data, long length, bool fileHeader) {
    return new (std::nothrow) mGenericBitMap(static_cast<const unsigned char *>(data), length);
}
