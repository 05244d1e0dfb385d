// The demo's frame animation: a file that the demo writes itself, a block hopping to and fro
// over a panel, played as the step of a script of its own. Its command frames count the laps
// and call one hop as a subroutine from each place on the way.
#pragma once
#include <Velnor11.h>

#include <string>

class DemoAnimation {
public:
    // Writes the file into `dataDir` from images in the inks of `palette`, and starts the
    // script that plays it with its top left at `at`.
    DemoAnimation(mSpriteContext *context, mPalette &palette, const std::string &dataDir, const mPoint &at);
    ~DemoAnimation();
    DemoAnimation(const DemoAnimation &) = delete;
    DemoAnimation &operator=(const DemoAnimation &) = delete;
    // Tells how far the animation got and ends its script: the script and its sprites must go
    // before the context that holds them.
    void end();

private:
    std::string path;
    // The file outlives the script, which holds pointers into it.
    mAsaFile file;
    mSequence *sequence;
    unsigned long started;
    unsigned long ended;
};
