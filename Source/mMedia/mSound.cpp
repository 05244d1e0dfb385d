// Sound data: the wave parsers and the sources a sound is made from. Playing is the sound
// device's (mSoundDevice.cpp).
#include "mMedia/mSound.h"
#include "mAswLib/mObjFile.h"
#include "mFile/mFile.h"
#include "mMedia/mSoundDevice.h"
#include "mUtil/mApp.h"
#include "mUtil/mError.h"

#include <climits>
#include <cstring>
#include <memory>

static const char srcPath[] = "mMedia/mSound";

namespace {

const char badData[] = "Bad Sound data";
const char badObjectData[] = "Bad Sound Data from object";

unsigned long tag(const char *text) {
    return (unsigned long)(unsigned char)text[0] | (unsigned long)(unsigned char)text[1] << 8 |
           (unsigned long)(unsigned char)text[2] << 16 | (unsigned long)(unsigned char)text[3] << 24;
}

unsigned long read32(const unsigned char *p) { return p[0] | p[1] << 8 | p[2] << 16 | (unsigned long)p[3] << 24; }
unsigned read16(const unsigned char *p) { return p[0] | p[1] << 8; }

const unsigned long rates[] = {0, 11025, 22050, 44100};

// A chunk size that a file seek can take; anything larger cannot be a sound of this system.
bool seekable(unsigned long size) { return size <= (unsigned long)LONG_MAX; }

struct HeapFree {
    void operator()(void *block) const { mApp::free(block); }
};

} // namespace

void mDigSound::init() {
    file = nullptr;
    dataStart = 0;
    length = 0;
    data = nullptr;
    freq = mDigFreq(0);
    sampSize = mDigSample(0);
    channels = 0;
    error = 0;
    looping = false;
    playing = false;
    transfer = nullptr;
    listener = nullptr;
}

// ---- Sources.

mDigSound::mDigSound(const mString &path, bool allowStreaming) {
    init();
    std::unique_ptr<mInputFile> in(new mInputFile(path));
    if (!in->OpenFile(true) || !parseWave(in.get()))
        VELNOR_THROW(badData, 0);
    if (allowStreaming && length > STREAM_THRESHOLD) {
        dataStart = in->getCurrentPosition();
        if (in->getFileSize() - (unsigned long)dataStart < length)
            VELNOR_THROW(badData, 0);
        file = in.release();
        return;
    }
    readSamples(*in);
}

mDigSound::mDigSound(mInputFile &from) {
    init();
    if ((!from.isOpen() && !from.OpenFile(true)) || !parseWave(&from))
        VELNOR_THROW(badData, 0);
    readSamples(from);
}

mDigSound::mDigSound(mObjFile &from, int index) {
    init();
    mObjFile::mObjType type;
    int size = 0;
    std::unique_ptr<void, HeapFree> object(from.getObject(index, type, size));
    if (type != mObjFile::objSound)
        VELNOR_THROW("Bad Sound Object type", 0);
    loadImage(object.get(), size);
}

mDigSound::mDigSound(const void *image, int size) {
    init();
    loadImage(image, size);
}

mDigSound::mDigSound(const void *samples, unsigned long length, mDigFreq freq, mDigSample sampSize, bool stereo) {
    init();
    this->length = length;
    this->freq = freq;
    this->sampSize = sampSize;
    channels = stereo ? 2 : 1;
    data = mApp::malloc((int)length);
    std::memcpy(data, samples, length);
}

mDigSound::mDigSound(void *samples, unsigned long length, const mDigSound &like) {
    init();
    this->length = length;
    data = samples;
    freq = like.freq;
    sampSize = like.sampSize;
    channels = like.channels;
}

mDigSound::mDigSound(const mDigSound &other) {
    init();
    length = other.length;
    freq = other.freq;
    sampSize = other.sampSize;
    channels = other.channels;
    if (other.file) {
        std::unique_ptr<mInputFile> in(new mInputFile(static_cast<const mInputFile &>(*other.file)));
        if (!in->OpenFile(true))
            VELNOR_THROW(badData, 0);
        dataStart = other.dataStart;
        file = in.release();
    } else {
        data = mApp::malloc((int)length);
        std::memcpy(data, other.data, length);
    }
}

mDigSound::~mDigSound() {
    listener = nullptr;
    bool held = mSoundDevice::get().release(this);
    // The file is always a plain mInputFile made here; mFile's destructor is not virtual.
    std::default_delete<mInputFile>()(file);
    if (!held)
        mApp::free(data);
}

// Reads the samples behind a parsed header into memory; a sound that claims more than the file
// holds is refused before anything is allocated.
void mDigSound::readSamples(mInputFile &from) {
    unsigned long position = (unsigned long)from.getCurrentPosition();
    unsigned long size = from.getFileSize();
    if (size < position || size - position < length)
        VELNOR_THROW(badData, 0);
    std::unique_ptr<void, HeapFree> block(mApp::malloc((int)length));
    bool complete;
    if (sampSize == bits16) {
        int words = (int)(length / 2);
        complete = from.readWords(static_cast<unsigned short *>(block.get()), words) == words;
        if (length & 1)
            static_cast<unsigned char *>(block.get())[length - 1] = 0;
    } else {
        complete = from.readBytes(block.get(), (int)length) == (int)length;
    }
    if (!complete)
        VELNOR_THROW(badData, 0);
    data = block.release();
}

// The object and memory payload: 4 bytes that are not looked at, then a wave image.
void mDigSound::loadImage(const void *image, int size) {
    int offset = size - 4;
    if (!image || size < 4 || !parseWave(static_cast<const unsigned char *>(image) + 4, offset))
        VELNOR_THROW(badObjectData, 0);
    data = mApp::malloc((int)length);
    std::memcpy(data, static_cast<const unsigned char *>(image) + 4 + offset, length);
}

// ---- Wave parsing.

bool mDigSound::fixSound(const unsigned char *image, unsigned long size) {
    return image && size >= 4 && read32(image) == tag("RIFF");
}

// The first 16 bytes of a "fmt " chunk: plain PCM, mono or stereo, at a rate and size of the tables.
bool mDigSound::takeFormat(const unsigned char *fmt) {
    unsigned long rate = read32(fmt + 4);
    unsigned bits = read16(fmt + 14);
    unsigned count = read16(fmt + 2);
    if (read16(fmt) != 1 || (count != 1 && count != 2) || (bits != 8 && bits != 16))
        return false;
    for (int f = freq11025; f <= freq44100; ++f) {
        if (rates[f] == rate) {
            freq = mDigFreq(f);
            sampSize = bits == 8 ? bits8 : bits16;
            channels = (unsigned short)count;
            return true;
        }
    }
    return false;
}

bool mDigSound::parseWave(mInputFile *from) {
    if (from->atEOF())
        return false;
    for (;;) {
        unsigned long head[2];
        if (from->readLongs(head, 2) != 2)
            return false;
        unsigned long size = head[1];
        if (head[0] == tag("data")) {
            length = size;
            return true;
        }
        if (head[0] == tag("fmt ")) {
            unsigned char fmt[16];
            if (size < 16 || !seekable(size) || from->readBytes(fmt, 16) != 16 || !takeFormat(fmt))
                return false;
            if (size > 16 && !from->seekFrom((long)(size - 16), mFile::seekCurrent))
                return false;
        } else if (head[0] == tag("RIFF")) {
            unsigned long form;
            if (from->readLongs(&form, 1) != 1 || form != tag("WAVE"))
                return false;
        } else if (!seekable(size) || !from->seekFrom((long)size, mFile::seekCurrent)) {
            return false;
        }
        if (from->atEOF())
            return false;
    }
}

bool mDigSound::parseWave(const void *image, int &size) {
    const unsigned char *p = static_cast<const unsigned char *>(image);
    if (size < 4 || !fixSound(p, (unsigned long)size))
        return false;
    unsigned long at = 0, left = (unsigned long)size;
    while (left >= 8) {
        unsigned long id = read32(p + at), chunk = read32(p + at + 4);
        at += 8;
        left -= 8;
        if (id == tag("RIFF")) {
            if (left < 4 || read32(p + at) != tag("WAVE"))
                return false;
            chunk = 4;
        } else if (chunk > left || (id == tag("fmt ") && (chunk < 16 || !takeFormat(p + at)))) {
            return false;
        } else if (id == tag("data")) {
            length = chunk;
            size = (int)at;
            return true;
        }
        at += chunk;
        left -= chunk;
    }
    return false;
}

// ---- Format and sums.

unsigned long mDigSound::rateOf(mDigFreq f) { return f >= freq11025 && f <= freq44100 ? rates[f] : 0; }

unsigned mDigSound::bitsOf(mDigSample sample) { return sample == bits8 ? 8 : sample == bits16 ? 16 : 0; }

unsigned long mDigSound::getLength() const {
    unsigned long frame = channels * (unsigned long)bitsOf(sampSize) / 8;
    unsigned long rate = rateOf(freq);
    if (!frame || !rate)
        return 0;
    return length / frame * 1000 / rate;
}

mDigSound mDigSound::operator+(const mDigSound &other) const {
    if (!data || !other.data || freq != other.freq || sampSize != other.sampSize || channels != other.channels ||
        length + other.length < length || length + other.length > (unsigned long)INT_MAX)
        VELNOR_THROW("Invalid Sound addition", 0);
    unsigned char *sum = static_cast<unsigned char *>(mApp::malloc((int)(length + other.length)));
    std::memcpy(sum, data, length);
    std::memcpy(sum + length, other.data, other.length);
    return mDigSound(sum, length + other.length, *this);
}
