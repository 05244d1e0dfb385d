// The things the compositor moves: mAnimObject, anything with an id, a context and at most
// one animator; and mSprite, an image placed in a sprite context with a priority, a source
// clip, a display clip and a transform. A sprite reports every change of what it covers to
// its context and draws nothing until the context repaints.
#pragma once
#include "mSprite/mTransform.h"
#include "mUtil/mGeometry.h"

class mAnimator;
class mArea;
class mBitMap;
class mSpriteContext;
class mSpriteGroup;

class VELNOR_API mAnimObject {
public:
    // Deletes the animator.
    virtual ~mAnimObject();

    // The rectangle covered in context coordinates; empty by default.
    virtual mRect getBounds() const;
    // How much of this object's bounds the other's cover, in percent; 1 at least for any
    // real overlap, 0 for none.
    virtual int getOverlap(const mAnimObject *other) const;
    virtual mPoint getPosition() = 0;
    virtual void setVisible(bool visible) = 0;
    virtual void setPosition(const mPoint &p) = 0;
    virtual void move(int dx, int dy) = 0;
    // Hooks for titles; the library never calls them.
    virtual void dragObject(const mPoint &p, int dx, int dy) {}
    virtual void releaseObject(mArea *area, const mPoint &p, bool dropped) {}
    // Called by the animator at its end; the result says whether the context must repaint.
    virtual bool animationDone(mAnimator *animator, bool finished) { return false; }
    virtual int getSourceAreaId() { return 0; }

    long getId() const { return id; }
    void setId(long newId) { id = newId; }
    mSpriteContext *getContext() const { return context; }
    mAnimator *getAnimator() const { return animator; }
    // Stops and deletes the animator, if there is one.
    void removeAnimator();

protected:
    mAnimObject(mSpriteContext *context, long id);
    // Leaving a context deletes the animator, which runs on the old context's idle ticks.
    void setContext(mSpriteContext *newContext);

private:
    friend class mAnimator;
    friend class mSprite;
    mAnimObject(const mAnimObject &);
    mAnimObject &operator=(const mAnimObject &);

    // With false the animator is only detached, so that it can be attached again.
    void removeAnimator(bool destroy);
    // Replaces (and deletes) the animator; the object must be in a context.
    void setAnimator(mAnimator *a);

    mSpriteContext *context;
    mAnimator *animator;
    long id;
};

class VELNOR_API mSprite : public mAnimObject {
public:
    // Without an image the sprite is invisible and of size 0 until setBitMap gives it one.
    mSprite(const mBitMap *image, int priority, long id, const mPoint &position, mSpriteContext *context);
    // Leaves the context and the group, and releases the image.
    ~mSprite() override;

    // A counted reference: the caller frees it.
    mBitMap *getBitMap() const;
    const mBitMap *examineBitMap() const { return bitMap; }
    void setBitMap(const mBitMap *image);

    mPoint getPosition() override { return mPoint(bounds.left, bounds.top); }
    mSize getSize() const { return mSize(bounds.right - bounds.left, bounds.bottom - bounds.top); }
    // The bounds while visible, else empty.
    mRect getBounds() const override;
    // getBounds cut to the display clip.
    mRect getVisibleBounds() const;
    int getPriority() const { return priority; }
    bool isVisible() const { return visible; }
    const mRect &getClip() const { return clip; }
    const mRect &getDisplayClip() const { return displayClip; }
    mSpriteGroup *getGroup() const { return group; }
    // The transform in force, the identity without one.
    mTransform getTransform() const;

    // Moves the sprite in its context's list; its animator keeps running.
    void setPriority(int newPriority);
    void setPosition(const mPoint &p) override;
    void move(int dx, int dy) override;
    void setVisible(bool show) override;
    // Shows only the part of the image within `r` (image coordinates) at the sprite's position;
    // an empty `r` shows the whole image again.
    void setClip(const mRect &r);
    void clearClip();
    // Nothing outside `r` (context coordinates) is drawn or hit; empty means no limit.
    void constrainDisplay(const mRect &r);
    // Draws the image through `t`, keeping its centre where it was.
    void setTransform(const mTransform &t);
    // Back to the plain image at the position it had before the transform.
    void setTransform();
    void update();

    virtual mAnimObject *pickObject(const mPoint &p) { return nullptr; }

private:
    friend class mSpriteContext;
    friend class mSpriteGroup;
    mSprite(const mSprite &);
    mSprite &operator=(const mSprite &);

    // A sentinel of a context's list: the lowest (top false) or the highest.
    explicit mSprite(bool top);

    void changed();
    void link(mSpriteContext *newContext, mSprite *after);
    void delink(mSpriteContext *oldContext);
    // Draws the part `area` of the sprite (context coordinates, within the bounds) into
    // `target`; `area` ends cut to the display clip.
    void draw(mBitMap *target, mRect &area);
    // Whether the image is opaque at `p`, context coordinates.
    bool isSolid(const mPoint &p);
    // Puts the plain bounds back to the size of the clip, at the same left and top.
    void fitToClip();
    // Shows `newClip` of the image, through the transform if there is one.
    void reshape(const mRect &newClip);
    mSprite *getNext() const { return next; }
    mSprite *getPrev() const { return prev; }
    void forceNext(mSprite *s) { next = s; }
    void forcePrev(mSprite *s) { prev = s; }
    void setGroup(mSpriteGroup *g) { group = g; }

    mSprite *prev;
    mSprite *next;
    mBitMap *bitMap;
    mSpriteGroup *group;
    mRect bounds;
    mRect displayClip;
    mRect clip;
    int priority;
    bool visible;
    bool transformed;
    mTransform transform;
    mPoint transformShift;
    mFPoint transformOrigin;
};
