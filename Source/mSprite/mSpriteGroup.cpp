#include "mSprite/mSpriteGroup.h"

#include "mSprite/mSpriteContext.h"

#include <algorithm>
#include <iterator>

mSpriteGroup::mSpriteGroup(mSpriteContext *context, long id) : mAnimObject(context, id) {}

mSpriteGroup::~mSpriteGroup() {
    for (mSprite *s : sprites) {
        s->setGroup(nullptr);
        delete s;
    }
}

// ---- Membership

std::list<mSprite *>::iterator mSpriteGroup::at(int plainIndex) {
    if (plainIndex < 0)
        return sprites.end();
    return std::next(sprites.begin(), plainIndex);
}

namespace {

// Takes a sprite out of its context, if any, and into `to`, if any.
void moveToContext(mSprite *s, mSpriteContext *to) {
    mSpriteContext *from = s->getContext();
    if (from == to)
        return;
    if (from)
        from->remove(s);
    if (to)
        to->insert(s);
}

} // namespace

void mSpriteGroup::adopt(mSprite *s, std::list<mSprite *>::iterator where) {
    sprites.insert(where, s);
    s->setGroup(this);
    moveToContext(s, getContext());
}

void mSpriteGroup::add(mSprite *s, int index) {
    if (!s)
        return;
    if (mSpriteGroup *g = s->getGroup())
        g->remove(s);
    std::list<mSprite *>::iterator where = sprites.end();
    if (index >= 0 && index < getCount())
        where = at(index);
    else if (index < -1)
        // Further back than the first member means the front.
        where = at(std::max(convToForward(index), 0));
    adopt(s, where);
}

bool mSpriteGroup::remove(const mSprite *s) {
    auto it = std::find(sprites.begin(), sprites.end(), s);
    if (it == sprites.end())
        return false;
    sprites.erase(it);
    const_cast<mSprite *>(s)->setGroup(nullptr);
    return true;
}

mSprite *mSpriteGroup::remove(int index) {
    mSprite *s = getSprite(index);
    if (s)
        remove(s);
    return s;
}

bool mSpriteGroup::purge(mSprite *s) {
    if (!remove(s))
        return false;
    delete s;
    return true;
}

int mSpriteGroup::purge(int firstIndex, int lastIndex) {
    const int a = convToForward(firstIndex), b = convToForward(lastIndex);
    if (a < 0 || b < a)
        return 0;
    auto it = at(a);
    int deleted = 0;
    for (; it != sprites.end() && deleted <= b - a; ++deleted) {
        mSprite *s = *it;
        it = sprites.erase(it);
        s->setGroup(nullptr);
        delete s;
    }
    return deleted;
}

int mSpriteGroup::transfer(int index, mSpriteGroup &from, int firstIndex, int lastIndex) {
    const int a = from.convToForward(firstIndex), b = from.convToForward(lastIndex);
    if (a < 0 || b < a || &from == this)
        return 0;
    std::list<mSprite *>::iterator where;
    if (index >= 0)
        where = index >= getCount() ? sprites.end() : at(index);
    else {
        const int behind = convToForward(index);
        where = behind < 0 ? sprites.end() : std::next(at(behind));
    }
    auto it = from.at(a);
    int moved = 0;
    for (; it != from.sprites.end() && moved <= b - a; ++moved) {
        mSprite *s = *it;
        it = from.sprites.erase(it);
        adopt(s, where);
    }
    return moved;
}

bool mSpriteGroup::inGroup(const mSprite *s) const { return s && s->getGroup() == this; }

int mSpriteGroup::getIndex(const mSprite *s) const {
    auto it = std::find(sprites.begin(), sprites.end(), s);
    return it == sprites.end() ? -1 : (int)std::distance(sprites.begin(), it);
}

mSprite *mSpriteGroup::getSprite(int index) const {
    const int i = convToForward(index);
    return i < 0 ? nullptr : *std::next(sprites.begin(), i);
}

std::list<mSprite *> *mSpriteGroup::getSprites() const { return new std::list<mSprite *>(sprites); }

int mSpriteGroup::convToForward(int index) const {
    const int count = getCount();
    if (index < 0)
        index += count;
    return index >= 0 && index < count ? index : -1;
}

// ---- The group as one object

void mSpriteGroup::setVisible(bool show) {
    for (mSprite *s : sprites)
        s->setVisible(show);
}

bool mSpriteGroup::isVisible() const {
    return std::any_of(sprites.begin(), sprites.end(), [](const mSprite *s) { return s->isVisible(); });
}

mRect mSpriteGroup::getBounds() const {
    mRect all;
    for (const mSprite *s : sprites)
        all |= s->getBounds();
    return all;
}

void mSpriteGroup::setPosition(const mPoint &p) { move((int)(p.x - position.x), (int)(p.y - position.y)); }

void mSpriteGroup::move(int dx, int dy) {
    for (mSprite *s : sprites)
        s->move(dx, dy);
    position += mPoint(dx, dy);
}

void mSpriteGroup::changePriority(int delta) {
    for (mSprite *s : sprites) {
        const long p = (long)s->getPriority() + delta;
        s->setPriority((int)std::min(std::max(p, (long)mSpriteContext::lowestPriority),
                                     (long)mSpriteContext::highestPriority));
    }
}

void mSpriteGroup::setContext(mSpriteContext *newContext) {
    for (mSprite *s : sprites)
        moveToContext(s, newContext);
    mAnimObject::setContext(newContext);
}

void mSpriteGroup::update() {
    if (mSpriteContext *c = getContext())
        c->update();
}
