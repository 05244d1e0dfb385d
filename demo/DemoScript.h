// The demo's scene as a script: the balls roll to their far ends and back together, a bounce
// sounds at every turn, twice over; then they roll to the middles of their paths, where they
// overlap, and the script ends the run.
#pragma once
#include <Velnor11.h>

#include <functional>
#include <string>
#include <vector>

// An object and the two ends of its path; it stands at `from` when the script starts.
struct DemoPath {
    mAnimObject *object;
    mPoint from, to;
};

class DemoScript {
public:
    // The bounce is written as a wave file into `dataDir`; `ended` runs as the script's last step.
    DemoScript(mSpriteContext *context, const std::vector<DemoPath> &paths, const std::string &dataDir,
               std::function<void()> ended);
    void describe();

private:
    void roll(const std::vector<DemoPath> &paths, int divisor, long time, bool back);

    mSequence sequence;
    std::string bounce;
};
