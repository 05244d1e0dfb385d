// An ordered set of sprites that is moved, shown, hidden, animated and re-layered as one.
// The group has no image and no place in the context's list; it owns its members.
#pragma once
#include "mSprite/mSprite.h"

#include <list>

class VELNOR_API mSpriteGroup : public mAnimObject {
public:
    mSpriteGroup(mSpriteContext *context, long id);
    // Deletes the members.
    ~mSpriteGroup() override;

    // Indexes carry a sign: 0 and up from the front, -1 the last member, -2 the one before.
    // add() puts `s` in front of the member named, or at the end for -1 or an index past it.
    void add(mSprite *s, int index);
    // Take a member out without deleting it; it stays in its context.
    bool remove(const mSprite *s);
    mSprite *remove(int index);
    bool purge(mSprite *s);
    // Deletes the members from `first` to `last`; the result is how many went.
    int purge(int first, int last);
    // Moves the members `first` to `last` of `from` in front of member `index`, or behind it
    // for a negative index; the result is how many moved.
    int transfer(int index, mSpriteGroup &from, int first, int last);

    bool inGroup(const mSprite *s) const;
    int getIndex(const mSprite *s) const;
    mSprite *getSprite(int index) const;
    int getCount() const { return (int)sprites.size(); }
    // A new list of the members in order; the caller deletes it.
    std::list<mSprite *> *getSprites() const;
    // A signed index as a plain one, -1 if no member has it.
    int convToForward(int index) const;

    void setVisible(bool show) override;
    bool isVisible() const;
    mRect getBounds() const override;
    mPoint getPosition() override { return position; }
    void setPosition(const mPoint &p) override;
    void move(int dx, int dy) override;
    // Sets the group's reference point without moving any member.
    void setGroupPosition(const mPoint &p) { position = p; }
    // Raises (or lowers) each member's priority, each held within the priorities of sprites.
    void changePriority(int delta);
    void setContext(mSpriteContext *newContext);
    void update();

    virtual mAnimObject *pickObject(mSprite *s) { return nullptr; }

private:
    // Takes `s` in at `at`, into this group's context.
    void adopt(mSprite *s, std::list<mSprite *>::iterator at);
    // The member at a plain index, end() if there is none.
    std::list<mSprite *>::iterator at(int plainIndex);

    mPoint position;
    std::list<mSprite *> sprites;
};
