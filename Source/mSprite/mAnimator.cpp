#include "mSprite/mAnimator.h"

#include "mSprite/mSprite.h"
#include "mSprite/mSpriteContext.h"
#include "mUtil/mTimer.h"
#include "mWindow/mWindow.h"

static const char srcPath[] = "mSprite/mAnimator";

mAnimator::mAnimator() : object(nullptr), startTime(0), duration(0), running(false), message(0) {}

mAnimator::mAnimator(mAnimObject *object, int message)
    : object(object), startTime(0), duration(0), running(false), message(message) {
    if (!object)
        VELNOR_THROW("Cannot animate without an object", 0);
    object->setAnimator(this);
}

mAnimator::~mAnimator() {
    if (!object)
        return;
    if (running && object->context)
        object->context->removeAnimator(this);
    if (object->animator == this)
        object->animator = nullptr;
}

void mAnimator::startMove(const mPoint &end, unsigned long time) { startMove(end, time, mTimer::getCurTime()); }

void mAnimator::startMove(const mPoint &end, unsigned long time, unsigned long startAt) {
    startPoint = object->getPosition();
    endPoint = end;
    start(time, startAt);
}

void mAnimator::start(unsigned long time) { start(time, mTimer::getCurTime()); }

void mAnimator::start(unsigned long time, unsigned long startAt) {
    // At least 1, so that the position is always defined and a zero-length move still ends
    // on a tick; at most what a signed elapsed time can reach.
    duration = time == 0 ? 1 : time > 0x7FFFFFFFUL ? 0x7FFFFFFFL : (long)time;
    startTime = (long)startAt;
    if (!running)
        enterRunning();
}

void mAnimator::enterRunning() {
    running = true;
    if (object && object->context)
        object->context->addAnimator(this);
}

void mAnimator::leaveRunning() {
    running = false;
    if (object->context)
        object->context->removeAnimator(this);
}

bool mAnimator::updatePosition(unsigned long now) {
    if (!running)
        return false;
    const long elapsed = getRunningTime(now);
    const long t = elapsed < duration ? elapsed : duration;
    // Truncation toward zero rounds moves either way toward the start point; the end point
    // is reached exactly at the end of the time.
    const mPoint at((long)((long long)(endPoint.x - startPoint.x) * t / duration + startPoint.x),
                    (long)((long long)(endPoint.y - startPoint.y) * t / duration + startPoint.y));
    bool moved = false;
    if (at != object->getPosition()) {
        object->setPosition(at);
        moved = true;
    }
    return checkFinished(t) || moved;
}

bool mAnimator::checkFinished(long elapsed) {
    if (elapsed < duration)
        return false;
    startTime = duration;
    leaveRunning();
    mSpriteContext *context = object->context;
    if (message >= 0 && context && context->getWindow())
        context->getWindow()->postUserMessage(message, 0, object->getId());
    return done(true);
}

bool mAnimator::done(bool finished) { return object->animationDone(this, finished); }

void mAnimator::stop(bool finish) {
    if (!running)
        return;
    const unsigned long now = mTimer::getCurTime();
    startTime = getRunningTime(now);
    if (!finish && startTime < duration) {
        leaveRunning();
        done(false);
        return;
    }
    startTime = (long)(now - (unsigned long)duration);
    updatePosition(now);
}

void mAnimator::restart() {
    if (running || !object)
        return;
    startTime = (long)(mTimer::getCurTime() - (unsigned long)startTime);
    enterRunning();
}

long mAnimator::getStartTime() const { return running ? startTime : (long)mTimer::getCurTime(); }
