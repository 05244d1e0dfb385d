// The demo title: a main frame showing a picture composed in a memory image (a sprite drawn
// plain, rotated and scaled), an idle listener that counts the rounds of the run loop, and a
// timer that saves a screenshot of the window and ends the run.
#include "DemoMenu.h"
#include "DemoSettings.h"

#include <Velnor11.h>

#include <cstdio>
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

// A 64x64 sprite drawn through its own surface: an arrow pointing right, with a caption, on a
// transparent ground, so that a turn of it is plain to see.
m8BitMemImage *makeSprite(mPalette &palette) {
    m8BitMemImage *sprite = new m8BitMemImage(nullptr, mSize(64, 64), &palette);
    mBrush groundBrush(palette.getColor(ground)), bodyBrush(palette.getColor(red)), headBrush(palette.getColor(yellow));
    mPen outline(palette.getColor(white), 1);
    sprite->setBrush(&groundBrush);
    sprite->fillRect(mRect(0, 0, 64, 64));
    sprite->setPen(&outline);
    sprite->setBrush(&bodyBrush);
    sprite->rectangle(mRect(4, 22, 40, 42));
    const mPoint head[] = {mPoint(38, 8), mPoint(62, 32), mPoint(38, 56)};
    sprite->setBrush(&headBrush);
    sprite->polygon(head, 3);
    mFont font(mFont::fontSwiss, 12, true, false);
    sprite->setFont(&font);
    sprite->setTextColor(palette.getColor(white));
    sprite->setBackgroundColor(mColor(true));
    sprite->writeText("V11", mPoint(8, 25));
    sprite->reset();
    sprite->flush();
    sprite->setTransparent(ground);
    return sprite;
}

class DemoFrame : public mMainFrame {
public:
    DemoFrame(mApp *app, mModule *module)
        : mMainFrame(app, module, mRect(40, 40, 680, 520), TITLE_BAR | CLOSE_ENABLED | SYSTEM_MENU, "Velnor11 demo",
                     0) {}
    ~DemoFrame() override {
        if (picture)
            picture->free();
    }

    // Composes the picture once, in a memory image the size of the client area.
    void compose() {
        mPalette palette = makePalette();
        const mRect client = getClientBounds();
        mGraphics *screen = getGraphics();
        picture = new m8BitMemImage(screen, mSize(client.width(), client.height()), &palette);
        delete screen;
        picture->fill(palette.getColor(night));

        m8BitMemImage *sprite = makeSprite(palette);
        const mRect whole(0, 0, 64, 64);
        const mPoint plainAt(40, 120);
        picture->copy(sprite, whole, plainAt);
        drawTransformed(sprite, mTransform(30, 0, 1, 1), mPoint(200, 110), "rotated 30 degrees");
        drawTransformed(sprite, mTransform(0, 0, 2, 2), mPoint(360, 80), "scaled 2x");
        drawTransformed(sprite, mTransform(135, 20, 1.5f, 1), mPoint(110, 260), "rotated 135, sheared 20, 1.5x wide");
        sprite->free();

        mFont title(mFont::fontSwiss, 20, true, false), caption(mFont::fontSwiss, 13, false, false);
        picture->setBackgroundColor(mColor(true));
        picture->setTextColor(palette.getColor(white));
        picture->setFont(&title);
        picture->writeText("Velnor11: a sprite through mTransform", mPoint(20, 16));
        picture->setFont(&caption);
        picture->setTextColor(palette.getColor(sky));
        picture->writeText("plain", mPoint(plainAt.x, plainAt.y + 80));
        for (const Placed &p : placed)
            picture->writeText(p.what.c_str(), mPoint(p.box.left, p.box.bottom + 4));
        picture->reset();
        picture->flush();
    }

    bool onCommand(int id, int code) override { return demoMenuCommand(this, id); }

    bool onPaint() override {
        bool erase;
        mRect area;
        mGraphics *g = beginPaint(erase, area);
        if (picture)
            g->copyImage(picture, area, mPoint(area.left, area.top));
        return true;
    }

    void describe() const {
        std::printf("picture: %ldx%ld memory image, sprite 64x64 drawn plain at (40,120)\n", picture->getSize().cx,
                    picture->getSize().cy);
        for (const Placed &p : placed)
            std::printf("picture: sprite %s in box (%ld,%ld)-(%ld,%ld)\n", p.what.c_str(), p.box.left, p.box.top,
                        p.box.right, p.box.bottom);
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

    // The sprite through a transform, its box placed at `at`, as a sprite context places it.
    void drawTransformed(m8BitMemImage *sprite, const mTransform &t, const mPoint &at, const char *what) {
        const mRect whole(0, 0, 64, 64);
        const mFRect box = t.bounds(whole);
        const mSize size = t.newSize(mSize(64, 64));
        const mRect area(at.x, at.y, at.x + size.cx + 1, at.y + size.cy + 1);
        picture->copy(sprite, area, whole, at, mFPoint(-box.left, -box.top), t);
        placed.push_back(Placed{what, area});
    }

    m8BitMemImage *picture = nullptr;
    std::vector<Placed> placed;
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
    frame->describe();
    startDemoSettings(frame, outDir);
    Ending ending(&app, frame, outDir + "\\demo-screenshot.bmp");
    mTimer timer(500, &ending, 0, false);
    int rc = app.start();
    std::printf("idle: %lu rounds of the run loop\n", idle.rounds);
    std::printf("demo: start returned %d\n", rc);
    return rc;
}
