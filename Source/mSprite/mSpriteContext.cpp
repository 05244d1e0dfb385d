#include "mSprite/mSpriteContext.h"

#include "mSprite/m8BitMemImage.h"
#include "mSprite/mAnimator.h"
#include "mUtil/mTimer.h"
#include "mWindow/mWindow.h"

#include <algorithm>
#include <memory>

// The context and its sprites are one family to a title: their failures share one path.
static const char srcPath[] = "mSprite/mSprite";

// ---- Life

mSpriteContext::mSpriteContext(m8BitMemImage *image, mWindow *window)
    : bitMap(nullptr), source(nullptr), first(false), last(true) {
    init(image, image, window, true, true);
}

mSpriteContext::mSpriteContext(mBitMap *image, mGraphics *source, mWindow *window)
    : bitMap(nullptr), source(nullptr), first(false), last(true) {
    init(image, source, window, true, true);
}

mSpriteContext::mSpriteContext(mWindow *window) : bitMap(nullptr), source(nullptr), first(false), last(true) {
    init(nullptr, nullptr, window, true, false);
}

mSpriteContext::mSpriteContext(mBitMap *image) : bitMap(nullptr), source(nullptr), first(false), last(true) {
    init(image, nullptr, nullptr, false, true);
}

void mSpriteContext::init(mBitMap *image, mGraphics *graphics, mWindow *target, bool needsWindow, bool needsImage) {
    if (needsWindow && !target)
        VELNOR_THROW("Must have attached window for this sprite context", 0);
    if (needsImage && !image)
        VELNOR_THROW("Missing bitmap for sprite context", 0);
    first.next = &last;
    last.prev = &first;
    cursor = &first;
    window = target;
    count = 0;
    animatorsChanged = false;
    source = graphics;
    if (image) {
        bitMap = image->use();
        size = image->getSize();
        bounds = mRect(0, 0, size.cx, size.cy);
    }
}

mSpriteContext::~mSpriteContext() {
    remove(lowestPriority, highestPriority);
    // What still runs belongs to objects that are not sprites, groups for one: their
    // animators go now, while the list that they leave is still there.
    // The last one to leave ends the context's idle listening.
    std::vector<mAnimator *> left(animators);
    for (mAnimator *a : left) {
        if (a->getObject()->getAnimator() == a)
            a->getObject()->removeAnimator();
        else
            removeAnimator(a);
    }
    if (bitMap)
        bitMap->free();
    first.next = last.prev = nullptr;
}

// ---- The list

void mSpriteContext::insert(mSprite *s) {
    if (!s)
        return;
    // Within the sentinels' priorities every walk below ends at one of them.
    const int p = s->priority = std::min(std::max(s->priority, (int)lowestPriority), (int)highestPriority);
    mSprite *c = cursor;
    if (c->priority < p) {
        while (c->priority < p)
            c = c->next;
        c = c->prev;
    } else {
        while (c->priority >= p)
            c = c->prev;
    }
    s->link(this, c);
    cursor = c;
    ++count;
    dirty |= s->getBounds();
}

void mSpriteContext::remove(mSprite *s) {
    if (!s)
        return;
    if (cursor == s)
        cursor = s->next;
    s->delink(this);
    --count;
    dirty |= s->getBounds();
}

void mSpriteContext::remove(int lowPriority, int highPriority) {
    mSprite *s = first.next;
    while (s != &last && s->priority < lowPriority)
        s = s->next;
    while (s != &last && s->priority <= highPriority) {
        mSprite *following = s->next;
        delete s;
        s = following;
    }
}

mSprite *mSpriteContext::findSprite(const mPoint &p, int minPriority, bool anyPixel) {
    for (mSprite *s = last.prev; s != &first; s = s->prev) {
        if (s->priority < minPriority)
            return nullptr;
        if (s->getVisibleBounds().hasPoint(p) && (anyPixel || s->isSolid(p)))
            return s;
    }
    return nullptr;
}

mSprite *mSpriteContext::findSprite(long id) {
    for (mSprite *s = last.prev; s != &first; s = s->prev)
        if (s->getId() == id)
            return s;
    return nullptr;
}

mSprite **mSpriteContext::getSprites(int &found, int lowPriority, int highPriority) {
    found = 0;
    for (mSprite *s = first.next; s != &last; s = s->next)
        if (s->priority >= lowPriority && s->priority <= highPriority)
            ++found;
    mSprite **list = new mSprite *[std::max(found, 1)];
    int i = 0;
    for (mSprite *s = first.next; s != &last && i < found; s = s->next)
        if (s->priority >= lowPriority && s->priority <= highPriority)
            list[i++] = s;
    return list;
}

// ---- Painting

void mSpriteContext::update() {
    if (dirty.isEmpty() || !bitMap)
        return;
    for (mSprite *s = first.next; s != &last; s = s->next) {
        if (!s->visible)
            continue;
        mRect area = s->getBounds();
        area &= dirty;
        if (!area.isEmpty())
            s->draw(bitMap, area);
    }
    if (window) {
        std::unique_ptr<mGraphics> g(window->getGraphics());
        update(g.get(), dirty);
    }
    dirty.setEmpty();
}

void mSpriteContext::update(mGraphics *target, mRect area) {
    if (!source)
        return;
    area &= bounds;
    if (area.isEmpty())
        return;
    target->copyImage(source, area,
                      mPoint(area.left + origin.x - bounds.left, area.top + origin.y - bounds.top));
}

// ---- The image and its place in the window

void mSpriteContext::setBitMap(mBitMap *image) {
    if (bitMap) {
        bitMap->free();
        bitMap = nullptr;
        source = nullptr;
    }
    if (!image)
        return;
    bitMap = image->use();
    size = image->getSize();
    bounds = mRect(0, 0, size.cx, size.cy);
    dirty |= bounds;
}

void mSpriteContext::setGraphics(mGraphics *graphics) {
    if (source)
        VELNOR_THROW("Graphics context already setup", 0);
    source = graphics;
}

void mSpriteContext::setBounds(const mRect &r) {
    if (r.left < 0 || r.top < 0 || r.right > size.cx || r.bottom > size.cy)
        VELNOR_THROW("Bounds of sprite context must be all or subset of total area", 0);
    bounds = r;
}

mPoint mSpriteContext::translate2Context(mPoint p) const {
    return mPoint(p.x - origin.x + bounds.left, p.y - origin.y + bounds.top);
}

mPoint mSpriteContext::translate2Window(mPoint p) const {
    return mPoint(p.x + origin.x - bounds.left, p.y + origin.y - bounds.top);
}

mBitMap *mSpriteContext::getBitMap() const { return bitMap ? bitMap->use() : nullptr; }

mSize mSpriteContext::getDisplaySize() const {
    if (!bitMap || bounds.isEmpty())
        return mSize();
    return mSize(bounds.width(), bounds.height());
}

// ---- Animators

void mSpriteContext::addAnimator(mAnimator *a) {
    if (!window)
        return;
    if (animators.empty())
        if (mApp *app = mApp::getCurrentApp())
            app->registerIdle(this);
    animators.push_back(a);
    animatorsChanged = true;
}

void mSpriteContext::removeAnimator(mAnimator *a) {
    const bool had = !animators.empty();
    animators.erase(std::remove(animators.begin(), animators.end(), a), animators.end());
    animatorsChanged = true;
    if (had && animators.empty())
        if (mApp *app = mApp::getCurrentApp())
            app->unregisterIdle(this);
}

void mSpriteContext::onIdle(unsigned long idleCount) {
    const unsigned long now = mTimer::getCurTime();
    bool moved = false;
    // An animator's end may start or stop others: the pass then begins again with the same
    // clock, so that what they do shows in this round.
    do {
        animatorsChanged = false;
        for (size_t i = 0; i < animators.size() && !animatorsChanged; ++i)
            moved = animators[i]->updatePosition(now) || moved;
    } while (animatorsChanged);
    if (moved)
        update();
}
