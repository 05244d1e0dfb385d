// Sounds played through the platform's wave output, checked against what the session captured.
#include "ScratchDir.h"
#include "SoundKit.h"
#include "VelnorTest.h"

#include <gtest/gtest.h>

namespace {

class SoundPlayTest : public vt::AppFixture {
protected:
    SoundPlayTest() : vt::AppFixture("SoundPlayTest"), dir(::testing::UnitTest::GetInstance()->current_test_info()->name()) {}
    // The capture file grows with every run otherwise.
    static void SetUpTestSuite() {
        if (Capture::available())
            std::ofstream(Capture::path(), std::ios::binary);
    }
    void SetUp() override {
        vt::AppFixture::SetUp();
        if (!Capture::available())
            GTEST_SKIP() << "no sound capture in this session";
    }
    void TearDown() override {
        mDigSound::stopAllSounds();
        vt::pumpUntil([] { return false; }, 100);
        vt::AppFixture::TearDown();
    }
    mString put(const Bytes &bytes) { return mString(dir.write("f" + std::to_string(serial++) + ".wav", bytes).c_str()); }
    bool hear(size_t count, int ms = 10000) {
        return vt::pumpUntil([&] { return ear.heard.size() >= count; }, ms);
    }

    ScratchDir dir;
    int serial = 0;
    Capture capture;
    Ear ear;
};

} // namespace

// A sound from a memory image, one streamed from disk over many buffers, an 8-bit one and a copy
// of the streamed one, queued at once: every byte is played in order, and each listener is told
// once, in order, from the run loop.
TEST_F(SoundPlayTest, QueuePlaysEverySoundWholeAndInOrder) {
    WaveFormat stereo16;
    Bytes short16 = loud(30000, 1), long16 = loud(5 * 0x10000 + 1236, 2), mono8 = loud(20000, 3);
    Bytes image = join({le({{4, 0}}), wave(stereo16, short16)});
    mDigSound fromMemory(image.data(), (int)image.size());
    mDigSound streamed(put(wave(stereo16, long16)), true);
    mDigSound eight(mono8.data(), (unsigned long)mono8.size(), mDigSound::freq44100, mDigSound::bits8, false);
    mDigSound copy(streamed);
    ASSERT_TRUE(streamed.isDiskFile());

    EXPECT_FALSE(mDigSound::isAnyPlaying());
    for (mDigSound *s : {&fromMemory, &streamed, &eight, &copy})
        EXPECT_TRUE(ear.play(*s));
    EXPECT_TRUE(mDigSound::isAnyPlaying());
    EXPECT_TRUE(fromMemory.isPlaying());
    EXPECT_FALSE(streamed.isPlaying());
    ear.then = [&](mDigSound *s) {
        if (ear.heard.size() == 4)
            app->shutdown(0);
    };
    new vt::TestFrame(app);
    EXPECT_EQ(0, vt::runBounded(*app, 20000));

    EXPECT_EQ((std::vector<mDigSound *>{&fromMemory, &streamed, &eight, &copy}), ear.heard);
    EXPECT_EQ(0, ear.misplaced);
    EXPECT_FALSE(mDigSound::isAnyPlaying());
    EXPECT_EQ(join({short16, long16, widened(mono8), long16}), capture.played());
}

// A stop in the middle ends the sound where it stands and tells nobody, and so does destroying
// a sound that plays; the next sound follows at once. Stopping all sounds tells the waiting ones
// last to first, then the current one.
TEST_F(SoundPlayTest, StoppedSoundsEndWhereTheyStand) {
    WaveFormat stereo16;
    Bytes long16 = loud(24 * 0x10000, 4), after = loud(8000, 5), doomed = loud(200000, 6);
    mDigSound streamed(put(wave(stereo16, long16)), true);
    mDigSound next(after.data(), (unsigned long)after.size(), mDigSound::freq44100, mDigSound::bits16, true);
    ear.play(streamed);
    ear.play(next);
    Capture sofar;
    ASSERT_TRUE(vt::pumpUntil([&] { return sofar.played().size() > 0x20000; }, 10000));
    EXPECT_TRUE(streamed.stop());
    EXPECT_FALSE(streamed.isPlaying());
    ASSERT_TRUE(hear(1));
    EXPECT_EQ(&next, ear.heard[0]);

    Bytes played = capture.played();
    ASSERT_GT(played.size(), after.size());
    size_t cut = played.size() - after.size();
    EXPECT_LT(cut, long16.size());
    EXPECT_EQ(Bytes(long16.begin(), long16.begin() + cut), Bytes(played.begin(), played.begin() + cut));
    EXPECT_EQ(after, Bytes(played.begin() + cut, played.end()));

    Capture second;
    auto *gone = new mDigSound(doomed.data(), (unsigned long)doomed.size(), mDigSound::freq44100, mDigSound::bits16, true);
    ear.play(*gone);
    ear.play(next);
    delete gone;
    ASSERT_TRUE(hear(2));
    EXPECT_EQ(&next, ear.heard[1]);
    EXPECT_EQ(after, second.played());

    mDigSound again(next), spare(next);
    for (mDigSound *s : {&again, &next, &spare})
        ear.play(*s);
    EXPECT_TRUE(spare.stop());
    EXPECT_FALSE(spare.stop());
    mDigSound::stopAllSounds();
    EXPECT_FALSE(mDigSound::isAnyPlaying());
    vt::pumpUntil([] { return false; }, 300);
    EXPECT_EQ((std::vector<mDigSound *>{&next, &next, &next, &again}), ear.heard);
}

// A sound that cannot be played reports later, from the run loop, and the queue goes on after it;
// an mError thrown by its listener comes out of the dispatch, not through the platform.
TEST_F(SoundPlayTest, AFailedSoundEndsThroughTheQueue) {
    Bytes samples = loud(4000, 7);
    mDigSound badRate(samples.data(), 4000, mDigSound::mDigFreq(5), mDigSound::bits16, true);
    mDigSound badSize(samples.data(), 4000, mDigSound::freq22050, mDigSound::mDigSample(3), true);
    mDigSound good(samples.data(), 4000, mDigSound::freq44100, mDigSound::bits16, true);
    EXPECT_FALSE(ear.play(badRate));
    EXPECT_EQ((unsigned long)mDigSound::BAD_RATE, badRate.getError());
    EXPECT_TRUE(ear.play(badSize));
    EXPECT_TRUE(ear.play(good));
    EXPECT_TRUE(ear.heard.empty());
    ear.then = [](mDigSound *) { throw mError("listener failed"); };
    EXPECT_THROW(hear(1), mError);
    ear.then = nullptr;
    ASSERT_TRUE(hear(3));
    EXPECT_EQ((std::vector<mDigSound *>{&badRate, &badSize, &good}), ear.heard);
    EXPECT_EQ((unsigned long)mDigSound::BAD_SIZE, badSize.getError());
    EXPECT_EQ(0, ear.misplaced);
    EXPECT_EQ(samples, capture.played());
}

// A looping sound, in memory or streamed with its end inside a buffer, repeats without a gap
// until it is stopped, and its listener is not told.
TEST_F(SoundPlayTest, LoopsRepeatWithoutAGap) {
    WaveFormat stereo16;
    Bytes samples = loud(0x18000 + 8, 9);
    Bytes image = join({le({{4, 0}}), wave(stereo16, samples)});
    mDigSound fromMemory(image.data(), (int)image.size());
    mDigSound streamed(put(wave(stereo16, samples)), true);
    for (mDigSound *sound : {&fromMemory, &streamed}) {
        Capture looped;
        ear.play(*sound, mDigSound::LOOP);
        EXPECT_TRUE(sound->isLooping());
        ASSERT_TRUE(vt::pumpUntil([&] { return looped.played().size() > 3 * samples.size(); }, 10000));
        sound->stop();
        vt::pumpUntil([] { return !mDigSound::isAnyPlaying(); }, 1000);
        Bytes played = looped.played();
        Bytes repeated;
        while (repeated.size() < played.size())
            repeated = join({repeated, samples});
        repeated.resize(played.size());
        EXPECT_EQ(repeated, played);
    }
    vt::pumpUntil([] { return false; }, 200);
    EXPECT_TRUE(ear.heard.empty());
}
