#include "mSprite/mSpriteSteps.h"

#include "mSprite/mAnimator.h"
#include "mSprite/mSprite.h"
#include "mSprite/mTransform.h"

// A negative time is no time.
static unsigned long timeOf(long ms) { return ms > 0 ? (unsigned long)ms : 0; }

// ---- The idle-paced wait

mStepHRTimeout::~mStepHRTimeout() { delete object; }

bool mStepHRTimeout::entered(mSequence *sequence) {
    // The sprite and its animator are kept for later runs: the sprite then stands at (1,1)
    // already, and the move is a pure wait.
    if (!object)
        object = new mSprite(nullptr, -32766, 0, mPoint(0, 0), sequence->getContext());
    mAnimator *animator = object->getAnimator();
    if (!animator)
        animator = new mAnimatorS(this, sequence, object);
    animator->startMove(mPoint(1, 1), timeOf(time));
    return false;
}

void mStepHRTimeout::event(mSequence *, int event) {
    if (endsAction(event) && object && object->getAnimator())
        object->getAnimator()->stop(true);
}

void mStepHRTimeout::animDone(mAnimatorS *animator, bool) { next(animator->getSequence()); }

// ---- The timed move

bool mStepAnimate::entered(mSequence *sequence) {
    if (!object)
        return true;
    mPoint target = object->getPosition();
    target += delta;
    // Replaces, and deletes, an earlier animator of the object.
    mAnimatorS *animator = new mAnimatorS(this, sequence, object);
    animator->startMove(target, timeOf(duration));
    return beginAction(sequence, useId);
}

// A move still under way goes with its step: its animator would report to a step that is
// gone. The object itself must outlive its script, as it must for the script's end events.
mStepAnimate::~mStepAnimate() {
    const mAnimatorS *animator = object ? dynamic_cast<const mAnimatorS *>(object->getAnimator()) : nullptr;
    if (animator && animator->getStep() == this)
        object->removeAnimator();
}

void mStepAnimate::event(mSequence *, int event) {
    if (endsAction(event) && object && object->getAnimator())
        object->getAnimator()->stop(true);
}

void mStepAnimate::animDone(mAnimatorS *animator, bool) {
    mSequence *sequence = animator->getSequence();
    object->removeAnimator();
    endAction(sequence, useId);
}

// ---- Immediate changes

bool mShowSprite::entered(mSequence *) {
    if (object)
        object->setVisible(visible);
    return true;
}

bool mMoveSprite::entered(mSequence *) {
    if (object)
        object->move(delta.x, delta.y);
    return true;
}

bool mPositionSprite::entered(mSequence *) {
    if (object)
        object->setPosition(point);
    return true;
}

mRotateSprite::mRotateSprite(mSprite *sprite, int degrees) : mStepSpriteBase(sprite), degrees(degrees) {}

bool mRotateSprite::entered(mSequence *) {
    mSprite *sprite = dynamic_cast<mSprite *>(object);
    if (!sprite)
        return true;
    mTransform t = sprite->getTransform();
    int angle = (int)t.getRotation() + degrees;
    if (angle > 360)
        angle -= 360;
    if (angle < 0)
        angle += 360;
    t.setRotation((float)angle);
    sprite->setTransform(t);
    return true;
}
