#include "mAswLib/mAsaFile.h"
#include "mAswLib/mAswObject.h"
#include "mMedia/mSound.h"
#include "mSprite/mBitMap.h"
#include "mUtil/mModule.h"
#include "mUtil/mApp.h"
#include "mWindow/mPalette.h"

#include <cstring>
#include <memory>
#include <string>

static const char srcPath[] = "mAswLib/mAsaFile";

namespace {

const unsigned short none = 0xFFFF;
// Header words behind the fixed part are counted in fours; 0 stands for this many.
const unsigned short defaultRestOfHeader = 18;
const int paletteEntries = 256;
const unsigned long paletteBytes = 4 * paletteEntries;
// Frame names are read in pieces of at most this size.
const int nameChunk = 100;

// The file's fields that nothing checks: a file that ends early gives zeros, and the next
// checked read reports it.
unsigned short word(mInputFile &f) {
    unsigned short v;
    return f.readWords(&v, 1) == 1 ? v : 0;
}

unsigned long dword(mInputFile &f) {
    unsigned long v;
    return f.readLongs(&v, 1) == 1 ? v : 0;
}

bool readWord(mInputFile &f, unsigned short &v) { return f.readWords(&v, 1) == 1; }

void skip(mInputFile &f, long count) { f.seekFrom(count, mFile::seekCurrent); }

struct FreeBlock {
    void operator()(void *block) const { mApp::free(block); }
};
using Block = std::unique_ptr<void, FreeBlock>;

} // namespace

// ---- mAsaSlot

mAsaSlot::mAsaSlot() : verb(none), opa(0), opb(0) {}

mAsaSlot::mAsaSlot(mInputFile &f) {
    unsigned short w[3];
    if (f.readWords(w, 3) != 3)
        VELNOR_THROW("Cannot read item location in .asa file", 0);
    verb = w[0];
    opa = (short)w[1];
    opb = (short)w[2];
}

// ---- mAsaFrame

mAsaFrame::mAsaFrame(mInputFile &f, int slotsPerFrame, bool &extendedSeen) {
    id = (short)word(f);
    flags = word(f);
    dword(f);
    wave = (short)word(f);
    midi = (short)word(f);
    short third = (short)word(f);
    x = (short)word(f);
    y = (short)word(f);
    prevFrame = (short)word(f);
    nextFrame = (short)word(f);
    prevSplit = (short)word(f);
    nextSplit = (short)word(f);

    if (flags & extended)
        extendedSeen = true;
    int slotCount = slotsPerFrame;
    nameId = -1;
    if (extendedSeen) {
        short n = (short)word(f);
        if (n < 2)
            n = 2;
        background = (short)word(f);
        if (n >= 4)
            slotCount = word(f);
        if (n >= 6)
            nameId = (short)word(f);
        if (n > 6)
            skip(f, n - 6);
        subTarget = third;
    } else if (flags & subroutine) {
        background = -1;
        subTarget = third;
    } else {
        background = third;
        subTarget = -1;
    }
    flags |= extended;

    // Slots are read one by one, so that a count that overruns the file costs nothing.
    if (flags & hasSlots)
        for (int i = 0; i < slotCount; ++i)
            slots.push_back(mAsaSlot(f));
}

mAsaSlot *mAsaFrame::getSlot(int i) { return i >= 0 && i < (int)slots.size() ? &slots[i] : nullptr; }

// ---- mAsaFile

mAsaFile::mAsaFile()
    : spriteSlots(0), width(0), height(0), frameTime(0), splash(nullptr), palette(nullptr) {}

mAsaFile::mAsaFile(mString path) : mAsaFile() { load(path); }

mAsaFile::~mAsaFile() { flush(); }

void mAsaFile::flush() {
    delete palette;
    palette = nullptr;
    if (splash)
        splash->free();
    splash = nullptr;
    for (mAsaItem &i : items) {
        if (i.type == mObjFile::objBitmap)
            static_cast<mBitMap *>(i.object)->free();
        else if (i.type == mObjFile::objSound)
            delete static_cast<mDigSound *>(i.object);
        else
            mApp::free(i.object);
    }
    items.clear();
    for (mAsaFrame *f : frames)
        delete f;
    frames.clear();
    names.clear();
}

void mAsaFile::load(mString path) {
    flush();
    mInputFile f(path);
    f.OpenFile(true);

    char magic[4] = {0};
    f.readBytes(magic, 4);
    if (std::memcmp(magic, "AniM", 4) != 0 && std::memcmp(magic, "AniN", 4) != 0)
        VELNOR_THROW(path + " is not a valid asa file", 0);

    unsigned short slotsPerFrame = word(f);
    width = (short)word(f);
    height = (short)word(f);
    frameTime = (long)dword(f);
    word(f);
    bool hasTitle = word(f) != 0;
    bool hasSplash = word(f) != 0;
    unsigned short rest = word(f);
    if (rest == 0)
        rest = defaultRestOfHeader;
    word(f);
    word(f);
    bool hasNames = word(f) != 0;
    bool hasLibrary = word(f) != 0;
    dword(f);
    bool hasSkip = word(f) != 0;
    word(f);
    if (!f.seekFrom(4 * ((long)rest - 4), mFile::seekCurrent))
        VELNOR_THROW("Cannot read asa file, seek failed", 0);

    if (hasTitle)
        loadString(title, f);
    if (hasSplash) {
        int size = 0;
        Block block(mAswObject::readBody(f, size, 0));
        splash = mBitMap::createFromObject(block.get(), size);
    }
    unsigned short skipLength;
    // A negative length would lead back into what was read: it passes over nothing.
    if (hasSkip && readWord(f, skipLength) && (short)skipLength > 0)
        skip(f, (short)skipLength);

    unsigned short frameCount;
    if (!readWord(f, frameCount))
        VELNOR_THROW("Cannot read frame count", 0);
    bool extendedSeen = false;
    // Room for the whole list first: a push then never fails with a frame in hand.
    frames.reserve(frameCount);
    for (unsigned i = 0; i < frameCount; ++i) {
        frames.push_back(new mAsaFrame(f, slotsPerFrame, extendedSeen));
        if (frames.back()->getItemSlots() > spriteSlots)
            spriteSlots = (short)frames.back()->getItemSlots();
    }

    unsigned short itemCount;
    if (!readWord(f, itemCount))
        VELNOR_THROW("Cannot read frame data count", 0);
    items.reserve(itemCount);
    for (unsigned i = 0; i < itemCount; ++i)
        loadItem(f);

    if (hasNames)
        loadFrameNames(f);
    if (hasLibrary)
        loadDLLNames(f);
    if (f.getFileSize() - (unsigned long)f.getCurrentPosition() >= paletteBytes)
        palette = new mPalette(f, paletteEntries);
    fixLocations();
}

// An item joins the list only once its object is made; a body that fails leaves nothing behind.
void mAsaFile::loadItem(mInputFile &f) {
    unsigned char head[mAswObject::headerSize] = {0};
    f.readBytes(head, mAswObject::headerSize);
    mAsaItem entry;
    entry.id = mModule::leReadWord(head);
    entry.reserved = mModule::leReadWord(head + 2);
    entry.typeWord = (short)mModule::leReadWord(head + 4);
    entry.type = mAswObject::typeOf(entry.typeWord);
    const char *name = reinterpret_cast<const char *>(head + 6);
    entry.name = mString(name, (unsigned long)strnlen(name, 14));
    entry.size = 0;
    entry.object = nullptr;

    int size = 0;
    Block block(mAswObject::readBody(f, size, entry.typeWord));
    if (entry.type == mObjFile::objBitmap)
        entry.object = mBitMap::createFromObject(block.get(), size);
    else if (entry.type == mObjFile::objSound)
        entry.object = new mDigSound(block.get(), size);
    else
        entry.object = block.release();
    entry.size = size;
    items.push_back(entry);
}

void mAsaFile::loadString(mString &s, mInputFile &f) {
    unsigned short length;
    if (!readWord(f, length))
        VELNOR_THROW("Failed to read string length", 0);
    std::string bytes(length, '\0');
    if (f.readBytes(&bytes[0], length) != length)
        VELNOR_THROW("Failed to read string bytes", length);
    s = mString(bytes.c_str(), length);
}

void mAsaFile::loadFrameNames(mInputFile &f) {
    unsigned short total;
    if (!readWord(f, total))
        VELNOR_THROW("Cannot read byte count for names in .asa file", 0);
    std::vector<int> table(frames.size());
    size_t found = 0;
    std::string pending;
    int start = 0;
    auto take = [&]() {
        table[found++] = start + 1;
        names.push_back(mString(pending.c_str(), (unsigned long)pending.size()));
        pending.clear();
    };
    char chunk[nameChunk];
    for (int at = 0; at < total;) {
        int n = total - at < nameChunk ? total - at : nameChunk;
        if (f.readBytes(chunk, n) != n)
            VELNOR_THROW("Cannot read name buffer in .asa file", 0);
        for (int i = 0; i < n && found < table.size(); ++i) {
            if (chunk[i]) {
                pending += chunk[i];
                continue;
            }
            take();
            start = at + i + 1;
        }
        at += n;
    }
    if (found < table.size() && start < total)
        take();
    for (mAsaFrame *frame : frames) {
        unsigned short stated = (unsigned short)frame->getNameId();
        frame->setNameId((short)(stated == none ? -1 : convert(table.data(), (int)found, stated)));
    }
}

void mAsaFile::loadDLLNames(mInputFile &f) {
    unsigned short length;
    if (readWord(f, length))
        skip(f, length);
}

int mAsaFile::convert(int *table, int count, int value) {
    int low = 0, high = count - 1;
    while (low <= high) {
        int middle = (low + high) / 2;
        if (table[middle] == value)
            return middle;
        if (table[middle] < value)
            low = middle + 1;
        else
            high = middle - 1;
    }
    return -1;
}

// The file gives the bottom edge of each image; the player places sprites by their top.
void mAsaFile::fixLocations() {
    for (mAsaFrame *frame : frames) {
        if (frame->isCmd())
            continue;
        for (mAsaSlot &slot : frame->slots)
            if ((short)slot.verb >= 0)
                if (const mBitMap *image = getImagePtr((short)slot.verb))
                    slot.opb -= image->getSize().cy;
    }
}

mAsaFrame *mAsaFile::getFrame(int n) { return n >= 0 && n < (int)frames.size() ? frames[n] : nullptr; }

mAsaFrame *mAsaFile::getFrame(const mString &name) {
    for (size_t i = 0; i < names.size(); ++i) {
        if (names[i] == name) {
            for (mAsaFrame *frame : frames)
                if ((unsigned short)frame->getNameId() == i)
                    return frame;
            return nullptr;
        }
    }
    return nullptr;
}

const mAsaItem *mAsaFile::item(int i) const { return i >= 0 && i < (int)items.size() ? &items[i] : nullptr; }

mString mAsaFile::getItemName(int i) {
    const mAsaItem *entry = item(i);
    return entry ? entry->name : mString();
}

mObjFile::mObjType mAsaFile::getType(int i) {
    const mAsaItem *entry = item(i);
    return entry ? entry->type : mObjFile::objNone;
}

bool mAsaFile::isBackground(int i) {
    const mAsaItem *entry = item(i);
    return entry && entry->typeWord == 1;
}

mBitMap *mAsaFile::getImage(int i) {
    const mBitMap *image = getImagePtr(i);
    return image ? image->use() : nullptr;
}

const mBitMap *mAsaFile::getImagePtr(int i) {
    const mAsaItem *entry = item(i);
    return entry && entry->type == mObjFile::objBitmap ? static_cast<const mBitMap *>(entry->object) : nullptr;
}

mDigSound *mAsaFile::getSoundPtr(int i) {
    const mAsaItem *entry = item(i);
    return entry && entry->type == mObjFile::objSound ? static_cast<mDigSound *>(entry->object) : nullptr;
}
