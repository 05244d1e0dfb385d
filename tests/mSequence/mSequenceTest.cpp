// Whole scripts on the run loop, judged by what they leave: the order in which steps were
// entered, registers, the picture, and the time taken.
#include "ExpectError.h"
#include "ScriptKit.h"

TEST_F(ScriptTest, AScriptMovesLoopsWaitsAndLeavesItsPicture) {
    mSprite *a = block(red, 2, 2, mPoint(0, 0), 10);
    mSprite *b = block(green, 2, 2, mPoint(0, 4), 5);
    mSequence *s = script({new mShowSprite(b, false), new mStepLabel("body"), probe("lap"),
                           new mStepAnimate(a, 4, 0, 30, 0), new mStepHRTimeout(10), new mStepChangeValue(2, 1),
                           new mStepLoop(-1, "body"), new mStepIf("odd", 2, 3L, false), new mStepSetValue(5, 99),
                           new mStepLabel("odd"), new mStepTimeout(20, 0), new mPositionSprite(b, mPoint(12, 4)),
                           new mShowSprite(b, true), new mMoveSprite(b, 2, 0), probe("end")});
    // A loop reads a count register at each start and each reload.
    s->setLong(1, 3);
    s->start("");
    EXPECT_TRUE(s->isRunning());
    EXPECT_EQ(0, vt::runBounded(*app));

    EXPECT_EQ(Trail({"lap", "lap", "lap", "end"}), trail);
    EXPECT_EQ(std::vector<int>{1}, ends);
    EXPECT_FALSE(s->isRunning());
    EXPECT_EQ(3, s->getLong(2));
    EXPECT_EQ(0, s->getLong(5)) << "the condition jumped over it";
    EXPECT_GE(between("lap", "end"), 3 * (30 + 10) + 20);
    EXPECT_EQ("............22..\n"
              "............22..\n"
              "................\n"
              "................\n"
              "..............33\n"
              "..............33\n",
              shown());
}

TEST_F(ScriptTest, LoopsConditionsAndJumpsThatDontWaitRunInOnePass) {
    mSprite *turned = block(blue, 2, 2, mPoint(4, 2), 1);
    std::vector<float> angles;
    auto angle = [&](mSequence *) { angles.push_back(turned->getTransform().getRotation()); };
    mSequence *s = script({new mStepLabel("outer"), probe("o"), new mStepLabel("inner"),
                           probe("i"), new mStepLoop(3, "inner"), new mStepLoop(-1, "outer"),
                           new mStepSetValue(3, 5), new mStepIf("eq", 3, 5L, false), probe("eq missed"),
                           new mStepLabel("eq"), new mStepIf("range", 3, 5L, 5L, false), probe("range missed"),
                           new mStepLabel("range"), new mStepIf("below", 3, false, 5L), probe("not below"),
                           new mStepLabel("below"), new mStepIf("negated", 3, 6L, true), probe("negated missed"),
                           new mStepLabel("negated"), new mStepGotoBusy("busy", 4), probe("idle"),
                           new mStepLabel("busy"), new mRotateSprite(turned, 350), new mRotateSprite(turned, 20),
                           probe("r", angle), new mRotateSprite(turned, -20), probe("r", angle),
                           new mRotateSprite(turned, -10), new mRotateSprite(turned, 20), probe("r", angle),
                           new mStepLog("count", 3), new mStepGoto("end"), probe("skipped"), new mStepLabel("end")});
    s->setLong(1, 2);
    s->start("");
    EXPECT_EQ(Trail({"o", "i", "i", "i", "o", "i", "i", "i", "not below", "idle", "r", "r", "r"}), trail);
    EXPECT_EQ(std::vector<float>({10, 350, 0}), angles) << "360 is kept as 0 by the transform";
    EXPECT_EQ(std::vector<int>{1}, ends) << "the end came within start";

    // A labelled start enters nothing before the label; the counters are fresh.
    trail.clear();
    s->start("inner");
    EXPECT_EQ(Trail({"i", "i", "i", "o", "i", "i", "i", "not below", "idle", "r", "r", "r"}), trail);
}

TEST_F(ScriptTest, MalformedScriptsEndOrFail) {
    mSequence *missing = script({new mStepGoto("nowhere"), probe("after goto")});
    missing->start("");
    mSequence *loop = script({probe("body"), new mStepLoop(2, "no start"), probe("after loop")}, 2);
    loop->start("");
    EXPECT_EQ(Trail({"body"}), trail) << "a jump to a missing label ends the script";
    EXPECT_EQ(std::vector<int>({1, 2}), ends);

    EXPECT_MERROR(loop->start("nowhere"), "nowhere not found, cannot start sequence", 0, "mSprite/mSequence");
    EXPECT_FALSE(loop->isRunning());

    struct Greedy : mAnimStep {
        bool entered(mSequence *s) override {
            s->addInUse();
            return true;
        }
    };
    mSequence *greedy = script({new Greedy, new mStepLabel("later"), probe("after greedy")}, 3);
    EXPECT_MERROR(greedy->start(""), "Sequence add in use id must be non-zero", 0, "mSprite/mSequence");
    EXPECT_FALSE(greedy->isRunning());

    mSequence *doomed = new mSequence(context, 4, nullptr, 0);
    doomed->append(probe("deletes", [](mSequence *s) { delete s; }));
    EXPECT_MERROR(doomed->start(""), "Delete not allowed when busy (no deletes in notifications)", 0,
                  "mSprite/mSequence");
    EXPECT_TRUE(mSequence::getSequences(nullptr, 4, 4).empty());

    // A failed start leaves a sequence that starts again.
    trail.clear();
    greedy->start("later");
    EXPECT_EQ(Trail({"after greedy"}), trail);
}

TEST_F(ScriptTest, HurryPauseJumpAndStopReachHeldSteps) {
    mSprite *a = block(red, 2, 2, mPoint(0, 0), 10);
    long heldRunning = 0, resumedAt = 0, runningAtE = 0;
    mSequence *s = nullptr;
    s = script({probe("a", [&](mSequence *) { after(30, [&] { s->hurry(); }); }),
                new mStepAnimate(a, 10, 0, 5000, 0),
                probe("b", [&](mSequence *) { after(10, [&] { s->hurry(); }); }), new mStepTimeout(5000, 0),
                probe("c", [&](mSequence *) { after(10, [&] { s->hurry(); }); }), new mStepHRTimeout(5000),
                probe("d",
                      [&](mSequence *) {
                          after(10, [&] { s->pause(true); });
                          after(120, [&] {
                              EXPECT_FALSE(s->isRunning()) << "held at the boundary after the wait";
                              s->hurry();
                              heldRunning = s->getRunningTime();
                              EXPECT_EQ(heldRunning, (Sleep(5), s->getRunningTime())) << "the clock stands";
                              resumedAt = (long)mTimer::getCurTime();
                              s->pause(false);
                          });
                      }),
                new mStepTimeout(40, 0),
                probe("e",
                      [&](mSequence *) {
                          runningAtE = s->getRunningTime();
                          after(10, [&] { s->setState("late"); });
                      }),
                new mStepTimeout(5000, 0), probe("skipped"), new mStepLabel("late"),
                probe("f", [&](mSequence *) { after(10, [&] { s->stop(); }); }), new mStepTimeout(5000, 0),
                probe("never")});
    s->start("");
    EXPECT_EQ(0, vt::runBounded(*app));

    EXPECT_EQ(Trail({"a", "b", "c", "d", "e", "f"}), trail);
    EXPECT_EQ(mPoint(10, 0), a->getPosition()) << "a hurried move ends at its target";
    EXPECT_EQ(std::vector<int>{1}, ends);
    EXPECT_GE(between("d", "e"), 120);
    EXPECT_LT(between("a", "f"), 2500) << "no wait ran its time";
    EXPECT_GE(heldRunning, 40);
    EXPECT_NEAR(runningAtE - heldRunning, (long)at["e"] - resumedAt, 3) << "the pause is left out";
}

TEST_F(ScriptTest, BackgroundStepsGoOnWhileTheScriptMovesOn) {
    mSprite *b = block(green, 2, 2, mPoint(0, 4), 5);
    mPoint whenMoved;
    mSequence *s = script({probe("go"), new mStepTimeout(60, 7), new mStepAnimate(b, 6, 0, 40, 8), probe("on"),
                           new mStepInUse(9, true), new mStepGotoBusy("busy", 9), probe("not busy"),
                           new mStepLabel("busy"), new mStepHurry(9), new mStepGotoBusy("still busy", 9),
                           probe("free"), new mStepLabel("still busy"), new mStepWait(8),
                           probe("moved", [&](mSequence *) { whenMoved = b->getPosition(); }), new mStepWait(7),
                           probe("released"), new mStepTimeout(10000, 5), new mStepHurry(5), new mStepWait(5),
                           probe("hurried")});
    s->start("");
    EXPECT_EQ(Trail({"go", "on", "free"}), trail) << "the background steps went on at once";
    EXPECT_EQ(0, vt::runBounded(*app));

    EXPECT_EQ(Trail({"go", "on", "free", "moved", "released", "hurried"}), trail);
    EXPECT_EQ(mPoint(6, 4), whenMoved);
    EXPECT_GE(between("go", "moved"), 40);
    EXPECT_GE(between("go", "released"), 60);
    EXPECT_LT(between("released", "hurried"), 1000);
    EXPECT_EQ("................\n"
              "................\n"
              "................\n"
              "................\n"
              "......33........\n"
              "......33........\n",
              shown());
}

TEST_F(ScriptTest, TheRegistryActsByContextAndIdRange) {
    m8BitMemImage *elsewhere = new m8BitMemImage(nullptr, mSize(4, 4), &palette);
    mSpriteContext other(elsewhere);
    elsewhere->free();
    quitOnEnd = false;
    script({new mStepTimeout(5000, 0), probe("hurried 5")}, 5)->start("");
    script({new mStepTimeout(5000, 0), probe("hurried 50")}, 50, &other)->start("");
    script({new mStepTimeout(5000, 0), probe("hurried 500")}, 500)->start("");

    EXPECT_EQ(2u, mSequence::getSequences(nullptr, 0, 100).size());
    EXPECT_EQ(2u, mSequence::getSequences(context, 0, 1000).size());
    mSequence::hurrySequences(&other, 0, 1000);
    EXPECT_EQ(Trail({"hurried 50"}), trail);
    EXPECT_EQ(std::vector<int>{50}, ends);
    mSequence::haltSequences(nullptr, 0, 100);
    EXPECT_EQ(std::vector<int>({50, 5}), ends);
    mSequence::purgeSequences(nullptr, 0, 100);
    EXPECT_EQ(1u, mSequence::getSequences(nullptr, 0, 1000).size());
    EXPECT_TRUE(mSequence::getSequences(nullptr, 500, 500)[0]->isRunning());
    sequences = mSequence::getSequences(nullptr, 0, 1000);
    EXPECT_EQ(std::vector<int>({50, 5}), ends) << "a deleted sequence sends no end message";
}

TEST_F(ScriptTest, DeletingAScriptEndsItsMoveWhereItIs) {
    mSprite *a = block(red, 2, 2, mPoint(0, 0), 10);
    mSequence *s = script({new mStepAnimate(a, 10, 0, 60, 0), probe("after")});
    s->start("");
    ASSERT_NE(nullptr, a->getAnimator());
    sequences.clear();
    delete s;
    EXPECT_EQ(nullptr, a->getAnimator()) << "no animator is left to report to the deleted step";
    EXPECT_EQ(mPoint(0, 0), a->getPosition());
    EXPECT_TRUE(trail.empty());
}
