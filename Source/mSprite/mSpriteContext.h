// The compositor: a priority-ordered list of sprites over one memory image, one dirty
// rectangle gathering every change, a repaint of that rectangle into the image followed by
// one copy to the window, and the running animators ticked from idle rounds.
#pragma once
#include "mSprite/mSprite.h"
#include "mUtil/mApp.h"

#include <vector>

class m8BitMemImage;
class mGraphics;
class mWindow;

class VELNOR_API mSpriteContext : public mAppListener {
public:
    enum { lowestPriority = -32766, highestPriority = 32766 };

    // Composes into the memory image and shows it in `window`; both are required.
    mSpriteContext(m8BitMemImage *image, mWindow *window);
    // Composes into `image`; window copies read from `source`.
    mSpriteContext(mBitMap *image, mGraphics *source, mWindow *window);
    // The image and its surface come later, through setBitMap and setGraphics.
    explicit mSpriteContext(mWindow *window);
    // Composes into memory only; animators of its sprites never tick.
    explicit mSpriteContext(mBitMap *image);
    // Deletes the sprites still in the list, and their animators with them.
    ~mSpriteContext() override;

    // Places a sprite under those of its own priority; it must be in no context.
    void insert(mSprite *s);
    // Takes a sprite out of the list without deleting it.
    void remove(mSprite *s);
    // Deletes every sprite with a priority in the closed range.
    void remove(int lowPriority, int highPriority);
    void addDirty(const mRect &r) { dirty |= r; }
    const mRect &getDirty() const { return dirty; }
    // Redraws what the dirty rectangle meets into the image and copies it to the window.
    void update();
    // Copies `area` of the image (image coordinates) to `target`, where the window shows it.
    void update(mGraphics *target, mRect area);

    // The highest sprite at `p` (image coordinates) with a priority of at least
    // `minPriority`, solid there unless `anyPixel`; null if none.
    mSprite *findSprite(const mPoint &p, int minPriority, bool anyPixel);
    // The highest sprite with this id, null if none.
    mSprite *findSprite(long id);
    // A new array (the caller's to delete[]) of the sprites in the closed range, lowest first.
    mSprite **getSprites(int &count, int lowPriority, int highPriority);

    void setBitMap(mBitMap *image);
    void setGraphics(mGraphics *graphics);
    void setBounds(const mRect &r);
    void setOrigin(const mPoint &p) { origin = p; }
    mPoint translate2Context(mPoint p) const;
    mPoint translate2Window(mPoint p) const;
    // A counted reference: the caller frees it.
    mBitMap *getBitMap() const;
    bool isValidBitMap() const { return bitMap != nullptr; }
    mSize getDisplaySize() const;
    const mRect &getBounds() const { return bounds; }
    mPoint getBoundsOrigin() const { return mPoint(bounds.left, bounds.top); }
    const mPoint &getOrigin() const { return origin; }
    const mSize &getSize() const { return size; }
    mWindow *getWindow() const { return window; }
    int getCount() const { return count; }
    int getAnimationCount() const { return (int)animators.size(); }

    // One tick of every running animator, then a repaint if anything moved.
    void onIdle(unsigned long idleCount) override;

private:
    friend class mAnimator;
    mSpriteContext(const mSpriteContext &);
    mSpriteContext &operator=(const mSpriteContext &);

    void init(mBitMap *image, mGraphics *graphics, mWindow *target, bool needsWindow, bool needsImage);
    void addAnimator(mAnimator *a);
    void removeAnimator(mAnimator *a);

    std::vector<mAnimator *> animators;
    mPoint origin;
    mBitMap *bitMap;
    mGraphics *source;
    mSprite first;
    mSprite last;
    mSprite *cursor;
    mWindow *window;
    mRect dirty;
    mSize size;
    mRect bounds;
    int count;
    bool animatorsChanged;
};
