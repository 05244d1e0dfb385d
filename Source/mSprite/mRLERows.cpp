#include "mSprite/mRLERows.h"

#include "mSprite/mRLETokens.h"
#include "mUtil/mError.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <emmintrin.h>

static const char srcPath[] = "mSprite/mRLERows";

namespace {

// The most bytes of stretches an index keeps: beyond it the blocks could not be addressed.
const size_t mostBytes = 0x7FFFFFF0;

// The target's bytes keep what the holes keep and take the values elsewhere.
inline __m128i blend16(const unsigned char *t, const unsigned char *h, const unsigned char *v) {
    const __m128i target = _mm_loadu_si128(reinterpret_cast<const __m128i *>(t));
    return _mm_or_si128(_mm_and_si128(target, _mm_loadu_si128(reinterpret_cast<const __m128i *>(h))),
                        _mm_loadu_si128(reinterpret_cast<const __m128i *>(v)));
}

inline uint64_t blend8(const unsigned char *t, const unsigned char *h, const unsigned char *v) {
    uint64_t target, hole, value;
    std::memcpy(&target, t, 8);
    std::memcpy(&hole, h, 8);
    std::memcpy(&value, v, 8);
    return (target & hole) | value;
}

// n >= 16 pixels of a stretch, in blocks of 16 bytes with the last one overlapping the one
// before. A blend gives the same bytes whether it reads the target before or after an
// overlapping blend, so the first and last blocks are read before the blocks between are
// written: no read waits on a store it half overlaps, and two blocks need no loop.
inline void blendBlocks(unsigned char *t, const unsigned char *h, const unsigned char *v, ptrdiff_t n) {
    const __m128i head = blend16(t, h, v), last = blend16(t + n - 16, h + n - 16, v + n - 16);
    for (ptrdiff_t i = 16; i < n - 16; i += 16)
        _mm_storeu_si128(reinterpret_cast<__m128i *>(t + i), blend16(t + i, h + i, v + i));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(t), head);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(t + n - 16), last);
}

// Fewer than 16 pixels, which only clipping or an image narrower than that gives; kept out
// of the row loops.
__attribute__((noinline)) void blendFew(unsigned char *t, const unsigned char *h, const unsigned char *v,
                                        ptrdiff_t n) {
    if (n >= 8) {
        const uint64_t last = blend8(t + n - 8, h + n - 8, v + n - 8), head = blend8(t, h, v);
        std::memcpy(t, &head, 8);
        std::memcpy(t + n - 8, &last, 8);
    } else {
        for (ptrdiff_t i = 0; i < n; ++i)
            t[i] = (unsigned char)((t[i] & h[i]) | v[i]);
    }
}

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
            padRow();
            rows.push_back({spans.size(), 0, 0, 0});
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
// the stretch as skipped pixels and a new span begins. A row's stretch starts far enough left
// that it can be padded to a whole block inside the image.
void mRLERows::addPixels(long x, const unsigned char *given, unsigned value, long n) {
    Row &row = rows.back();
    const bool first = spans.size() == row.span;
    if (first) {
        row.left = row.right = std::min(x, std::max(0L, width - blockPixels));
        row.origin = (ptrdiff_t)values.size() - row.left;
    }
    const long gap = x - (long)row.right;
    if (values.size() + gap + n + blockPixels > mostBytes)
        VELNOR_THROW("Bitmap too large", width);
    if (first || gap) {
        spans.push_back({x, x});
        skipped(gap);
    }
    if (given)
        values.insert(values.end(), given, given + n);
    else
        values.insert(values.end(), n, (unsigned char)value);
    holes.insert(holes.end(), n, 0);
    spans.back().end = x + n;
    row.right = x + n;
}

// Widens the last row's stretch to a whole block where the image is wide enough, so that an
// unclipped copy moves whole blocks only.
void mRLERows::padRow() {
    Row &row = rows.back();
    const ptrdiff_t missing = row.left + blockPixels - row.right;
    if (spans.size() == row.span || width < blockPixels || missing <= 0)
        return;
    skipped(missing);
    row.right += missing;
}

void mRLERows::skipped(ptrdiff_t n) {
    values.insert(values.end(), n, 0);
    holes.insert(holes.end(), n, 0xFF);
}

bool mRLERows::rowsOf(const mRect &area, long &first, long &stop) const {
    if (area.left < 0 || area.top < 0 || area.bottom > height || area.isEmpty() || rows.empty())
        return false;
    first = height - area.bottom;
    stop = std::min(first + area.height(), (long)rows.size() - 1);
    return first < stop;
}

// Rows come bottom up, in the stream as in the target. A row's stretch is blended whole: a
// skipped pixel keeps the target's value, a drawn one takes the image's, with no test per
// pixel. Everything the loop reads is held locally, since its stores could alias any byte.
// An area as wide as the image draws every stretch whole, and spares each row its clipping.
template <bool ClipX>
void mRLERows::blendRows(const Row *row, const Row *end, ptrdiff_t left, ptrdiff_t right, unsigned char *line,
                         long linePixels) const {
    const unsigned char *const valueBase = values.data(), *const holeBase = holes.data();
    line -= left;
    for (; row != end; ++row, line += linePixels) {
        const ptrdiff_t x0 = ClipX ? std::max(row->left, left) : row->left;
        const ptrdiff_t n = (ClipX ? std::min(row->right, right) : row->right) - x0;
        if (n >= 16)
            blendBlocks(line + x0, holeBase + row->origin + x0, valueBase + row->origin + x0, n);
        else if (n > 0)
            blendFew(line + x0, holeBase + row->origin + x0, valueBase + row->origin + x0, n);
    }
}

void mRLERows::draw(const mRect &area, unsigned char *to, long linePixels) const {
    long first, stop;
    if (!rowsOf(area, first, stop))
        return;
    if (area.left == 0 && area.right == width)
        blendRows<false>(rows.data() + first, rows.data() + stop, 0, width, to, linePixels);
    else
        blendRows<true>(rows.data() + first, rows.data() + stop, area.left, area.right, to, linePixels);
}

// Into 15 bits every drawn pixel goes through the table, so only the spans are visited.
void mRLERows::draw(const mRect &area, unsigned short *to, long linePixels, const unsigned short *table) const {
    long first, stop;
    if (!rowsOf(area, first, stop))
        return;
    for (long r = first; r < stop; ++r, to += linePixels) {
        const Row &row = rows[r];
        const unsigned char *const stretch = values.data() + row.origin;
        for (const Span *s = spans.data() + row.span, *e = spans.data() + rows[r + 1].span; s != e; ++s) {
            const long x0 = std::max(s->x, area.left), x1 = std::min(s->end, area.right);
            unsigned short *const target = to - area.left;
            for (long x = x0; x < x1; ++x)
                target[x] = table[stretch[x]];
        }
    }
}
