#include "DemoSound.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>
#include <windows.h>

namespace {

const int rate = 44100;

struct Voicing {
    double notes[4]; // Hz, lowest first
    int ms;
};

// C, G, A minor, F, and C again to close; the notes of each chord enter one after another.
const Voicing progression[] = {
    {{261.63, 329.63, 392.00, 523.25}, 450}, {{196.00, 293.66, 392.00, 493.88}, 450},
    {{220.00, 261.63, 329.63, 440.00}, 450}, {{174.61, 261.63, 349.23, 440.00}, 450},
    {{130.81, 261.63, 329.63, 523.25}, 900},
};

// Appends 16-bit mono samples of a plucked chord: a soft attack, then a decay, with a touch of
// the second harmonic for warmth, and a short fade so that chords join without a click.
void render(const Voicing &chord, std::vector<short> &out) {
    const double pi = 3.14159265358979;
    const size_t count = (size_t)rate * chord.ms / 1000;
    for (size_t i = 0; i < count; ++i) {
        double t = (double)i / rate, value = 0;
        for (int n = 0; n < 4; ++n) {
            double local = t - n * 0.06;
            if (local < 0)
                continue;
            double envelope = std::min(1.0, local / 0.01) * std::exp(-3.0 * local);
            double f = chord.notes[n];
            value += envelope * (std::sin(2 * pi * f * local) + 0.3 * std::sin(4 * pi * f * local));
        }
        double fade = std::min(1.0, (double)(count - i) / (rate * 0.02));
        out.push_back((short)(value * fade * 5500));
    }
}

} // namespace

DemoSound::DemoSound() {
    std::vector<short> samples;
    for (const Voicing &chord : progression)
        render(chord, samples);
    tune = new mDigSound(samples.data(), (unsigned long)(samples.size() * sizeof(short)), mDigSound::freq44100,
                         mDigSound::bits16, false);
    tune->play(0, this);
    std::printf("sound: a tune of %u chords, %lu ms of 16-bit mono at 44100 Hz, playing\n",
                (unsigned)(sizeof progression / sizeof progression[0]), tune->getLength());
}

DemoSound::~DemoSound() {
    // Whatever of the tune is still to come, and a little more.
    DWORD start = GetTickCount(), wait = tune->getLength() + 1000;
    MSG msg;
    while (!ended && GetTickCount() - start < wait) {
        if (PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE))
            DispatchMessageA(&msg);
        else
            Sleep(5);
    }
    if (!ended)
        std::printf("sound: the tune had not reported its end when the run finished\n");
    delete tune;
}

void DemoSound::soundComplete(mDigSound *sound) {
    ended = true;
    std::printf("sound: the tune played to its end\n");
}
