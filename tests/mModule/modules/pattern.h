// Contents of the generated test resources, known alike to their generator and to the tests.
#pragma once

namespace pattern {

// The decoded contents of the compressed block. Its parts make the encoder use every kind of
// token: references into the blank ring, references that overlap their own output, references
// back into earlier text, and literals of every byte value.
const int blockSize = 300;
inline unsigned char blockByte(int i) {
    if (i < 20)
        return ' ';
    if (i < 60)
        return 'A';
    if (i < 180)
        return (unsigned char)"velnor11"[(i - 60) % 8];
    return (unsigned char)(i * 37 + 11);
}

// An 8-bit bitmap whose rows need padding: a width of 5 takes 8 bytes a row.
const int bitmapWidth = 5;
const int bitmapHeight = 3;
const int bitmapColors = 4;
const int bitmapStride = 8;
inline unsigned char pixel(int x, int y) { return (unsigned char)((x + 2 * y) % bitmapColors); }
// Palette entries in the file's blue, green, red, reserved order.
inline unsigned char paletteByte(int entry, int channel) { return (unsigned char)(entry * 60 + channel * 5); }

} // namespace pattern
