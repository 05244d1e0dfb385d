// Wave images for the sound tests, and the sound the session captured while they played.
#pragma once
#include "../mAswLib/ObjFileWriter.h"

#include <Velnor11.h>

#include <cstdio>
#include <cstdlib>
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

// 16-bit frames in which no frame is silent, so that silence the platform adds can be told apart.
inline Bytes loud(size_t bytes, unsigned seed) {
    Bytes b = pattern(bytes, seed);
    for (size_t i = 1; i < b.size(); i += 2)
        b[i] |= 0x01;
    return b;
}

// The sound the session appends to VELNOR_SOUND_FILE, read from where it stood when made:
// signed 16-bit stereo at 44100 Hz.
class Capture {
public:
    Capture() {
        const char *unixPath = std::getenv("VELNOR_SOUND_FILE");
        if (unixPath)
            path = std::string("Z:") + unixPath;
        from = size();
    }
    bool available() const { return !path.empty(); }

    // The bytes played since, without the silent frames that the platform may put between sounds.
    Bytes played() const {
        Bytes all(size() - from), kept;
        if (std::FILE *f = std::fopen(path.c_str(), "rb")) {
            std::fseek(f, (long)from, SEEK_SET);
            all.resize(std::fread(all.data(), 1, all.size(), f));
            std::fclose(f);
        }
        for (size_t i = 0; i + 4 <= all.size(); i += 4)
            if (all[i] | all[i + 1] | all[i + 2] | all[i + 3])
                kept.insert(kept.end(), all.begin() + i, all.begin() + i + 4);
        return kept;
    }

private:
    size_t size() const {
        std::FILE *f = path.empty() ? nullptr : std::fopen(path.c_str(), "rb");
        if (!f)
            return 0;
        std::fseek(f, 0, SEEK_END);
        size_t n = (size_t)std::ftell(f);
        std::fclose(f);
        return n;
    }

    std::string path;
    size_t from = 0;
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
