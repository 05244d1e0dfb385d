// A frame animation read whole from an animation file: a graph of frames, the images and sounds
// that they show, frame names and a palette. Nothing of the file stays open after load.
#pragma once
#include "mAswLib/mObjFile.h"
#include "mUtil/mGeometry.h"

#include <vector>

class mAsaFile;
class mBitMap;
class mDigSound;
class mPalette;

// One slot of a frame: an item shown at a place, or in a command frame an instruction.
class VELNOR_API mAsaSlot {
public:
    mAsaSlot();
    // Three words; a slot cut short throws.
    mAsaSlot(mInputFile &f);

    unsigned short getVerb() const { return verb; }
    unsigned short getopa() const { return (unsigned short)opa; }
    unsigned short getopb() const { return (unsigned short)opb; }
    // Both operands as the signed place of an ordinary frame's image.
    mPoint getPos() const { return mPoint(opa, opb); }

private:
    friend class mAsaFile;

    unsigned short verb;
    long opa;
    long opb;
};

class VELNOR_API mAsaFrame {
public:
    enum {
        hasSlots = 0x0001,
        selected = 0x0002,
        anchorHere = 0x0004,
        anchorFirst = 0x0008,
        unselectable = 0x0010,
        subroutine = 0x0020,
        extended = 0x0040,
        command = 0x0100
    };

    short getId() const { return id; }
    short getWave() const { return wave; }
    short getMidi() const { return midi; }
    short getBackground() const { return background; }
    short getSubTarget() const { return subTarget; }
    short getPrevFrame() const { return prevFrame; }
    short getNextFrame() const { return nextFrame; }
    short getPrevSplit() const { return prevSplit; }
    short getNextSplit() const { return nextSplit; }
    mPoint getPos() const { return mPoint(x, y); }
    bool isCmd() const { return (flags & command) != 0; }
    int getItemSlots() const { return (int)slots.size(); }
    mAsaSlot *getSlot(int i);

    // The flags are the player's to change: selecting a split marks one frame of its chain.
    unsigned short getFlags() const { return flags; }
    bool hasFlag(unsigned short flag) const { return (flags & flag) != 0; }
    void setFlags(unsigned short f) { flags = f; }

private:
    friend class mAsaFile;
    // One frame record. The first extended record switches every later one over, so the
    // file's reader carries that in extendedSeen.
    mAsaFrame(mInputFile &f, int slotsPerFrame, bool &extendedSeen);
    ~mAsaFrame() {}
    mAsaFrame(const mAsaFrame &) = delete;
    mAsaFrame &operator=(const mAsaFrame &) = delete;

    short getNameId() const { return nameId; }
    void setNameId(short n) { nameId = n; }

    std::vector<mAsaSlot> slots;
    short id;
    unsigned short flags;
    short wave;
    short midi;
    short subTarget;
    long x;
    long y;
    short prevFrame;
    short nextFrame;
    short prevSplit;
    short nextSplit;
    short background;
    short nameId;
};

// An item of the file as its record gave it; object is an mBitMap* for objBitmap, an
// mDigSound* for objSound, and the body reader's block otherwise.
struct VELNOR_API mAsaItem {
    unsigned short id;
    unsigned short reserved;
    short typeWord;
    mObjFile::mObjType type;
    mString name;
    long size;
    void *object;
};

class VELNOR_API mAsaFile {
public:
    mAsaFile();
    mAsaFile(mString path);
    ~mAsaFile();
    // The lists own what they hold: a copy would have to decode the file again.
    mAsaFile(const mAsaFile &) = delete;
    mAsaFile &operator=(const mAsaFile &) = delete;

    // Reads the file whole; what was loaded before is released first.
    void load(mString path);

    mString getTitle() { return title; }
    mString getAbout() { return about; }
    mSize getBackgroundSize() { return mSize(width, height); }
    long getFrameTime() { return frameTime; }
    int getSpriteSlots() const { return spriteSlots; }
    const mPalette *getPalette() { return palette; }
    mBitMap *getSplashPtr() { return splash; }
    int getFrames() { return (int)frames.size(); }
    int getItems() { return (int)items.size(); }

    mAsaFrame *getFirstFrame() { return getFrame(0); }
    mAsaFrame *getFrame(int n);
    mAsaFrame *getFrame(const mString &name);
    mAsaFrame *getNextFrame(mAsaFrame *f) { return getFrame(f->getNextFrame()); }
    mAsaFrame *getPrevFrame(mAsaFrame *f) { return getFrame(f->getPrevFrame()); }
    mAsaFrame *getNextSplit(mAsaFrame *f) { return getFrame(f->getNextSplit()); }
    mAsaFrame *getPrevSplit(mAsaFrame *f) { return getFrame(f->getPrevSplit()); }

    mString getItemName(int i);
    mObjFile::mObjType getType(int i);
    bool isBackground(int i);
    // A use of the item's image, which the caller frees; null for anything but an image.
    mBitMap *getImage(int i);
    const mBitMap *getImagePtr(int i);
    mDigSound *getSoundPtr(int i);

private:
    void flush();
    int convert(int *table, int count, int value);
    void fixLocations();
    void loadString(mString &s, mInputFile &f);
    void loadFrameNames(mInputFile &f);
    void loadDLLNames(mInputFile &f);
    void loadItem(mInputFile &f);
    const mAsaItem *item(int i) const;

    std::vector<mAsaFrame *> frames;
    std::vector<mAsaItem> items;
    std::vector<mString> names;
    short spriteSlots;
    int width;
    int height;
    long frameTime;
    mString title;
    mString about;
    mBitMap *splash;
    mPalette *palette;
};
