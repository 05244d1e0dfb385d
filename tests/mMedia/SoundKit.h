// Wave images for the sound tests, and the sound the session captured while they played.
#pragma once
#include "../mAswLib/ObjFileWriter.h"

#include <Velnor11.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <vector>
#include <windows.h>

struct WaveFormat {
    unsigned formatTag = 1, channels = 2, rate = 44100, bits = 16;
};

inline Bytes chunk(const char *id, const Bytes &body) {
    return join({Bytes(id, id + 4), le({{4, body.size()}}), body});
}

inline Bytes fmtBody(const WaveFormat &f) {
    unsigned align = f.bits * f.channels / 8;
    return le({{2, f.formatTag}, {2, f.channels}, {4, f.rate}, {4, f.rate * align}, {2, align}, {2, f.bits}});
}

// RIFF, WAVE, then the chunks as given.
inline Bytes riff(std::initializer_list<Bytes> chunks) {
    Bytes body = join({Bytes{'W', 'A', 'V', 'E'}, join(chunks)});
    return join({Bytes{'R', 'I', 'F', 'F'}, le({{4, body.size()}}), body});
}

inline Bytes wave(const WaveFormat &f, const Bytes &samples) {
    return riff({chunk("fmt ", fmtBody(f)), chunk("data", samples)});
}

// Samples with every byte odd: no 16-bit frame is silent and no 8-bit sample is the middle value,
// so that silence the platform adds can be told apart.
inline Bytes loud(size_t bytes, unsigned seed) {
    Bytes b = pattern(bytes, seed);
    for (unsigned char &x : b)
        x |= 0x01;
    return b;
}

// The sound the session appends to VELNOR_SOUND_FILE (signed 16-bit stereo at 44100 Hz), from
// where the file stood when this was made.
class Capture {
public:
    Capture() : from(all().size()) {}
    static bool available() { return !path().empty(); }
    static std::string path() {
        const char *unixPath = std::getenv("VELNOR_SOUND_FILE");
        return unixPath ? std::string("Z:") + unixPath : std::string();
    }
    // The bytes played since, without the silent frames that the platform may put between sounds.
    Bytes played() const {
        Bytes now = all(), kept;
        for (size_t i = from; i + 4 <= now.size(); i += 4)
            if (now[i] | now[i + 1] | now[i + 2] | now[i + 3])
                kept.insert(kept.end(), now.begin() + i, now.begin() + i + 4);
        return kept;
    }

private:
    static Bytes all() {
        std::ifstream in(path(), std::ios::binary);
        return Bytes(std::istreambuf_iterator<char>(in), {});
    }
    size_t from;
};

// What 8-bit mono samples at 44100 Hz become in the capture.
inline Bytes widened(const Bytes &mono8) {
    Bytes out;
    for (unsigned char s : mono8) {
        unsigned char high = (unsigned char)(s - 128);
        out.insert(out.end(), {0, high, 0, high});
    }
    return out;
}

// Records completions in order, with the thread and whether they came from inside play.
struct Ear : mSoundListener {
    void soundComplete(mDigSound *sound) override {
        heard.push_back(sound);
        if (insidePlay || GetCurrentThreadId() != thread)
            misplaced++;
        if (then)
            then(sound);
    }
    bool play(mDigSound &sound, int flags = 0) {
        insidePlay = true;
        bool started = sound.play(flags, this);
        insidePlay = false;
        return started;
    }
    std::vector<mDigSound *> heard;
    int misplaced = 0;
    bool insidePlay = false;
    DWORD thread = GetCurrentThreadId();
    std::function<void(mDigSound *)> then;
};
