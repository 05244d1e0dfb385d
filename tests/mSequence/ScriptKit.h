// Helpers of the script tests: a sprite scene on a frame, probes that record when the script
// reaches them, and actions scheduled on the timer queue while the run loop runs.
#pragma once
#include "../mGraphics/SurfaceKit.h"
#include "VelnorTest.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

// Calls a function once, `ms` after it is made, from the run loop.
class Later : public mTimerListener {
public:
    Later(unsigned long ms, std::function<void()> action) : action(action), timer(ms, this, 0, false) {}
    void timerPopped(mTimer &) override { action(); }

private:
    std::function<void()> action;
    mTimer timer;
};

class ScriptTest : public vt::AppFixture {
protected:
    enum { endMessage = 40 };

    // Records its name, and the clock when first entered, then acts.
    struct Probe : mAnimStep {
        Probe(ScriptTest *test, const char *name, std::function<void(mSequence *)> act)
            : test(test), name(name), act(act) {}
        bool entered(mSequence *s) override {
            test->trail.push_back(name);
            test->at.emplace(name, mTimer::getCurTime());
            if (act)
                act(s);
            return true;
        }
        ScriptTest *test;
        std::string name;
        std::function<void(mSequence *)> act;
    };

    ScriptTest() : vt::AppFixture("ScriptTest") {}

    void SetUp() override {
        vt::AppFixture::SetUp();
        frame = new vt::TestFrame(app);
        frame->userHandler = [this](short message, int id, long, int &) {
            if (message == endMessage) {
                ends.push_back(id);
                if (quitOnEnd)
                    app->shutdown(0);
            }
            return true;
        };
        image = new m8BitMemImage(nullptr, mSize(16, 6), &palette);
        context = new mSpriteContext(image, frame);
        block(black, 16, 6, mPoint(0, 0), -100);
    }

    void TearDown() override {
        for (mSequence *s : sequences)
            delete s;
        pending.clear();
        delete context;
        image->free();
        if (app->getStateCount()) {
            frame->destroy();
            vt::pumpUntil([&] { return app->getStateCount() == 0; }, 3000);
        }
        vt::AppFixture::TearDown();
    }

    mSprite *block(Plain colour, long w, long h, const mPoint &at, int priority) {
        Owned<m8Bit> pixels = make8(w, h, &palette, [&](long, long) { return colour; });
        return new mSprite(pixels.get(), priority, 0, at, context);
    }

    mSequence *script(std::initializer_list<mAnimStep *> steps, int id = 1, mSpriteContext *in = nullptr) {
        mSequence *s = new mSequence(in ? in : context, id, frame, endMessage);
        for (mAnimStep *step : steps)
            s->append(step);
        sequences.push_back(s);
        return s;
    }

    Probe *probe(const char *name, std::function<void(mSequence *)> act = nullptr) {
        return new Probe(this, name, act);
    }

    void after(unsigned long ms, std::function<void()> action) {
        pending.push_back(std::unique_ptr<Later>(new Later(ms, action)));
    }

    // Milliseconds between two probes.
    long between(const char *from, const char *to) { return (long)(at[to] - at[from]); }

    std::string shown() { return picture(*image, black); }

    vt::TestFrame *frame = nullptr;
    mPalette palette = plainPalette();
    m8BitMemImage *image = nullptr;
    mSpriteContext *context = nullptr;
    std::vector<mSequence *> sequences;
    std::vector<std::unique_ptr<Later>> pending;
    std::vector<std::string> trail;
    std::map<std::string, unsigned long> at;
    std::vector<int> ends;
    bool quitOnEnd = true;
};

typedef std::vector<std::string> Trail;
