// A colour with a transparent flag, and its 24-bit, 15-bit and platform forms.
#pragma once
#include "mUtil/mDefs.h"

class mGraphics;

class VELNOR_API mColor {
public:
    // The platform's system colours, by the library's own numbering.
    enum SYSCOLOR {
        activeBorder = 0,
        activeCaption = 1,
        appWorkspace = 2,
        background = 3,
        text = 4,
        buttonFace = 5,
        buttonHighlight = 6,
        buttonShadow = 7,
        buttonText = 8,
        captionText = 9,
        grayText = 10,
        highlight = 11,
        highlightText = 12,
        inactiveBorder = 13,
        inactiveCaption = 14,
        inactiveCaptionText = 15,
        menu = 16,
        sysColor17 = 17,
        sysColor18 = 18,
        window = 19,
        windowFrame = 20,
        windowText = 21
    };

    mColor(bool transparent = false) : red(0), green(0), blue(0), transparent(transparent) {}
    mColor(int rgb) : transparent(false) { setRGB((unsigned long)rgb); }
    mColor(int red, int green, int blue)
        : red((unsigned char)red), green((unsigned char)green), blue((unsigned char)blue), transparent(false) {}
    mColor(SYSCOLOR color) { setSysColor(color); }
    // The nearest colour that a surface can show, keeping the flag of `color`; with no
    // surface, `color` itself.
    mColor(mGraphics *graphics, const mColor &color);

    unsigned char getRed() const { return red; }
    unsigned char getGreen() const { return green; }
    unsigned char getBlue() const { return blue; }
    void setRed(unsigned char value) { red = value; }
    void setGreen(unsigned char value) { green = value; }
    void setBlue(unsigned char value) { blue = value; }

    void setColor(unsigned char r, unsigned char g, unsigned char b) {
        red = r;
        green = g;
        blue = b;
    }
    void setColor(const mColor &color) { setColor(color.red, color.green, color.blue); }

    // 0x00RRGGBB; the flag is left alone.
    mColor &setRGB(unsigned long rgb);
    unsigned long getRGB() const { return ((unsigned long)red << 16) | ((unsigned long)green << 8) | blue; }
    // Bits 14-10 red, 9-5 green, 4-0 blue.
    unsigned short getRGB15() const;
    void setRGB15(unsigned short rgb15);
    // The platform's colour reference, 0x00BBGGRR, through a 32-bit slot.
    void getPeerColor(void *out) const;
    void setPeerColor(const void *in);

    bool isTransparent() const { return transparent; }
    void setTransparent(bool on) { transparent = on; }
    mColor &setSysColor(SYSCOLOR color);

private:
    friend class mGraphics;
    // The platform's index of a system colour; every value counts as a system colour.
    static long getSysColorCode(SYSCOLOR color, bool &isSystem);

    unsigned char red;
    unsigned char green;
    unsigned char blue;
    bool transparent;
};
