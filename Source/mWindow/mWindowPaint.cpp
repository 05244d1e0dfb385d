// Painting of mWindow. The drawing surface of a paint is an mGraphics on the paint's device
// context; until the graphics context is built, a paint hands out no surface.
#include "mWindow/mWindow.h"

#include <windows.h>

mGraphics *mWindow::beginPaint(bool &erase, mRect &area) {
    PAINTSTRUCT *ps = static_cast<PAINTSTRUCT *>(paintInfo);
    BeginPaint(reinterpret_cast<HWND>(peer), ps);
    erase = ps->fErase != 0;
    area = mRect(ps->rcPaint.left, ps->rcPaint.top, ps->rcPaint.right, ps->rcPaint.bottom);
    graphics = nullptr;
    return graphics;
}

void mWindow::endPaint() {
    PAINTSTRUCT *ps = static_cast<PAINTSTRUCT *>(paintInfo);
    if (!ps || !ps->hdc)
        return;
    graphics = nullptr;
    EndPaint(reinterpret_cast<HWND>(peer), ps);
    ps->hdc = nullptr;
}

mGraphics *mWindow::getGraphics() { return nullptr; }

long mWindow::setControlColor(void *dc) {
    mBrush *brush = nullptr;
    mColor *text = nullptr, *background = nullptr;
    onSetColor(brush, text, background);
    // Brushes and colours are realized on the device context once the drawing tools exist.
    return 0;
}
