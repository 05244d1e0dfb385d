// Writes frame animation files from images and sounds, for tests, the demo and the asset tools.
// The library only reads this format; this writer is not part of its interface.
//
// Frames are written as extended records, items with LZSS bodies. A slot's y is the bottom
// edge of its image, as the file states it.
#pragma once
#include <Velnor11.h>

#include <cstdio>
#include <string>
#include <vector>

namespace asa {

using Bytes = std::vector<unsigned char>;

inline void put(Bytes &b, unsigned long long value, int size) {
    for (int i = 0; i < size; ++i)
        b.push_back((unsigned char)(value >> (8 * i)));
}

inline void put(Bytes &b, const Bytes &more) { b.insert(b.end(), more.begin(), more.end()); }

// Item types as the record's type word gives them.
enum ItemType { itemImage = 0, itemBackground = 1, itemSound = 2, itemData = 3 };

struct Slot {
    unsigned short verb;  // the item, or in a command frame the verb
    short a;              // x, or operand a
    short b;              // y of the image's bottom edge, or operand b
};

struct Frame {
    unsigned short flags = 0;
    short wave = -1;
    short midi = -1;
    short subTarget = -1;
    short background = -1;
    short x = 0, y = 0;
    short prevFrame = -1, nextFrame = -1;
    short prevSplit = -1, nextSplit = -1;
    std::string name;
    std::vector<Slot> slots;
};

// A command frame: the instruction in slot 0, and the one that a condition leads to in slot 1.
inline Frame command(unsigned short verb, short a = 0, short b = 0) {
    Frame f;
    f.flags = mAsaFrame::command;
    f.slots.push_back(Slot{verb, a, b});
    return f;
}

inline Frame command(unsigned short verb, short a, short b, Slot then) {
    Frame f = command(verb, a, b);
    f.slots.push_back(then);
    return f;
}

// A RIFF wave image of PCM samples.
inline Bytes waveImage(const Bytes &samples, unsigned long rate, int bits, int channels) {
    Bytes b = {'R', 'I', 'F', 'F'};
    put(b, 36 + samples.size(), 4);
    put(b, Bytes{'W', 'A', 'V', 'E', 'f', 'm', 't', ' '});
    put(b, 16, 4);
    put(b, 1, 2);
    put(b, channels, 2);
    put(b, rate, 4);
    put(b, rate * channels * bits / 8, 4);
    put(b, channels * bits / 8, 2);
    put(b, bits, 2);
    put(b, Bytes{'d', 'a', 't', 'a'});
    put(b, samples.size(), 4);
    put(b, samples);
    return b;
}

// Writes `b` as the whole file at `path`; false if the disk refused.
inline bool save(const std::string &path, const Bytes &b) {
    std::FILE *f = std::fopen(path.c_str(), "wb");
    if (!f)
        return false;
    bool written = std::fwrite(b.data(), 1, b.size(), f) == b.size();
    return std::fclose(f) == 0 && written;
}

// The block that an image's record carries: a 4-byte slot, then a bitmap file image, with a
// table of 15-bit colours when the image has colours.
inline Bytes imageBlock(const mBitMap &image) {
    const mBHeader *h = image.getHeader();
    bool table = !h->noPalette && h->colorCount > 0;
    unsigned long pixelOffset = table ? 566 : 54;
    unsigned long size = 4 + pixelOffset + (unsigned long)h->dataSize;
    Bytes b;
    put(b, size - 4, 4);
    put(b, Bytes{'B', 'M'});
    put(b, size - 4, 4);
    put(b, 0, 4);
    put(b, pixelOffset, 4);
    put(b, 40, 4);
    put(b, (unsigned long)h->width, 4);
    put(b, (unsigned long)h->height, 4);
    put(b, 1, 2);
    put(b, h->bits == 15 ? 16 : 8, 2);
    put(b, h->compression == 1 ? 1 : 0, 4);
    put(b, (unsigned long)h->dataSize, 4);
    put(b, 0, 8);
    put(b, table ? h->colorCount : 0, 4);
    put(b, 0, 4);
    if (table)
        for (int i = 0; i < 256; ++i)
            put(b, i < h->colorCount ? h->colors[i].getRGB15() : 0, 2);
    const unsigned char *pixels = static_cast<const unsigned char *>(image.getData());
    b.insert(b.end(), pixels, pixels + h->dataSize);
    return b;
}

class Writer {
public:
    Writer(int width, int height, unsigned long frameTime) : width(width), height(height), frameTime(frameTime) {}

    void setTitle(const std::string &text) { title = text; }
    void setPalette(mPalette &p) {
        palette.clear();
        for (int i = 0; i < 256; ++i) {
            mColor c = p.getColor(i);
            put(palette, Bytes{c.getRed(), c.getGreen(), c.getBlue(), 0});
        }
    }

    // Each gives the item's number.
    int addImage(const mBitMap &image, const std::string &name, bool isBackground = false) {
        bool table = !image.getHeader()->noPalette && image.getHeader()->colorCount > 0;
        return addItem(isBackground ? itemBackground : itemImage, name, imageBlock(image), table ? 64 : 1);
    }
    int addSound(const Bytes &wave, const std::string &name) {
        Bytes block(4, 0);
        put(block, wave);
        return addItem(itemSound, name, block, 1);
    }
    // Any record: type word, name, block, and compressor flags 0 (stored) or 1 or 64 (LZSS).
    int addItem(short typeWord, const std::string &name, const Bytes &block, unsigned long flags) {
        Bytes r;
        put(r, items.size(), 2);
        put(r, 0, 2);
        put(r, (unsigned short)typeWord, 2);
        Bytes padded(name.begin(), name.begin() + (name.size() < 14 ? name.size() : 14));
        padded.resize(17, 0);
        put(r, padded);
        Bytes body = block;
        if (flags != 0) {
            body.resize(mCodec::compressBound((unsigned long)block.size()));
            body.resize(mCodec::compress(block.data(), (unsigned long)block.size(), body.data(),
                                         (unsigned long)body.size()));
        }
        put(r, block.size(), 4);
        put(r, body.size(), 4);
        put(r, flags, 4);
        put(r, body);
        items.push_back(r);
        return (int)items.size() - 1;
    }

    int addFrame(const Frame &f) {
        frames.push_back(f);
        return (int)frames.size() - 1;
    }
    Frame &frame(int i) { return frames[i]; }
    int frameCount() const { return (int)frames.size(); }

    // Frames joined in a row, each to the next; the last has no successor.
    void chain(int from, int to) {
        for (int i = from; i < to; ++i) {
            frames[i].nextFrame = (short)(i + 1);
            frames[i + 1].prevFrame = (short)i;
        }
    }

    Bytes bytes() const {
        Bytes nameBlock;
        std::vector<int> nameIds;
        for (const Frame &f : frames) {
            nameIds.push_back(f.name.empty() ? -1 : (int)nameBlock.size() + 1);
            if (!f.name.empty()) {
                put(nameBlock, Bytes(f.name.begin(), f.name.end()));
                nameBlock.push_back(0);
            }
        }
        size_t slots = 0;
        for (const Frame &f : frames)
            slots = f.slots.size() > slots ? f.slots.size() : slots;

        Bytes b = {'A', 'n', 'i', 'M'};
        put(b, slots, 2);
        put(b, (unsigned short)width, 2);
        put(b, (unsigned short)height, 2);
        put(b, frameTime, 4);
        put(b, 0, 2);
        put(b, title.empty() ? 0 : 1, 2);
        put(b, 0, 2);
        put(b, 4, 2);  // nothing behind the fixed header
        put(b, 0, 4);
        put(b, nameBlock.empty() ? 0 : 1, 2);
        put(b, 0, 2);
        put(b, 0, 4);
        put(b, 0, 4);
        if (!title.empty()) {
            put(b, title.size(), 2);
            put(b, Bytes(title.begin(), title.end()));
        }
        put(b, frames.size(), 2);
        for (size_t i = 0; i < frames.size(); ++i)
            put(b, frameRecord(frames[i], (short)i, nameIds[i]));
        put(b, items.size(), 2);
        for (const Bytes &item : items)
            put(b, item);
        if (!nameBlock.empty()) {
            put(b, nameBlock.size(), 2);
            put(b, nameBlock);
        }
        put(b, palette);
        return b;
    }

    bool save(const std::string &path) const { return asa::save(path, bytes()); }

private:
    static Bytes frameRecord(const Frame &f, short id, int nameId) {
        unsigned short flags = (unsigned short)(f.flags | mAsaFrame::extended);
        if (!f.slots.empty())
            flags |= mAsaFrame::hasSlots;
        Bytes r;
        for (int v : {(int)id, (int)flags, 0, 0, (int)f.wave, (int)f.midi, (int)f.subTarget, (int)f.x, (int)f.y,
                      (int)f.prevFrame, (int)f.nextFrame, (int)f.prevSplit, (int)f.nextSplit, 6,
                      (int)f.background, (int)f.slots.size(), nameId})
            put(r, (unsigned short)v, 2);
        for (const Slot &s : f.slots) {
            put(r, s.verb, 2);
            put(r, (unsigned short)s.a, 2);
            put(r, (unsigned short)s.b, 2);
        }
        return r;
    }

    int width, height;
    unsigned long frameTime;
    std::string title;
    Bytes palette;
    std::vector<Bytes> items;
    std::vector<Frame> frames;
};

} // namespace asa
