// A small script interpreter: a sequence enters its steps one after the other. A step either
// finishes at once or holds the sequence until something asynchronous calls `next`. Labels,
// jumps, loops, conditions and a bank of registers are built from steps; the in-use ids let a
// step go on in the background while the script moves on.
#pragma once
#include "mUtil/mString.h"

#include <cstddef>
#include <vector>

class mSequence;
class mSpriteContext;
class mWindow;

// One statement of a script. The library deletes the steps of a sequence, so steps come from
// the library's heap whoever makes them.
class VELNOR_API mAnimStep {
public:
    enum Events { eventInUseFreed = -1, eventJump = -3, eventStop = -5, eventPause = -6, eventHurry = -7 };

    static void *operator new(size_t size);
    static void operator delete(void *block);

    virtual ~mAnimStep() {}
    // The step becomes current. True goes on with the next step at once; false holds the
    // sequence until someone calls `next`.
    virtual bool entered(mSequence *sequence) { return true; }
    virtual void event(mSequence *sequence, int event) {}
    // Called for every step at each start, before anything is entered; labels turn into
    // indexes here.
    virtual void preProcess(mSequence *sequence, int index) {}
    virtual mString getLabel() { return mString(); }
    // The in-use id; 0 for none.
    virtual int getId() { return 0; }

protected:
    static void next(mSequence *sequence);
    static void setState(mSequence *sequence, int index);

    // A register's value for a negative operand (register -value), the literal otherwise.
    static long operand(mSequence *sequence, long value);
    // Hurry, stop and jump end a step's action.
    static bool endsAction(int event) { return event == eventHurry || event == eventStop || event == eventJump; }
    // The start of an action: with an in-use id it goes on in the background (true), without
    // one it holds the sequence (false).
    static bool beginAction(mSequence *sequence, int useId);
    // The end of an action: releases its in-use id, or lets the held sequence go on.
    static void endAction(mSequence *sequence, int useId);
    // An action cut short by `event`: a background one releases its id; a held one lets the
    // sequence go on only when hurried, since stop and jump move the sequence by themselves.
    static void cutShort(mSequence *sequence, int event, int useId);
};

class VELNOR_API mSequence {
public:
    mSequence(mSpriteContext *context, int id, mWindow *window, int message);
    // Throws while the sequence is inside a step: no deletes from notifications.
    ~mSequence() noexcept(false);
    mSequence(const mSequence &) = delete;
    mSequence &operator=(const mSequence &) = delete;

    static void *operator new(size_t size);
    static void operator delete(void *block);

    // Takes ownership.
    void append(mAnimStep *step);
    // Each step of a null-terminated array.
    void append(mAnimStep **list);

    // An empty label starts at the first step.
    void start(const mString &label);
    void stop();
    // Jumps to a label; false, and nothing changes, if no step has it.
    bool setState(const mString &label);
    int label2Index(const mString &label);
    void pause(bool on);
    void hurry();
    void hurry(int useId);
    bool isRunning() { return current >= 0 && !paused; }
    // The time since start, leaving out the time spent held by a pause.
    long getRunningTime();

    long getLong(int index);
    void setLong(int index, long value);

    // The current step goes on in the background under its in-use id.
    void addInUse();
    void removeInUse(int useId);
    bool isInUse(int useId);

    int getId() { return id; }
    mSpriteContext *getContext() { return context; }

    // The registered sequences with an id in [lowId, highId] and, unless null, that context.
    static std::vector<mSequence *> getSequences(mSpriteContext *context, int lowId, int highId);
    static void haltSequences(mSpriteContext *context, int lowId, int highId);
    static void hurrySequences(mSpriteContext *context, int lowId, int highId);
    static void purgeSequences(mSpriteContext *context, int lowId, int highId);

private:
    friend class mAnimStep;

    void next();
    void setState(int index);
    void sendEvent(mAnimStep::Events e);
    void notifyInUse(mAnimStep::Events e);
    void stopped();
    // Holds at a step boundary while a pause is requested.
    void hold();
    void repaint();
    // Enters a step. A failure that unwinds through the engine leaves the sequence stopped and
    // idle, so that it can be started or deleted again; unless the failure is its own deletion.
    bool enter(mAnimStep *step);
    void abandon();
    static std::vector<mSequence *> &registry();
    static bool isRegistered(mSequence *sequence);
    // The sequence whose deletion was refused while busy; its memory is gone.
    static mSequence *refused;

    int current;
    int nextIndex;
    bool busy;
    bool advancePending;
    bool pauseRequested;
    bool paused;
    long startTime;
    long pauseTime;
    mWindow *window;
    int message;
    int id;
    std::vector<mAnimStep *> steps;
    std::vector<mAnimStep *> inUse;
    std::vector<long> longs;
    mSpriteContext *context;
};
