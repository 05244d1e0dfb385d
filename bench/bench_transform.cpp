// Transformed copies of a 64x64 sprite into a 640x480 frame, rotated at several angles and
// scaled by 2, in megapixels per second of the transformed box, and as a ratio to the plain
// copy of the same sprite measured in the same run.
#include "mSprite/m15Bit.h"
#include "mSprite/m8Bit.h"
#include "mSprite/mTransform.h"
#include "mWindow/mPalette.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "BenchTiming.h"

namespace {

const long frameWidth = 640, frameHeight = 480, side = 64;

using bench::timeOf;

unsigned char *pixelsOf(mBitMap &image) { return static_cast<unsigned char *>(const_cast<void *>(image.getData())); }

// A disc of texture on a ground of 0, which is the transparent value.
template <class Image, class Pixel> void paintSprite(Image &sprite) {
    const long r = side / 2 - 2, line = sprite.getHeader()->lineBytes / (long)sizeof(Pixel);
    Pixel *pixels = reinterpret_cast<Pixel *>(pixelsOf(sprite));
    for (long y = 0; y < side; ++y) {
        for (long x = 0; x < side; ++x) {
            const long dx = x - side / 2, dy = y - side / 2;
            const unsigned h = (unsigned)(x * 7919 + y * 104729) * 2654435761u;
            pixels[y * line + x] = dx * dx + dy * dy <= r * r ? (Pixel)(1 + (h >> 24) % 200) : (Pixel)0;
        }
    }
}

struct Case {
    const char *name;
    mTransform t;
};

// Each transformed copy draws the sprite's whole box at one place of the frame, as a sprite
// context does; the plain copy draws the untransformed sprite there.
template <class Frame, class Sprite>
void measure(const char *kind, Frame &frame, Sprite &sprite, const std::vector<Case> &cases) {
    const mRect whole(0, 0, side, side);
    const mPoint at(200, 150);
    const double plain = timeOf([&] { frame.copy(&sprite, whole, at); });
    const double plainRate = side * side / plain / 1e6;
    std::printf("%-34s %8.1f Mpx/s\n", (std::string(kind) + " plain copy").c_str(), plainRate);
    for (const Case &c : cases) {
        const mFRect box = c.t.bounds(whole);
        const mSize size = c.t.newSize(mSize(side, side));
        const mRect area(at.x, at.y, at.x + size.cx + 1, at.y + size.cy + 1);
        const mFPoint origin(-box.left, -box.top);
        const double taken = timeOf([&] { frame.copy(&sprite, area, whole, at, origin, c.t); });
        const double pixels = (double)area.width() * area.height();
        const double rate = pixels / taken / 1e6;
        std::printf("%-34s %8.1f Mpx/s   %7.3g x plain (per pixel)   %7.3g x plain (per sprite)\n",
                    (std::string(kind) + " " + c.name).c_str(), rate, rate / plainRate, plain / taken);
    }
}

} // namespace

int main() {
    std::vector<mColor> colors;
    for (int i = 0; i < 256; ++i)
        colors.push_back(mColor(i, 255 - i, (i * 7) & 255));
    mPalette palette(colors.data(), 256);

    const std::vector<Case> cases = {
        {"rotated 0", mTransform(0, 0, 1, 1)},       {"rotated 15", mTransform(15, 0, 1, 1)},
        {"rotated 45", mTransform(45, 0, 1, 1)},     {"rotated 90", mTransform(90, 0, 1, 1)},
        {"rotated 135", mTransform(135, 0, 1, 1)},   {"rotated 200", mTransform(200, 0, 1, 1)},
        {"rotated 300", mTransform(300, 0, 1, 1)},   {"scaled 2x", mTransform(0, 0, 2, 2)},
        {"scaled 2x, rotated 30", mTransform(30, 0, 2, 2)},
    };

    m8Bit *frame8 = new m8Bit(mSize(frameWidth, frameHeight), &palette);
    m8Bit *sprite8 = new m8Bit(mSize(side, side), &palette);
    paintSprite<m8Bit, unsigned char>(*sprite8);
    sprite8->setTransparent(0);
    measure("8-bit", *frame8, *sprite8, cases);

    m15Bit *frame15 = new m15Bit(mSize(frameWidth, frameHeight));
    m15Bit *sprite15 = new m15Bit(mSize(side, side));
    paintSprite<m15Bit, unsigned short>(*sprite15);
    sprite15->setTransparent(mColor(0, 0, 0));
    measure("15-bit", *frame15, *sprite15, cases);

    frame8->free();
    sprite8->free();
    frame15->free();
    sprite15->free();
    return 0;
}
