#include "mSprite/mSprite.h"

#include "mSprite/mAnimator.h"
#include "mSprite/mBitMap.h"
#include "mSprite/mSpriteContext.h"
#include "mSprite/mSpriteGroup.h"

static const char srcPath[] = "mSprite/mSprite";

namespace {

long long area(const mRect &r) { return (long long)r.width() * r.height(); }

mRect imageRect(const mBitMap *image) {
    const mSize s = image->getSize();
    return mRect(0, 0, s.cx, s.cy);
}

} // namespace

// ---- mAnimObject

mAnimObject::mAnimObject(mSpriteContext *context, long id) : context(context), animator(nullptr), id(id) {}

mAnimObject::~mAnimObject() { removeAnimator(); }

mRect mAnimObject::getBounds() const { return mRect(); }

int mAnimObject::getOverlap(const mAnimObject *other) const {
    const mRect mine = getBounds();
    if (mine.isEmpty())
        return 0;
    mRect common = other->getBounds();
    common &= mine;
    if (common.isEmpty())
        return 0;
    const int percent = (int)(area(common) * 100 / area(mine));
    return percent < 1 ? 1 : percent;
}

void mAnimObject::removeAnimator() { removeAnimator(true); }

void mAnimObject::removeAnimator(bool destroy) {
    mAnimator *a = animator;
    animator = nullptr;
    // The animator's destructor takes it out of the context's running list.
    if (destroy)
        delete a;
}

void mAnimObject::setAnimator(mAnimator *a) {
    if (a && !context)
        VELNOR_THROW("Cannot animate if not in context", 0);
    if (a != animator)
        removeAnimator();
    animator = a;
}

void mAnimObject::setContext(mSpriteContext *newContext) {
    if (context && animator)
        removeAnimator();
    context = newContext;
}

// ---- mSprite: life

mSprite::mSprite(const mBitMap *image, int priority, long id, const mPoint &position, mSpriteContext *context)
    : mAnimObject(nullptr, id), prev(nullptr), next(nullptr), bitMap(image ? image->use() : nullptr),
      group(nullptr), priority(priority), visible(image != nullptr), transformed(false) {
    if (bitMap)
        clip = imageRect(bitMap);
    bounds = mRect(position.x, position.y, position.x + clip.width(), position.y + clip.height());
    if (context) {
        try {
            context->insert(this);
        } catch (...) {
            if (bitMap)
                bitMap->free();
            throw;
        }
    }
}

mSprite::mSprite(bool top)
    : mAnimObject(nullptr, 0), prev(nullptr), next(nullptr), bitMap(nullptr), group(nullptr),
      priority(top ? 32767 : -32767), visible(false), transformed(false) {}

mSprite::~mSprite() {
    if (mSpriteContext *c = getContext())
        c->remove(this);
    if (group)
        group->remove(this);
    if (bitMap)
        bitMap->free();
}

void mSprite::link(mSpriteContext *newContext, mSprite *after) {
    if (getContext())
        VELNOR_THROW("Sprite already connected to context", 0);
    if (visible && !bitMap)
        VELNOR_THROW("Sprite does not have a bitmap", 0);
    prev = after;
    next = after->next;
    after->next = this;
    next->prev = this;
    setContext(newContext);
}

void mSprite::delink(mSpriteContext *oldContext) {
    if (!oldContext || getContext() != oldContext)
        VELNOR_THROW("Sprite already disconnected from context", 0);
    prev->next = next;
    next->prev = prev;
    prev = next = nullptr;
    setContext(nullptr);
}

// ---- mSprite: image and geometry

mBitMap *mSprite::getBitMap() const { return bitMap ? bitMap->use() : nullptr; }

void mSprite::setBitMap(const mBitMap *image) {
    if (!image)
        return;
    // The new image is taken before the old one goes, so that setting the same one is safe.
    mBitMap *old = bitMap;
    bitMap = image->use();
    if (!old)
        visible = true;
    reshape(imageRect(bitMap));
    if (old)
        old->free();
}

void mSprite::reshape(const mRect &newClip) {
    changed();
    const bool wasTransformed = transformed;
    const mTransform kept = transform;
    if (wasTransformed)
        setTransform();
    clip = newClip;
    fitToClip();
    if (wasTransformed)
        setTransform(kept);
    changed();
}

mRect mSprite::getBounds() const { return visible ? bounds : mRect(); }

mRect mSprite::getVisibleBounds() const {
    mRect r = getBounds();
    if (!displayClip.isEmpty())
        r &= displayClip;
    return r;
}

mTransform mSprite::getTransform() const { return transformed ? transform : mTransform(); }

void mSprite::setPriority(int newPriority) {
    priority = newPriority;
    mSpriteContext *c = getContext();
    if (!c)
        return;
    // The animator stays in the context's running list while the sprite changes places.
    mAnimator *kept = getAnimator();
    removeAnimator(false);
    c->remove(this);
    c->insert(this);
    setAnimator(kept);
}

void mSprite::setPosition(const mPoint &p) { move((int)(p.x - bounds.left), (int)(p.y - bounds.top)); }

void mSprite::move(int dx, int dy) {
    changed();
    bounds += mPoint(dx, dy);
    changed();
}

void mSprite::setVisible(bool show) {
    if (show == visible || !bitMap)
        return;
    visible = show;
    if (mSpriteContext *c = getContext())
        c->addDirty(bounds);
}

void mSprite::setClip(const mRect &r) {
    if (r.isEmpty()) {
        clearClip();
        return;
    }
    if (!bitMap)
        return;
    mRect part = imageRect(bitMap);
    part &= r;
    reshape(part);
}

void mSprite::clearClip() {
    if (bitMap)
        reshape(imageRect(bitMap));
}

void mSprite::constrainDisplay(const mRect &r) {
    changed();
    displayClip = r;
}

void mSprite::setTransform(const mTransform &t) {
    const mFPoint center(0.5f * clip.width(), 0.5f * clip.height());
    setTransform();
    const long l = bounds.left, top = bounds.top;
    transform = t;
    bounds -= mPoint(l, top);
    transformed = true;
    const mFRect box = transform.bounds(bounds);
    transformOrigin = mFPoint(-box.left, -box.top);
    bounds = mRect(l, top, (long)(box.right - box.left + l + 1.0), (long)(box.bottom - box.top + top + 1.0));
    const mFPoint c = t.transform(center);
    bounds -= mPoint((long)(c.x - center.x + transformOrigin.x), (long)(c.y - center.y + transformOrigin.y));
    transformShift = mPoint(l - bounds.left, top - bounds.top);
    changed();
}

void mSprite::setTransform() {
    changed();
    if (!transformed)
        return;
    bounds += transformShift;
    transformed = false;
    fitToClip();
    changed();
}

void mSprite::fitToClip() {
    bounds.right = bounds.left + clip.width();
    bounds.bottom = bounds.top + clip.height();
}

void mSprite::update() {
    if (mSpriteContext *c = getContext())
        c->update();
}

void mSprite::changed() {
    if (visible)
        if (mSpriteContext *c = getContext())
            c->addDirty(bounds);
}

// ---- mSprite: drawing and hits

void mSprite::draw(mBitMap *target, mRect &area) {
    if (!displayClip.isEmpty())
        area &= displayClip;
    if (transformed) {
        target->copy(bitMap, area, clip, mPoint(bounds.left, bounds.top), transformOrigin, transform);
        return;
    }
    const long dx = clip.left - bounds.left, dy = clip.top - bounds.top;
    target->copy(bitMap, mRect(area.left + dx, area.top + dy, area.right + dx, area.bottom + dy),
                 mPoint(area.left, area.top));
}

bool mSprite::isSolid(const mPoint &p) {
    if (!displayClip.isEmpty() && !displayClip.hasPoint(p))
        return false;
    if (transformed)
        return bitMap->isSolid(mPoint(p.x - bounds.left, p.y - bounds.top), clip, transformOrigin, transform);
    return bitMap->isSolid(mPoint(clip.left - bounds.left + p.x, clip.top - bounds.top + p.y));
}
