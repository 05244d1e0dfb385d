// The compositor on memory images: what a repaint draws, in which order, where and where
// not; hit tests; the list and its owners.
#include "StageKit.h"

namespace {

class Stage : public ::testing::Test {
protected:
    Stage() : palette(plainPalette()), image(stageImage(palette, 12, 7, ground)), context(new mSpriteContext(image)) {}
    ~Stage() override {
        delete context;
        image->free();
    }
    std::string shown() { return picture(*image, ground); }

    mPalette palette;
    Peek8 *image;
    mSpriteContext *context;
};

// Priorities decide the order whatever the order of insertion; among equals the oldest lies
// on top; transparent pixels show what lies below; hidden sprites and uncovered pixels add
// nothing. A later change repaints only its dirty rectangle, and rebuilds it from the
// sprites alone: what no sprite covers keeps what it had.
TEST_F(Stage, RepaintsByPriorityWithinTheDirtyRectangle) {
    Owned<m8Bit> blue = block(palette, 4, 3, 4), green = block(palette, 2, 2, 3), white = block(palette, 2, 2, 1),
                 yellow = block(palette, 2, 2, 5);
    Owned<m8Bit> ring = drawn(palette, {"2222", "2--2", "2--2", "2222"});
    new mSprite(green.get(), 9, 3, mPoint(6, 1), context);
    new mSprite(white.get(), 7, 4, mPoint(9, 4), context);
    new mSprite(blue.get(), 1, 1, mPoint(1, 1), context);
    mSprite *hidden = new mSprite(blue.get(), 20, 6, mPoint(7, 3), context);
    hidden->setVisible(false);
    new mSprite(ring.get(), 5, 2, mPoint(3, 2), context);
    new mSprite(yellow.get(), 7, 5, mPoint(10, 5), context);
    EXPECT_EQ(6, context->getCount());
    context->update();
    EXPECT_EQ(rows({"............",
                    ".4444.33....",
                    ".4422233....",
                    ".4424.2.....",
                    "...2..2..11.",
                    "...2222..115",
                    "..........55"}),
              shown());
    EXPECT_TRUE(context->getDirty().isEmpty());

    px8(*image, 1, 1) = 0; // under the blue sprite, outside the next dirty rectangle
    px8(*image, 6, 3) = 0; // under the ring, inside it
    context->findSprite(3)->move(3, 3);
    EXPECT_EQ(mRect(6, 1, 11, 6), context->getDirty());
    context->update();
    EXPECT_EQ(rows({"............",
                    ".0444.33....",
                    ".4422223....",
                    ".4424.2.....",
                    "...2..2..33.",
                    "...2222..335",
                    "..........55"}),
              shown());
}

// The source clip shows a part of the image at the sprite's place, the display clip cuts
// what is drawn, and a sprite turned half round keeps its centre; taking the turn away
// brings back the plain position, with any move made meanwhile.
TEST_F(Stage, ClipsAndTransformsShapeWhatIsDrawn) {
    Owned<m8Bit> pattern = drawn(palette, {"1234", "5671", "2345"});
    mSprite *clipped = new mSprite(pattern.get(), 1, 1, mPoint(0, 0), context);
    clipped->setClip(mRect(1, 1, 9, 9));
    EXPECT_EQ(mRect(1, 1, 4, 3), clipped->getClip()) << "the clip keeps to the image";
    EXPECT_EQ(mSize(3, 2), clipped->getSize());
    mSprite *cut = new mSprite(pattern.get(), 1, 2, mPoint(0, 3), context);
    cut->constrainDisplay(mRect(1, 4, 3, 9));
    Owned<m8Bit> small = drawn(palette, {"123", "456"});
    mSprite *turned = new mSprite(small.get(), 1, 3, mPoint(6, 2), context);
    turned->setTransform(mTransform(180, 0, 1, 1));
    context->update();
    EXPECT_EQ(rows({"671.........",
                    "345.........",
                    "......654...",
                    "......321...",
                    ".67.........",
                    ".34.........",
                    "............"}),
              shown());

    turned->move(1, 1);
    turned->setTransform();
    EXPECT_EQ(mPoint(7, 3), turned->getPosition());
    EXPECT_EQ(mSize(3, 2), turned->getSize());
    clipped->setClip(mRect());
    EXPECT_EQ(mSize(4, 3), clipped->getSize());
}

// The topmost sprite that is solid at the point wins; a transparent pixel, a pixel outside
// the display clip and a hidden sprite let the search fall through, and it stops below the
// lowest priority asked for.
TEST_F(Stage, HitTestsFollowPriorityAndTransparency) {
    Owned<m8Bit> under = block(palette, 6, 6, 4), ring = drawn(palette, {"222", "2-2", "222"});
    mSprite *low = new mSprite(under.get(), 1, 1, mPoint(0, 0), context);
    mSprite *top = new mSprite(ring.get(), 5, 2, mPoint(1, 1), context);
    mSprite *hidden = new mSprite(under.get(), 9, 3, mPoint(0, 0), context);
    hidden->setVisible(false);
    EXPECT_EQ(top, context->findSprite(mPoint(1, 1), -32766, false));
    EXPECT_EQ(low, context->findSprite(mPoint(2, 2), -32766, false)) << "through the hole";
    EXPECT_EQ(top, context->findSprite(mPoint(2, 2), -32766, true));
    EXPECT_EQ(nullptr, context->findSprite(mPoint(2, 2), 2, false));
    EXPECT_EQ(nullptr, context->findSprite(mPoint(6, 0), -32766, true));
    top->constrainDisplay(mRect(0, 0, 2, 9));
    EXPECT_EQ(low, context->findSprite(mPoint(3, 1), -32766, true));

    Owned<m8Bit> arrow = drawn(palette, {"11-", "---"});
    mSprite *scaled = new mSprite(arrow.get(), 7, 4, mPoint(6, 2), context);
    scaled->setTransform(mTransform(0, 0, 2, 2));
    const mPoint at = scaled->getPosition();
    EXPECT_EQ(scaled, context->findSprite(mPoint(at.x + 3, at.y + 1), -32766, false));
    EXPECT_EQ(nullptr, context->findSprite(mPoint(at.x + 4, at.y + 1), -32766, false));
    EXPECT_EQ(nullptr, context->findSprite(mPoint(at.x + 1, at.y + 2), -32766, false));
}

// Sprites of one priority lie newest first; the search from the cursor stays right after
// the sprite under it is removed, and the extreme priorities stay inside the sentinels.
TEST_F(Stage, TheListKeepsItsOrder) {
    Owned<m8Bit> one = block(palette, 1, 1, 1);
    mSprite *a = new mSprite(one.get(), 3, 1, mPoint(), context);
    mSprite *b = new mSprite(one.get(), 3, 2, mPoint(), context);
    mSprite *c = new mSprite(one.get(), 3, 3, mPoint(), context);
    EXPECT_EQ(a, context->findSprite(mPoint(0, 0), -32766, true)) << "the oldest lies on top";
    context->remove(b);
    new mSprite(one.get(), 2, 4, mPoint(), context);
    new mSprite(one.get(), 32766, 5, mPoint(), context);
    new mSprite(one.get(), -40000, 6, mPoint(), context);
    context->insert(b);
    b->setPriority(4);
    const auto ids = [&](int low, int high) {
        int count = 0;
        std::unique_ptr<mSprite *[]> list(context->getSprites(count, low, high));
        std::vector<long> out;
        for (int i = 0; i < count; ++i)
            out.push_back(list[i]->getId());
        return out;
    };
    EXPECT_EQ(std::vector<long>({6, 4, 3, 1, 2, 5}), ids(-32766, 32766));
    EXPECT_EQ(-32766, context->findSprite(6)->getPriority());
    EXPECT_EQ(std::vector<long>(), ids(100, 200));
    EXPECT_EQ(c, context->findSprite(3));
    EXPECT_EQ(nullptr, context->findSprite(99));
}

// Groups keep their own order under signed indexes, move by deltas from their own point,
// and clamp priorities member by member.
TEST_F(Stage, GroupsActAsOne) {
    Owned<m8Bit> one = block(palette, 1, 1, 1);
    mSpriteGroup group(context, 100), other(context, 200);
    std::vector<mSprite *> s;
    for (long id = 0; id < 6; ++id)
        s.push_back(new mSprite(one.get(), 32760 + (int)id, id, mPoint(id, 0), nullptr));
    group.add(s[0], -1);
    group.add(s[1], 0);
    group.add(s[2], -2);
    group.add(s[3], 99);
    const auto order = [](const mSpriteGroup &g) {
        std::unique_ptr<std::list<mSprite *>> members(g.getSprites());
        std::vector<long> out;
        for (mSprite *m : *members)
            out.push_back(m->getId());
        return out;
    };
    EXPECT_EQ(std::vector<long>({2, 1, 0, 3}), order(group));
    EXPECT_EQ(4, context->getCount()) << "members go into the group's context";
    other.add(s[4], -1);
    other.add(s[5], -1);
    EXPECT_EQ(2, group.transfer(-1, other, 0, -1));
    EXPECT_EQ(std::vector<long>({2, 1, 0, 3, 4, 5}), order(group));
    EXPECT_EQ(0, other.getCount());
    EXPECT_EQ(nullptr, other.getSprite(-1));
    other.add(s[1], 0);
    EXPECT_FALSE(group.inGroup(s[1]));
    EXPECT_EQ(-1, group.getIndex(s[1]));

    group.setGroupPosition(mPoint(10, 10));
    group.setPosition(mPoint(12, 13));
    EXPECT_EQ(mPoint(2, 3), s[0]->getPosition()) << "moved by the delta, not to the point";
    EXPECT_EQ(mRect(2, 3, 8, 4), group.getBounds());
    group.changePriority(10);
    EXPECT_EQ(32766, s[0]->getPriority());
    EXPECT_EQ(32766, s[5]->getPriority());
    group.setVisible(false);
    EXPECT_FALSE(group.isVisible());
    EXPECT_TRUE(group.getBounds().isEmpty());
    EXPECT_EQ(2, group.purge(1, 2));
    EXPECT_EQ(std::vector<long>({2, 4, 5}), order(group));
    EXPECT_EQ(4, context->getCount());

    mSpriteContext elsewhere(image);
    group.setContext(&elsewhere);
    EXPECT_EQ(3, elsewhere.getCount());
    EXPECT_EQ(1, context->getCount());
    group.setContext(nullptr);
}

// Whoever owns a sprite deletes it once: a group its members, a context what is left in it;
// a sprite deleted directly leaves both; images get their uses back.
TEST_F(Stage, OwnersDeleteEachSpriteOnce) {
    Owned<m8Bit> one = block(palette, 1, 1, 1);
    int gone = 0;
    {
        mSpriteGroup group(context, 1);
        for (long id = 0; id < 4; ++id)
            group.add(new Counted(one.get(), 1, id, mPoint(), nullptr, gone), -1);
        new Counted(one.get(), 5, 9, mPoint(), context, gone);
        delete group.getSprite(1);
        EXPECT_EQ(3, group.getCount());
        EXPECT_EQ(4, context->getCount());
        context->remove(5, 5);
        EXPECT_EQ(2, gone);
        EXPECT_EQ(4, head(*one).refCount);
    }
    EXPECT_EQ(5, gone);
    EXPECT_EQ(0, context->getCount());

    mSpriteGroup *group = new mSpriteGroup(context, 2);
    group->add(new Counted(one.get(), 1, 1, mPoint(), nullptr, gone), -1);
    new Counted(one.get(), 2, 2, mPoint(), context, gone);
    delete context;
    context = nullptr;
    EXPECT_EQ(7, gone);
    EXPECT_EQ(0, group->getCount());
    delete group;
    EXPECT_EQ(7, gone);
    EXPECT_EQ(1, head(*one).refCount);
}

TEST_F(Stage, MisuseThrows) {
    Owned<m8Bit> one = block(palette, 1, 1, 1);
    mSprite loose(one.get(), 1, 1, mPoint(), nullptr);
    EXPECT_MERROR(mAnimator(&loose, 0), "Cannot animate if not in context", 0, "mSprite/mSprite");
    EXPECT_MERROR(context->remove(&loose), "Sprite already disconnected from context", 0, "mSprite/mSprite");
    context->insert(&loose);
    EXPECT_MERROR(context->insert(&loose), "Sprite already connected to context", 0, "mSprite/mSprite");
    context->remove(&loose);
    EXPECT_MERROR(mSpriteContext((mBitMap *)nullptr), "Missing bitmap for sprite context", 0, "mSprite/mSprite");
    EXPECT_MERROR(mSpriteContext((mWindow *)nullptr), "Must have attached window for this sprite context", 0,
                  "mSprite/mSprite");
    context->setBounds(mRect(0, 0, 12, 7));
    EXPECT_MERROR(context->setBounds(mRect(0, 0, 13, 7)), "Bounds of sprite context must be all or subset of total area",
                  0, "mSprite/mSprite");
    context->setGraphics(image);
    EXPECT_MERROR(context->setGraphics(image), "Graphics context already setup", 0, "mSprite/mSprite");
}

} // namespace
