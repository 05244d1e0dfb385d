#include "DemoAnimation.h"

#include "../tools/asa/AsaWriter.h"

#include <cstdio>
#include <functional>
#include <memory>

namespace {

// Inks of the demo's palette by their colours, so that the file's pixels need no remapping.
const mColor groundInk(255, 0, 255), nightInk(16, 24, 64), whiteInk(255, 255, 255), redInk(220, 40, 40),
    skyInk(90, 160, 255), greyInk(128, 128, 128);

enum { width = 176, height = 84, floorY = 60, laps = 2, frameTime = 60, hopFrames = 4, hopStep = 8 };
enum { setA = 62, incA = 60, ifA = 4, gotoFrame = 50, less = 1 };
const int hopHeights[hopFrames] = {0, 14, 20, 14};
enum { firstCaller = 1, rightHop = 12, leftHop = 16, restFrame = 11 };

struct FreeImage {
    void operator()(mBitMap *image) const { image->free(); }
};
using Image = std::unique_ptr<mBitMap, FreeImage>;

// An image on the transparent ground; the bottom-left pixel stays ground, which makes it the
// transparent value of the image as the file gives it back.
Image paint(mPalette &palette, int w, int h, const std::function<void(m8BitMemImage &)> &draw) {
    m8BitMemImage *image = new m8BitMemImage(nullptr, mSize(w, h), &palette);
    mBrush clear(groundInk);
    image->setBrush(&clear);
    image->fillRect(mRect(0, 0, w, h));
    draw(*image);
    image->reset();
    image->flush();
    return Image(image);
}

// A frame of the block lifted above its shadow on the floor, at x; later slots lie on top.
asa::Frame place(unsigned short block, unsigned short shadow, int x, int lift) {
    asa::Frame f;
    f.slots = {{shadow, (short)x, (short)(floorY + 3)}, {block, (short)x, (short)(floorY - lift)}};
    return f;
}

} // namespace

DemoAnimation::DemoAnimation(mSpriteContext *context, mPalette &palette, const std::string &dataDir,
                             const mPoint &at)
    : path(dataDir + "\\demo-hop.asa"), sequence(context, 2, nullptr, 0), started(0), ended(0) {
    Image panel = paint(palette, width, height, [&](m8BitMemImage &g) {
        mBrush inside(nightInk);
        mPen border(skyInk, 2), line(greyInk, 1);
        g.setPen(&border);
        g.setBrush(&inside);
        g.roundRectangle(mRect(1, 1, width - 1, height - 1), mSize(12, 12));
        g.setPen(&line);
        g.moveTo(mPoint(6, floorY + 6));
        g.lineTo(mPoint(width - 6, floorY + 6));
        mFont font(mFont::fontSwiss, 11, false, false);
        g.setFont(&font);
        g.setTextColor(greyInk);
        g.setBackgroundColor(mColor(true));
        g.writeText("frame animation", mPoint(10, 6));
    });
    Image block = paint(palette, 20, 20, [](m8BitMemImage &g) {
        mBrush body(redInk);
        mPen rim(whiteInk, 2);
        g.setPen(&rim);
        g.setBrush(&body);
        g.roundRectangle(mRect(1, 1, 19, 19), mSize(6, 6));
    });
    Image shadow = paint(palette, 20, 6, [](m8BitMemImage &g) {
        mBrush dark(greyInk);
        mPen edge(greyInk, 1);
        g.setPen(&edge);
        g.setBrush(&dark);
        g.ellipse(mRect(1, 0, 19, 6));
    });

    asa::Writer w(width, height, frameTime);
    w.setTitle("hop");
    w.setPalette(palette);
    const short back = (short)w.addImage(*panel, "panel", true);
    const unsigned short b = (unsigned short)w.addImage(*block, "block");
    const unsigned short s = (unsigned short)w.addImage(*shadow, "shadow");

    // 0: counter A = 0; 1 to 8: four hops right, four left, each a call of one hop from where
    // the block stands; 9, 10: count the lap and go again while A < laps; 11: at rest.
    w.addFrame(asa::command(setA, 0));
    for (int hop = 0; hop < 8; ++hop) {
        const bool right = hop < 4;
        asa::Frame call = place(b, s, right ? 8 + 32 * hop : 136 - 32 * (hop - 4), 0);
        call.flags = mAsaFrame::subroutine;
        call.subTarget = right ? rightHop : leftHop;
        w.addFrame(call);
    }
    w.addFrame(asa::command(incA));
    w.addFrame(asa::command(ifA, less, laps, asa::Slot{gotoFrame, firstCaller, 0}));
    w.addFrame(place(b, s, 8, 0));
    w.chain(0, restFrame);
    for (int direction : {1, -1}) {
        const int first = w.frameCount();
        for (int k = 0; k < hopFrames; ++k)
            w.addFrame(place(b, s, direction * hopStep * k, hopHeights[k]));
        w.frame(first).background = back;
        w.chain(first, first + hopFrames - 1);
    }
    w.frame(restFrame).background = back;

    if (!w.save(path)) {
        std::printf("animation: could not write %s\n", path.c_str());
        return;
    }
    file.load(path.c_str());

    struct Mark : mAnimStep {
        explicit Mark(unsigned long *at) : at(at) {}
        bool entered(mSequence *) override {
            *at = mTimer::getCurTime();
            return true;
        }
        unsigned long *at;
    };
    sequence.append(new mAsaAnim(&file, false, false, 0, at));
    sequence.append(new Mark(&ended));
    started = mTimer::getCurTime();
    sequence.start("");
    std::printf("animation: %s, %d frames, %d items, %dx%d, %ld ms a frame, written and loaded from %s\n",
                file.getTitle().c_str(), file.getFrames(), file.getItems(), (int)file.getBackgroundSize().cx,
                (int)file.getBackgroundSize().cy, file.getFrameTime(), path.c_str());
}

void DemoAnimation::describe() {
    if (ended)
        std::printf("animation: ended after %lu ms, and its script went on\n", ended - started);
    else if (started)
        std::printf("animation: still playing after %lu ms\n", mTimer::getCurTime() - started);
}
