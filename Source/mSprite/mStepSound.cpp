#include "mSprite/mStepSound.h"

// ---- The companion

mStepSoundPlayer::mStepSoundPlayer(mStepSound *step, mObjFile &file, int objectIndex, int playFlags)
    : step(step), sound(file, objectIndex), playFlags(playFlags), soundDone(false), timerDone(false),
      timer(nullptr) {}

mStepSoundPlayer::mStepSoundPlayer(mStepSound *step, mInputFile &file, int playFlags)
    : step(step), sound(file), playFlags(playFlags), soundDone(false), timerDone(false), timer(nullptr) {}

mStepSoundPlayer::~mStepSoundPlayer() { delete timer; }

void mStepSoundPlayer::cancelTimer() {
    delete timer;
    timer = nullptr;
}

void mStepSoundPlayer::start() {
    cancelTimer();
    soundDone = false;
    unsigned long minimum = sound.getLength() / 250 * 250;
    timerDone = minimum == 0;
    if (!timerDone)
        timer = new mTimer(minimum, this, 0, false);
    // A sound that can't be played still completes, later, through the listener.
    sound.play(playFlags, this);
}

void mStepSoundPlayer::halt() {
    sound.stop();
    cancelTimer();
}

void mStepSoundPlayer::soundComplete(mDigSound *) {
    soundDone = true;
    if (timerDone && step)
        step->done();
}

void mStepSoundPlayer::timerPopped(mTimer &) {
    timerDone = true;
    cancelTimer();
    if (soundDone && step)
        step->done();
}

// ---- The step

mStepSound::mStepSound(mObjFile &file, int objectIndex, int playFlags, int useId)
    : sequence(nullptr), useId(useId), playing(false),
      player(new mStepSoundPlayer(this, file, objectIndex, playFlags)) {}

mStepSound::mStepSound(mInputFile &file, int playFlags, int useId)
    : sequence(nullptr), useId(useId), playing(false), player(new mStepSoundPlayer(this, file, playFlags)) {}

mStepSound::~mStepSound() {
    player->step = nullptr;
    if (playing)
        player->halt();
    delete player;
}

bool mStepSound::entered(mSequence *s) {
    sequence = s;
    player->start();
    playing = true;
    return beginAction(s, useId);
}

void mStepSound::done() {
    playing = false;
    endAction(sequence, useId);
}

void mStepSound::event(mSequence *s, int event) {
    if (!endsAction(event) || !playing)
        return;
    playing = false;
    player->halt();
    cutShort(s, event, useId);
}
