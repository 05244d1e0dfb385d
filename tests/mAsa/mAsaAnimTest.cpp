#include "AsaKit.h"
#include "VelnorTest.h"

#include <functional>
#include <map>
#include <set>

using asa::Bytes;
using asa::Frame;
using asa::Slot;

namespace {

const char src[] = "mAswLib/mAsaAnim";
const unsigned short none = 0xFFFF;
// Pixel values of the pictures: letters, and the background of an animation.
const unsigned char floorIndex = 0, backdropIndex = 100;

// A letter image, w x h.
Image letter(char c, int w = 1, int h = 1) { return solid(w, h, (unsigned char)(c - 'a' + 1)); }

Frame picture(std::initializer_list<Slot> slots) {
    Frame f;
    f.slots = slots;
    return f;
}

// What a run showed: each change of the picture, when it came and which sounds played.
struct Shot {
    unsigned long at;
    std::string rows;
    std::string sounds;
};

} // namespace

class AsaAnimTest : public vt::AppFixture, public mAppListener {
protected:
    enum { endMessage = 41 };

    // Records the clock when the script reaches it.
    struct Mark : mAnimStep {
        explicit Mark(unsigned long *at) : at(at) {}
        bool entered(mSequence *) override {
            *at = mTimer::getCurTime();
            return true;
        }
        unsigned long *at;
    };

    AsaAnimTest() : vt::AppFixture("AsaAnimTest"), dir("AsaAnimTest") {}

    void SetUp() override {
        vt::AppFixture::SetUp();
        frame = new vt::TestFrame(app);
        frame->userHandler = [this](short message, int, long, int &) {
            ended |= message == endMessage;
            return true;
        };
        mColor grey[256];
        for (int i = 0; i < 256; ++i)
            grey[i] = mColor(i, i, i);
        palette.reset(new mPalette(grey, 256));
    }

    void TearDown() override {
        clearStage();
        frame->destroy();
        vt::pumpUntil([&] { return app->getStateCount() == 0; }, 3000);
        vt::AppFixture::TearDown();
    }

    // A canvas of w x h over a floor of value 0, and a script of the animation, then a mark.
    mAsaAnim *script(mAsaFile &file, int w, int h, int useId = 0, mPoint at = mPoint(),
                     std::initializer_list<mAnimStep *> more = {}, bool remap = false) {
        clearStage();
        image = new m8BitMemImage(nullptr, mSize(w, h), palette.get());
        context = new mSpriteContext(image, frame);
        Image floor = solid(w, h, floorIndex);
        new mSprite(floor.get(), -100, 0, mPoint(), context);
        sequence = new mSequence(context, 1, frame, endMessage);
        mAsaAnim *anim = new mAsaAnim(&file, remap, false, useId, at);
        sequence->append(anim);
        for (mAnimStep *step : more)
            sequence->append(step);
        sequence->append(new Mark(&after));
        return anim;
    }

    // A frame of one slot: a 1 x 1 image of the letter at (x, 0).
    Frame show(asa::Writer &w, char c, short x = 0) {
        letters.push_back(letter(c));
        return picture({{(unsigned short)w.addImage(*letters.back(), std::string(1, c)), x, 1}});
    }

    void clearStage() {
        delete sequence;
        sequence = nullptr;
        delete context;
        context = nullptr;
        if (image)
            image->free();
        image = nullptr;
    }

    mAsaFile &load(const asa::Writer &w) {
        std::string path = dir.write("f" + std::to_string(files.size()) + ".asa", w.bytes());
        files.emplace_back(new mAsaFile(mString(path.c_str())));
        return *files.back();
    }

    // Starts the script and runs messages and idle rounds until it has ended; `during` acts
    // once, the given milliseconds after the start.
    void run(int ms = 5000, unsigned long actAt = 0, std::function<void()> during = nullptr) {
        shots.clear();
        ended = false;
        sawTimer = false;
        start = mTimer::getCurTime();
        sequence->start("");
        app->registerIdle(this);
        while (!ended && (long)(mTimer::getCurTime() - start) < ms) {
            onIdle(0);
            if (during && mTimer::getCurTime() - start >= actAt) {
                during();
                during = nullptr;
            }
            app->handleMessages();
        }
        onIdle(0);
        app->unregisterIdle(this);
        EXPECT_TRUE(ended) << "the script did not end";
    }

    // Samples the picture between any two messages or idle rounds: the player draws at most one
    // frame in each.
    void onIdle(unsigned long) override {
        sawTimer |= mTimerQueue::hasPlatformTimer();
        Sleep(slowBy);
        const mBHeader *h = image->getHeader();
        const unsigned char *data = static_cast<const unsigned char *>(image->getData());
        std::string rows;
        for (long y = 0; y < h->height; ++y) {
            if (y)
                rows += '|';
            for (long x = 0; x < h->width; ++x) {
                unsigned char v = data[(h->height - 1 - y) * h->lineBytes + x];
                rows += v == floorIndex ? ' ' : v == backdropIndex ? '.' : (char)('a' + v - 1);
            }
        }
        std::string sounds;
        for (auto &f : files)
            for (int i = 0; i < f->getItems(); ++i)
                if (mDigSound *d = f->getSoundPtr(i))
                    if (d->isPlaying())
                        sounds += f->getItemName(i).c_str() + std::string(d->isLooping() ? "+loop" : "");
        if (shots.empty() || shots.back().rows != rows || shots.back().sounds != sounds)
            shots.push_back(Shot{mTimer::getCurTime() - start, rows, sounds});
    }

    std::vector<std::string> pictures() const {
        std::vector<std::string> seen;
        for (const Shot &s : shots)
            if (seen.empty() || seen.back() != s.rows)
                seen.push_back(s.rows);
        return seen;
    }

    ScratchDir dir;
    vt::TestFrame *frame = nullptr;
    std::unique_ptr<mPalette> palette;
    m8BitMemImage *image = nullptr;
    mSpriteContext *context = nullptr;
    mSequence *sequence = nullptr;
    std::vector<std::unique_ptr<mAsaFile>> files;
    std::vector<Image> letters;
    std::vector<Shot> shots;
    unsigned long start = 0, after = 0;
    bool ended = false;
    bool sawTimer = false;
    DWORD slowBy = 0;
};

// Frames reach the image one delay apart, over the background, centred; a slot without an
// item is hidden; the anchor's sound loops until another frame's sound stops it; the last
// frame stays its full delay, then the sprites go and the script goes on.
TEST_F(AsaAnimTest, FramesReachTheImageAtTheirTimesWithTheirSounds) {
    asa::Writer w(8, 4, 100);
    Image a = letter('a', 2, 2), b = letter('b', 2, 2), sky = solid(8, 4, backdropIndex);
    int ia = w.addImage(*a, "a"), ib = w.addImage(*b, "b"), isky = w.addImage(*sky, "sky", true);
    Bytes second(11025, 128);
    int hum = w.addSound(asa::waveImage(second, 11025, 8, 1), "hum");
    int ding = w.addSound(asa::waveImage(second, 11025, 8, 1), "ding");
    Frame f0 = picture({{(unsigned short)ia, 0, 2}, {(unsigned short)ib, 4, 4}});
    f0.background = (short)isky;
    f0.wave = (short)hum;
    w.addFrame(f0);
    w.addFrame(picture({{(unsigned short)ia, 2, 2}, {none, 0, 0}}));
    Frame f2 = picture({{none, 0, 0}, {(unsigned short)ib, 6, 4}});
    f2.wave = (short)ding;
    w.addFrame(f2);
    w.chain(0, 2);
    mAsaFile &file = load(w);

    script(file, 12, 4);
    // The sound device opens slowly the first time; that is not the player's time.
    file.getSoundPtr(hum)->play(mDigSound::STOP_ALL, nullptr);
    file.getSoundPtr(hum)->stop();
    run();
    std::vector<std::string> expected = {
        "  aa......  |  aa......  |  ....bb..  |  ....bb..  ",
        "  ..aa....  |  ..aa....  |  ........  |  ........  ",
        "  ........  |  ........  |  ......bb  |  ......bb  ",
        "            |            |            |            ",
    };
    EXPECT_EQ(expected, pictures());
    // Each picture comes with its sound, which may start a moment after it.
    std::map<std::string, std::set<std::string>> heard;
    std::vector<unsigned long> times;
    for (size_t i = 0; i < shots.size(); ++i) {
        if (!shots[i].sounds.empty())
            heard[shots[i].rows].insert(shots[i].sounds);
        if (i == 0 || shots[i - 1].rows != shots[i].rows)
            times.push_back(shots[i].at);
    }
    using Heard = std::set<std::string>;
    EXPECT_EQ((std::vector<Heard>{{"hum+loop"}, {"hum+loop"}, {"ding"}, {}}),
              (std::vector<Heard>{heard[expected[0]], heard[expected[1]], heard[expected[2]], heard[expected[3]]}));
    // A late timer pop shortens the next wait, so only the schedule is checked: never early.
    ASSERT_EQ(4u, times.size());
    for (size_t i = 1; i < times.size(); ++i)
        EXPECT_GE(times[i], 100 * i - 10) << "frame " << i;
    EXPECT_LT(times[0], 50u);
    EXPECT_GE(after - start, 290u);

    // At a given place, and a second run plays it all again.
    script(file, 12, 4, 0, mPoint(4, 0));
    run();
    EXPECT_EQ("    aa......|    aa......|    ....bb..|    ....bb..", pictures().front());
}

// Counters, a counted repeat, a subroutine drawn where it was called from, selected and random
// splits and a change of speed, all from the file's own commands.
TEST_F(AsaAnimTest, CommandsBranchLoopCountSplitAndCallSubroutines) {
    asa::Writer w(3, 1, 100);
    auto show = [&](char c, short x = 0) { return this->show(w, c, x); };
    w.addFrame(show('a'));                                     // 0
    w.addFrame(asa::command(56, 16));                          // 1: idle speed from here
    w.addFrame(asa::command(62, 2));                           // 2: counter A = 2
    w.addFrame(show('b'));                                     // 3
    w.addFrame(show('i'));                                     // 4
    w.addFrame(asa::command(61));                              // 5: A -= 1
    w.addFrame(asa::command(4, 0, 0, Slot{50, 3, 0}));         // 6: A > 0: back to 3
    w.addFrame(show('c'));                                     // 7
    w.addFrame(asa::command(3, 2, 0, Slot{50, 12, 0}));        // 8: twice, then to 12
    w.addFrame(show('d'));                                     // 9
    w.addFrame(show('j'));                                     // 10
    w.addFrame(asa::command(59));                              // 11: back to the repeat
    w.addFrame(show('e'));                                     // 12
    Frame call = show('z', 1);                                 // 13: calls 15 from x 1
    call.flags = mAsaFrame::subroutine;
    call.subTarget = 15;
    w.addFrame(call);
    w.addFrame(show('f'));                                     // 14
    w.addFrame(show('g'));                                     // 15
    w.addFrame(show('h'));                                     // 16: the subroutine's end
    w.addFrame(asa::command(54, 19));                          // 17: select 19
    w.addFrame(show('l'));                                     // 18: the split chain's head
    w.addFrame(show('m'));                                     // 19
    w.addFrame(show('n'));                                     // 20
    w.chain(0, 13);
    w.frame(13).nextFrame = 14;
    w.frame(14).nextFrame = 17;
    w.chain(15, 16);
    w.chain(17, 18);
    w.frame(18).nextFrame = w.frame(19).nextFrame = 20;
    w.frame(18).nextSplit = 19;
    w.frame(19).prevSplit = 18;
    mAsaFile &file = load(w);

    script(file, 3, 1);
    run();
    std::vector<std::string> expected = {"a  ", "b  ", "i  ", "b  ", "i  ", "c  ", "d  ", "j  ", "d  ", "j  ",
                                         "e  ", " g ", " h ", "f  ", "m  ", "n  ", "   "};
    EXPECT_EQ(expected, pictures());
    // Only the first frame waited for the file's delay; the rest ran at idle speed.
    EXPECT_LT(after - start, 100u + 16 * 30);
    EXPECT_TRUE(file.getFrame(19)->hasFlag(mAsaFrame::selected));

    // Random splits never show an unselectable frame, and show each of the others.
    asa::Writer r(1, 1, 0);
    auto pick = [&](char c) { return this->show(r, c); };
    r.addFrame(asa::command(55, 0));        // 0: random splits
    r.addFrame(asa::command(65, 60));       // 1: counter B = 60
    r.addFrame(pick('k'));                  // 2
    r.addFrame(pick('x'));                  // 3: split head
    r.addFrame(pick('y'));                  // 4
    r.addFrame(pick('z'));                  // 5: unselectable
    r.addFrame(asa::command(64));           // 6: B -= 1
    r.addFrame(asa::command(5, 0, 0, Slot{50, 2, 0}));  // 7: B > 0: again
    r.chain(0, 3);
    for (int split : {3, 4, 5})
        r.frame(split).nextFrame = 6;
    r.chain(6, 7);
    r.frame(3).nextSplit = 4;
    r.frame(4).nextSplit = 5;
    r.frame(5).flags = mAsaFrame::unselectable;
    mAsaFile &random = load(r);

    script(random, 1, 1);
    run();
    std::vector<std::string> seen = pictures();
    EXPECT_EQ((std::set<std::string>{"k", "x", "y", " "}), std::set<std::string>(seen.begin(), seen.end()));
}


// In the background the script goes on at once and waits for the animation's in-use id; hurry
// runs every frame to the end at idle speed; stop hides everything and the script ends.
TEST_F(AsaAnimTest, InUseHurryAndStop) {
    asa::Writer w(1, 1, 200);
    for (char c : {'a', 'b', 'c', 'd'})
        w.addFrame(show(w, c));
    w.chain(0, 3);
    mAsaFile &file = load(w);

    unsigned long beside = 0;
    script(file, 1, 1, 7, mPoint(), {new Mark(&beside), new mStepWait(7)});
    run();
    EXPECT_LT(beside - start, 100u);
    EXPECT_GE(after - start, 4 * 200u - 10);
    EXPECT_EQ((std::vector<std::string>{"a", "b", "c", "d", " "}), pictures());

    run(5000, 250, [&] { sequence->hurry(); });
    EXPECT_EQ((std::vector<std::string>{"a", "b", "c", "d", " "}), pictures());
    EXPECT_LT(after - start, 400u);

    // Stopped, the sprites are hidden, and gone at the next repaint.
    run(5000, 250, [&] { sequence->stop(); });
    context->update();
    onIdle(0);
    EXPECT_EQ((std::vector<std::string>{"a", "b", " "}), pictures());
}

// On a machine too slow for the timer the player paces itself from idle rounds after the fourth
// late pop, in that run and the next.
TEST_F(AsaAnimTest, LatePopsLeaveTheTimerForGood) {
    asa::Writer w(1, 1, 60);
    for (int i = 0; i < 8; ++i)
        w.addFrame(show(w, i % 2 ? 'b' : 'a'));
    w.chain(0, 7);
    mAsaFile &file = load(w);

    script(file, 1, 1);
    run();
    EXPECT_TRUE(sawTimer);
    slowBy = 100;
    run();
    slowBy = 0;
    run();
    EXPECT_FALSE(sawTimer);
    EXPECT_EQ(9u, pictures().size());
}

// With remapping asked for, images take the file's colours and then the nearest entries of the
// window's palette.
TEST_F(AsaAnimTest, ImagesAreRemappedToTheWindowPalette) {
    mColor fileInks[256], windowInks[256];
    for (int i = 0; i < 256; ++i)
        fileInks[i] = windowInks[i] = mColor(i, i, i);
    fileInks[1] = windowInks[7] = mColor(0, 255, 0);
    mPalette fileColours(fileInks, 256), windowColours(windowInks, 256);
    frame->setPalette(&windowColours);

    asa::Writer w(2, 1, 100);
    w.setPalette(fileColours);
    Image pair = solid(2, 1, 1);
    const_cast<unsigned char *>(static_cast<const unsigned char *>(pair->getData()))[0] = 0;
    w.addFrame(picture({{(unsigned short)w.addImage(*pair, "pair"), 0, 1}}));
    mAsaFile &file = load(w);

    script(file, 2, 1, 0, mPoint(), {}, true);
    run();
    EXPECT_EQ(" g", pictures().front());
}

// A MIDI item and a command frame without its slot end a run in the player's errors; so does
// entering a running animation again.
TEST_F(AsaAnimTest, MalformedPlaysThrow) {
    asa::Writer w(1, 1, 100);
    w.addFrame(Frame());
    Frame midi;
    midi.midi = 0;
    w.addFrame(midi);
    w.chain(0, 1);
    mAsaFile &withMidi = load(w);
    w.frame(1) = Frame();
    w.frame(1).flags = mAsaFrame::command;
    mAsaFile &bareCommand = load(w);

    script(withMidi, 1, 1);
    EXPECT_MERROR(run(), "Midi playback needed but not supported!", 0, src);
    sequence->stop();
    mAsaAnim *anim = script(bareCommand, 1, 1);
    EXPECT_MERROR(run(), "Invalid ASA Command frame!", 0, src);
    EXPECT_MERROR(anim->entered(sequence), "ASA animation entered while running!", 0, src);
    sequence->stop();
}
