// Plays a frame animation file as one step of a sequence: a row of sprites shows each frame's
// images over its background, command frames branch, loop, count, draw random numbers and
// change the speed, and the end of the graph lets the sequence go on.
#pragma once
#include "mAswLib/mAsaFile.h"
#include "mMedia/mSound.h"
#include "mSprite/mSequence.h"
#include "mUtil/mApp.h"
#include "mUtil/mTimer.h"

#include <vector>

class mSprite;

class VELNOR_API mAsaAnim : public mAnimStep, public mAppListener, public mSoundListener, public mTimerListener {
public:
    // The file stays the caller's and must outlive the step. position (0,0) centres the
    // animation in the context's image. idleDriven paces every frame from idle rounds.
    mAsaAnim(mAsaFile *file, bool remapPalette, bool idleDriven, int useId, const mPoint &position);
    ~mAsaAnim() override;
    mAsaAnim(const mAsaAnim &) = delete;
    mAsaAnim &operator=(const mAsaAnim &) = delete;

    bool entered(mSequence *s) override;
    void event(mSequence *s, int e) override;
    void preProcess(mSequence *s, int index) override;
    int getId() override { return useId; }

    void onIdle(unsigned long count) override;
    void soundComplete(mDigSound *d) override;
    void timerPopped(mTimer &t) override;

private:
    bool isRunning() const { return idleRegistered || timer; }
    bool validFrame(int n) { return n >= 0 && n < file->getFrames(); }
    void remapImages(mSequence *s);
    void setMyTimer();
    void finish();
    void cleanUp();
    void doFrame();
    mAsaFrame *getNextFrame(mAsaFrame *f, bool peek);
    mAsaFrame *resolveSplit(mAsaFrame *f);
    void resolveGoSub();
    void takeAnchor(mAsaFrame *f);
    bool execCmd(bool second);
    bool repeat(unsigned short count);
    void selectSplit(unsigned short n);
    void updateSprites();
    mPoint slotPosition(int i, const mAsaSlot &s);

    mAsaFile *file;
    int useId;
    bool remapPalette;
    mAsaFrame *frame;
    bool idleDriven;
    int lateCount;
    mSequence *sequence;
    std::vector<mAsaFrame *> callStack;
    int randomValue;
    mAsaFrame *anchor;
    mAsaFrame *savedAnchor;
    mAsaFrame *repeatFrame;
    int repeatCount;
    mDigSound *sound;
    int counters[4];  // A to D; D has no verb that writes it
    int splitMode;
    int delay;
    unsigned long lastFrameTime;
    bool hurried;
    std::vector<mSprite *> sprites;
    mSprite *background;
    bool idleRegistered;
    mTimer *timer;
    mPoint position;
    mRect area;
    const mBitMap *lastBackground;
};
