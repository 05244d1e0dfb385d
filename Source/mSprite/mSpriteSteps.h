// The steps of scripts that work on sprites and groups: show, move, place and rotate at once,
// timed moves, and the wait that ticks with the animators rather than the timer queue.
#pragma once
#include "mSprite/mSequence.h"
#include "mUtil/mGeometry.h"

class mAnimObject;
class mAnimatorS;
class mSprite;

// A step on one object, which the step doesn't own. The object may be set after the script
// is built, before its sprites exist; a step without an object does nothing and goes on.
class VELNOR_API mStepSpriteBase : public mAnimStep {
public:
    mStepSpriteBase(mAnimObject *object) : object(object) {}
    mAnimObject *getObject() const { return object; }
    void setObject(mAnimObject *o) { object = o; }
    // The end of a move that the step started with an mAnimatorS.
    virtual void animDone(mAnimatorS *animator, bool finished) {}

protected:
    mAnimObject *object;
};

// A wait of `time` ms paced by the idle ticks of the sequence's context, through a private,
// invisible sprite whose animator stands still for that time.
class VELNOR_API mStepHRTimeout : public mStepSpriteBase {
public:
    mStepHRTimeout(int time) : mStepSpriteBase(nullptr), time(time) {}
    ~mStepHRTimeout() override;
    bool entered(mSequence *sequence) override;
    void event(mSequence *sequence, int event) override;
    void animDone(mAnimatorS *animator, bool finished) override;

private:
    int time;
};

// A move by an offset over `duration` ms. Hurry, stop and jump finish the move at once, so the
// object never stays half way.
class VELNOR_API mStepAnimate : public mStepSpriteBase {
public:
    mStepAnimate(mAnimObject *object, int dx, int dy, long duration, int useId)
        : mStepSpriteBase(object), delta(dx, dy), duration(duration), useId(useId) {}
    ~mStepAnimate() override;
    bool entered(mSequence *sequence) override;
    void event(mSequence *sequence, int event) override;
    void animDone(mAnimatorS *animator, bool finished) override;
    int getId() override { return useId; }

private:
    mPoint delta;
    long duration;
    int useId;
};

class VELNOR_API mShowSprite : public mStepSpriteBase {
public:
    mShowSprite(mAnimObject *object, bool visible) : mStepSpriteBase(object), visible(visible) {}
    bool entered(mSequence *sequence) override;

private:
    bool visible;
};

class VELNOR_API mMoveSprite : public mStepSpriteBase {
public:
    mMoveSprite(mAnimObject *object, int dx, int dy) : mStepSpriteBase(object), delta(dx, dy) {}
    bool entered(mSequence *sequence) override;

private:
    mPoint delta;
};

class VELNOR_API mPositionSprite : public mStepSpriteBase {
public:
    mPositionSprite(mAnimObject *object, const mPoint &point) : mStepSpriteBase(object), point(point) {}
    bool entered(mSequence *sequence) override;

private:
    mPoint point;
};

// Turns a sprite by whole degrees, its rotation kept in 0 to 360.
class VELNOR_API mRotateSprite : public mStepSpriteBase {
public:
    mRotateSprite(mSprite *sprite, int degrees);
    bool entered(mSequence *sequence) override;

private:
    int degrees;
};
