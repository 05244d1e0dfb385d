#include "mSprite/mRLERows.h"

#include "mSprite/mRLETokens.h"
#include "mUtil/mError.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

static const char srcPath[] = "mSprite/mRLERows";

namespace {

// The most visible pixels an index keeps: beyond it the block could not be addressed.
const size_t mostPixels = 0x7FFFFFF0;

// Moves n bytes with a few loads and stores of whole words, the last one overlapping the
// one before; nothing outside [0, n) is touched.
inline void moveBytes(unsigned char *to, const unsigned char *from, long n) {
    if (n >= 16) {
        unsigned char block[16];
        for (long i = 0; i + 16 < n; i += 16) {
            std::memcpy(block, from + i, 16);
            std::memcpy(to + i, block, 16);
        }
        std::memcpy(block, from + n - 16, 16);
        std::memcpy(to + n - 16, block, 16);
    } else if (n >= 8) {
        uint64_t head, tail;
        std::memcpy(&head, from, 8);
        std::memcpy(&tail, from + n - 8, 8);
        std::memcpy(to, &head, 8);
        std::memcpy(to + n - 8, &tail, 8);
    } else if (n >= 4) {
        uint32_t head, tail;
        std::memcpy(&head, from, 4);
        std::memcpy(&tail, from + n - 4, 4);
        std::memcpy(to, &head, 4);
        std::memcpy(to + n - 4, &tail, 4);
    } else if (n > 0) {
        to[0] = from[0];
        to[n / 2] = from[n / 2];
        to[n - 1] = from[n - 1];
    }
}

} // namespace

mRLERows::mRLERows() : width(0), height(0) {}

void mRLERows::build(const unsigned char *stream, long size, long imageWidth, long imageHeight) {
    width = imageWidth;
    height = imageHeight;
    rowStart.clear();
    spans.clear();
    pixels.clear();
    if (!stream || size <= 0 || height <= 0)
        return;
    rowStart.push_back(0);
    const unsigned char *p = stream, *const end = stream + size;
    // 64 bits: a hostile row may add 255 a token far beyond any width.
    long long x = 0;
    rle::Token t = {};
    for (;;) {
        const rle::Kind kind = rle::readToken(p, end, t);
        if (kind >= rle::rowEnd) {
            rowStart.push_back(spans.size());
            if (kind == rle::imageEnd || (long)rowStart.size() > height)
                break;
            x = 0;
            continue;
        }
        const long long from = x;
        x += t.length;
        if (kind == rle::skip || from >= width)
            continue;
        const long n = (long)(std::min<long long>(x, width) - from);
        if (pixels.size() + n > mostPixels)
            VELNOR_THROW("Bitmap too large", width);
        // A span that goes on where the row's last one ended grows; otherwise a new one begins.
        if (spans.size() == rowStart.back() || spans.back().end != from)
            spans.push_back({(long)from, (long)from, pixels.size()});
        if (kind == rle::run)
            pixels.insert(pixels.end(), (size_t)n, (unsigned char)t.value);
        else
            pixels.insert(pixels.end(), t.pixels, t.pixels + n);
        spans.back().end += n;
    }
}

// Rows come bottom up, in the stream as in the target. A span is cut to the area's columns
// only when the area leaves some out; the loop for that is chosen once for the whole copy.
template <class Pixel, class Move>
void mRLERows::drawSpans(const mRect &area, Pixel *to, long linePixels, Move move) const {
    if (area.left < 0 || area.top < 0 || area.bottom > height || area.isEmpty())
        return;
    const long first = height - area.bottom;
    const long held = rowStart.empty() ? 0 : (long)rowStart.size() - 1;
    const long stop = std::min(first + area.height(), held);
    const Span *const all = spans.data();
    const unsigned char *const block = pixels.data();
    if (area.left == 0 && area.right >= width) {
        for (long r = first; r < stop; ++r, to += linePixels)
            for (const Span *s = all + rowStart[r], *e = all + rowStart[r + 1]; s != e; ++s)
                move(to + s->x, block + s->pixel, s->end - s->x);
        return;
    }
    const long left = area.left, right = area.right;
    for (long r = first; r < stop; ++r, to += linePixels) {
        for (const Span *s = all + rowStart[r], *e = all + rowStart[r + 1]; s != e; ++s) {
            const long x0 = std::max(s->x, left), x1 = std::min(s->end, right);
            if (x0 < x1)
                move(to + (x0 - left), block + s->pixel + (x0 - s->x), x1 - x0);
        }
    }
}

void mRLERows::draw(const mRect &area, unsigned char *bottomLeft, long linePixels) const {
    drawSpans(area, bottomLeft, linePixels,
              [](unsigned char *to, const unsigned char *from, long n) { moveBytes(to, from, n); });
}

void mRLERows::draw(const mRect &area, unsigned short *bottomLeft, long linePixels,
                    const unsigned short *table) const {
    drawSpans(area, bottomLeft, linePixels, [table](unsigned short *to, const unsigned char *from, long n) {
        for (long i = 0; i < n; ++i)
            to[i] = table[from[i]];
    });
}
