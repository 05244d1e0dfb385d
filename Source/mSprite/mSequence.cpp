#include "mSprite/mSequence.h"

#include "mSprite/mSpriteContext.h"
#include "mUtil/mApp.h"
#include "mUtil/mError.h"
#include "mUtil/mTimer.h"
#include "mWindow/mWindow.h"

#include <algorithm>

static const char srcPath[] = "mSprite/mSequence";

// ---- mAnimStep

void *mAnimStep::operator new(size_t size) { return mApp::malloc((int)size); }
void mAnimStep::operator delete(void *block) { mApp::free(block); }

void mAnimStep::next(mSequence *sequence) { sequence->next(); }

void mAnimStep::setState(mSequence *sequence, int index) { sequence->setState(index); }

long mAnimStep::operand(mSequence *sequence, long value) { return value >= 0 ? value : sequence->getLong(-value); }

bool mAnimStep::beginAction(mSequence *sequence, int useId) {
    if (useId == 0)
        return false;
    sequence->addInUse();
    return true;
}

void mAnimStep::endAction(mSequence *sequence, int useId) {
    if (useId != 0)
        sequence->removeInUse(useId);
    else
        sequence->next();
}

void mAnimStep::cutShort(mSequence *sequence, int event, int useId) {
    if (useId != 0)
        sequence->removeInUse(useId);
    else if (event == eventHurry)
        sequence->next();
}

// ---- mSequence

void *mSequence::operator new(size_t size) { return mApp::malloc((int)size); }
void mSequence::operator delete(void *block) { mApp::free(block); }

std::vector<mSequence *> &mSequence::registry() {
    static std::vector<mSequence *> sequences;
    return sequences;
}

bool mSequence::isRegistered(mSequence *sequence) {
    std::vector<mSequence *> &all = registry();
    return std::find(all.begin(), all.end(), sequence) != all.end();
}

mSequence::mSequence(mSpriteContext *context, int id, mWindow *window, int message)
    : current(-1), nextIndex(-1), busy(false), advancePending(false), pauseRequested(false), paused(false),
      startTime(0), pauseTime(0), window(window), message(message), id(id), context(context) {
    if (refused == this)
        refused = nullptr;
    registry().push_back(this);
}

mSequence *mSequence::refused = nullptr;

mSequence::~mSequence() noexcept(false) {
    std::vector<mSequence *> &all = registry();
    all.erase(std::find(all.begin(), all.end(), this));
    if (busy) {
        // The delete frees the memory all the same: the engine up the stack must not touch
        // it, and its steps, one of which is running, are left alone.
        refused = this;
        VELNOR_THROW("Delete not allowed when busy (no deletes in notifications)", 0);
    }
    busy = true;
    notifyInUse(mAnimStep::eventStop);
    window = nullptr;
    stop();
    for (mAnimStep *step : steps)
        delete step;
}

void mSequence::append(mAnimStep *step) { steps.push_back(step); }

void mSequence::append(mAnimStep **list) {
    for (; *list; ++list)
        append(*list);
}

void mSequence::start(const mString &label) {
    stop();
    paused = pauseRequested = busy = false;
    for (int i = 0; i < (int)steps.size(); ++i)
        steps[i]->preProcess(this, i);
    startTime = (long)mTimer::getCurTime();
    nextIndex = 0;
    current = 0;
    if (label.empty()) {
        next();
    } else if (!setState(label)) {
        // A sequence that never started stays stopped.
        current = -1;
        VELNOR_THROW(label + " not found, cannot start sequence", 0);
    }
}

void mSequence::stop() {
    if (busy) {
        nextIndex = -1;
        advancePending = true;
        return;
    }
    if (current < 0)
        return;
    advancePending = false;
    busy = true;
    notifyInUse(mAnimStep::eventStop);
    steps[current]->event(this, mAnimStep::eventStop);
    busy = false;
    stopped();
}

void mSequence::stopped() {
    current = -1;
    paused = pauseRequested = false;
    notifyInUse(mAnimStep::eventStop);
    // The handler may restart or delete the sequence; it finds it by id.
    if (window)
        window->sendUserMessage(message, id, 0);
}

void mSequence::hold() {
    paused = true;
    pauseTime = (long)mTimer::getCurTime();
}

void mSequence::repaint() {
    if (context)
        context->update();
}

void mSequence::next() {
    if (busy && !pauseRequested) {
        advancePending = true;
        return;
    }
    if (pauseRequested || current < 0) {
        if (pauseRequested)
            hold();
        repaint();
        return;
    }
    for (;;) {
        busy = true;
        current = nextIndex;
        if (current < 0 || current >= (int)steps.size()) {
            busy = false;
            repaint();
            stopped();
            return;
        }
        // Set before entering, so that the step can overwrite it: that is how jumps work.
        nextIndex = current + 1;
        if (pauseRequested)
            hold();
        else if (enter(steps[current]))
            continue;
        busy = false;
        repaint();
        return;
    }
}

bool mSequence::enter(mAnimStep *step) {
    try {
        return step->entered(this);
    } catch (...) {
        abandon();
        throw;
    }
}

void mSequence::abandon() {
    if (refused == this) {
        refused = nullptr;
        return;
    }
    busy = false;
    current = -1;
    paused = pauseRequested = false;
}

void mSequence::setState(int index) {
    nextIndex = index;
    next();
}

bool mSequence::setState(const mString &label) {
    int index = label2Index(label);
    if (index < 0)
        return false;
    if (!busy && current >= 0) {
        busy = true;
        steps[current]->event(this, mAnimStep::eventJump);
        busy = false;
    }
    setState(index);
    return true;
}

int mSequence::label2Index(const mString &label) {
    if (label.empty())
        return -1;
    for (int i = 0; i < (int)steps.size(); ++i) {
        if (steps[i]->getLabel() == label)
            return i;
    }
    return -1;
}

void mSequence::sendEvent(mAnimStep::Events e) {
    if (paused || current < 0)
        return;
    bool wasBusy = busy;
    busy = true;
    if (!wasBusy)
        advancePending = false;
    notifyInUse(e);
    steps[current]->event(this, e);
    busy = wasBusy;
    if (!wasBusy && advancePending)
        next();
}

void mSequence::notifyInUse(mAnimStep::Events e) {
    if (e != mAnimStep::eventStop && e != mAnimStep::eventPause && e != mAnimStep::eventHurry)
        return;
    // A step may leave the list during its event.
    std::vector<mAnimStep *> snapshot = inUse;
    for (mAnimStep *step : snapshot)
        step->event(this, e);
}

void mSequence::pause(bool on) {
    if (on) {
        pauseRequested = true;
        sendEvent(mAnimStep::eventPause);
    } else if (pauseRequested && paused && current >= 0) {
        pauseRequested = paused = false;
        startTime += (long)mTimer::getCurTime() - pauseTime;
        next();
    } else {
        pauseRequested = false;
    }
}

void mSequence::hurry() { sendEvent(mAnimStep::eventHurry); }

void mSequence::hurry(int useId) {
    for (mAnimStep *step : inUse) {
        if (step->getId() == useId) {
            step->event(this, mAnimStep::eventHurry);
            return;
        }
    }
}

long mSequence::getRunningTime() {
    if (current < 0)
        return 0;
    return (paused ? pauseTime : (long)mTimer::getCurTime()) - startTime;
}

long mSequence::getLong(int index) { return index >= 0 && index < (int)longs.size() ? longs[index] : 0; }

void mSequence::setLong(int index, long value) {
    if (index < 0)
        return;
    if (index >= (int)longs.size())
        longs.resize(index + 1, 0);
    longs[index] = value;
}

void mSequence::addInUse() {
    mAnimStep *step = current >= 0 && current < (int)steps.size() ? steps[current] : nullptr;
    int useId = step ? step->getId() : 0;
    if (useId == 0)
        VELNOR_THROW("Sequence add in use id must be non-zero", 0);
    if (!isInUse(useId))
        inUse.push_back(step);
}

void mSequence::removeInUse(int useId) {
    for (auto i = inUse.begin(); i != inUse.end(); ++i) {
        if ((*i)->getId() == useId) {
            inUse.erase(i);
            break;
        }
    }
    if (current >= 0 && !paused)
        sendEvent(mAnimStep::eventInUseFreed);
}

bool mSequence::isInUse(int useId) {
    for (mAnimStep *step : inUse) {
        if (step->getId() == useId)
            return true;
    }
    return false;
}

std::vector<mSequence *> mSequence::getSequences(mSpriteContext *context, int lowId, int highId) {
    std::vector<mSequence *> found;
    for (mSequence *s : registry()) {
        if (s->id >= lowId && s->id <= highId && (!context || s->context == context))
            found.push_back(s);
    }
    return found;
}

// The walks work on a snapshot, and pass over a sequence that an earlier one's end deleted.

void mSequence::haltSequences(mSpriteContext *context, int lowId, int highId) {
    for (mSequence *s : getSequences(context, lowId, highId)) {
        if (isRegistered(s))
            s->stop();
    }
}

void mSequence::hurrySequences(mSpriteContext *context, int lowId, int highId) {
    for (mSequence *s : getSequences(context, lowId, highId)) {
        if (isRegistered(s))
            s->hurry();
    }
}

void mSequence::purgeSequences(mSpriteContext *context, int lowId, int highId) {
    for (mSequence *s : getSequences(context, lowId, highId)) {
        if (isRegistered(s))
            delete s;
    }
}
