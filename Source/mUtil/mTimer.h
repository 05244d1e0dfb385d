// One-shot and periodic timers on one shared queue, popped from message dispatch.
#pragma once
#include "mUtil/mDefs.h"

#include <vector>

class mTimer;

// Told each time its timer pops.
class VELNOR_API mTimerListener {
public:
    virtual ~mTimerListener() {}
    virtual void timerPopped(mTimer &timer) = 0;
};

class VELNOR_API mTimer {
public:
    mTimer(unsigned long interval, mTimerListener *listener, unsigned long userData, bool repeat);
    mTimer(const mTimer &t) = default;
    mTimer &operator=(const mTimer &t) = default;
    ~mTimer();

    void cancel();
    static unsigned long getCurTime();

    unsigned long getUserData() const { return userData; }
    void setUserData(unsigned long data) { userData = data; }
    unsigned long getInterval() const { return interval; }
    unsigned long getDueTime() const { return dueTime; }
    unsigned long getId() const { return id; }
    bool isRepeating() const { return repeat; }
    bool isActive() const { return active; }
    bool operator==(const mTimer &t) const { return id == t.id; }
    bool operator!=(const mTimer &t) const { return id != t.id; }

private:
    friend class mTimerQueue;
    void reset();
    void cycle();
    void dispatch() { listener->timerPopped(*this); }

    unsigned long userData;
    unsigned long interval;
    unsigned long dueTime;
    bool repeat;
    bool active;
    mTimerListener *listener;
    unsigned long id;

    static unsigned long nextTimerID;
};

// The one queue of all timers; at most one platform timer stands for all of them.
class VELNOR_API mTimerQueue {
public:
    // The platform timer elapsed: pops every timer that is due, then reschedules.
    static void elapse();
    // Whether a platform timer is set at the moment.
    static bool hasPlatformTimer();

private:
    friend class mTimer;
    mTimerQueue() : platformTimer(0), scheduled(0xFFFFFFFFUL) {}
    ~mTimerQueue();
    static mTimerQueue &queue();
    void add(mTimer *timer);
    void remove(mTimer *timer);
    void reschedule();
    void collectDue(unsigned long now);
    void fire();

    std::vector<mTimer *> timers;
    std::vector<mTimer *> fired;
    unsigned long long platformTimer;
    unsigned long scheduled;
};
