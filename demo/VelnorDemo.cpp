// The demo title: a main frame showing a sprite context, where an arrow sprite stands plain,
// rotated, scaled and sheared while balls of several priorities cross over and under it,
// moved by animators on the idle rounds; an idle listener that counts the rounds of the run
// loop, and a timer that saves a screenshot of the window and ends the run.
#include "DemoMenu.h"
#include "DemoSettings.h"
#include <Velnor11.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>
#include <windows.h>

namespace {

// The colours of the picture; index 0 is the sprite's transparent ground.
enum Ink { ground, night, white, yellow, red, green, sky, grey, inkCount };

mPalette makePalette() {
    const mColor colors[inkCount] = {mColor(255, 0, 255), mColor(16, 24, 64),   mColor(255, 255, 255),
                                     mColor(255, 220, 0), mColor(220, 40, 40),  mColor(40, 180, 80),
                                     mColor(90, 160, 255), mColor(128, 128, 128)};
    return mPalette(colors, inkCount);
}

// A sprite image drawn through its own surface by `draw`, on a transparent ground.
m8BitMemImage *drawSprite(mPalette &palette, const mSize &size, const std::function<void(m8BitMemImage &)> &draw) {
    m8BitMemImage *sprite = new m8BitMemImage(nullptr, size, &palette);
    sprite->fill(palette.getColor(ground));
    draw(*sprite);
    sprite->reset();
    sprite->flush();
    sprite->setTransparent(ground);
    return sprite;
}

// A 64x64 arrow pointing right, with a caption, so that a turn of it is plain to see.
m8BitMemImage *makeSprite(mPalette &palette) {
    return drawSprite(palette, mSize(64, 64), [&](m8BitMemImage &sprite) {
        mBrush bodyBrush(palette.getColor(red)), headBrush(palette.getColor(yellow));
        mPen outline(palette.getColor(white), 1);
        sprite.setPen(&outline);
        sprite.setBrush(&bodyBrush);
        sprite.rectangle(mRect(4, 22, 40, 42));
        const mPoint head[] = {mPoint(38, 8), mPoint(62, 32), mPoint(38, 56)};
        sprite.setBrush(&headBrush);
        sprite.polygon(head, 3);
        mFont font(mFont::fontSwiss, 12, true, false);
        sprite.setFont(&font);
        sprite.setTextColor(palette.getColor(white));
        sprite.setBackgroundColor(mColor(true));
        sprite.writeText("V11", mPoint(8, 25));
    });
}

// A 48x48 ball of one ink with a white rim.
m8BitMemImage *makeBall(mPalette &palette, Ink ink) {
    return drawSprite(palette, mSize(48, 48), [&](m8BitMemImage &ball) {
        mBrush inkBrush(palette.getColor(ink));
        mPen rim(palette.getColor(white), 2);
        ball.setPen(&rim);
        ball.setBrush(&inkBrush);
        ball.ellipse(mRect(2, 2, 46, 46));
    });
}

// A ball that rolls to and fro between two points, starting the way back at each end.
class Ball : public mSprite {
public:
    Ball(const mBitMap *image, int priority, long id, const mPoint &from, const mPoint &to, unsigned long time,
         mSpriteContext *context)
        : mSprite(image, priority, id, from, context), from(from), to(to), time(time) {
        new mAnimator(this, -1);
    }
    void roll() { getAnimator()->startMove(to, time); }
    bool animationDone(mAnimator *animator, bool finished) override {
        std::swap(from, to);
        animator->startMove(to, time);
        ++legs;
        return false;
    }
    mPoint from, to;
    unsigned long time;
    int legs = 0;
};

class DemoFrame : public mMainFrame {
public:
    DemoFrame(mApp *app, mModule *module)
        : mMainFrame(app, module, mRect(40, 40, 680, 520), TITLE_BAR | CLOSE_ENABLED | SYSTEM_MENU, "Velnor11 demo",
                     0) {}
    ~DemoFrame() override {
        delete context;
        if (picture)
            picture->free();
    }

    bool onCommand(int id, int code) override { return demoMenuCommand(this, id); }

    // Builds the scene: an opaque ground with the captions at the lowest priority, the arrow
    // in four forms, and three balls under way.
    void compose() {
        mPalette palette = makePalette();
        const mRect client = getClientBounds();
        const mSize size(client.width(), client.height());
        mGraphics *screen = getGraphics();
        picture = new m8BitMemImage(screen, size, &palette);
        delete screen;
        context = new mSpriteContext(picture, this);

        m8BitMemImage *arrow = makeSprite(palette);
        placeArrow(arrow, mTransform(), mPoint(40, 120), "plain");
        placeArrow(arrow, mTransform(30, 0, 1, 1), mPoint(200, 110), "rotated 30 degrees");
        placeArrow(arrow, mTransform(0, 0, 2, 2), mPoint(360, 80), "scaled 2x");
        placeArrow(arrow, mTransform(135, 20, 1.5f, 1), mPoint(110, 260), "rotated 135, sheared 20, 1.5x wide");
        arrow->free();

        m8BitMemImage *ground = makeGround(palette, size);
        new mSprite(ground, -1000, 0, mPoint(0, 0), context);
        ground->free();

        // Each ball takes a second a way, so all of them pass their midpoints at the half
        // seconds: there they overlap one another and the rotated arrow, lowest green, then
        // the arrows, blue and yellow on top.
        const struct {
            Ink ink;
            int priority;
            mPoint from, to;
        } paths[] = {{green, 5, mPoint(20, 140), mPoint(480, 140)},
                     {sky, 15, mPoint(250, 10), mPoint(250, 330)},
                     {yellow, 25, mPoint(110, 320), mPoint(430, 0)}};
        for (const auto &p : paths) {
            m8BitMemImage *image = makeBall(palette, p.ink);
            balls.push_back(new Ball(image, p.priority, 100 + (long)balls.size(), p.from, p.to, 1000, context));
            image->free();
        }
        context->update();
    }

    bool onPaint() override {
        bool erase;
        mRect area;
        mGraphics *g = beginPaint(erase, area);
        if (context) {
            const mPoint at = context->translate2Context(mPoint(area.left, area.top));
            context->update(g, mRect(at.x, at.y, at.x + area.width(), at.y + area.height()));
        }
        return true;
    }

    void describe() const {
        std::printf("picture: %ldx%ld sprite context, %d sprites, %d animators running\n", picture->getSize().cx,
                    picture->getSize().cy, context->getCount(), context->getAnimationCount());
        for (const Placed &p : placed)
            std::printf("picture: arrow %s in box (%ld,%ld)-(%ld,%ld)\n", p.what.c_str(), p.box.left, p.box.top,
                        p.box.right, p.box.bottom);
    }

    // Sets the balls rolling, from now on.
    void startBalls() {
        for (Ball *b : balls)
            b->roll();
    }

    void describeBalls() const {
        for (const Ball *b : balls)
            std::printf("sprites: ball %ld of priority %d at (%ld,%ld) after %d legs between (%ld,%ld) and (%ld,%ld)\n",
                        b->getId(), b->getPriority(), b->getBounds().left, b->getBounds().top, b->legs, b->from.x,
                        b->from.y, b->to.x, b->to.y);
    }

    // Writes what the window shows, read back from its own context, as a 24-bit BMP file.
    bool saveScreenshot(const std::string &path) {
        update(true);
        const mRect client = getClientBounds();
        const int w = client.width(), h = client.height();
        BITMAPINFO info = {};
        info.bmiHeader.biSize = sizeof(info.bmiHeader);
        info.bmiHeader.biWidth = w;
        info.bmiHeader.biHeight = h;
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 24;
        void *bits = nullptr;
        HWND window = reinterpret_cast<HWND>(getPeer());
        HDC windowDC = GetDC(window), memoryDC = CreateCompatibleDC(windowDC);
        HBITMAP shot = CreateDIBSection(windowDC, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
        HGDIOBJ before = SelectObject(memoryDC, shot);
        BitBlt(memoryDC, 0, 0, w, h, windowDC, 0, 0, SRCCOPY);
        GdiFlush();
        const DWORD lineBytes = ((DWORD)w * 3 + 3) & ~3u, pixelBytes = lineBytes * (DWORD)h;
        BITMAPFILEHEADER file = {};
        file.bfType = 0x4D42;
        file.bfOffBits = sizeof(file) + sizeof(info.bmiHeader);
        file.bfSize = file.bfOffBits + pixelBytes;
        bool written = false;
        if (FILE *out = std::fopen(path.c_str(), "wb")) {
            written = std::fwrite(&file, sizeof(file), 1, out) == 1 &&
                      std::fwrite(&info.bmiHeader, sizeof(info.bmiHeader), 1, out) == 1 &&
                      std::fwrite(bits, 1, pixelBytes, out) == pixelBytes;
            written = std::fclose(out) == 0 && written;
        }
        SelectObject(memoryDC, before);
        DeleteObject(shot);
        DeleteDC(memoryDC);
        ReleaseDC(window, windowDC);
        if (written)
            std::printf("screenshot: %dx%d of the client area written to %s\n", w, h, path.c_str());
        else
            std::printf("screenshot: could not write %s\n", path.c_str());
        return written;
    }

private:
    struct Placed {
        std::string what;
        mRect box;
    };

    // The arrow as a sprite through a transform, its box placed at `at`.
    void placeArrow(m8BitMemImage *arrow, const mTransform &t, const mPoint &at, const char *what) {
        mSprite *s = new mSprite(arrow, 10 + (int)placed.size(), 1 + (long)placed.size(), at, context);
        if (t.getRotation() != 0 || t.getShear() != 0 || t.getScaleX() != 1 || t.getScaleY() != 1)
            s->setTransform(t);
        s->setPosition(at);
        placed.push_back(Placed{what, s->getBounds()});
    }

    // The opaque ground: night, the title and a caption under each arrow.
    m8BitMemImage *makeGround(mPalette &palette, const mSize &size) {
        m8BitMemImage *ground = new m8BitMemImage(nullptr, size, &palette);
        ground->fill(palette.getColor(night));
        mFont title(mFont::fontSwiss, 20, true, false), caption(mFont::fontSwiss, 13, false, false);
        ground->setBackgroundColor(mColor(true));
        ground->setTextColor(palette.getColor(white));
        ground->setFont(&title);
        ground->writeText("Velnor11: sprites, transforms and animators", mPoint(20, 16));
        ground->setFont(&caption);
        ground->setTextColor(palette.getColor(sky));
        for (const Placed &p : placed)
            ground->writeText(p.what.c_str(), mPoint(p.box.left, p.box.bottom + 4));
        ground->reset();
        ground->flush();
        return ground;
    }

    m8BitMemImage *picture = nullptr;
    mSpriteContext *context = nullptr;
    std::vector<Placed> placed;
    std::vector<Ball *> balls;
};

class IdleCounter : public mAppListener {
public:
    void onIdle(unsigned long count) override { ++rounds; }
    unsigned long rounds = 0;
};

class Ending : public mTimerListener {
public:
    Ending(mApp *app, DemoFrame *frame, const std::string &screenshot)
        : app(app), frame(frame), screenshot(screenshot) {}
    void timerPopped(mTimer &timer) override {
        std::printf("timer: popped after %lu ms, ending the run\n", mTimer::getCurTime() - started);
        frame->describeBalls();
        frame->saveScreenshot(screenshot);
        app->shutdown(0);
    }
    mApp *app;
    DemoFrame *frame;
    std::string screenshot;
    unsigned long started = mTimer::getCurTime();
};

} // namespace

int main(int argc, char **argv) {
    const std::string outDir = argc > 1 ? argv[1] : ".";
    mApp app("VelnorDemo");
    mModule module(reinterpret_cast<SYSTEM_INFO_STRUCT *>(GetModuleHandleA(nullptr)));
    DemoFrame *frame = new DemoFrame(&app, &module);
    addDemoMenu(frame);
    IdleCounter idle;
    app.registerIdle(&idle);
    frame->compose();
    frame->setVisible(true);
    std::printf("frame: \"%s\" shown at %ldx%ld, client area %dx%d\n", frame->getTitle().c_str(),
                frame->getPosition().x, frame->getPosition().y, frame->getClientBounds().width(),
                frame->getClientBounds().height());
    startDemoSettings(frame, outDir);
    frame->startBalls();
    frame->describe();
    Ending ending(&app, frame, outDir + "\\demo-screenshot.bmp");
    mTimer timer(1500, &ending, 0, false);
    int rc = app.start();
    std::printf("idle: %lu rounds of the run loop\n", idle.rounds);
    std::printf("demo: start returned %d\n", rc);
    return rc;
}
