// Painting of mWindow: the surfaces it hands out, with the window's palette on them, and the
// colours of its controls.
#include "mUtil/mApp.h"
#include "mWindow/mGraphics.h"
#include "mWindow/mWindow.h"

#include <windows.h>

namespace {

// A window with a palette puts it on every surface it hands out; it is selected as the
// foreground palette only while the application is active.
void preparePalette(mGraphics *graphics, const mPalette *palette) {
    if (!palette)
        return;
    const mApp *app = mApp::getCurrentApp();
    if (app && app->getActivation())
        graphics->setPalette(palette);
    graphics->realizePalette();
}

} // namespace

mGraphics *mWindow::beginPaint(bool &erase, mRect &area) {
    PAINTSTRUCT *ps = static_cast<PAINTSTRUCT *>(paintInfo);
    if (!ps)
        return nullptr;
    HDC dc = BeginPaint(reinterpret_cast<HWND>(peer), ps);
    erase = ps->fErase != 0;
    area = mRect(ps->rcPaint.left, ps->rcPaint.top, ps->rcPaint.right, ps->rcPaint.bottom);
    graphics = new mGraphics(reinterpret_cast<SYSTEM_INFO_STRUCT *>(dc), nullptr, true);
    preparePalette(graphics, palette);
    return graphics;
}

void mWindow::endPaint() {
    if (!graphics)
        return;
    // The surface gives its first objects back before the platform takes the context.
    delete graphics;
    graphics = nullptr;
    EndPaint(reinterpret_cast<HWND>(peer), static_cast<PAINTSTRUCT *>(paintInfo));
}

mGraphics *mWindow::getGraphics() {
    HDC dc = GetDC(reinterpret_cast<HWND>(peer));
    mGraphics *surface = new mGraphics(reinterpret_cast<SYSTEM_INFO_STRUCT *>(dc), this, false);
    preparePalette(surface, palette);
    return surface;
}

mLResult mWindow::setControlColor(void *dc) {
    mBrush *brush = nullptr;
    mColor *text = nullptr, *background = nullptr;
    onSetColor(brush, text, background);
    if (!brush)
        return 0;
    HDC context = static_cast<HDC>(dc);
    if (text)
        SetTextColor(context, RGB(text->getRed(), text->getGreen(), text->getBlue()));
    if (background) {
        SetBkMode(context, background->isTransparent() ? TRANSPARENT : OPAQUE);
        SetBkColor(context, RGB(background->getRed(), background->getGreen(), background->getBlue()));
    }
    // A control's colours come from no surface: the brush takes its colour as it is.
    return reinterpret_cast<mLResult>(brush->getPeer(nullptr));
}
