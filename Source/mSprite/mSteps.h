// The control vocabulary of scripts: labels, jumps, loops, conditions, registers, in-use ids,
// notifications and timed waits. Operands named useId are in-use ids: non-zero runs the step's
// action in the background, 0 holds the sequence until it ends.
#pragma once
#include "mSprite/mSequence.h"
#include "mUtil/mTimer.h"

class mWindow;

class VELNOR_API mStepLabel : public mAnimStep {
public:
    mStepLabel(const mString &label) : label(label) {}
    mString getLabel() override { return label; }

private:
    mString label;
};

// What the jumping steps share: a label that turns into an index at each start. A label that
// isn't there leaves the target at -1, and jumping there ends the sequence.
class VELNOR_API mStepJump : public mAnimStep {
public:
    void preProcess(mSequence *sequence, int index) override;

protected:
    mStepJump(const mString &label) : label(label), target(-1) {}
    void jump(mSequence *sequence) { setState(sequence, target); }

private:
    mString label;
    int target;
};

class VELNOR_API mStepGoto : public mStepJump {
public:
    mStepGoto(const mString &label) : mStepJump(label) {}
    bool entered(mSequence *sequence) override;
};

// Jumps while the id is in use.
class VELNOR_API mStepGotoBusy : public mStepJump {
public:
    mStepGotoBusy(const mString &label, int useId) : mStepJump(label), useId(useId) {}
    bool entered(mSequence *sequence) override;

private:
    int useId;
};

// Jumps when a register passes a test, or fails it with `negate`.
class VELNOR_API mStepIf : public mStepJump {
public:
    // Equal to `value`.
    mStepIf(const mString &label, int reg, long value, bool negate);
    // Within [low, high].
    mStepIf(const mString &label, int reg, long low, long high, bool negate);
    // Below `value`.
    mStepIf(const mString &label, int reg, bool negate, long value);
    bool entered(mSequence *sequence) override;

private:
    bool test(long r) const;

    int reg;
    long value1;
    long value2;
    int kind;
    bool negate;
};

// Stands at the end of a body whose start carries the label, and runs the body `count` times;
// a negative count names a register. The counter reloads when it runs out, so an enclosing
// loop can run the body again.
class VELNOR_API mStepLoop : public mStepJump {
public:
    mStepLoop(long count, const mString &label) : mStepJump(label), count(count), remaining(0) {}
    bool entered(mSequence *sequence) override;
    void preProcess(mSequence *sequence, int index) override;

private:
    long count;
    long remaining;
};

class VELNOR_API mStepSetValue : public mAnimStep {
public:
    mStepSetValue(int reg, long value) : reg(reg), value(value) {}
    bool entered(mSequence *sequence) override;

private:
    int reg;
    long value;
};

class VELNOR_API mStepChangeValue : public mAnimStep {
public:
    mStepChangeValue(int reg, long delta) : reg(reg), delta(delta) {}
    bool entered(mSequence *sequence) override;

private:
    int reg;
    long delta;
};

// Holds while the id is in use.
class VELNOR_API mStepWait : public mAnimStep {
public:
    mStepWait(int useId) : useId(useId) {}
    bool entered(mSequence *sequence) override;
    void event(mSequence *sequence, int event) override;

private:
    int useId;
};

// Takes the id until the sequence stops, or is hurried when `hurryable`.
class VELNOR_API mStepInUse : public mAnimStep {
public:
    mStepInUse(int useId, bool hurryable) : useId(useId), hurryable(hurryable) {}
    bool entered(mSequence *sequence) override;
    void event(mSequence *sequence, int event) override;
    int getId() override { return useId; }

private:
    int useId;
    bool hurryable;
};

// Hurries the background step of an id.
class VELNOR_API mStepHurry : public mAnimStep {
public:
    mStepHurry(int useId) : useId(useId) {}
    bool entered(mSequence *sequence) override;

private:
    int useId;
};

// Sends a user message to a window.
class VELNOR_API mStepNotify : public mAnimStep {
public:
    mStepNotify(mWindow *window, int message, int param) : window(window), message(message), param(param) {}
    bool entered(mSequence *sequence) override;

private:
    mWindow *window;
    int message;
    int param;
};

// A trace point of a script, kept in the script but silent: it writes nothing.
class VELNOR_API mStepLog : public mAnimStep {
public:
    mStepLog(const mString &text, int reg) : text(text), reg(reg) {}
    const mString &getText() const { return text; }
    int getRegister() const { return reg; }

private:
    mString text;
    int reg;
};

// Waits a time in ms; a negative time names a register. With a useId the wait runs in the
// background and releases the id when it is up. Hurry ends it as if the time were up; stop and
// jump cancel it.
class VELNOR_API mStepTimeout : public mAnimStep, public mTimerListener {
public:
    mStepTimeout(int time, int useId) : time(time), timer(nullptr), sequence(nullptr), useId(useId) {}
    ~mStepTimeout() override;
    bool entered(mSequence *sequence) override;
    void event(mSequence *sequence, int event) override;
    int getId() override { return useId; }
    void timerPopped(mTimer &timer) override;

private:
    // True if a wait was running.
    bool cancel();

    int time;
    mTimer *timer;
    mSequence *sequence;
    int useId;
};
