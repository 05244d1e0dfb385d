#include "ExpectError.h"
#include "ScratchDir.h"
#include "SoundKit.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

const char srcPath[] = "mMedia/mSound";

class SoundDataTest : public ::testing::Test {
protected:
    SoundDataTest() : dir(::testing::UnitTest::GetInstance()->current_test_info()->name()) {}
    mString put(const Bytes &bytes) { return mString(dir.write("f" + std::to_string(serial++) + ".wav", bytes).c_str()); }
    static Bytes payload(const Bytes &image) { return join({le({{4, 0}}), image}); }

    ScratchDir dir;
    int serial = 0;
};

Bytes samplesOf(const mDigSound &s) {
    const unsigned char *p = static_cast<const unsigned char *>(s.getDataPtr());
    return Bytes(p, p + s.getByteLength());
}

} // namespace

// Every source reads the same sound, stepping over chunks before and between the ones it needs
// and over the two extra bytes of an 18-byte "fmt " chunk.
TEST_F(SoundDataTest, EverySourceReadsTheSamples) {
    Bytes samples = pattern(44100, 3);
    WaveFormat mono8{1, 1, 22050, 8};
    Bytes image = riff({chunk("LIST", Bytes(7, 'x')), chunk("fmt ", join({fmtBody(mono8), le({{2, 0}})})),
                        chunk("fact", le({{4, 1}})), chunk("data", samples)});
    mString path = put(image);
    mInputFile file(path);
    ObjImage objects = objectFile({storedRecord(2, payload(image))});
    mObjFile archive(put(objects.bytes));
    Bytes memory = payload(image);

    std::vector<std::unique_ptr<mDigSound>> sounds;
    sounds.emplace_back(new mDigSound(path, true));
    sounds.emplace_back(new mDigSound(file));
    sounds.emplace_back(new mDigSound(archive, 0));
    sounds.emplace_back(new mDigSound(memory.data(), (int)memory.size()));
    sounds.emplace_back(new mDigSound(samples.data(), (unsigned long)samples.size(), mDigSound::freq22050,
                                      mDigSound::bits8, false));
    sounds.emplace_back(new mDigSound(*sounds.back()));
    for (const auto &s : sounds) {
        EXPECT_EQ(samples, samplesOf(*s));
        EXPECT_EQ(2000u, s->getLength());
        EXPECT_EQ(mDigSound::freq22050, s->getFreq());
        EXPECT_EQ(mDigSound::bits8, s->getSampSize());
        EXPECT_FALSE(s->isStereo());
        EXPECT_FALSE(s->isDiskFile());
    }
}

TEST_F(SoundDataTest, OnlyWhatExceedsOneBufferStaysOnDisk) {
    WaveFormat stereo16;
    mString fits = put(wave(stereo16, pattern(mDigSound::STREAM_THRESHOLD, 1)));
    mString over = put(wave(stereo16, pattern(mDigSound::STREAM_THRESHOLD + 4, 1)));
    EXPECT_FALSE(mDigSound(fits, true).isDiskFile());
    EXPECT_FALSE(mDigSound(over, false).isDiskFile());
    mDigSound streamed(over, true);
    EXPECT_TRUE(streamed.isDiskFile());
    EXPECT_EQ(nullptr, streamed.getDataPtr());
    EXPECT_EQ(371u, streamed.getLength());
    EXPECT_TRUE(mDigSound(streamed).isDiskFile());
    EXPECT_MERROR(streamed + streamed, "Invalid Sound addition", 0, srcPath);
}

TEST_F(SoundDataTest, SumsJoinSoundsOfOneFormat) {
    Bytes a = pattern(100, 1), b = pattern(60, 2);
    mDigSound first(a.data(), 100, mDigSound::freq11025, mDigSound::bits16, true);
    mDigSound second(b.data(), 60, mDigSound::freq11025, mDigSound::bits16, true);
    EXPECT_EQ(join({a, b}), samplesOf(first + second));
    mDigSound eight(b.data(), 60, mDigSound::freq11025, mDigSound::bits8, true);
    EXPECT_MERROR(first + eight, "Invalid Sound addition", 0, srcPath);
}

// Damaged or foreign wave images end in the message of the source they came through, whatever
// the damage; none is read past its end.
TEST_F(SoundDataTest, BadWavesAreRefusedByEverySource) {
    WaveFormat good;
    Bytes samples = loud(400, 5);
    Bytes whole = wave(good, samples);
    auto with = [&](auto change) {
        WaveFormat f = good;
        change(f);
        return wave(f, samples);
    };
    Bytes wrongForm = whole, wrongTag = whole, overrun = whole, hugeChunk = whole;
    wrongTag[3] = 'X';
    wrongForm[11] = 'X';
    poke(overrun, 40, {4, 401});
    poke(hugeChunk, 16, {4, 0xFFFFFFF8});
    std::vector<Bytes> bad = {
        wrongTag, wrongForm, overrun, hugeChunk,
        with([](WaveFormat &f) { f.formatTag = 3; }),
        with([](WaveFormat &f) { f.rate = 8000; }),
        with([](WaveFormat &f) { f.rate = 32000; }),
        with([](WaveFormat &f) { f.bits = 24; }),
        Bytes(whole.begin(), whole.begin() + 30),        // inside "fmt "
        Bytes(whole.begin(), whole.end() - 1),            // one sample byte short
        Bytes(whole.begin(), whole.begin() + 12), Bytes{},
    };
    for (size_t i = 0; i < bad.size(); ++i) {
        SCOPED_TRACE("case " + std::to_string(i));
        mString path = put(bad[i]);
        mInputFile file(path);
        Bytes memory = payload(bad[i]);
        EXPECT_MERROR(mDigSound(path, false), "Bad Sound data", 0, srcPath);
        EXPECT_MERROR(mDigSound{file}, "Bad Sound data", 0, srcPath);
        EXPECT_MERROR(mDigSound(memory.data(), (int)memory.size()), "Bad Sound Data from object", 0, srcPath);
    }
    EXPECT_MERROR(mDigSound(dir.path("missing.wav").c_str(), true), "Bad Sound data", 0, srcPath);
    // A streamed sound whose data chunk claims more than the file holds is refused at once.
    Bytes longOverrun = wave(good, loud(0x20000, 1));
    poke(longOverrun, 40, {4, 0x30000});
    EXPECT_MERROR(mDigSound(put(longOverrun), true), "Bad Sound data", 0, srcPath);

    mObjFile archive(put(objectFile({storedRecord(1, payload(whole)), storedRecord(2, payload(overrun))}).bytes));
    EXPECT_MERROR(mDigSound(archive, 0), "Bad Sound Object type", 0, srcPath);
    EXPECT_MERROR(mDigSound(archive, 1), "Bad Sound Data from object", 0, srcPath);
    EXPECT_MERROR(mDigSound(archive, 2), "Bad Sound Object type", 0, srcPath);
}
