#include "mAswLib/mAsaAnim.h"
#include "mSprite/mBitMap.h"
#include "mSprite/mSprite.h"
#include "mSprite/mSpriteContext.h"
#include "mWindow/mPalette.h"
#include "mWindow/mWindow.h"

#include <cstdlib>
#include <memory>

static const char srcPath[] = "mAswLib/mAsaAnim";

namespace {

// Frame delays in milliseconds that the speed verb chooses from; the last runs at idle speed.
const int goodDelays[] = {220, 200, 165, 140, 130, 120, 110, 100, 90, 80, 70, 60, 55, 50, 40, 30, 0};
const int delayCount = sizeof goodDelays / sizeof goodDelays[0];
// Shorter delays than this are paced from idle rounds: the timer is too coarse for them.
const int shortestTimerDelay = 50;
// A timer pop this many times late, each by more than half a delay, leaves pacing to idle rounds.
const int lateLimit = 3;
const int firstSlotPriority = 101;
const int backgroundPriority = -1;
// Commands run within one tick before a file that loops through commands alone is ended.
const int commandsPerTick = 0x10000;

enum Verb {
    verbRandom = 1, verbIfRandom = 2, verbRepeat = 3, verbIfCounterA = 4, verbIfCounterD = 7,
    verbGoto = 50, verbSelectSplit = 54, verbSplitMode = 55, verbSpeed = 56, verbReturn = 59,
    verbIncA = 60, verbSetC = 68
};

enum { splitSelected = 1, splitRandom = 2 };

// The conditions of verbs 2 and 4 to 7: 0 greater, 1 less, 2 (counters only) equal.
bool holds(int value, unsigned short a, unsigned short b, bool equalAllowed) {
    switch (a) {
    case 0: return value > (int)b;
    case 1: return value < (int)b;
    case 2: return equalAllowed && value == (int)b;
    default: return false;
    }
}

struct FreeImage {
    void operator()(mBitMap *image) const { image->free(); }
};

} // namespace

mAsaAnim::mAsaAnim(mAsaFile *file, bool remapPalette, bool idleDriven, int useId, const mPoint &position)
    : file(file), useId(useId), remapPalette(remapPalette), frame(nullptr), idleDriven(idleDriven), lateCount(0),
      sequence(nullptr), randomValue(0), anchor(nullptr), savedAnchor(nullptr), repeatFrame(nullptr),
      repeatCount(0), sound(nullptr), counters{0, 0, 0, 0}, splitMode(splitSelected), delay(0), lastFrameTime(0),
      hurried(false), background(nullptr), idleRegistered(false), timer(nullptr), position(position),
      lastBackground(nullptr) {}

mAsaAnim::~mAsaAnim() {
    cleanUp();
    for (mSprite *s : sprites)
        delete s;
    delete background;
}

// ---- The step

void mAsaAnim::preProcess(mSequence *s, int) {
    if (remapPalette && file->getPalette()) {
        remapPalette = false;
        remapImages(s);
    }
    // The row of sprites is made once and serves every later run.
    mSpriteContext *context = s->getContext();
    for (int i = (int)sprites.size(); i < file->getSpriteSlots(); ++i)
        sprites.push_back(new mSprite(nullptr, firstSlotPriority + i, i, mPoint(), context));
    if (!background)
        background = new mSprite(nullptr, backgroundPriority, 0, mPoint(), context);
}

// The file's 8-bit images take the file's colours, then are mapped to the window's palette.
void mAsaAnim::remapImages(mSequence *s) {
    mWindow *window = s->getContext()->getWindow();
    std::unique_ptr<mPalette> target(window ? window->getPalette() : nullptr);
    if (!target)
        return;
    const mPalette &colors = *file->getPalette();
    for (int i = 0; i < file->getItems(); ++i) {
        std::unique_ptr<mBitMap, FreeImage> image(file->getImage(i));
        if (!image)
            continue;
        mBitMap::BitmapType type = image->getBitmapType();
        if (type != mBitMap::bitmap8 && type != mBitMap::bitmapRLE)
            continue;
        image->copyPalette(colors, 0, 0, colors.getColorCount());
        image->changePalette(*target, true);
    }
}

bool mAsaAnim::entered(mSequence *s) {
    if (isRunning())
        VELNOR_THROW("ASA animation entered while running!", 0);
    mSize size = file->getBackgroundSize();
    if (position == mPoint()) {
        const mSize &whole = s->getContext()->getSize();
        area = mRect((whole.cx - size.cx) / 2, (whole.cy - size.cy) / 2, 0, 0);
    } else {
        area = mRect(position.x, position.y, 0, 0);
    }
    area.right = area.left + size.cx;
    area.bottom = area.top + size.cy;
    for (mSprite *p : sprites) {
        p->setVisible(false);
        p->constrainDisplay(area);
    }
    background->setVisible(false);
    background->constrainDisplay(area);
    background->setPosition(mPoint(area.left, area.top));

    sequence = s;
    callStack.clear();
    hurried = false;
    anchor = frame = file->getFirstFrame();
    savedAnchor = repeatFrame = nullptr;
    lastBackground = nullptr;
    lateCount = 0;
    splitMode = splitSelected;
    delay = (int)file->getFrameTime();
    setMyTimer();
    doFrame();
    return beginAction(s, useId);
}

void mAsaAnim::event(mSequence *s, int e) {
    if (!isRunning())
        return;
    switch (e) {
    case eventHurry:
        // The graph runs on at idle speed, commands and sounds included, and ends as usual.
        hurried = true;
        setMyTimer();
        break;
    case eventStop:
    case eventJump:
        frame = nullptr;
        cleanUp();
        cutShort(s, e, useId);
        break;
    case eventPause:
        frame = nullptr;
        cleanUp();
        break;
    }
}

// ---- Pacing

void mAsaAnim::setMyTimer() {
    mApp *app = mApp::getCurrentApp();
    if (idleRegistered && app)
        app->unregisterIdle(this);
    idleRegistered = false;
    delete timer;
    timer = nullptr;
    if (!hurried && !idleDriven && delay >= shortestTimerDelay) {
        timer = new mTimer((unsigned long)delay, this, 0, true);
    } else if (app) {
        app->registerIdle(this);
        idleRegistered = true;
    }
}

void mAsaAnim::timerPopped(mTimer &) {
    long late = (long)(mTimer::getCurTime() - lastFrameTime) - delay;
    if (late > delay / 2 && ++lateCount > lateLimit) {
        // A machine too slow for the timer: idle rounds from now on, in later runs too.
        idleDriven = true;
        setMyTimer();
    }
    if (frame)
        doFrame();
    else
        finish();
}

void mAsaAnim::onIdle(unsigned long) {
    if (!hurried && (long)(mTimer::getCurTime() - lastFrameTime) < delay)
        return;
    if (frame)
        doFrame();
    else
        finish();
}

// The tick after the last frame: that frame has had its full delay on screen.
void mAsaAnim::finish() {
    cleanUp();
    endAction(sequence, useId);
}

void mAsaAnim::cleanUp() {
    if (sound)
        sound->stop();
    sound = nullptr;
    if (idleRegistered)
        if (mApp *app = mApp::getCurrentApp())
            app->unregisterIdle(this);
    idleRegistered = false;
    delete timer;
    timer = nullptr;
    for (mSprite *p : sprites)
        p->setVisible(false);
    if (background)
        background->setVisible(false);
}

void mAsaAnim::soundComplete(mDigSound *d) {
    if (sound == d)
        sound = nullptr;
}

// ---- The graph

void mAsaAnim::doFrame() {
    lastFrameTime = mTimer::getCurTime();
    resolveGoSub();
    int commands = 0;
    while (frame && frame->isCmd()) {
        if (++commands > commandsPerTick) {
            frame = nullptr;
            break;
        }
        if (!execCmd(false))
            frame = getNextFrame(frame, false);
    }
    if (commands)
        resolveGoSub();
    updateSprites();
    frame = getNextFrame(frame, false);
}

void mAsaAnim::takeAnchor(mAsaFrame *f) {
    if (f->hasFlag(mAsaFrame::anchorHere))
        anchor = f;
    else if (f->hasFlag(mAsaFrame::anchorFirst))
        anchor = file->getFirstFrame();
}

mAsaFrame *mAsaAnim::getNextFrame(mAsaFrame *f, bool peek) {
    if (!f)
        return nullptr;
    mAsaFrame *g = file->getFrame(f->getNextFrame());
    if (peek) {
        // Only looks: a command frame is stepped over by its split, if that leads to a picture.
        mAsaFrame *from = g ? g : anchor;
        if (from && from->getNextSplit() != -1)
            from = resolveSplit(from);
        return from && !from->isCmd() ? from : nullptr;
    }
    // The subroutine has run out: back behind the callers, as far as one has a successor.
    while (!g) {
        if (callStack.empty())
            return nullptr;
        mAsaFrame *caller = callStack.back();
        callStack.pop_back();
        g = file->getFrame(caller->getNextFrame());
    }
    if (g->getNextSplit() != -1)
        g = resolveSplit(g);
    takeAnchor(g);
    return g;
}

mAsaFrame *mAsaAnim::resolveSplit(mAsaFrame *f) {
    if (f == anchor)
        return f;
    mAsaFrame *choice = f;
    // A chain that turns back on itself ends after as many frames as the file has.
    int steps = file->getFrames();
    int i = 1;
    for (mAsaFrame *g = f; g && steps-- > 0; g = file->getNextSplit(g)) {
        if (splitMode == splitSelected) {
            if (g->hasFlag(mAsaFrame::selected))
                return g;
        } else if (std::rand() % i++ == 0 && !g->hasFlag(mAsaFrame::unselectable)) {
            choice = g;
        }
    }
    return choice;
}

void mAsaAnim::resolveGoSub() {
    if (!frame)
        return;
    if (frame->hasFlag(mAsaFrame::subroutine)) {
        if (validFrame(frame->getSubTarget())) {
            callStack.push_back(frame);
            frame = file->getFrame(frame->getSubTarget());
        } else if (validFrame(frame->getNextFrame())) {
            frame = file->getNextFrame(frame);
        } else if (!callStack.empty()) {
            mAsaFrame *caller = callStack.back();
            callStack.pop_back();
            mAsaFrame *after = file->getNextFrame(caller);
            frame = after ? after : anchor;
        } else {
            frame = nullptr;
        }
    }
    if (frame)
        takeAnchor(frame);
}

// ---- Commands

bool mAsaAnim::execCmd(bool second) {
    mAsaSlot *slot = frame->getSlot(second ? 1 : 0);
    if (!slot)
        VELNOR_THROW("Invalid ASA Command frame!", 0);
    unsigned short verb = slot->getVerb(), a = slot->getopa(), b = slot->getopb();
    bool condition = false;
    switch (verb) {
    case verbRandom:
        randomValue = std::rand() % 10000;
        condition = holds(randomValue, a, b, false);
        break;
    case verbIfRandom:
        condition = holds(randomValue, a, b, false);
        break;
    case verbRepeat:
        // Slot 1 of a repeat can't be another one: it would run itself without end.
        return !second && repeat(a);
    case verbGoto:
        if (!validFrame(a))
            return false;
        frame = file->getFrame(a);
        return true;
    case verbSelectSplit:
        selectSplit(a);
        return false;
    case verbSplitMode:
        if (a == 0)
            splitMode = splitRandom;
        else if (a == 1)
            splitMode = splitSelected;
        return false;
    case verbSpeed:
        if (a < delayCount) {
            delay = goodDelays[a];
            setMyTimer();
        }
        return false;
    case verbReturn:
        frame = anchor;
        return true;
    default:
        if (verb >= verbIfCounterA && verb <= verbIfCounterD) {
            condition = holds(counters[verb - verbIfCounterA], a, b, true);
        } else if (verb >= verbIncA && verb <= verbSetC) {
            // Three verbs for each of counters A to C: up one, down one, set to a.
            int &counter = counters[(verb - verbIncA) / 3];
            int op = (verb - verbIncA) % 3;
            counter = op == 0 ? counter + 1 : op == 1 ? counter - 1 : a;
        }
        break;
    }
    // A condition that holds goes on with slot 1; in slot 1 itself it has nowhere to go.
    return condition && !second && execCmd(true);
}

// Verb 3: the frames behind it run count times, each pass returning here by verb 59; at the
// arrival after that, slot 1 runs.
bool mAsaAnim::repeat(unsigned short count) {
    if (!savedAnchor) {
        savedAnchor = anchor;
        anchor = frame;
    }
    if (repeatFrame != frame) {
        repeatCount = count;
        repeatFrame = frame;
    }
    if (--repeatCount >= 0)
        return false;
    repeatFrame = nullptr;
    bool result = execCmd(true);
    anchor = savedAnchor;
    savedAnchor = nullptr;
    return result;
}

// Verb 54: frame n becomes the selected one of its split chain, for good: the mark is kept in
// the file's frames.
void mAsaAnim::selectSplit(unsigned short n) {
    mAsaFrame *g = file->getFrame(n);
    if (!g || g->hasFlag(mAsaFrame::unselectable) || (g->getPrevSplit() == -1 && g->getNextSplit() == -1))
        return;
    g->setFlags(g->getFlags() | mAsaFrame::selected);
    int steps = file->getFrames();
    for (mAsaFrame *p = file->getPrevSplit(g); p && p != g && steps-- > 0; p = file->getPrevSplit(p))
        p->setFlags(p->getFlags() & ~mAsaFrame::selected);
    steps = file->getFrames();
    for (mAsaFrame *p = file->getNextSplit(g); p && p != g && steps-- > 0; p = file->getNextSplit(p))
        p->setFlags(p->getFlags() & ~mAsaFrame::selected);
}

// ---- The picture

// Inside a subroutine a slot is drawn relative to the place from which it was called: moved
// by the caller's slot less the subroutine's first picture's slot.
mPoint mAsaAnim::slotPosition(int i, const mAsaSlot &s) {
    mPoint p = s.getPos();
    if (callStack.empty())
        return p;
    mAsaFrame *caller = callStack.back();
    mAsaFrame *entry = file->getFrame(caller->getSubTarget());
    if (entry && entry->isCmd()) {
        mAsaFrame *picture = getNextFrame(entry, true);
        entry = picture ? picture : entry;
    }
    mAsaSlot *from = caller->getSlot(i);
    mAsaSlot *to = entry ? entry->getSlot(i) : nullptr;
    if (!from || !to || to->getVerb() == 0xFFFF)
        return p;
    return mPoint(p.x + from->getPos().x - to->getPos().x, p.y + from->getPos().y - to->getPos().y);
}

void mAsaAnim::updateSprites() {
    if (!frame)
        return;
    if (const mBitMap *image = file->getImagePtr(frame->getBackground())) {
        if (image != lastBackground) {
            background->setBitMap(image);
            lastBackground = image;
        }
        background->setVisible(true);
    }
    for (int i = 0; i < (int)sprites.size(); ++i) {
        mSprite *p = sprites[i];
        mAsaSlot *s = frame->getSlot(i);
        if (!s || s->getVerb() >= file->getItems()) {
            if (p->examineBitMap())
                p->setVisible(false);
            continue;
        }
        mPoint at = slotPosition(i, *s);
        at = mPoint(at.x + area.left, at.y + area.top);
        const mBitMap *image = file->getImagePtr(s->getVerb());
        // An unchanged slot adds nothing to the dirty area.
        if (p->isVisible() && p->examineBitMap() == image && p->getPosition() == at)
            continue;
        if (image)
            p->setBitMap(image);
        p->setVisible(image != nullptr);
        p->setPosition(at);
    }
    if (frame->getWave() != -1) {
        sound = file->getSoundPtr(frame->getWave());
        if (sound)
            sound->play(frame == anchor ? mDigSound::STOP_ALL | mDigSound::LOOP : mDigSound::STOP_ALL, this);
    }
    if (frame->getMidi() != -1)
        VELNOR_THROW("Midi playback needed but not supported!", 0);
    mSpriteContext *context = sequence->getContext();
    context->update();
    if (mWindow *window = context->getWindow())
        window->update(true);
}
