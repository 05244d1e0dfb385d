// The visible part of a run-length image, row by row: each stored row's opaque spans, and
// the stretch from its first opaque pixel to its last, widened to at least a block, as values
// with a mask of the skipped pixels. Built once from the token stream, it lets a copy walk each row once,
// without reading a token: into 8 bits a row's stretch moves as one masked block, into 15
// bits each span moves whole through the colour table.
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
    // whose visible stretches would not fit in memory throws "Bitmap too large".
    void build(const unsigned char *stream, long size, long width, long height);

    // Draws `area` of the image into a plain target: `bottomLeft` is the target pixel of the
    // area's bottom-left corner, and one line up lies `linePixels` pixels further on. The
    // 15-bit form passes values through a table of 256 words.
    void draw(const mRect &area, unsigned char *bottomLeft, long linePixels) const;
    void draw(const mRect &area, unsigned short *bottomLeft, long linePixels, const unsigned short *table) const;

private:
    // Columns [x, end) of a row, all drawn.
    struct Span {
        long x, end;
    };
    // A row's spans run up to the next row's first; its stretch [left, right) has the value
    // and hole of column x at `origin` + x.
    struct Row {
        size_t span;
        ptrdiff_t left, right, origin;
    };
    // The pixels a blend moves at once, and the least a stretch is widened to.
    static const long blockPixels = 16;

    void addPixels(long x, const unsigned char *values, unsigned value, long n);
    void padRow();
    template <bool ClipX>
    void blendRows(const Row *row, const Row *end, ptrdiff_t left, ptrdiff_t right, unsigned char *line,
                   long linePixels) const;
    void skipped(ptrdiff_t n);
    // The stored rows that `area` draws, bottom first: [first, stop). False if none.
    bool rowsOf(const mRect &area, long &first, long &stop) const;

    long width, height;
    std::vector<Row> rows; // the rows the stream holds, then one that only ends the last one's spans
    std::vector<Span> spans;
    std::vector<unsigned char> values; // 0 where skipped
    std::vector<unsigned char> holes;  // 0 where drawn, 0xFF where skipped
};
