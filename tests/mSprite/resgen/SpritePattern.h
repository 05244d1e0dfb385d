// The picture in the test program's bitmap resources, shared by their generator and the tests.
#pragma once

#define RES_SPRITE 1
#define RES_DEEP 2
#define RES_BROKEN 3
#define RES_MISSING 99

// The resource compiler reads the ids only.
#ifndef RC_INVOKED
const int spriteWidth = 13, spriteHeight = 9, spriteColors = 16;

// Top-down coordinates.
inline int spritePixel(int x, int y) { return (x * 3 + y) % 7 + 1; }
inline unsigned long spriteColor(int i) { return ((unsigned long)(i * 15) << 16) | ((255UL - i * 15) << 8) | (i * 5); }
#endif
