// The root of every image: a counted header, the pixel or run-length block, the colour
// table, the registry of formats and the ways of obtaining an image.
#pragma once
#include "mUtil/mError.h"
#include "mUtil/mGeometry.h"
#include "mWindow/mColor.h"
#include "mWindow/mGraphics.h"

#include <cstddef>
#include <vector>

class mInputFile;
class mModule;
class mObjFile;
class mPalette;
class mTransform;

// One record per image, shared by nothing else; read-only to callers.
struct VELNOR_API mBHeader {
    mBHeader();

    int refCount;
    long width;
    long height;
    long dataSize;
    int bits;
    bool noPalette;
    long lineBytes;
    int compression;
    int colorCount;
    long reserved;
    mColor *colors;
    unsigned short *rgb15;
};

class VELNOR_API mBitMap {
public:
    enum BitmapType { bitmap8 = 0, bitmapRLE = 1, bitmap15 = 2, bitmapGeneric = 3 };

    // Each returns an image with one use, released by free().
    static mBitMap *create(const void *data, long length, bool fileHeader);
    static mBitMap *create(mModule *module, unsigned short id, bool compressed);
    static mBitMap *create(mObjFile *file, int index);
    static mBitMap *create(mInputFile &file, long length, bool compressed);
    static mBitMap *create(int bits, const mSize &size, const mPalette *palette);
    // A block as the object body reader gives it: a first word of 2 or more is the length of a
    // prefix in front of the bitmap file image; 0 or 1 stands where 'B', 'M' belong and is
    // overwritten. The block stays the caller's.
    static mBitMap *createFromObject(void *block, long length);

    // The library's own formats, made and dropped when the library is loaded and unloaded;
    // a title's formats registered later are tried after them.
    static void registerAll();
    static void unregisterAll();

    // One more use; free() drops one, and the last one destroys the image.
    mBitMap *use() const;
    void free();

    const mBHeader *getHeader() const { return header; }
    const void *getData() const { return data; }
    mSize getSize() const { return mSize(header->width, header->height); }
    int getColors() const { return header->colorCount; }
    // A new copy of the colour table, the caller's to delete[]; null when there is none.
    mColor *getColors(int &count) const;
    mColor getColor(int index) const;
    void setColor(const mColor &color, int index);
    // A new palette of the colour table, the caller's; null without one.
    mPalette *getPalette() const;
    // The colour table in 15-bit form, kept by the image; null without a table.
    unsigned short *getRGB15convert() const;
    // Cuts a copy of `sourceRect` at `position` down to what lies in the source of
    // `sourceSize` and in this image; the result may be empty or inverted.
    void clip(const mSize &sourceSize, mRect &sourceRect, mPoint &position) const;

protected:
    virtual ~mBitMap();

public:
    virtual mColor *getUsedColors(int &count, int threshold);
    virtual mBitMap *load(const void *data, long length, bool fileHeader);
    virtual int getUnusedIndex() const;
    virtual void flip();
    virtual bool hasTransparency() const;
    virtual bool isSolid(mPoint p, const mRect &frame, mFPoint origin, const mTransform &t);
    virtual bool isSolid(mPoint p);
    virtual void copy(const mBitMap *source, mRect area, mRect clip, mPoint position, mFPoint origin,
                      const mTransform &t);
    // Copies a part of another image to `position`, top-down coordinates; transparent source
    // pixels leave the target as it was.
    virtual void copy(const mBitMap *source, mRect sourceRect, mPoint position);
    virtual void tile(mBitMap *source, bool centered);
    virtual int copyPalette(const mPalette &palette, int targetIndex, int sourceIndex, int count);
    virtual int copyPalette(const mBitMap *source);
    virtual void changePalette(const mPalette &palette, bool firstPixelTransparent);
    virtual mBitMap *createBlank(int bits, const mSize &size, const mPalette *palette);
    virtual BitmapType getBitmapType() const = 0;
    virtual unsigned short *getStdImage(const mRect &area, bool opaque) const;
    virtual void writeStdImage(const unsigned short *image, const mSize &imageSize, const mRect &area,
                               const mPoint &position, bool keepTarget);
    virtual void setMapping(const mPalette *palette, mColor transparent);
    virtual void scroll(const mRect &area, int dx, int dy, mColor &fillColor);
    virtual void scroll(int dx, int dy, mColor &fillColor);
    virtual void fill(mRect area, const mColor &color);

protected:
    mBitMap();

    void registerFormat();
    void unregisterFormat();
    void copyCMap(const mBitMap &source);
    unsigned short *createNewIndicies(const mPalette &palette, int count, int transparentIndex);

    // Whether an image's block holds `height` rows of `lineBytes`, each wide enough for
    // `width` pixels of `pixelBytes` bytes: the condition for reading it row by row.
    static bool holdsRows(const mBitMap &image, int pixelBytes);
    // A new array of the colour table entries whose tally reaches `threshold`, in index
    // order; null if there are none.
    mColor *colorsUsed(const long *tally, int &count, int threshold) const;
    // The first index not taken, from the eleventh from the top down to 0 and then the
    // top ten from the top, so that the top ten are handed out last; -1 if none is free.
    static int freeIndex(const std::vector<bool> &taken);
    // The info header of a payload, or null if the block cannot be a bitmap at all;
    // `length` becomes the bytes from the info header on.
    static const unsigned char *infoHeader(const void *data, long &length, bool fileHeader);
    // Sets width, height and row size, and gives the image a zeroed block of
    // lineBytes * height bytes; absurd sizes throw.
    void allocPixels(long width, long height, int bytesPerPixel);
    // Gives the image a block of `size` bytes, zeroed, replacing any it had.
    void allocData(long long size);
    // Replaces the colour table by a copy of `count` colours.
    void setColors(const mColor *colors, int count);
    // Replaces the colour table by the colours of a palette, or none.
    void setColors(const mPalette *palette);
    void dropRGB15() const;
    // Whether `area` is a rectangle, not empty, within (0, 0) and `size`.
    static bool isWithin(const mRect &area, const mSize &size);
    // Whether a part of size `part` placed at `position` lies within `whole`.
    static bool fitsAt(const mPoint &position, const mSize &part, const mSize &whole);
    // The standard image of `area`: a pixel equal to `marked` gives 0x8000, any other `word(pixel)`.
    template <class Pixel, class Word> unsigned short *readStandard(const mRect &area, unsigned marked, Word word) const {
        unsigned short *image = new unsigned short[(std::size_t)area.width() * area.height()];
        unsigned short *out = image;
        for (long y = area.top; y < area.bottom; ++y) {
            const Pixel *line = reinterpret_cast<const Pixel *>(data + (header->height - y - 1) * header->lineBytes);
            for (long x = area.left; x < area.right; ++x)
                *out++ = line[x] == marked ? 0x8000 : word(line[x]);
        }
        return image;
    }
    // Writes `area` of a standard image at `position`: a transparent word leaves its pixel
    // alone if `keepTarget`, else writes `clear`; any other word writes `pixel(word)`.
    template <class Pixel, class Convert>
    void writeStandard(const unsigned short *image, const mSize &imageSize, const mRect &area, const mPoint &position,
                       bool keepTarget, Pixel clear, Convert pixel) {
        for (long y = 0; y < area.height(); ++y) {
            const unsigned short *from = image + (area.top + y) * imageSize.cx + area.left;
            Pixel *to = reinterpret_cast<Pixel *>(data + (header->height - position.y - y - 1) * header->lineBytes) +
                        position.x;
            for (long x = 0; x < area.width(); ++x) {
                const unsigned w = from[x];
                if (!(w & 0x8000))
                    to[x] = pixel(w);
                else if (!keepTarget)
                    to[x] = clear;
            }
        }
    }
    // Clips a copy as clip() does, and tells whether anything is left to copy.
    bool clipCopy(const mBitMap *source, mRect &sourceRect, mPoint &position) const;
    // Moves the pixels of `area` by (dx, dy) and fills the strips left behind, unless
    // `fillColor` is transparent; pixels of `pixelBytes` bytes.
    void scrollPixels(mRect area, int dx, int dy, mColor &fillColor, int pixelBytes);
    // The intersection of `area` with the image; false if that is empty.
    bool clipToImage(mRect &area) const;

    mBHeader *header;
    unsigned char *data;

private:
    mBitMap(const mBitMap &);
    mBitMap &operator=(const mBitMap &);
};

// The format of last resort: it takes every block and refuses it with an error. Like the
// memory images it is a surface too, one without a context.
class VELNOR_API mGenericBitMap : public mBitMap, public mGraphics {
public:
    mGenericBitMap();
    ~mGenericBitMap() override;

    mBitMap *load(const void *data, long length, bool fileHeader) override;
    BitmapType getBitmapType() const override { return bitmapGeneric; }

private:
    mGenericBitMap(const unsigned char *data, long length);
    void init();
};
