#include "mWindow/mPalette.h"
#include "mFile/mFile.h"
#include "mUtil/mApp.h"

#include <windows.h>

#include <new>

static const char srcPath[] = "mWindow/mPalette";

mPeerRef *mPeerRef::first = nullptr;

namespace {

// Every entry the library makes keeps a slot of its own in the system palette.
const BYTE entryFlags = PC_NOCOLLAPSE;
const int maxEntries = 256;
const int paletteFileSize = 1026;

HPALETTE hpal(SYSTEM_INFO_STRUCT *handle) { return reinterpret_cast<HPALETTE>(handle); }

int limitCount(int count) { return count < 0 ? 0 : (count > maxEntries ? maxEntries : count); }

// A logical palette of count entries in a block of the library's heap.
LOGPALETTE *newLogical(int count) {
    size_t size = offsetof(LOGPALETTE, palPalEntry) + sizeof(PALETTEENTRY) * (size_t)count;
    LOGPALETTE *block = static_cast<LOGPALETTE *>(mApp::malloc((int)size));
    if (!block)
        throw std::bad_alloc();
    block->palVersion = 0x300;
    block->palNumEntries = (WORD)count;
    return block;
}

PALETTEENTRY makeEntry(unsigned char red, unsigned char green, unsigned char blue) {
    PALETTEENTRY e = {red, green, blue, entryFlags};
    return e;
}

unsigned long entryRGB(const PALETTEENTRY &e) {
    return ((unsigned long)e.peRed << 16) | ((unsigned long)e.peGreen << 8) | e.peBlue;
}

unsigned long entryPeerColor(const PALETTEENTRY &e) { return RGB(e.peRed, e.peGreen, e.peBlue); }

// A new array of the entries in one packed form, for the caller to delete[].
unsigned long *packEntries(const PALETTEENTRY *entries, int count, unsigned long (*form)(const PALETTEENTRY &)) {
    unsigned long *packed = new unsigned long[count];
    for (int i = 0; i < count; ++i)
        packed[i] = form(entries[i]);
    return packed;
}

PALETTEENTRY rgbEntry(unsigned long rgb) {
    return makeEntry((unsigned char)(rgb >> 16), (unsigned char)(rgb >> 8), (unsigned char)rgb);
}

// The chained hash table of the merge: at most 256 colours in 64 buckets, each new node at
// the head of its bucket.
class MergeTable {
public:
    explicit MergeTable(unsigned long mask) : mask(mask), used(0) {
        for (int b = 0; b < bucketCount; ++b)
            heads[b] = -1;
    }

    bool full() const { return used == maxEntries; }
    int size() const { return used; }

    // The node holding a colour equal to rgb in the bits of compareMask, or -1.
    int find(unsigned long rgb, unsigned long compareMask) const {
        for (int n = heads[bucket(rgb)]; n >= 0; n = nodes[n].next)
            if (((nodes[n].rgb ^ rgb) & compareMask) == 0)
                return n;
        return -1;
    }

    void add(unsigned long rgb, bool isNew) {
        Node &node = nodes[used];
        int b = bucket(rgb);
        node.rgb = rgb;
        node.isNew = isNew;
        node.next = heads[b];
        heads[b] = (short)used++;
    }

    void replace(int n, unsigned long rgb) { nodes[n].rgb = rgb; }

    // Writes the nodes by ascending bucket, head to tail; with onlyNew, base nodes are left out.
    int write(PALETTEENTRY *out, bool onlyNew) const {
        int written = 0;
        for (int b = 0; b < bucketCount; ++b)
            for (int n = heads[b]; n >= 0; n = nodes[n].next)
                if (!onlyNew || nodes[n].isNew)
                    out[written++] = rgbEntry(nodes[n].rgb);
        return written;
    }

private:
    static const int bucketCount = 64;
    struct Node {
        unsigned long rgb;
        short next;
        bool isNew;
    };

    int bucket(unsigned long rgb) const { return (int)(rgb & mask & (bucketCount - 1)); }

    unsigned long mask;
    short heads[bucketCount];
    Node nodes[maxEntries];
    int used;
};

} // namespace

// ---- mPeerRef

mPeerRef::mPeerRef(SYSTEM_INFO_STRUCT *handle) : refCount(1), handle(handle), foreign(false), next(first) {}

mPeerRef *mPeerRef::find(SYSTEM_INFO_STRUCT *handle, bool add) {
    for (mPeerRef *entry = first; entry; entry = entry->next) {
        if (entry->handle == handle) {
            if (add)
                ++entry->refCount;
            return entry;
        }
    }
    if (!add)
        return nullptr;
    first = new mPeerRef(handle);
    return first;
}

void mPeerRef::markForeign() {
    if (refCount == 1)
        foreign = true;
}

void mPeerRef::release() {
    if (--refCount > 0)
        return;
    if (!foreign)
        DeleteObject(reinterpret_cast<HGDIOBJ>(handle));
    for (mPeerRef **link = &first; *link; link = &(*link)->next) {
        if (*link == this) {
            *link = next;
            break;
        }
    }
    delete this;
}

// ---- mPalette: construction

mPalette::mPalette(const mColor *colors, int count) : peer(nullptr), count(limitCount(count)) {
    LOGPALETTE *block = newLogical(this->count);
    for (int i = 0; i < this->count; ++i)
        block->palPalEntry[i] = makeEntry(colors[i].getRed(), colors[i].getGreen(), colors[i].getBlue());
    createIt(block);
}

mPalette::mPalette(mString path) : peer(nullptr), count(maxEntries) {
    mInputFile file(path);
    unsigned long size = file.getFileSize();
    if (size != paletteFileSize)
        VELNOR_THROW("Bad palette file size", size);
    file.OpenFile(true);
    unsigned short ignored;
    file.readWords(&ignored, 1);
    loadFromFile(file, maxEntries);
    file.close();
}

mPalette::mPalette(mInputFile &file, int count) : peer(nullptr), count(limitCount(count)) {
    loadFromFile(file, this->count);
}

mPalette::mPalette(const mPalette &other) : peer(other.peer), count(other.count) {
    if (peer)
        peer->use();
}

mPalette &mPalette::operator=(const mPalette &other) {
    if (other.peer)
        other.peer->use();
    if (peer)
        peer->release();
    peer = other.peer;
    count = other.count;
    return *this;
}

mPalette::~mPalette() {
    if (peer)
        peer->release();
}

mPalette::mPalette(const mPalette *base, const mColor *colors, int count, int ignoreBits, bool replace,
                   bool maskBase)
    : peer(nullptr), count(0) {
    bool keepBase = maskBase ? ignoreBits == 0 : !(replace && ignoreBits != 0);
    if (ignoreBits < 0)
        ignoreBits = 0;
    if (ignoreBits > 7)
        ignoreBits = 7;
    unsigned long mask = ((0xFFul << ignoreBits) & 0xFF) * 0x010101ul;
    MergeTable table(mask);

    PALETTEENTRY baseEntries[maxEntries];
    int baseCount = base ? limitCount(base->count) : 0;
    if (baseCount > 0)
        GetPaletteEntries(hpal(base->getPeer()), 0, (UINT)baseCount, baseEntries);
    unsigned long baseMask = maskBase ? mask : 0xFFFFFFul;
    for (int i = 0; i < baseCount; ++i) {
        unsigned long rgb = entryRGB(baseEntries[i]);
        if (keepBase || table.find(rgb, baseMask) < 0)
            table.add(rgb, false);
    }

    for (int i = 0; i < count && !table.full(); ++i) {
        unsigned long rgb = colors[i].getRGB();
        int found = table.find(rgb, mask);
        if (found < 0)
            table.add(rgb, true);
        else if (replace)
            table.replace(found, rgb);
    }

    bool baseFirst = keepBase && baseCount > 0;
    this->count = table.size();
    LOGPALETTE *block = newLogical(this->count);
    int written = 0;
    if (baseFirst) {
        for (; written < baseCount; ++written)
            block->palPalEntry[written] = baseEntries[written];
    }
    table.write(block->palPalEntry + written, baseFirst);
    createIt(block);
}

void mPalette::createIt(void *logicalPalette) {
    HPALETTE handle = CreatePalette(static_cast<LOGPALETTE *>(logicalPalette));
    mApp::free(logicalPalette);
    if (!handle)
        VELNOR_THROW("Could not create palette", count);
    peer = mPeerRef::find(reinterpret_cast<SYSTEM_INFO_STRUCT *>(handle), true);
}

// Records that the stream does not deliver stay black: a short embedded table is no reason to
// lose the file that carries it.
void mPalette::loadFromFile(mInputFile &file, int count) {
    LOGPALETTE *block = newLogical(count);
    try {
        for (int i = 0; i < count; ++i) {
            unsigned char record[4] = {0, 0, 0, 0};
            file.readBytes(record, 4);
            block->palPalEntry[i] = makeEntry(record[0], record[1], record[2]);
        }
    } catch (...) {
        mApp::free(block);
        throw;
    }
    createIt(block);
}

// ---- mPalette: entries

void mPalette::readEntries(void *entries) const {
    if (count > 0)
        GetPaletteEntries(hpal(getPeer()), 0, (UINT)count, static_cast<PALETTEENTRY *>(entries));
}

mColor *mPalette::getColors(int &n) const {
    PALETTEENTRY entries[maxEntries];
    readEntries(entries);
    n = count;
    mColor *colors = new mColor[count];
    for (int i = 0; i < count; ++i)
        colors[i] = mColor(entries[i].peRed, entries[i].peGreen, entries[i].peBlue);
    return colors;
}

unsigned long *mPalette::getPeerColors(int &n) const {
    PALETTEENTRY entries[maxEntries];
    readEntries(entries);
    n = count;
    return packEntries(entries, count, entryPeerColor);
}

unsigned long *mPalette::getRGBColors(int &n) const {
    PALETTEENTRY entries[maxEntries];
    readEntries(entries);
    n = count;
    return packEntries(entries, count, entryRGB);
}

mColor mPalette::getColor(int index) {
    if (index < 0 || index >= count)
        return mColor(true);
    PALETTEENTRY e;
    GetPaletteEntries(hpal(getPeer()), (UINT)index, 1, &e);
    return mColor(e.peRed, e.peGreen, e.peBlue);
}

void mPalette::setColor(int index, const mColor &color) {
    if (index < 0 || index >= count)
        VELNOR_THROW("Bad color index for palette", index);
    if (color.isTransparent())
        VELNOR_THROW("Transparent color for palette", index);
    PALETTEENTRY e = makeEntry(color.getRed(), color.getGreen(), color.getBlue());
    SetPaletteEntries(hpal(getPeer()), (UINT)index, 1, &e);
}

int mPalette::getIndex(const mColor &color) const {
    UINT index = GetNearestPaletteIndex(hpal(getPeer()), RGB(color.getRed(), color.getGreen(), color.getBlue()));
    if (index == CLR_INVALID)
        VELNOR_THROW("Could not get color index match", color.getRGB());
    return (int)index;
}

SYSTEM_INFO_STRUCT *mPalette::getPeer() const { return peer ? peer->getHandle() : nullptr; }
