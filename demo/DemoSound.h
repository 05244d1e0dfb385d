// The demo's sound: a short chord sequence made of generated samples, played through mDigSound
// while the picture moves.
#pragma once
#include <Velnor11.h>

class DemoSound : public mSoundListener {
public:
    // Starts the tune; it plays while the run loop runs.
    DemoSound();
    // Lets the tune ring out, pumping messages for at most a few seconds, so that all of it is
    // heard even when the run ends first.
    ~DemoSound() override;

    void soundComplete(mDigSound *sound) override;

private:
    mDigSound *tune = nullptr;
    bool ended = false;
};
