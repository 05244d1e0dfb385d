#include "AssetCommands.h"
#include "AssetFiles.h"
#include "AudioDelta.h"

#include <Velnor11.h>

#include <cmath>
#include <cstdio>
#include <memory>

namespace assets {

namespace {

enum { SOUND_TYPE = 2, AUDIO_DELTA = 4, SLOT = 4, MAX_OBJECTS = 1024, MAX_SIDE = 8192 };

struct FreeImage {
    void operator()(mBitMap *image) const { image->free(); }
};
typedef std::unique_ptr<mBitMap, FreeImage> Image;

struct FreeBlock {
    void operator()(void *block) const { mApp::free(block); }
};

void progress(const char *verb, size_t done, size_t total, const std::string &name) {
    std::fprintf(stderr, "%s [%u/%u] %s\n", verb, (unsigned)done, (unsigned)total, name.c_str());
    std::fflush(stderr);
}

// The reader takes no colour table with run-length rows, so such an image goes in without one:
// the planes field then says where the rows begin.
Image loadBitmap(const std::string &path, bool &coloursDropped) {
    Bytes bytes = readWhole(path);
    coloursDropped = false;
    if (bytes.size() >= 54 && bytes[0] == 'B' && bytes[1] == 'M' && bytes[28] == 8 && bytes[30] == 1) {
        unsigned long start = bytes[10] | bytes[11] << 8 | bytes[12] << 16 | (unsigned long)bytes[13] << 24;
        if (start >= 54 && start - 14 <= 0xFFFF) {
            bytes[26] = (unsigned char)(start - 14);
            bytes[27] = (unsigned char)((start - 14) >> 8);
            coloursDropped = true;
        }
    }
    return Image(mBitMap::create(bytes.data(), (long)bytes.size(), true));
}

// The mean square and largest difference between a sound and what the decoder makes of its code.
void reportDeltaError(const std::string &name, const unsigned char *samples, unsigned long count,
                      const Bytes &stream) {
    Bytes decoded(count);
    unsigned long got = mCodec::unAComp(stream.data(), (unsigned long)stream.size(), decoded.data(), count);
    double squares = 0;
    int largest = 0;
    for (unsigned long i = 0; i < count; ++i) {
        int d = i < got ? decoded[i] - samples[i] : 255;
        d = d < 0 ? -d : d;
        squares += (double)d * d;
        largest = d > largest ? d : largest;
    }
    std::printf("%s: audio delta, %lu samples in %lu bytes, rms error %.2f, largest %d\n", name.c_str(), count,
                (unsigned long)stream.size(), count ? std::sqrt(squares / count) : 0.0, largest);
}

void packSound(mObjStore &store, const std::string &path, const std::string &name, const PackOptions &options) {
    mDigSound sound(mString(path.c_str()), false);
    Bytes wave = waveFile(sound);
    Bytes payload(SLOT, 0);
    const unsigned long count = sound.getByteLength();
    const bool delta = options.audioDelta && sound.getSampSize() == mDigSound::bits8 && !sound.isStereo() && count;
    if (!delta) {
        payload.insert(payload.end(), wave.begin(), wave.end());
        store.writeBlock(SOUND_TYPE, payload.data(), (unsigned long)payload.size(), name.c_str());
        if (options.audioDelta)
            std::printf("%s: not 8-bit mono, stored with LZSS\n", name.c_str());
        return;
    }
    const unsigned char *samples = static_cast<const unsigned char *>(sound.getDataPtr());
    Bytes stream = encodeAudioDelta(samples, count);
    reportDeltaError(name, samples, count, stream);
    // The slot and the wave image up to its samples are stored; the stream gives the samples.
    payload.insert(payload.end(), wave.begin(), wave.end() - (long)count);
    const unsigned long unpacked = (unsigned long)payload.size() + count;
    payload.insert(payload.end(), stream.begin(), stream.end());
    store.writeCoded(SOUND_TYPE, AUDIO_DELTA, unpacked, payload.data(), (unsigned long)payload.size(), name.c_str());
}

void packImage(mObjStore &store, const std::string &path, const std::string &name) {
    bool coloursDropped = false;
    Image image = loadBitmap(path, coloursDropped);
    if (store.write(*image, name.c_str()) != mObjStore::storeOk)
        throw Failure(path, "not an 8-bit, run-length or 15-bit image");
    if (coloursDropped)
        std::printf("%s: run-length image stored without its colours, which an object file cannot carry for it\n",
                    name.c_str());
}

void packOne(mObjStore &store, const std::string &path, const PackOptions &options) {
    const std::string ext = extensionOf(path), name = baseName(path);
    try {
        if (ext == "bmp")
            packImage(store, path, name);
        else if (ext == "wav")
            packSound(store, path, name, options);
        else
            throw Failure(path, "neither a .bmp image nor a .wav sound");
    } catch (const mError &e) {
        throw Failure(path, e.message.c_str());
    }
}

// Every object of a file just written must read back through the library's own readers.
void verify(const std::string &path, const std::string &shownAs, size_t expected) {
    try {
        mObjFile file(mString(path.c_str()));
        if ((size_t)file.getNumObjects() != expected)
            throw Failure(shownAs, "the file written holds a wrong count of objects");
        for (int i = 0; i < file.getNumObjects(); ++i) {
            if (file.getType(i) == mObjFile::objSound)
                mDigSound sound(file, i);
            else
                Image(mBitMap::create(&file, i));
        }
    } catch (const mError &e) {
        throw Failure(shownAs, e.message.c_str());
    }
}

const char *typeName(mObjFile::mObjType type) {
    switch (type) {
    case mObjFile::objBitmap: return "bitmap";
    case mObjFile::objSound: return "sound";
    case mObjFile::objData: return "data";
    default: return "none";
    }
}

const char *compressionName(unsigned long flags) {
    switch (flags) {
    case 0: return "stored";
    case 1: return "lzss";
    case 4: return "audio-delta";
    case 8: return "8-bit-object";
    case 16: return "4-bit-object";
    case 32: return "8-bit-object-long";
    case 64: return "lzss+palette";
    default: return "unknown";
    }
}

struct Entry {
    mObjFile::mObjType type;
    unsigned short id;
    std::string name;
    unsigned long unpacked, stored, flags;
};

Entry entryOf(mObjFile &file, int index) {
    long offset = file.getOffset(index);
    mAswObject object(&file, offset);
    Entry e;
    e.type = object.getType();
    e.id = object.getId();
    e.name = object.getName().c_str();
    unsigned long sizes[3] = {0, 0, 0};
    if (!file.seekFrom(offset + mAswObject::headerSize, mFile::seekStart) || file.readLongs(sizes, 3) != 3)
        throw Failure(file.getFullPath().c_str(), "object record cut short");
    e.unpacked = sizes[0];
    e.stored = sizes[1];
    e.flags = sizes[2];
    return e;
}

// A name for an extracted file: the index, then the object's name in characters any disk takes.
std::string outputName(int index, const std::string &name, const char *ext) {
    std::string safe;
    for (char c : name)
        safe += std::isalnum((unsigned char)c) || c == '-' || c == '_' ? c : '_';
    char prefix[16];
    std::snprintf(prefix, sizeof prefix, "%03d-", index);
    return prefix + (safe.empty() ? std::string("object") : safe) + ext;
}

// The folder that the files taken out of an input go to, made if missing, once the input is
// known to be readable.
std::string outputDirectory(const std::string &input, const std::string &dir) {
    const std::string target = absolutePath(dir);
    requireReadable(input);
    makeDirectory(target);
    return target;
}

Bytes extractOne(mObjFile &file, int index, mObjFile::mObjType type, const char *&ext) {
    if (type == mObjFile::objBitmap) {
        ext = ".bmp";
        return bitmapFile(*Image(mBitMap::create(&file, index)));
    }
    if (type == mObjFile::objSound) {
        ext = ".wav";
        return waveFile(mDigSound(file, index));
    }
    ext = ".dat";
    int size = 0;
    std::unique_ptr<void, FreeBlock> block(file.getObject(index, type, size));
    const unsigned char *b = static_cast<const unsigned char *>(block.get());
    return Bytes(b, b + size);
}

} // namespace

void pack(const std::string &out, const std::vector<std::string> &inputs, const PackOptions &options) {
    if (inputs.empty() || inputs.size() > MAX_OBJECTS)
        throw Failure(out, "an object file holds 1 to 1024 objects");
    const std::string target = absolutePath(out);
    Output output(target);
    // The store does not tell of a file it cannot create; the disk's own reason is clearer.
    writeWhole(output.partial(), Bytes());
    {
        mObjStore store(mString(output.partial().c_str()));
        for (size_t i = 0; i < inputs.size(); ++i) {
            progress("pack", i + 1, inputs.size(), inputs[i]);
            packOne(store, absolutePath(inputs[i]), options);
        }
    }
    verify(output.partial(), out, inputs.size());
    output.commit();
}

void list(const std::string &path) {
    requireReadable(path);
    try {
        mObjFile file(mString(absolutePath(path).c_str()));
        std::printf("%5s %5s %-6s %-17s %10s %10s  %s\n", "index", "id", "type", "name", "stored", "unpacked",
                    "compression");
        for (int i = 0; i < file.getNumObjects(); ++i) {
            Entry e = entryOf(file, i);
            std::printf("%5d %5u %-6s %-17s %10lu %10lu  %s\n", i, e.id, typeName(e.type), e.name.c_str(), e.stored,
                        e.unpacked, compressionName(e.flags));
        }
    } catch (const mError &e) {
        throw Failure(path, e.message.c_str());
    }
}

void extract(const std::string &path, const std::string &dir) {
    const std::string target = outputDirectory(path, dir);
    try {
        mObjFile file(mString(absolutePath(path).c_str()));
        for (int i = 0; i < file.getNumObjects(); ++i) {
            Entry e = entryOf(file, i);
            if (e.type == mObjFile::objNone) {
                std::printf("%d: an object of no known type, passed over\n", i);
                continue;
            }
            const char *ext = "";
            Bytes bytes = extractOne(file, i, e.type, ext);
            const std::string name = outputName(i, e.name, ext);
            progress("extract", (size_t)i + 1, (size_t)file.getNumObjects(), name);
            writeWhole(target + "\\" + name, bytes);
        }
    } catch (const mError &e) {
        throw Failure(path, e.message.c_str());
    }
}

namespace {

// Draws item at position if it is an image of the file.
void drawItem(mBitMap &canvas, mAsaFile &file, int item, mPoint position) {
    const mBitMap *image = item >= 0 ? file.getImagePtr(item) : nullptr;
    if (image) {
        mSize size = image->getSize();
        canvas.copy(image, mRect(0, 0, size.cx, size.cy), position);
    }
}

} // namespace

void frames(const std::string &path, const std::string &dir) {
    const std::string target = outputDirectory(path, dir);
    try {
        mAsaFile file(mString(absolutePath(path).c_str()));
        const mSize size = file.getBackgroundSize();
        if (size.cx <= 0 || size.cy <= 0 || size.cx > MAX_SIDE || size.cy > MAX_SIDE)
            throw Failure(path, "the animation's size is out of range");
        Image canvas(new m15Bit(size));
        if (file.getPalette())
            canvas->setMapping(file.getPalette(), mColor(true));
        int background = -1;
        for (int i = 0; i < file.getFrames(); ++i) {
            mAsaFrame *frame = file.getFrame(i);
            if (frame->isCmd())
                continue;
            // A frame that names no background keeps the one before.
            if (frame->getBackground() >= 0 && file.getImagePtr(frame->getBackground()))
                background = frame->getBackground();
            canvas->fill(mRect(0, 0, size.cx, size.cy), mColor(0, 0, 0));
            drawItem(*canvas, file, background, mPoint(0, 0));
            for (int s = 0; s < frame->getItemSlots(); ++s) {
                mAsaSlot *slot = frame->getSlot(s);
                drawItem(*canvas, file, (short)slot->getVerb(), slot->getPos());
            }
            char name[32];
            std::snprintf(name, sizeof name, "frame%03d.bmp", i);
            progress("frames", (size_t)i + 1, (size_t)file.getFrames(), name);
            writeWhole(target + "\\" + name, bitmapFile(*canvas));
        }
    } catch (const mError &e) {
        throw Failure(path, e.message.c_str());
    }
}

} // namespace assets
