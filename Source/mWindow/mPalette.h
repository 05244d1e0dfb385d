// Counted platform drawing objects, and the shared platform palette built on them.
#pragma once
#include "mUtil/mString.h"
#include "mWindow/mColor.h"

class mInputFile;

// One entry per platform drawing object that a wrapper holds: palettes, pens, brushes and
// fonts. Wrappers that share an object share its entry; the last release deletes the object,
// unless it belongs to someone else.
class VELNOR_API mPeerRef {
public:
    // The entry of a handle. Without add: null if unknown. With add: one more use of a known
    // entry, or a new entry with one use.
    static mPeerRef *find(SYSTEM_INFO_STRUCT *handle, bool add);
    // Called by the first wrapper of a handle found on a surface: that object is not ours.
    void markForeign();
    // One more sharer of a known entry.
    void use() { ++refCount; }
    // One sharer fewer; the entry is gone after the last.
    void release();

    SYSTEM_INFO_STRUCT *getHandle() const { return handle; }
    int getRefCount() const { return refCount; }
    bool isForeign() const { return foreign; }

private:
    mPeerRef(SYSTEM_INFO_STRUCT *handle);
    mPeerRef(const mPeerRef &);
    mPeerRef &operator=(const mPeerRef &);

    int refCount;
    SYSTEM_INFO_STRUCT *handle;
    bool foreign;
    mPeerRef *next;

    static mPeerRef *first;
};

class VELNOR_API mPalette {
public:
    mPalette(const mColor *colors, int count);
    // A palette file: exactly 1026 bytes, a word, then 256 entries of red, green, blue, unused.
    mPalette(mString path);
    // count entries of red, green, blue, unused, from the present position of an open file.
    mPalette(mInputFile &file, int count);
    mPalette(const mPalette &other);
    // base and colors, where colours that differ only in the lowest ignoreBits bits of each
    // channel count as one.
    mPalette(const mPalette *base, const mColor *colors, int count, int ignoreBits, bool replace, bool maskBase);
    mPalette &operator=(const mPalette &other);
    ~mPalette();

    int getColorCount() const { return count; }
    // New arrays that the caller releases with delete[].
    mColor *getColors(int &count) const;
    unsigned long *getPeerColors(int &count) const;
    unsigned long *getRGBColors(int &count) const;
    // Out of range gives the transparent colour.
    mColor getColor(int index);
    void setColor(int index, const mColor &color);
    // The nearest entry, as the platform matches it.
    int getIndex(const mColor &color) const;
    SYSTEM_INFO_STRUCT *getPeer() const;

private:
    void createIt(void *logicalPalette);
    void loadFromFile(mInputFile &file, int count);
    void readEntries(void *entries) const;

    mPeerRef *peer;
    int count;
};
