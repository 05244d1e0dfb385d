// A 2-by-2 linear map made of a rotation, a shear and two scales, kept with its inverse; and
// the fixed-point walk by which images are drawn through it.
#pragma once
#include "mUtil/mGeometry.h"

class VELNOR_API mTransform {
public:
    // The identity: no rotation, no shear, scales 1.
    mTransform();
    // Degrees of rotation and of shear; the scales must not be 0.
    mTransform(float rotation, float shear, float scaleX, float scaleY);

    // Rotation is kept in 0 up to 360, shear in -70 to 70.
    void setRotation(float degrees);
    void setShear(float degrees);
    void setScaleX(float scale);
    void setScaleY(float scale);
    float getRotation() const { return rotation; }
    float getShear() const { return shear; }
    float getScaleX() const { return scaleX; }
    float getScaleY() const { return scaleY; }
    // The horizontal offset of the shear over a height.
    float getShearDelta(float length) const { return length * shearTangent; }

    mFPoint transform(const mFPoint &p) const;
    mFPoint inverse(const mFPoint &p) const;
    // The box of the transformed corners of r.
    mFRect bounds(const mRect &r) const;
    // The same box, widened by half a pixel on each side and cut toward zero.
    mRect intBounds(const mRect &r) const;
    // The size of the transformed box of an image of size s.
    mSize newSize(const mSize &s) const;
    // Half away from zero.
    static int round(float v);
    // The source pixel under point p of the transformed box, in a frame of the source whose
    // top left is the source's origin; false if it lies outside the frame.
    bool framePixel(const mPoint &p, const mRect &frame, const mFPoint &origin, mPoint &pixel) const;

private:
    void recalc();

    float m00, m01, m10, m11;
    float i00, i01, i10, i11;
    float rotation;
    float shear;
    float scaleX, scaleY;
    float shearTangent;
};

// The walk of a transformed copy, set up once per copy in floating point and then run in
// 16.16 fixed point. The target is walked line by line from the bottom line of the area up,
// and each target pixel samples the source pixel at the nearest lower stored position.
// Source positions count stored rows (row 0 is the bottom row of the image). Every read lies
// within the clip and the source, whatever the transform.
class VELNOR_API mTransformWalk {
public:
    // `area` is the part of the target to repaint, already within the target; `clip` the part
    // of the source that may be read; `position` where the transformed box lies in the target,
    // and `origin` the point of that box where the source's origin lands.
    mTransformWalk(const mRect &area, const mRect &clip, const mSize &sourceSize, const mPoint &position,
                   const mFPoint &origin, const mTransform &t);

    // Each draws the source into the target: `target` points at the first pixel of the
    // stored row that holds the bottom line of the area, and one line up lies `targetLine`
    // pixels further on; `sourceLine` is the source's distance between stored rows in pixels.
    // A source value equal to `transparent` leaves the target alone; a value out of the
    // pixel's range (0x100, 0x10000) stands for none.
    void draw(const unsigned char *source, long sourceLine, unsigned transparent, unsigned char *target,
              long targetLine) const;
    void draw(const unsigned short *source, long sourceLine, unsigned transparent, unsigned short *target,
              long targetLine) const;
    // 15-bit pixels into 8 bits through the 4096 entries of a colour-key table.
    void draw(const unsigned short *source, long sourceLine, unsigned transparent, const unsigned char *mapping,
              unsigned char *target, long targetLine) const;
    // 8-bit pixels into 15 bits through a table of 256 words.
    void draw(const unsigned char *source, long sourceLine, unsigned transparent, const unsigned short *table,
              unsigned short *target, long targetLine) const;

    // The start of the bottom line, the steps per target pixel to the right (X) and per line
    // up (Y), and the limits of the readable part of the source, all in 16.16.
    long long col, row;
    long long colStepX, rowStepX, colStepY, rowStepY;
    long long left, right, top, bottom;
    // The columns of the area and the number of its lines.
    long x0, x1, lines;
};
