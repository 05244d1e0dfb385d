// Helpers of the compositor tests: plain-coloured sprite images, memory stages read back as
// pictures, and a frame whose surface is a memory image, so that what reaches the window
// can be read pixel by pixel.
#pragma once
#include "../mGraphics/SurfaceKit.h"
#include "ExpectError.h"
#include "VelnorTest.h"

#include "mSprite/mAnimator.h"
#include "mSprite/mSpriteContext.h"
#include "mSprite/mSpriteGroup.h"

#include <string>

// Pixels of this index are the sprites' transparent ones; the stages start in `ground`,
// which pictures show as '.'.
const int hole = 8, ground = 9;

// An image of rows of digits, '-' for a transparent pixel.
inline Owned<m8Bit> drawn(const mPalette &palette, const std::vector<std::string> &rows) {
    Owned<m8Bit> image = make8((long)rows[0].size(), (long)rows.size(), &palette, [&](long x, long y) {
        const char c = rows[y][x];
        return c == '-' ? hole : c - '0';
    });
    image->setTransparent(hole);
    return image;
}

inline Owned<m8Bit> block(const mPalette &palette, long w, long h, int value) {
    return drawn(palette, std::vector<std::string>(h, std::string(w, (char)('0' + value))));
}

inline std::string rows(const std::vector<std::string> &lines) {
    std::string out;
    for (const std::string &line : lines)
        out += line + "\n";
    return out;
}

inline Peek8 *stageImage(const mPalette &palette, long w, long h, int value) {
    Peek8 *image = new Peek8(nullptr, mSize(w, h), &palette);
    std::memset(image->getDIBPtr(), value, head(*image).dataSize);
    return image;
}

// A sprite that counts its own end, to show that nothing is deleted twice or left behind.
class Counted : public mSprite {
public:
    Counted(const mBitMap *image, int priority, long id, const mPoint &at, mSpriteContext *context, int &gone)
        : mSprite(image, priority, id, at, context), gone(gone) {}
    ~Counted() override { ++gone; }
    int &gone;
};

// A frame whose surfaces draw into the memory image `screen`, standing in for the window.
class ScreenFrame : public vt::TestFrame {
public:
    ScreenFrame(mApp *app, Peek8 *screen) : vt::TestFrame(app), screen(screen) {}
    mGraphics *getGraphics() override {
        ++handedOut;
        return new mGraphics(reinterpret_cast<SYSTEM_INFO_STRUCT *>(screen->dc()), nullptr, true);
    }
    Peek8 *screen;
    int handedOut = 0;
};
