#include "mSprite/mRLERows.h"

#include "mSprite/mRLETokens.h"
#include "mUtil/mError.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

static const char srcPath[] = "mSprite/mRLERows";

namespace {

// The most bytes of stretches an index keeps: beyond it the blocks could not be addressed.
const size_t mostBytes = 0x7FFFFFF0;

// A block of bytes of a stretch: the target's bytes keep what the holes keep and take the
// values elsewhere. A blend gives the same bytes whether it reads the target before or after
// an overlapping blend, so blocks may overlap, and the last block of a stretch is read before
// the blocks ahead of it are written: no read waits on a store it half overlaps.
struct mBlend {
    uint64_t target[2], hole[2], value[2];
    template <int Words> void read(const unsigned char *t, const unsigned char *h, const unsigned char *v) {
        std::memcpy(target, t, 8 * Words);
        std::memcpy(hole, h, 8 * Words);
        std::memcpy(value, v, 8 * Words);
    }
    template <int Words> void write(unsigned char *t) {
        for (int i = 0; i < Words; ++i)
            target[i] = (target[i] & hole[i]) | value[i];
        std::memcpy(t, target, 8 * Words);
    }
};

} // namespace

mRLERows::mRLERows() : width(0), height(0) {}

void mRLERows::build(const unsigned char *stream, long size, long imageWidth, long imageHeight) {
    width = imageWidth;
    height = imageHeight;
    rows.clear();
    spans.clear();
    values.clear();
    holes.clear();
    if (!stream || size <= 0 || height <= 0)
        return;
    rows.push_back({0, 0, 0, 0});
    const unsigned char *p = stream, *const end = stream + size;
    // 64 bits: a hostile row may add 255 a token far beyond any width.
    long long x = 0;
    rle::Token t = {};
    for (;;) {
        const rle::Kind kind = rle::readToken(p, end, t);
        if (kind >= rle::rowEnd) {
            rows.push_back({spans.size(), 0, 0, values.size()});
            if (kind == rle::imageEnd || (long)rows.size() > height)
                break;
            x = 0;
            continue;
        }
        const long long from = x;
        x += t.length;
        if (kind != rle::skip && from < width)
            addPixels((long)from, kind == rle::literal ? t.pixels : nullptr, t.value,
                      (long)(std::min<long long>(x, width) - from));
    }
}

// Adds n pixels at x to the last row: the bytes at `given`, or n times `value` when there are
// none. A span that goes on where the row's last one ended grows; otherwise the gap joins
// the stretch as skipped pixels and a new span begins.
void mRLERows::addPixels(long x, const unsigned char *given, unsigned value, long n) {
    Row &row = rows.back();
    const bool first = spans.size() == row.span;
    const long gap = first ? 0 : x - row.right;
    if (values.size() + gap + n > mostBytes)
        VELNOR_THROW("Bitmap too large", width);
    if (first || gap) {
        spans.push_back({x, x});
        values.insert(values.end(), gap, 0);
        holes.insert(holes.end(), gap, 0xFF);
    }
    if (first)
        row.left = x;
    if (given)
        values.insert(values.end(), given, given + n);
    else
        values.insert(values.end(), n, (unsigned char)value);
    holes.insert(holes.end(), n, 0);
    spans.back().end = row.right = x + n;
}

bool mRLERows::rowsOf(const mRect &area, long &first, long &stop) const {
    if (area.left < 0 || area.top < 0 || area.bottom > height || area.isEmpty() || rows.empty())
        return false;
    first = height - area.bottom;
    stop = std::min(first + area.height(), (long)rows.size() - 1);
    return first < stop;
}

// Rows come bottom up, in the stream as in the target. A stretch moves in blocks of 16
// bytes, the last one overlapping the one before: a skipped pixel keeps the target's value,
// a drawn one takes the image's, with no test per pixel.
void mRLERows::draw(const mRect &area, unsigned char *to, long linePixels) const {
    long first, stop;
    if (!rowsOf(area, first, stop))
        return;
    for (long r = first; r < stop; ++r, to += linePixels) {
        const Row &row = rows[r];
        const long x0 = std::max(row.left, area.left), n = std::min(row.right, area.right) - x0;
        if (n <= 0)
            continue;
        const unsigned char *const value = values.data() + row.at + (x0 - row.left);
        const unsigned char *const hole = holes.data() + row.at + (x0 - row.left);
        unsigned char *const target = to + (x0 - area.left);
        mBlend last;
        if (n >= 16) {
            last.read<2>(target + n - 16, hole + n - 16, value + n - 16);
            mBlend block;
            for (long i = 0; i + 16 < n; i += 16) {
                block.read<2>(target + i, hole + i, value + i);
                block.write<2>(target + i);
            }
            last.write<2>(target + n - 16);
        } else if (n >= 8) {
            mBlend head;
            last.read<1>(target + n - 8, hole + n - 8, value + n - 8);
            head.read<1>(target, hole, value);
            head.write<1>(target);
            last.write<1>(target + n - 8);
        } else {
            for (long i = 0; i < n; ++i)
                target[i] = (unsigned char)((target[i] & hole[i]) | value[i]);
        }
    }
}

// Into 15 bits every drawn pixel goes through the table, so only the spans are visited.
void mRLERows::draw(const mRect &area, unsigned short *to, long linePixels, const unsigned short *table) const {
    long first, stop;
    if (!rowsOf(area, first, stop))
        return;
    for (long r = first; r < stop; ++r, to += linePixels) {
        const Row &row = rows[r];
        const unsigned char *const stretch = values.data() + row.at - row.left;
        for (const Span *s = spans.data() + row.span, *e = spans.data() + rows[r + 1].span; s != e; ++s) {
            const long x0 = std::max(s->x, area.left), x1 = std::min(s->end, area.right);
            unsigned short *const target = to - area.left;
            for (long x = x0; x < x1; ++x)
                target[x] = table[stretch[x]];
        }
    }
}
