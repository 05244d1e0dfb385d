// A context with a window: what reaches the window on a repaint, and animators ticked from
// idle rounds, on the real clock and at chosen clock values.
#include "StageKit.h"

namespace {

class Shown : public vt::AppFixture {
protected:
    Shown() : vt::AppFixture("SpriteTest"), palette(plainPalette()) {}
    void SetUp() override {
        vt::AppFixture::SetUp();
        screen = stageImage(palette, 14, 9, 0);
        image = stageImage(palette, 12, 8, ground);
        frame = new ScreenFrame(app, screen);
        context = new mSpriteContext(image, frame);
    }
    void TearDown() override {
        delete context;
        frame->destroy();
        vt::pumpUntil([&] { return app->getStateCount() == 0; }, 3000);
        image->free();
        screen->free();
        vt::AppFixture::TearDown();
    }
    std::string onScreen() { return picture(*screen, 0); }
    void clearScreen() { std::memset(screen->getDIBPtr(), 0, head(*screen).dataSize); }

    mPalette palette;
    Peek8 *screen = nullptr, *image = nullptr;
    ScreenFrame *frame = nullptr;
    mSpriteContext *context = nullptr;
};

// The shown part of the image lands at the origin, and a later repaint copies only the
// dirty rectangle within it; nothing dirty, nothing copied.
TEST_F(Shown, TheWindowGetsTheDirtyRectangleOnly) {
    Owned<m8Bit> back = block(palette, 12, 8, 5), red = block(palette, 2, 2, 2);
    new mSprite(back.get(), -100, 1, mPoint(0, 0), context);
    mSprite *moving = new mSprite(red.get(), 1, 2, mPoint(2, 2), context);
    context->setOrigin(mPoint(2, 1));
    context->setBounds(mRect(1, 1, 11, 7));
    EXPECT_EQ(mPoint(3, 1), context->translate2Context(mPoint(4, 1)));
    EXPECT_EQ(mPoint(4, 1), context->translate2Window(mPoint(3, 1)));
    context->update();
    EXPECT_EQ(rows({"..............",
                    "..5555555555..",
                    "..5225555555..",
                    "..5225555555..",
                    "..5555555555..",
                    "..5555555555..",
                    "..5555555555..",
                    "..............",
                    ".............."}),
              onScreen());
    clearScreen();
    moving->move(3, 2);
    context->update();
    EXPECT_EQ(rows({"..............",
                    "..............",
                    "...55555......",
                    "...55555......",
                    "...55522......",
                    "...55522......",
                    "..............",
                    "..............",
                    ".............."}),
              onScreen());
    const int copies = frame->handedOut;
    context->update();
    EXPECT_EQ(copies, frame->handedOut);
}

// Positions come from the elapsed time alone: the same ticks give the same path on either
// side of the clock's wrap, leftward moves round toward the start as rightward ones do, and
// a tick long after the end lands on the end exactly, once.
TEST_F(Shown, AnimatorsComputeFromElapsedTime) {
    Owned<m8Bit> red = block(palette, 1, 1, 2);
    mSprite *sprite = new mSprite(red.get(), 1, 7, mPoint(5, 0), context);
    mAnimator *animator = new mAnimator(sprite, -1);
    const auto path = [&](long dx, unsigned long start) {
        sprite->setPosition(mPoint(5, 0));
        animator->startMove(mPoint(5 + dx, 0), 10, start);
        std::vector<long> xs;
        for (unsigned long t = 0; t <= 10; ++t) {
            animator->updatePosition(start + t);
            xs.push_back(sprite->getPosition().x - 5);
        }
        return xs;
    };
    const std::vector<long> right = {0, 0, 0, 0, 1, 1, 1, 2, 2, 2, 3};
    EXPECT_EQ(right, path(3, 1000));
    EXPECT_EQ(right, path(3, 0xFFFFFFFAUL));
    std::vector<long> left;
    for (long x : right)
        left.push_back(-x);
    EXPECT_EQ(left, path(-3, 0xFFFFFFFEUL));
    EXPECT_FALSE(animator->isRunning());
    EXPECT_EQ(0, context->getAnimationCount());

    sprite->setPosition(mPoint(0, 0));
    animator->startMove(mPoint(40, 20), 100, 0xFFFFFF00UL);
    EXPECT_TRUE(animator->updatePosition(0x00100000UL));
    EXPECT_EQ(mPoint(40, 20), sprite->getPosition());
    EXPECT_FALSE(animator->updatePosition(0x00200000UL)) << "an ended move stays ended";

    sprite->setPosition(mPoint(0, 0));
    animator->startMove(mPoint(40, 20), 0, 500);
    EXPECT_TRUE(animator->updatePosition(501)) << "a move of no time ends at its first tick";
    EXPECT_FALSE(animator->isRunning());
}

// An object told of its animator's end, starting another animator from there.
class Relay : public mSprite {
public:
    using mSprite::mSprite;
    bool animationDone(mAnimator *a, bool finished) override {
        ends.push_back(finished);
        if (next)
            (new mAnimator(next, -1))->startMove(mPoint(9, 9), 10, mTimer::getCurTime() - 100);
        return false;
    }
    std::vector<bool> ends;
    mSprite *next = nullptr;
};

// Idle rounds tick the animators while any runs: an end that starts another animator is
// ticked in the same round, one repaint follows, the end's message reaches the window, and
// the context stops listening when nothing runs.
TEST_F(Shown, IdleRoundsDriveTheAnimators) {
    Owned<m8Bit> red = block(palette, 1, 1, 2);
    Relay *first = new Relay(red.get(), 1, 11, mPoint(0, 0), context);
    first->next = new mSprite(red.get(), 2, 12, mPoint(0, 0), context);
    long posted = -1;
    frame->userHandler = [&](short, int, long p2, int &) {
        posted = p2;
        return true;
    };
    mAnimator *animator = new mAnimator(first, 0);
    animator->startMove(mPoint(10, 0), 100000, mTimer::getCurTime() - 50000);
    EXPECT_EQ(1, context->getAnimationCount());
    context->update();
    const int copies = frame->handedOut;
    EXPECT_FALSE(app->handleMessages());
    EXPECT_EQ(mPoint(5, 0), first->getPosition());
    EXPECT_EQ(copies + 1, frame->handedOut);

    animator->startMove(mPoint(10, 0), 1000, mTimer::getCurTime() - 5000);
    app->handleMessages();
    EXPECT_EQ(mPoint(10, 0), first->getPosition());
    EXPECT_EQ(mPoint(9, 9), first->next->getPosition()) << "the animator started at the end ran in the same round";
    EXPECT_EQ(copies + 2, frame->handedOut);
    EXPECT_EQ(std::vector<bool>({true}), first->ends);
    EXPECT_EQ(0, context->getAnimationCount());
    ASSERT_TRUE(vt::pumpUntil([&] { return posted == 11; }, 3000));
    EXPECT_EQ(std::vector<int>({0}), frame->userMessages);
}

// A stop keeps the progress for a restart, the pause not counted; a stop that finishes jumps
// to the end and tells of it; a new priority keeps the move running.
TEST_F(Shown, StopRestartAndNewPriorities) {
    Owned<m8Bit> red = block(palette, 1, 1, 2);
    Relay *sprite = new Relay(red.get(), 1, 3, mPoint(0, 0), context);
    mAnimator *animator = new mAnimator(sprite, 4);
    animator->startMove(mPoint(10, 0), 100000, mTimer::getCurTime() - 50000);
    sprite->setPriority(6);
    EXPECT_EQ(animator, sprite->getAnimator());
    EXPECT_EQ(1, context->getAnimationCount());
    animator->stop(false);
    EXPECT_FALSE(animator->isRunning());
    EXPECT_EQ(std::vector<bool>({false}), sprite->ends);
    EXPECT_NEAR((double)mTimer::getCurTime(), (double)(unsigned long)animator->getStartTime(), 1000);
    Sleep(30);
    animator->restart();
    animator->updatePosition(mTimer::getCurTime());
    EXPECT_EQ(mPoint(5, 0), sprite->getPosition());
    animator->stop(true);
    EXPECT_EQ(mPoint(10, 0), sprite->getPosition());
    EXPECT_EQ(std::vector<bool>({false, true}), sprite->ends);
    animator->stop(true);
    EXPECT_EQ(2u, sprite->ends.size());
    ASSERT_TRUE(vt::pumpUntil([&] { return !frame->userMessages.empty(); }, 3000));
    EXPECT_EQ(std::vector<int>({4}), frame->userMessages);

    mSpriteContext quiet(image);
    mSprite *still = new mSprite(red.get(), 1, 5, mPoint(0, 0), &quiet);
    (new mAnimator(still, -1))->startMove(mPoint(3, 3), 10);
    EXPECT_TRUE(still->getAnimator()->isRunning());
    EXPECT_EQ(0, quiet.getAnimationCount()) << "a context without a window ticks nothing";
}

} // namespace
