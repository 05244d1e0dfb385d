// Sound steps in scripts, judged by the bytes that were played and the time the steps held.
#include "../mMedia/SoundKit.h"
#include "ScratchDir.h"
#include "ScriptKit.h"

namespace {

class SoundScript : public ScriptTest {
protected:
    SoundScript() : dir("soundscript") {}
    // A step playing `samples` as 16-bit stereo at 44100 Hz, from a wave file.
    mStepSound *sound(const Bytes &samples, int useId, int flags = 0) {
        mInputFile file(mString(dir.write("s" + std::to_string(serial++) + ".wav", wave(WaveFormat(), samples)).c_str()));
        return new mStepSound(file, flags, useId);
    }
    // Bytes of `ms` of sound.
    static size_t ms(int n) { return (size_t)n * 44100 / 1000 * 4; }

    ScratchDir dir;
    int serial = 0;
    Capture capture;
};

} // namespace

// A held sound waits for its completion and for its length rounded down to 250 ms; a short one
// only for its completion; a background one plays while the script moves on to its wait.
TEST_F(SoundScript, SoundsPlayInScriptOrderAndHoldTheScript) {
    Bytes first = loud(ms(300), 1), second = loud(ms(100), 2), third = loud(ms(100), 3);
    mSequence *s = script({probe("start"), sound(first, 0), probe("first"), sound(second, 0), probe("second"),
                           sound(third, 4), probe("on"), new mStepWait(4), probe("third")});
    s->start("");
    EXPECT_EQ(0, vt::runBounded(*app));

    EXPECT_EQ(Trail({"start", "first", "second", "on", "third"}), trail);
    EXPECT_GE(between("start", "first"), 250);
    EXPECT_LT(between("second", "on"), 50) << "the background sound doesn't hold the script";
    if (capture.available()) {
        EXPECT_TRUE(capture.played() == join({first, second, third})) << "the sounds play whole, in order";
    }
}

// Hurry stops the sound and goes on at once: the next sound follows without the rest of the first.
TEST_F(SoundScript, HurryCutsASoundShort) {
    Bytes longOne = loud(ms(2000), 5), shortOne = loud(ms(100), 6);
    mSequence *s = nullptr;
    s = script({probe("start", [&](mSequence *) { after(100, [&] { s->hurry(); }); }), sound(longOne, 0),
                probe("hurried"), sound(shortOne, 0), probe("end")});
    s->start("");
    EXPECT_EQ(0, vt::runBounded(*app));

    EXPECT_EQ(Trail({"start", "hurried", "end"}), trail);
    EXPECT_LT(between("start", "end"), 1500);
    if (capture.available()) {
        Bytes played = capture.played();
        ASSERT_GE(played.size(), shortOne.size());
        EXPECT_LT(played.size(), longOne.size());
        EXPECT_TRUE(std::equal(shortOne.begin(), shortOne.end(), played.end() - shortOne.size()));
    }
}

// A sound told complete early, here by the next sound's stop of all others, still holds its id
// for its minimum time.
TEST_F(SoundScript, AnEarlyCompletionWaitsForTheMinimumTime) {
    Bytes longOne = loud(ms(1000), 7), shortOne = loud(ms(100), 8);
    mSequence *s = script({probe("start"), sound(longOne, 4), sound(shortOne, 0, mDigSound::STOP_ALL), probe("short"),
                           new mStepWait(4), probe("released")});
    s->start("");
    EXPECT_EQ(0, vt::runBounded(*app));

    EXPECT_EQ(Trail({"start", "short", "released"}), trail);
    EXPECT_LT(between("start", "short"), 900);
    EXPECT_GE(between("start", "released"), 1000);
}
