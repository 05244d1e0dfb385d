// The sound step of scripts: plays a sound and ends when both the sound has completed and a
// minimum time has passed, its length rounded down to a multiple of 250 ms. So a script paced
// by its sounds keeps its rhythm even where no sound can be played.
#pragma once
#include "mMedia/mSound.h"
#include "mSprite/mSequence.h"
#include "mUtil/mTimer.h"

class mInputFile;
class mObjFile;
class mStepSound;

// The step's private companion, which listens to the sound and to the minimum time.
class VELNOR_API mStepSoundPlayer : public mSoundListener, public mTimerListener {
public:
    mStepSoundPlayer(mStepSound *step, mObjFile &file, int objectIndex, int playFlags);
    mStepSoundPlayer(mStepSound *step, mInputFile &file, int playFlags);
    ~mStepSoundPlayer() override;
    mStepSoundPlayer(const mStepSoundPlayer &) = delete;
    mStepSoundPlayer &operator=(const mStepSoundPlayer &) = delete;

    void start();
    // Stops the sound and the minimum time, telling nobody.
    void halt();
    void soundComplete(mDigSound *sound) override;
    void timerPopped(mTimer &timer) override;

private:
    friend class mStepSound;
    void cancelTimer();

    mStepSound *step;
    mDigSound sound;
    int playFlags;
    bool soundDone;
    bool timerDone;
    mTimer *timer;
};

class VELNOR_API mStepSound : public mAnimStep {
public:
    // From an object of an object file, or from an open wave file; playFlags as for
    // mDigSound::play.
    mStepSound(mObjFile &file, int objectIndex, int playFlags, int useId);
    mStepSound(mInputFile &file, int playFlags, int useId);
    ~mStepSound() override;
    mStepSound(const mStepSound &) = delete;
    mStepSound &operator=(const mStepSound &) = delete;

    bool entered(mSequence *sequence) override;
    void event(mSequence *sequence, int event) override;
    int getId() override { return useId; }

private:
    friend class mStepSoundPlayer;
    void done();

    mSequence *sequence;
    int useId;
    bool playing;
    mStepSoundPlayer *player;
};
