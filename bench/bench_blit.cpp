// The blits of the image formats on a 640x480 target, in megapixels per second and against
// memcpy/memset of the same bytes, and the run-length copy of sprites against the
// colour-keyed copy of the same sprites; each pair measured in the same run.
#include "mSprite/m15Bit.h"
#include "mSprite/m8Bit.h"
#include "mSprite/m8BitRLE.h"
#include "mWindow/mPalette.h"

#include <windows.h>

#include <cstdio>
#include <algorithm>
#include <cstring>
#include <memory>
#include <functional>
#include <vector>

#include "BenchTiming.h"

namespace {

const long frameWidth = 640, frameHeight = 480, spriteSize = 64;

using bench::compare;
using bench::Timing;

void report(const char *name, double pixels, const Timing &t, const char *against) {
    std::printf("%-40s %9.1f Mpx/s   %7.3g x %s\n", name, pixels / t.subject / 1e6, t.baseline / t.subject, against);
}

// Pixel values by position: a textured half of single pixels, and a half of flat bands.
unsigned char texture(long x, long y) {
    const unsigned h = (unsigned)(x * 7919 + y * 104729) * 2654435761u;
    return (unsigned char)(x < spriteSize / 2 ? 1 + (h >> 24) % 200 : 1 + (x / 8 + y / 8) % 6);
}

unsigned char *pixelsOf(mBitMap &image) { return static_cast<unsigned char *>(const_cast<void *>(image.getData())); }

// A sprite: a ring of texture on a transparent (0) ground, cut by two slots, so that about
// two fifths are transparent and a row holds two or three opaque runs.
m8Bit *makeSprite(const mPalette &palette) {
    m8Bit *sprite = new m8Bit(mSize(spriteSize, spriteSize), &palette);
    const long outer = spriteSize / 2 - 1, inner = 11;
    for (long y = 0; y < spriteSize; ++y) {
        unsigned char *row = pixelsOf(*sprite) + y * spriteSize;
        for (long x = 0; x < spriteSize; ++x) {
            const long dx = x - spriteSize / 2, dy = y - spriteSize / 2, d = dx * dx + dy * dy;
            const bool slot = (x >= 44 && x < 47) || (x >= 18 && x < 21 && y < 12);
            row[x] = d <= outer * outer && d >= inner * inner && !slot ? texture(x, y) : 0;
        }
    }
    sprite->setTransparent(0);
    return sprite;
}

// The share of transparent pixels and the opaque runs a row of a sprite.
void describe(m8Bit &sprite) {
    long clear = 0, runs = 0;
    for (long y = 0; y < spriteSize; ++y) {
        const unsigned char *row = pixelsOf(sprite) + y * spriteSize;
        for (long x = 0; x < spriteSize; ++x) {
            clear += row[x] == 0;
            runs += row[x] != 0 && (x == 0 || row[x - 1] == 0);
        }
    }
    std::printf("Sprites %ldx%ld: %.0f%% transparent, %.2f opaque runs a row.\n", spriteSize, spriteSize,
                100.0 * clear / (spriteSize * spriteSize), (double)runs / spriteSize);
}

enum Placing { inside, offLeft, offRight, offTop, offBottom, offAnySide };
const char *const placingNames[] = {"unclipped", "clipped left", "clipped right", "clipped top", "clipped bottom",
                                    "clipped"};

// Positions spread over the frame: all inside it, or half outside it on one side, or on
// each side in turn.
std::vector<mPoint> spritePositions(Placing placing) {
    std::vector<mPoint> positions;
    for (long i = 0; i < 256; ++i) {
        const long x = (i * 37) % (frameWidth - spriteSize), y = (i * 53) % (frameHeight - spriteSize);
        const Placing side = placing == offAnySide ? (Placing)(offLeft + i % 4) : placing;
        if (side == inside)
            positions.push_back(mPoint(x, y));
        else if (side == offLeft)
            positions.push_back(mPoint(-spriteSize / 2, y));
        else if (side == offRight)
            positions.push_back(mPoint(frameWidth - spriteSize / 2, y));
        else if (side == offTop)
            positions.push_back(mPoint(x, -spriteSize / 2));
        else
            positions.push_back(mPoint(x, frameHeight - spriteSize / 2));
    }
    return positions;
}

// memcpy of the same rows as a sprite's copy, `pixelBytes` a pixel.
std::function<void()> memcpyRows(const std::vector<mPoint> &positions, int pixelBytes) {
    auto from = std::make_shared<std::vector<unsigned char>>(spriteSize * spriteSize * pixelBytes, 7);
    auto to = std::make_shared<std::vector<unsigned char>>(frameWidth * frameHeight * pixelBytes);
    const long line = frameWidth * pixelBytes;
    return [=] {
        for (const mPoint &p : positions) {
            const long left = p.x < 0 ? 0 : p.x, top = p.y < 0 ? 0 : p.y;
            const long right = p.x + spriteSize > frameWidth ? frameWidth : p.x + spriteSize;
            const long bottom = p.y + spriteSize > frameHeight ? frameHeight : p.y + spriteSize;
            for (long y = top; y < bottom; ++y)
                std::memcpy(&(*to)[y * line + left * pixelBytes], &(*from)[(y - top) * spriteSize * pixelBytes],
                            (right - left) * pixelBytes);
        }
    };
}

double visiblePixels(const std::vector<mPoint> &positions) {
    double n = 0;
    for (const mPoint &p : positions) {
        const long w = (p.x + spriteSize > frameWidth ? frameWidth : p.x + spriteSize) - (p.x < 0 ? 0 : p.x);
        const long h = (p.y + spriteSize > frameHeight ? frameHeight : p.y + spriteSize) - (p.y < 0 ? 0 : p.y);
        n += (double)w * h;
    }
    return n;
}

std::function<void()> copies(mBitMap &target, const mBitMap &sprite, const std::vector<mPoint> &positions) {
    return [&target, &sprite, positions] {
        for (const mPoint &p : positions)
            target.copy(&sprite, mRect(0, 0, spriteSize, spriteSize), p);
    };
}

void sprites(const char *name, mBitMap &target, const mBitMap &sprite, Placing placing, int pixelBytes) {
    const std::vector<mPoint> positions = spritePositions(placing);
    const Timing t = compare(copies(target, sprite, positions), memcpyRows(positions, pixelBytes));
    report(name, visiblePixels(positions), t, "memcpy");
}

// The run-length copy of the sprites against the colour-keyed copy of the same sprites.
void runLength(const char *depth, mBitMap &target, const mBitMap &rle, const mBitMap &keyed, Placing placing) {
    const std::vector<mPoint> positions = spritePositions(placing);
    const Timing t = compare(copies(target, rle, positions), copies(target, keyed, positions));
    const double pixels = visiblePixels(positions);
    std::printf("run-length into %-6s %-15s %9.1f Mpx/s   colour-keyed %9.1f Mpx/s   %5.2f x\n", depth,
                placingNames[placing], pixels / t.subject / 1e6, pixels / t.baseline / 1e6, t.baseline / t.subject);
}

void fullFrame(const char *name, mBitMap &target, const mBitMap &source, int pixelBytes) {
    const size_t bytes = (size_t)frameWidth * frameHeight * pixelBytes;
    std::vector<unsigned char> from(bytes, 3), to(bytes);
    const mRect whole(0, 0, frameWidth, frameHeight);
    const Timing t = compare([&] { target.copy(&source, whole, mPoint(0, 0)); },
                             [&] { std::memcpy(to.data(), from.data(), bytes); });
    report(name, (double)frameWidth * frameHeight, t, "memcpy");
}

} // namespace

int main() {
    std::vector<mColor> colors;
    for (int i = 0; i < 256; ++i)
        colors.push_back(mColor((i * 37) & 255, (i * 91) & 255, (i * 151) & 255));
    mPalette palette(colors.data(), 256);

    m8Bit *target8 = new m8Bit(mSize(frameWidth, frameHeight), &palette);
    m8Bit *frame8 = new m8Bit(mSize(frameWidth, frameHeight), &palette);
    for (long y = 0; y < frameHeight; ++y)
        for (long x = 0; x < frameWidth; ++x)
            pixelsOf(*frame8)[y * frameWidth + x] = texture(x % spriteSize, y % spriteSize);
    m15Bit *target15 = new m15Bit(mSize(frameWidth, frameHeight));
    m15Bit *frame15 = new m15Bit(*frame8, nullptr);
    m8Bit *sprite8 = makeSprite(palette);
    m8BitRLE *spriteRLE = new m8BitRLE(*sprite8);
    // The transparent ground of the 8-bit sprite is left out of the clone, and stays 0.
    m15Bit *sprite15 = new m15Bit(*sprite8, nullptr);
    sprite15->setTransparent(mColor(0, 0, 0));

    std::printf("Target %ldx%ld; best of 7 runs of 20 ms or more.\n", frameWidth, frameHeight);
    describe(*sprite8);
    fullFrame("8-bit opaque full frame", *target8, *frame8, 1);
    sprites("8-bit transparent sprites", *target8, *sprite8, inside, 1);
    sprites("8-bit transparent sprites, clipped", *target8, *sprite8, offAnySide, 1);
    fullFrame("15-bit opaque full frame", *target15, *frame15, 2);
    sprites("15-bit transparent sprites", *target15, *sprite15, inside, 2);
    fullFrame("8-bit into 15-bit full frame", *target15, *frame8, 2);
    for (int placing = inside; placing <= offAnySide; ++placing)
        runLength("8-bit", *target8, *spriteRLE, *sprite8, (Placing)placing);
    for (int placing = inside; placing <= offAnySide; ++placing)
        runLength("15-bit", *target15, *spriteRLE, *sprite8, (Placing)placing);

    {
        std::vector<unsigned char> table(4096);
        const Timing t = compare([&] { target8->setMapping(&palette, mColor(255, 0, 255)); },
                                 [&] { std::memset(table.data(), 1, table.size()); });
        report("setMapping, 256 colours (4096 keys)", 4096, t, "memset");
    }

    for (mBitMap *image : std::vector<mBitMap *>{target8, frame8, target15, frame15, sprite8, spriteRLE, sprite15})
        image->free();
    return 0;
}
