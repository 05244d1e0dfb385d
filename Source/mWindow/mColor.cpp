#include "mWindow/mColor.h"
#include "mWindow/mGraphics.h"

#include <windows.h>

#include <cstring>

static_assert(sizeof(mColor) == 4, "a colour is four bytes: red, green, blue, flag");

mColor::mColor(mGraphics *graphics, const mColor &color) : mColor(color) {
    if (!graphics)
        return;
    const COLORREF nearest = GetNearestColor(reinterpret_cast<HDC>(graphics->getPeer()), RGB(red, green, blue));
    if (nearest != CLR_INVALID)
        setPeerColor(&nearest);
}

mColor &mColor::setRGB(unsigned long rgb) {
    red = (unsigned char)(rgb >> 16);
    green = (unsigned char)(rgb >> 8);
    blue = (unsigned char)rgb;
    return *this;
}

unsigned short mColor::getRGB15() const {
    return (unsigned short)(((red >> 3) << 10) | ((green >> 3) << 5) | (blue >> 3));
}

// Five bits are widened so that the full range maps onto the full range: 31 to 255, 0 to 0.
static unsigned char widen5(unsigned int v) {
    v &= 31;
    return (unsigned char)((v << 3) | (v >> 2));
}

void mColor::setRGB15(unsigned short rgb15) {
    red = widen5(rgb15 >> 10);
    green = widen5(rgb15 >> 5);
    blue = widen5(rgb15);
    transparent = false;
}

void mColor::getPeerColor(void *out) const {
    unsigned long ref = RGB(red, green, blue);
    std::memcpy(out, &ref, 4);
}

void mColor::setPeerColor(const void *in) {
    const unsigned char *bytes = static_cast<const unsigned char *>(in);
    red = bytes[0];
    green = bytes[1];
    blue = bytes[2];
}

long mColor::getSysColorCode(SYSCOLOR color, bool &isSystem) {
    static const unsigned char codes[] = {
        COLOR_ACTIVEBORDER,  COLOR_ACTIVECAPTION,     COLOR_APPWORKSPACE, COLOR_BACKGROUND,
        COLOR_WINDOWTEXT,    COLOR_BTNFACE,           COLOR_BTNHIGHLIGHT, COLOR_BTNSHADOW,
        COLOR_BTNTEXT,       COLOR_CAPTIONTEXT,       COLOR_GRAYTEXT,     COLOR_HIGHLIGHT,
        COLOR_HIGHLIGHTTEXT, COLOR_INACTIVEBORDER,    COLOR_INACTIVECAPTION,
        COLOR_INACTIVECAPTIONTEXT,                    COLOR_MENU,         0,
        0,                   COLOR_WINDOW,            COLOR_WINDOWFRAME,  COLOR_WINDOWTEXT};
    isSystem = true;
    unsigned int index = (unsigned int)color;
    return index < sizeof(codes) ? codes[index] : 0;
}

mColor &mColor::setSysColor(SYSCOLOR color) {
    bool isSystem;
    unsigned long ref = GetSysColor((int)getSysColorCode(color, isSystem));
    setPeerColor(&ref);
    transparent = false;
    return *this;
}
