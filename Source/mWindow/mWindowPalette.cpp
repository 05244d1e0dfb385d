#include "mWindow/mPalette.h"
#include "mWindow/mWindow.h"

mPalette *mWindow::getPalette() const { return palette ? new mPalette(*palette) : nullptr; }

void mWindow::setPalette(const mPalette *p) {
    if (p == palette)
        return;
    mPalette *copy = p ? new mPalette(*p) : nullptr;
    delete palette;
    palette = copy;
}
