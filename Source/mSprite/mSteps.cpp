#include "mSprite/mSteps.h"

#include "mWindow/mWindow.h"

// ---- Jumps

void mStepJump::preProcess(mSequence *sequence, int index) { target = sequence->label2Index(label); }

bool mStepGoto::entered(mSequence *sequence) {
    jump(sequence);
    return true;
}

bool mStepGotoBusy::entered(mSequence *sequence) {
    if (sequence->isInUse(useId))
        jump(sequence);
    return true;
}

mStepIf::mStepIf(const mString &label, int reg, long value, bool negate)
    : mStepJump(label), reg(reg), value1(value), value2(0), kind(0), negate(negate) {}

mStepIf::mStepIf(const mString &label, int reg, long low, long high, bool negate)
    : mStepJump(label), reg(reg), value1(low), value2(high), kind(1), negate(negate) {}

mStepIf::mStepIf(const mString &label, int reg, bool negate, long value)
    : mStepJump(label), reg(reg), value1(value), value2(0), kind(2), negate(negate) {}

bool mStepIf::test(long r) const {
    switch (kind) {
    case 0:
        return r == value1;
    case 1:
        return r >= value1 && r <= value2;
    default:
        return r < value1;
    }
}

bool mStepIf::entered(mSequence *sequence) {
    if (test(sequence->getLong(reg)) != negate)
        jump(sequence);
    return true;
}

void mStepLoop::preProcess(mSequence *sequence, int index) {
    mStepJump::preProcess(sequence, index);
    remaining = operand(sequence, count);
}

bool mStepLoop::entered(mSequence *sequence) {
    if (--remaining > 0)
        jump(sequence);
    else
        remaining = operand(sequence, count);
    return true;
}

// ---- Registers

bool mStepSetValue::entered(mSequence *sequence) {
    sequence->setLong(reg, value);
    return true;
}

bool mStepChangeValue::entered(mSequence *sequence) {
    sequence->setLong(reg, sequence->getLong(reg) + delta);
    return true;
}

// ---- In-use ids

bool mStepWait::entered(mSequence *sequence) { return !sequence->isInUse(useId); }

void mStepWait::event(mSequence *sequence, int event) {
    if (event == eventInUseFreed && !sequence->isInUse(useId))
        next(sequence);
}

bool mStepInUse::entered(mSequence *sequence) {
    sequence->addInUse();
    return true;
}

void mStepInUse::event(mSequence *sequence, int event) {
    if (event == eventStop || (event == eventHurry && hurryable))
        sequence->removeInUse(useId);
}

bool mStepHurry::entered(mSequence *sequence) {
    sequence->hurry(useId);
    return true;
}

bool mStepNotify::entered(mSequence *sequence) {
    if (window)
        window->sendUserMessage(message, param, 0);
    return true;
}

// ---- Timed wait

mStepTimeout::~mStepTimeout() { delete timer; }

bool mStepTimeout::cancel() {
    if (!timer)
        return false;
    delete timer;
    timer = nullptr;
    return true;
}

bool mStepTimeout::entered(mSequence *s) {
    cancel();
    sequence = s;
    long ms = operand(s, time);
    timer = new mTimer(ms > 0 ? (unsigned long)ms : 0, this, 0, false);
    return beginAction(s, useId);
}

void mStepTimeout::timerPopped(mTimer &) {
    cancel();
    endAction(sequence, useId);
}

void mStepTimeout::event(mSequence *s, int event) {
    // Hurry ends the wait as if the time were up.
    if (endsAction(event) && cancel())
        cutShort(s, event, useId);
}
