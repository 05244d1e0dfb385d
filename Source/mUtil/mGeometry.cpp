#include "mUtil/mGeometry.h"

#include <cmath>

int mPoint::distance(const mPoint &p) const {
    int dx = (int)(x - p.x), dy = (int)(y - p.y);
    // The sum is formed in 32 bits on purpose: large coordinates overflow as they always have.
    int sum = (int)((unsigned)(dx * dx) + (unsigned)(dy * dy));
    return (int)std::sqrt((double)sum);
}

mSize &mSize::operator&=(const mSize &s) {
    if (s.cx < cx) cx = s.cx;
    if (s.cy < cy) cy = s.cy;
    return *this;
}

mSize &mSize::operator|=(const mSize &s) {
    if (s.cx > cx) cx = s.cx;
    if (s.cy > cy) cy = s.cy;
    return *this;
}

void mRect::zeroOrigin() {
    right -= left;
    bottom -= top;
    left = top = 0;
}

mRect &mRect::operator+=(const mPoint &p) {
    left += p.x; right += p.x;
    top += p.y; bottom += p.y;
    return *this;
}

mRect &mRect::operator-=(const mPoint &p) {
    left -= p.x; right -= p.x;
    top -= p.y; bottom -= p.y;
    return *this;
}

mRect &mRect::operator+=(const mInset &i) {
    left -= i.left; top -= i.top;
    right += i.right; bottom += i.bottom;
    return *this;
}

mRect &mRect::operator-=(const mInset &i) {
    left += i.left; top += i.top;
    right -= i.right; bottom -= i.bottom;
    return *this;
}

mRect &mRect::operator&=(const mRect &r) {
    if (r.isEmpty()) {
        setEmpty();
        return *this;
    }
    if (r.left > left) left = r.left;
    if (r.top > top) top = r.top;
    if (r.right < right) right = r.right;
    if (r.bottom < bottom) bottom = r.bottom;
    return *this;
}

mRect &mRect::operator|=(const mRect &r) {
    if (r.isEmpty())
        return *this;
    if (isEmpty()) {
        *this = r;
        return *this;
    }
    if (r.left < left) left = r.left;
    if (r.top < top) top = r.top;
    if (r.right > right) right = r.right;
    if (r.bottom > bottom) bottom = r.bottom;
    return *this;
}
