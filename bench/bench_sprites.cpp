// The compositor at work: 200 sprites of 64x64 (transparent, run-length and a few rotated)
// over an opaque ground in a 640x480 8-bit memory image, every one of them moving each
// frame, and then only one. Frames per second of the moves plus the repaint, into the memory
// image alone and with the copy to a shown window, each as a ratio to redrawing the whole
// frame from scratch with plain copies, measured in the same run.
#include <Velnor11.h>

#include <windows.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "BenchTiming.h"

namespace {

const long frameWidth = 640, frameHeight = 480, side = 64;
const int spriteCount = 200;

using bench::timeOf;

struct Images {
    explicit Images(const mPalette &palette) {
        ground = new m8Bit(mSize(frameWidth, frameHeight), &palette);
        disc = new m8Bit(mSize(side, side), &palette);
        unsigned char *g = static_cast<unsigned char *>(const_cast<void *>(ground->getData()));
        for (long i = 0; i < ground->getHeader()->dataSize; ++i)
            g[i] = (unsigned char)(200 + (i / frameWidth + i % frameWidth) % 40);
        // A disc of texture on a ground of 0, the transparent value.
        unsigned char *d = static_cast<unsigned char *>(const_cast<void *>(disc->getData()));
        const long r = side / 2 - 2;
        for (long y = 0; y < side; ++y)
            for (long x = 0; x < side; ++x) {
                const long dx = x - side / 2, dy = y - side / 2;
                d[y * side + x] = dx * dx + dy * dy <= r * r ? (unsigned char)(1 + (x * 3 + y * 5) % 190) : 0;
            }
        disc->setTransparent(0);
        runs = new m8BitRLE(*disc);
    }
    // Every fourth sprite is run-length, but not the rotated ones: runs are never transformed.
    const mBitMap *of(int i) const { return i % 4 == 3 && !rotated(i) ? (const mBitMap *)runs : disc; }
    static bool rotated(int i) { return i % 50 == 12; }
    ~Images() {
        ground->free();
        disc->free();
        runs->free();
    }
    m8Bit *ground;
    m8Bit *disc;
    m8BitRLE *runs;
};

mPoint placeOf(int i) { return mPoint((i * 97) % (frameWidth - side), (i * 61) % (frameHeight - side)); }

// The ground and the sprites of one context, with a velocity each.
class Scene {
public:
    Scene(mSpriteContext *context, const Images &images) {
        new mSprite(images.ground, -1000, 0, mPoint(0, 0), context);
        for (int i = 0; i < spriteCount; ++i) {
            mSprite *s = new mSprite(images.of(i), i % 50, i + 1, placeOf(i), context);
            if (Images::rotated(i))
                s->setTransform(mTransform((float)(i * 7 % 360), 0, 1, 1));
            sprites.push_back(s);
            velocity.push_back(mPoint(1 + i % 5, 1 + i % 3));
        }
    }
    // One frame's moves of the first `moving` sprites, bouncing off the frame's edges.
    void step(int moving) {
        for (int i = 0; i < moving; ++i) {
            mSprite *s = sprites[i];
            mPoint &v = velocity[i];
            const mPoint p = s->getPosition();
            if (p.x + v.x < 0 || p.x + v.x + side > frameWidth)
                v.x = -v.x;
            if (p.y + v.y < 0 || p.y + v.y + side > frameHeight)
                v.y = -v.y;
            s->move((int)v.x, (int)v.y);
        }
    }

private:
    std::vector<mSprite *> sprites;
    std::vector<mPoint> velocity;
};

class BenchFrame : public mMainFrame {
public:
    BenchFrame(mApp *app, mModule *module)
        : mMainFrame(app, module, mRect(0, 0, frameWidth + 40, frameHeight + 60), TITLE_BAR | SYSTEM_MENU,
                     "bench_sprites", 0) {}
};

void report(const char *what, double seconds, double baseline) {
    std::printf("%-52s %9.0f fps   %6.2f x full redraw\n", what, 1.0 / seconds, baseline / seconds);
}

// Frames of all sprites moving, then of one, each a round of moves and one update.
void measureMoves(Scene &scene, mSpriteContext &context, const char *what, double baseline) {
    context.update();
    for (int moving : {spriteCount, 1}) {
        const double frame = timeOf([&] {
            scene.step(moving);
            context.update();
        });
        report((std::to_string(moving) + " moving: moves + " + what).c_str(), frame, baseline);
    }
}

} // namespace

int main() {
    mApp app("BenchSprites");
    mModule module(reinterpret_cast<SYSTEM_INFO_STRUCT *>(GetModuleHandleA(nullptr)));
    std::vector<mColor> colors;
    for (int i = 0; i < 256; ++i)
        colors.push_back(mColor(i, 255 - i, (i * 7) & 255));
    mPalette palette(colors.data(), 256);
    Images images(palette);
    BenchFrame *frame = new BenchFrame(&app, &module);
    frame->setVisible(true);
    app.handleMessages();
    m8BitMemImage *memory = new m8BitMemImage(nullptr, mSize(frameWidth, frameHeight), &palette);

    // The baseline: the ground and every sprite copied whole, as a frame drawn from scratch.
    const mRect whole(0, 0, side, side);
    const double baseline = timeOf([&] {
        memory->copy(images.ground, mRect(0, 0, frameWidth, frameHeight), mPoint(0, 0));
        for (int i = 0; i < spriteCount; ++i)
            memory->copy(images.of(i), whole, placeOf(i));
    });
    std::printf("%d sprites of %ldx%ld over a %ldx%ld ground, 8-bit\n", spriteCount, side, side, frameWidth,
                frameHeight);
    report("full redraw with plain copies (baseline)", baseline, baseline);

    {
        mSpriteContext composer(memory);
        Scene scene(&composer, images);
        measureMoves(scene, composer, "composition into memory", baseline);
    }
    {
        mSpriteContext shown(memory, frame);
        Scene scene(&shown, images);
        shown.update();
        mGraphics *g = frame->getGraphics();
        report("copy of the whole frame to the window alone", timeOf([&] {
                   shown.update(g, mRect(0, 0, frameWidth, frameHeight));
               }),
               baseline);
        delete g;
        measureMoves(scene, shown, "whole frame incl. window copy", baseline);
    }
    memory->free();
    frame->destroy();
    app.handleMessages();
    return 0;
}
