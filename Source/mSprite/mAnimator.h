// A straight-line move of one object to a target over a time, computed afresh from the
// wrapping millisecond clock at every idle tick, so it keeps to its time however often it is
// ticked. Variants that report their end elsewhere derive from it and override done().
#pragma once
#include "mUtil/mGeometry.h"

class mAnimObject;

class VELNOR_API mAnimator {
public:
    // Attaches itself to `object`, which must be in a context, replacing (and deleting) an
    // earlier animator. `message` >= 0 is posted to the context's window at the end.
    mAnimator(mAnimObject *object, int message);
    // Leaves the context's running list and the object.
    virtual ~mAnimator();

    // Places the object for the clock value `now`; true if anything needs repainting.
    virtual bool updatePosition(unsigned long now);

    // From where the object is now to `end` in `duration` ms, from now or from `startTime`.
    void startMove(const mPoint &end, unsigned long duration);
    void startMove(const mPoint &end, unsigned long duration, unsigned long startTime);
    // Halts the move where it is; with `finish`, or when the time is up, jumps to the end.
    void stop(bool finish);
    // Goes on from the progress that the move had when it stopped.
    void restart();

    bool isRunning() const { return running; }
    mPoint getEndPoint() const { return endPoint; }
    mAnimObject *getObject() const { return object; }
    // The clock value of the start while running, the current clock otherwise.
    long getStartTime() const;

protected:
    mAnimator();

    // Told the end of the move; the result says whether the context must repaint. It may
    // delete the animator, so it is the last thing an animator does.
    virtual bool done(bool finished);

    void start(unsigned long duration);
    void start(unsigned long duration, unsigned long startTime);
    long getRunningTime(unsigned long now) const { return (long)(now - (unsigned long)startTime); }
    // Ends the move if `elapsed` has reached the duration.
    bool checkFinished(long elapsed);

    mPoint startPoint;
    mPoint endPoint;
    mAnimObject *object;
    // While running the clock value of the start; while stopped the time elapsed.
    long startTime;
    long duration;
    bool running;
    int message;

private:
    // Into and out of the context's list of running animators.
    void enterRunning();
    void leaveRunning();

    mAnimator(const mAnimator &);
    mAnimator &operator=(const mAnimator &);
};

class mSequence;
class mStepSpriteBase;

// The animator of script steps: its end goes to the step that started it, and always repaints.
class VELNOR_API mAnimatorS : public mAnimator {
public:
    mAnimatorS(mStepSpriteBase *step, mSequence *sequence, mAnimObject *object)
        : mAnimator(object, -1), sequence(sequence), step(step) {}
    mSequence *getSequence() const { return sequence; }
    mStepSpriteBase *getStep() const { return step; }

protected:
    bool done(bool finished) override;

private:
    mSequence *sequence;
    mStepSpriteBase *step;
};
