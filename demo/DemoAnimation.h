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
    void describe();

private:
    std::string path;
    // The file outlives the script, which holds pointers into it.
    mAsaFile file;
    mSequence sequence;
    unsigned long started;
    unsigned long ended;
};
