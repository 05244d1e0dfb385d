// The visible part of a run-length image, row by row: each stored row's opaque spans, whose
// pixels lie side by side in one block. Built once from the token stream, it lets a copy
// walk each row once and move every span whole, without reading a token.
#pragma once
#include "mUtil/mGeometry.h"

#include <cstddef>
#include <vector>

class mRLERows {
public:
    // No rows; allocates nothing, so that a copy may keep one at hand.
    mRLERows();

    // Reads the stream of an image of `width` x `height`. Pixels right of the width and rows
    // above the height are dropped; a stream that ends early, or is cut off inside a token,
    // keeps the rows up to there, the unfinished one included, as a copy draws them. A stream
    // whose visible pixels would not fit in memory throws "Bitmap too large".
    void build(const unsigned char *stream, long size, long width, long height);

    // Draws `area` of the image into a plain target: `bottomLeft` is the target pixel of the
    // area's bottom-left corner, and one line up lies `linePixels` pixels further on. The
    // 15-bit form passes values through a table of 256 words.
    void draw(const mRect &area, unsigned char *bottomLeft, long linePixels) const;
    void draw(const mRect &area, unsigned short *bottomLeft, long linePixels, const unsigned short *table) const;

private:
    // Columns [x, end) of a row, their pixels from `pixel` on in `pixels`.
    struct Span {
        long x, end;
        size_t pixel;
    };

    template <class Pixel, class Move>
    void drawSpans(const mRect &area, Pixel *to, long linePixels, Move move) const;

    long width, height;
    std::vector<size_t> rowStart; // the first span of each row the stream holds, then the end; empty without rows
    std::vector<Span> spans;
    std::vector<unsigned char> pixels;
};
