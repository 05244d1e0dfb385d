#include "mSprite/mTransform.h"
#include "mSprite/m8Bit.h"

#include <algorithm>
#include <climits>
#include <cmath>

namespace {

// 3.1415926535 / 180: the value the walk has always been computed with, a little short of
// the full pi / 180.
const double degreesToRadians = 0.017453292519444445;
// The walk divides by 0.999 of each length, so it runs a thousandth long: the identity steps
// 65601 rather than 65536, and the last pixel of an edge is reached from inside.
const float stretch = 0.999f;
const double unit = 65536.0;
// Bounds on the fixed-point values, far beyond any meaningful picture. With them, no sum
// that the walk forms over a target that fits in memory can overflow 64 bits.
const double stepLimit = 2147483647.0;
const double startLimit = 140737488355328.0;
// Rotations this far out lose their whole turns at once; counting them off one by one would
// never end.
const float turnsByStep = 36000.0f;

// Truncates toward zero into a bounded range; not-a-number, from a scale of 0, counts as 0.
long long toFixed(double v, double limit) {
    if (v != v)
        return 0;
    return (long long)std::max(-limit, std::min(limit, v));
}

long toLong(double v) { return (long)toFixed(v, (double)LONG_MAX); }

float wrapDegrees(float degrees) {
    if (!std::isfinite(degrees))
        return 0.0f;
    if (degrees < -turnsByStep || degrees >= turnsByStep)
        degrees = std::fmod(degrees, 360.0f);
    while (degrees < 0.0f)
        degrees += 360.0f;
    while (!(degrees < 360.0f))
        degrees -= 360.0f;
    return degrees;
}

float clampShear(float degrees) {
    if (degrees != degrees)
        return 0.0f;
    return std::max(-70.0f, std::min(70.0f, degrees));
}

// One walk in one direction of the X steps. The walker enters over the sides it comes from,
// then draws until it leaves over a side it goes to; a convex image crosses a line once, so
// the rest of the line is not looked at.
template <bool colRising, bool rowRising, class Source, class Target, class Convert>
void walkLines(const mTransformWalk &w, const Source *source, long sourceLine, unsigned transparent, Target *target,
               long targetLine, Convert convert) {
    const long long csx = w.colStepX, rsx = w.rowStepX, left = w.left, right = w.right, top = w.top,
                    bottom = w.bottom;
    const long x1 = w.x1;
    long long col = w.col, row = w.row;
    for (long n = 0; n < w.lines; ++n, target += targetLine, col += w.colStepY, row += w.rowStepY) {
        long long c = col, r = row;
        long x = w.x0;
        while (x < x1 && ((colRising ? c < left : c >= right) || (rowRising ? r < top : r >= bottom))) {
            c += csx;
            r += rsx;
            ++x;
        }
        while (x < x1 && (colRising ? c < right : c >= left) && (rowRising ? r < bottom : r >= top)) {
            const unsigned v = source[(r >> 16) * sourceLine + (c >> 16)];
            if (v != transparent)
                target[x] = convert(v);
            c += csx;
            r += rsx;
            ++x;
        }
    }
}

template <class Source, class Target, class Convert>
void walk(const mTransformWalk &w, const Source *source, long sourceLine, unsigned transparent, Target *target,
          long targetLine, Convert convert) {
    if (w.colStepX >= 0 && w.rowStepX >= 0)
        walkLines<true, true>(w, source, sourceLine, transparent, target, targetLine, convert);
    else if (w.colStepX >= 0)
        walkLines<true, false>(w, source, sourceLine, transparent, target, targetLine, convert);
    else if (w.rowStepX >= 0)
        walkLines<false, true>(w, source, sourceLine, transparent, target, targetLine, convert);
    else
        walkLines<false, false>(w, source, sourceLine, transparent, target, targetLine, convert);
}

} // namespace

// ---- mTransform

mTransform::mTransform() : rotation(0.0f), shear(0.0f), scaleX(1.0f), scaleY(1.0f) { recalc(); }

mTransform::mTransform(float rotation, float shear, float scaleX, float scaleY)
    : rotation(rotation), shear(shear), scaleX(scaleX), scaleY(scaleY) {
    recalc();
}

void mTransform::setRotation(float degrees) {
    rotation = degrees;
    recalc();
}

void mTransform::setShear(float degrees) {
    shear = degrees;
    recalc();
}

void mTransform::setScaleX(float scale) {
    scaleX = scale;
    recalc();
}

void mTransform::setScaleY(float scale) {
    scaleY = scale;
    recalc();
}

// Scaling outermost, the shear between rotation and scale. The inverse is formed directly,
// since the determinant is scaleX * scaleY.
void mTransform::recalc() {
    shear = clampShear(shear);
    rotation = wrapDegrees(rotation);
    const double t = std::tan(shear * degreesToRadians);
    const double c = std::cos(rotation * degreesToRadians);
    const double s = std::sin(rotation * degreesToRadians);
    const double sx = scaleX, sy = scaleY;
    shearTangent = (float)t;
    m00 = (float)(c * sx);
    m01 = (float)(-(s * sx));
    m10 = (float)((s + c * t) * sy);
    m11 = (float)((c - s * t) * sy);
    i00 = (float)((c - s * t) / sx);
    i01 = (float)(s / sy);
    i10 = (float)(-(c * t + s) / sx);
    i11 = (float)(c / sy);
}

mFPoint mTransform::transform(const mFPoint &p) const {
    return mFPoint((float)((double)m00 * p.x + (double)m01 * p.y), (float)((double)m10 * p.x + (double)m11 * p.y));
}

mFPoint mTransform::inverse(const mFPoint &p) const {
    return mFPoint((float)((double)i00 * p.x + (double)i01 * p.y), (float)((double)i10 * p.x + (double)i11 * p.y));
}

mFRect mTransform::bounds(const mRect &r) const {
    const mFPoint corners[4] = {transform(mFPoint((float)r.left, (float)r.top)),
                                transform(mFPoint((float)r.right, (float)r.top)),
                                transform(mFPoint((float)r.left, (float)r.bottom)),
                                transform(mFPoint((float)r.right, (float)r.bottom))};
    mFRect box(corners[0].x, corners[0].y, corners[0].x, corners[0].y);
    for (const mFPoint &p : corners) {
        box.left = std::min(box.left, p.x);
        box.top = std::min(box.top, p.y);
        box.right = std::max(box.right, p.x);
        box.bottom = std::max(box.bottom, p.y);
    }
    return box;
}

mRect mTransform::intBounds(const mRect &r) const {
    const mFRect box = bounds(r);
    return mRect(toLong(box.left - 0.5), toLong(box.top - 0.5), toLong(box.right + 0.5), toLong(box.bottom + 0.5));
}

mSize mTransform::newSize(const mSize &s) const {
    const mFRect box = bounds(mRect(0, 0, s.cx, s.cy));
    return mSize(round(box.right - box.left), round(box.bottom - box.top));
}

int mTransform::round(float v) {
    const double half = v >= 0.0f ? (double)v + 0.5 : (double)v - 0.5;
    return (int)toFixed(half, (double)INT_MAX);
}

bool mTransform::framePixel(const mPoint &p, const mRect &frame, const mFPoint &origin, mPoint &pixel) const {
    const mFPoint q = inverse(mFPoint((float)((double)p.x - origin.x), (float)((double)p.y - origin.y)));
    const double x = (double)toLong(q.x) + frame.left, y = (double)toLong(q.y) + frame.top;
    if (x < frame.left || x >= frame.right || y < frame.top || y >= frame.bottom)
        return false;
    pixel = mPoint((long)x, (long)y);
    return true;
}

// ---- mTransformWalk

mTransformWalk::mTransformWalk(const mRect &area, const mRect &clip, const mSize &sourceSize, const mPoint &position,
                               const mFPoint &origin, const mTransform &t) {
    // Three corners of the area, taken into source space.
    const float lx = (float)((double)area.left - position.x - origin.x);
    const float rx = (float)((double)area.right - position.x - origin.x);
    const float by = (float)((double)area.bottom - position.y - origin.y);
    const float ty = (float)((double)area.top - position.y - origin.y);
    const mFPoint bl = t.inverse(mFPoint(lx, by)), br = t.inverse(mFPoint(rx, by)), tl = t.inverse(mFPoint(lx, ty));

    const double w = area.width() * (double)stretch, h = ((double)area.top - area.bottom) * stretch;
    colStepX = toFixed(((double)br.x - bl.x) / w * unit, stepLimit);
    rowStepX = toFixed(-((double)br.y - bl.y) / w * unit, stepLimit);
    colStepY = toFixed(((double)bl.x - tl.x) / h * unit, stepLimit);
    rowStepY = toFixed(-((double)bl.y - tl.y) / h * unit, stepLimit);

    col = toFixed((clip.left + (double)bl.x) * unit, startLimit);
    row = toFixed((clip.bottom - (double)bl.y) * unit, startLimit);
    // A walk in the falling direction must not begin exactly on a pixel boundary.
    col -= (colStepX < 0) + (colStepY < 0);
    row -= (rowStepX < 0) + (rowStepY < 0);

    // The limits are the clip, and never more than the source holds.
    left = (long long)std::max(clip.left, 0L) << 16;
    right = (long long)std::min(clip.right, sourceSize.cx) << 16;
    top = (long long)std::max(clip.top, 0L) << 16;
    bottom = (long long)std::min(clip.bottom, sourceSize.cy) << 16;

    x0 = area.left;
    x1 = area.right;
    lines = area.height();
}

void mTransformWalk::draw(const unsigned char *source, long sourceLine, unsigned transparent, unsigned char *target,
                          long targetLine) const {
    walk(*this, source, sourceLine, transparent, target, targetLine, [](unsigned v) { return (unsigned char)v; });
}

void mTransformWalk::draw(const unsigned short *source, long sourceLine, unsigned transparent, unsigned short *target,
                          long targetLine) const {
    walk(*this, source, sourceLine, transparent, target, targetLine, [](unsigned v) { return (unsigned short)v; });
}

void mTransformWalk::draw(const unsigned short *source, long sourceLine, unsigned transparent,
                          const unsigned char *mapping, unsigned char *target, long targetLine) const {
    walk(*this, source, sourceLine, transparent, target, targetLine, [mapping](unsigned v) { return mapping[m8Bit::mappingKey(v)]; });
}

void mTransformWalk::draw(const unsigned char *source, long sourceLine, unsigned transparent,
                          const unsigned short *table, unsigned short *target, long targetLine) const {
    walk(*this, source, sourceLine, transparent, target, targetLine, [table](unsigned v) { return table[v]; });
}
