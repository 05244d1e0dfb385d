#include "DemoScript.h"

#include "../tools/asa/AsaWriter.h"

#include <cstdio>

namespace {

enum { lapCount = 2, legTime = 500, lapRegister = 1 };

// The last step: hands the end of the script to the title.
class Finish : public mAnimStep {
public:
    explicit Finish(std::function<void()> ended) : ended(ended) {}
    bool entered(mSequence *) override {
        ended();
        return true;
    }

private:
    std::function<void()> ended;
};

// 120 ms of a falling tone, 8-bit mono at 22050 Hz, as a wave file.
bool writeBounce(const std::string &path) {
    const unsigned rate = 22050, count = rate * 120 / 1000;
    std::vector<unsigned char> samples(count);
    unsigned phase = 0;
    for (unsigned i = 0; i < count; ++i) {
        phase += 900 - i * 600 / count;
        const int level = 100 * (int)(count - i) / (int)count;
        samples[i] = (unsigned char)(128 + ((phase / 2205) % 2 ? level : -level));
    }
    return asa::save(path, asa::waveImage(samples, rate, 8, 1));
}

} // namespace

DemoScript::DemoScript(mSpriteContext *context, const std::vector<DemoPath> &paths, const std::string &dataDir,
                       std::function<void()> ended)
    : sequence(context, 1, nullptr, 0) {
    sequence.append(new mStepLabel("lap"));
    for (bool back : {false, true})
        roll(paths, 1, legTime, back);
    sequence.append(new mStepChangeValue(lapRegister, 1));
    sequence.append(new mStepLoop(lapCount, "lap"));
    roll(paths, 2, legTime / 2, false);
    // Held until the bounce has played; the device plays one sound at a time, so a sound that
    // is still playing goes first.
    const std::string bounce = dataDir + "\\demo-bounce.wav";
    if (writeBounce(bounce)) {
        mInputFile file(bounce.c_str());
        sequence.append(new mStepSound(file, 0, 0));
    }
    sequence.append(new Finish(ended));
    sequence.start("");
}

// Moves every object by its path divided by `divisor`, each in the background under its own
// id, and waits for all of them.
void DemoScript::roll(const std::vector<DemoPath> &paths, int divisor, long time, bool back) {
    for (size_t i = 0; i < paths.size(); ++i) {
        const int sign = back ? -1 : 1;
        const int dx = (int)(paths[i].to.x - paths[i].from.x) / divisor * sign;
        const int dy = (int)(paths[i].to.y - paths[i].from.y) / divisor * sign;
        sequence.append(new mStepAnimate(paths[i].object, dx, dy, time, (int)i + 1));
    }
    for (size_t i = 0; i < paths.size(); ++i)
        sequence.append(new mStepWait((int)i + 1));
}

void DemoScript::describe() {
    std::printf("script: %d laps, then to the middles and a bounce, in %ld ms\n", (int)sequence.getLong(lapRegister),
                sequence.getRunningTime());
}
