#include "mUtil/mTimer.h"
#include "mUtil/mApp.h"

#include <windows.h>

unsigned long mTimer::nextTimerID = 0;

namespace {

void CALLBACK queueElapsed(HWND, UINT, UINT_PTR, DWORD) {
    // The platform swallows what a timer procedure throws: park it for the run loop.
    try {
        mTimerQueue::elapse();
    } catch (...) {
        mApp::parkException();
    }
}

// Signed distance from b to a on the wrapping 32-bit clock.
long later(unsigned long a, unsigned long b) { return (long)(a - b); }

unsigned long nonZero(unsigned long t) { return t ? t : 1; }

} // namespace

mTimer::mTimer(unsigned long interval, mTimerListener *listener, unsigned long userData, bool repeat)
    : userData(userData), interval(interval), dueTime(0), repeat(repeat), active(true), listener(listener),
      id(++nextTimerID) {
    reset();
    mTimerQueue::queue().add(this);
}

mTimer::~mTimer() { cancel(); }

void mTimer::cancel() {
    if (!active)
        return;
    active = false;
    mTimerQueue::queue().remove(this);
}

unsigned long mTimer::getCurTime() { return timeGetTime(); }

void mTimer::reset() { dueTime = nonZero(getCurTime() + interval); }

void mTimer::cycle() { dueTime = nonZero(dueTime + interval); }

mTimerQueue &mTimerQueue::queue() {
    static mTimerQueue instance;
    return instance;
}

mTimerQueue::~mTimerQueue() {
    for (mTimer *t : timers)
        t->active = false;
    if (platformTimer)
        KillTimer(nullptr, (UINT_PTR)platformTimer);
}

bool mTimerQueue::hasPlatformTimer() { return queue().platformTimer != 0; }

void mTimerQueue::add(mTimer *timer) {
    timers.push_back(timer);
    reschedule();
}

void mTimerQueue::remove(mTimer *timer) {
    for (auto it = timers.begin(); it != timers.end(); ++it) {
        if ((*it)->id == timer->id) {
            timers.erase(it);
            break;
        }
    }
    for (mTimer *&slot : fired)
        if (slot == timer)
            slot = nullptr;
}

void mTimerQueue::reschedule() {
    unsigned long now = mTimer::getCurTime();
    unsigned long best = 0xFFFFFFFFUL;
    long bestDelay = 0x7FFFFFFF;
    for (mTimer *t : timers) {
        if (!t->active || !t->dueTime)
            continue;
        long delay = later(t->dueTime, now);
        if (delay < bestDelay) {
            bestDelay = delay;
            best = t->dueTime;
        }
    }
    if (best == scheduled)
        return;
    if (platformTimer) {
        KillTimer(nullptr, (UINT_PTR)platformTimer);
        platformTimer = 0;
    }
    scheduled = best;
    if (best == 0xFFFFFFFFUL)
        return;
    platformTimer = SetTimer(nullptr, 0, bestDelay > 0 ? (UINT)bestDelay : 0, queueElapsed);
}

void mTimerQueue::collectDue(unsigned long now) {
    for (size_t i = 0; i < timers.size();) {
        mTimer *t = timers[i];
        if (!t->dueTime || !t->active || later(now, t->dueTime) < 0) {
            ++i;
            continue;
        }
        fired.push_back(t);
        if (t->repeat) {
            t->cycle();
            ++i;
        } else {
            timers.erase(timers.begin() + i);
            t->dueTime = 0;
        }
    }
}

void mTimerQueue::fire() {
    // By position with the length read anew: a listener may cancel a timer of this pop,
    // which empties its slot, or pump messages and so run a nested pop.
    for (size_t i = 0; i < fired.size(); ++i) {
        mTimer *t = fired[i];
        fired[i] = nullptr;
        if (t)
            t->dispatch();
    }
    fired.clear();
}

void mTimerQueue::elapse() {
    mTimerQueue &q = queue();
    unsigned long now = mTimer::getCurTime();
    if (q.platformTimer) {
        KillTimer(nullptr, (UINT_PTR)q.platformTimer);
        q.platformTimer = 0;
        q.scheduled = 0xFFFFFFFFUL;
    }
    q.collectDue(now);
    try {
        q.fire();
    } catch (...) {
        q.fired.clear();
        q.reschedule();
        throw;
    }
    q.reschedule();
}
