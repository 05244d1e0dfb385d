// The one sound device: a first-in, first-out queue in front of the platform's wave output,
// opened with each sound's own format and closed after it. Completions come back as messages
// to a hidden window, so that listeners are told on the application's thread.
#pragma once
#include "mMedia/mSound.h"

#include <deque>

class mSoundWindow;

class mSoundDevice {
public:
    static mSoundDevice &get();
    ~mSoundDevice();

    bool start(mDigSound *sound);
    bool stop(mDigSound *sound);
    void stopAll();
    bool isAnyPlaying() const { return current != nullptr; }
    // For a sound that goes away: stops it unheard, and says whether the device frees its samples.
    bool release(mDigSound *sound);

    // What the hidden window receives.
    void onDone(void *wave, void *header);
    void onClose(void *wave);
    void onFailed(unsigned generation);
    void windowGone() { window = nullptr; }

private:
    mSoundDevice();
    mSoundDevice(const mSoundDevice &) = delete;
    mSoundDevice &operator=(const mSoundDevice &) = delete;

    bool open(mDigSound *sound);
    bool startMemory(mDigSound *sound);
    bool startStream(mDigSound *sound);
    bool fail(mDigSound *sound);
    void startNext();
    void streamDone(void *block, void *header);
    void memoryDone(void *header);
    void closeWave();
    static void tell(mDigSound *sound);

    std::deque<mDigSound *> queue;
    mDigSound *current;
    void *wave;
    bool freeData;
    mSoundWindow *window;
    // Counts starts, so that a failure message that arrives late is known as stale.
    unsigned generation;
};
