// Plain geometry values: points, sizes, half-open rectangles and insets.
#pragma once
#include "mUtil/mDefs.h"

struct VELNOR_API mPoint {
    long x, y;
    mPoint() : x(0), y(0) {}
    mPoint(long x, long y) : x(x), y(y) {}
    bool operator==(const mPoint &p) const { return x == p.x && y == p.y; }
    bool operator!=(const mPoint &p) const { return !(*this == p); }
    mPoint &operator+=(const mPoint &p) { x += p.x; y += p.y; return *this; }
    mPoint &operator-=(const mPoint &p) { x -= p.x; y -= p.y; return *this; }
    int distance(const mPoint &p) const;
};

struct VELNOR_API mFPoint {
    float x, y;
    mFPoint() : x(0.0f), y(0.0f) {}
    mFPoint(float x, float y) : x(x), y(y) {}
    mFPoint(const mPoint &p) : x((float)p.x), y((float)p.y) {}
    mFPoint &operator+=(const mFPoint &p) { x += p.x; y += p.y; return *this; }
    mFPoint &operator-=(const mFPoint &p) { x -= p.x; y -= p.y; return *this; }
};

struct VELNOR_API mSize {
    long cx, cy;
    mSize() : cx(0), cy(0) {}
    mSize(long cx, long cy) : cx(cx), cy(cy) {}
    bool operator==(const mSize &s) const { return cx == s.cx && cy == s.cy; }
    bool operator!=(const mSize &s) const { return !(*this == s); }
    mSize &operator&=(const mSize &s);
    mSize &operator|=(const mSize &s);
};

struct VELNOR_API mInset {
    long left, top, right, bottom;
    mInset() : left(0), top(0), right(0), bottom(0) {}
    mInset(long l, long t, long r, long b) : left(l), top(t), right(r), bottom(b) {}
    bool operator==(const mInset &i) const {
        return left == i.left && top == i.top && right == i.right && bottom == i.bottom;
    }
    bool operator!=(const mInset &i) const { return !(*this == i); }
};

struct VELNOR_API mRect {
    long left, top, right, bottom;
    mRect() : left(0), top(0), right(0), bottom(0) {}
    mRect(long l, long t, long r, long b) : left(l), top(t), right(r), bottom(b) {}
    bool operator==(const mRect &r) const {
        return left == r.left && top == r.top && right == r.right && bottom == r.bottom;
    }
    bool operator!=(const mRect &r) const { return !(*this == r); }
    int width() const { return (int)(right - left); }
    int height() const { return (int)(bottom - top); }
    bool isEmpty() const { return left >= right || top >= bottom; }
    void setEmpty() { left = right = 0; }
    bool hasPoint(const mPoint &p) const { return left <= p.x && p.x < right && top <= p.y && p.y < bottom; }
    void zeroOrigin();
    mRect &operator+=(const mPoint &p);
    mRect &operator-=(const mPoint &p);
    mRect &operator+=(const mInset &i);
    mRect &operator-=(const mInset &i);
    mRect &operator&=(const mRect &r);
    mRect &operator|=(const mRect &r);
};

struct VELNOR_API mFRect {
    float left, top, right, bottom;
    mFRect() : left(0.0f), top(0.0f), right(0.0f), bottom(0.0f) {}
    mFRect(float l, float t, float r, float b) : left(l), top(t), right(r), bottom(b) {}
};
