#include "mAswLib/mAswObject.h"
#include "mUtil/mApp.h"
#include "mUtil/mCodec.h"

#include <climits>
#include <cstring>
#include <new>

static const char srcPath[] = "mAswLib/mAswObject";

namespace {

// The compressor flags: one value each, not bits.
enum { flagStored = 0, flagLzss = 1, flagAudio = 4, flag8Bit = 8, flag4Bit = 16, flag8BitLong = 32, flagLzssPalette = 64 };

// Every fixed offset that the reader touches in a block lies below this.
const unsigned long headerRoom = 54;
// File header, info header and a full table of 256 colours: where converted pixels begin.
const unsigned long pixelStart = 1078;
// Stored bytes in front of the coded samples of a sound.
const unsigned long audioPrefix = 48;
const unsigned long max4BitTarget = 0x60000;
const long min4BitUnpacked = 54;
// The most that a stream of either codec can yield for each byte it holds.
const unsigned long lzssYield = mCodec::LZSS_MOST_PER_BYTE;
const unsigned long audioYield = 64;
const unsigned long long maxBlock = 0x7FFF0000ull;

[[noreturn]] void prematureEOF(mInputFile &file) { VELNOR_THROW(mString("Premature EOF: ") + file.getFullPath(), 0); }

unsigned long getLong(const unsigned char *p, unsigned long offset) {
    unsigned long v;
    std::memcpy(&v, p + offset, 4);
    return v;
}

unsigned short getWord(const unsigned char *p, unsigned long offset) {
    unsigned short v;
    std::memcpy(&v, p + offset, 2);
    return v;
}

void putLong(unsigned char *p, unsigned long offset, unsigned long v) { std::memcpy(p + offset, &v, 4); }

void putWord(unsigned char *p, unsigned long offset, unsigned short v) { std::memcpy(p + offset, &v, 2); }

// A block of the library's heap, all zero to begin with and never smaller than headerRoom, so
// that the fixed offsets of the header stay inside it whatever size a file states. It is
// released unless handed on.
class Block {
public:
    explicit Block(unsigned long long size) : bytes(nullptr) {
        if (size > maxBlock)
            throw std::bad_alloc();
        unsigned long long room = size < headerRoom ? headerRoom : size;
        bytes = static_cast<unsigned char *>(mApp::malloc((int)room));
        if (!bytes)
            throw std::bad_alloc();
        std::memset(bytes, 0, (size_t)room);
    }
    Block(Block &&other) noexcept : bytes(other.bytes) { other.bytes = nullptr; }
    Block(const Block &) = delete;
    Block &operator=(const Block &) = delete;
    ~Block() { mApp::free(bytes); }

    unsigned char *get() const { return bytes; }
    void *release() {
        void *handed = bytes;
        bytes = nullptr;
        return handed;
    }

private:
    unsigned char *bytes;
};

// A body that states more output than its stream can yield is cut short, and is refused
// before anything is allocated for it.
void checkYield(mInputFile &file, unsigned long long stated, unsigned long coded, unsigned long ratio) {
    if (stated > (unsigned long long)coded * ratio)
        prematureEOF(file);
}

// count bytes from the present position; the file must still hold them.
Block readStored(mInputFile &file, unsigned long count) {
    unsigned long long left = file.getFileSize() - (unsigned long long)file.getCurrentPosition();
    if (count > left)
        prematureEOF(file);
    Block block(count);
    if (file.readBytes(block.get(), (int)count) != (int)count)
        prematureEOF(file);
    return block;
}

void seekTo(mInputFile &file, long long position) {
    if (position < 0 || position > LONG_MAX || !file.seekFrom((long)position, mFile::seekStart))
        prematureEOF(file);
}

bool isBitmapType(int type) { return type == 0 || type == 1 || (type >= 4 && type <= 7); }

long long floorQuarter(long long v) { return v >= 0 ? v / 4 : -((-v + 3) / 4); }

// Readies a bitmap file image behind a 4-byte slot for the image loader: the planes word says
// where the pixels begin, and the first word becomes the length of the slot.
void fixUpBitmap(unsigned char *b, unsigned long flags) {
    unsigned long pixelOffset = getLong(b, 14);
    if (flags == flagLzssPalette) {
        if (pixelOffset == 566)
            putWord(b, 30, 2);
        else if (pixelOffset == 1078)
            putWord(b, 30, 3);
        else
            VELNOR_THROW("Invalid Palette DIB encountered!", pixelOffset);
        putLong(b, 50, 0);
    } else if (getWord(b, 32) <= 8) {
        putWord(b, 30, (unsigned short)(pixelOffset - 14));
    }
    b[0] = 4;
    b[1] = 0;
}

// The forms whose block is the stored image itself: its slot gets U, and a bitmap is fixed up.
void *finishBlock(Block &block, unsigned long u, unsigned long flags, int type, int &size) {
    unsigned char *b = block.get();
    putLong(b, 0, u);
    if (isBitmapType(type)) {
        if (flags == flagLzss || flags == flagLzssPalette) {
            b[4] = 'B';
            b[5] = 'M';
        }
        if (b[4] == 'B' && b[5] == 'M')
            fixUpBitmap(b, flags);
    }
    size = (int)u;
    return block.release();
}

Block unpackLzss(mInputFile &file, const Block &work, unsigned long c, unsigned long u) {
    checkYield(file, u, c, lzssYield);
    Block out(u);
    mCodec::unCompress(work.get(), (long)c, out.get(), (long)u);
    return out;
}

// The stored prefix of a sound, then its samples.
Block unpackAudio(mInputFile &file, const Block &work, unsigned long c, unsigned long u) {
    unsigned long coded = c > audioPrefix ? c - audioPrefix : 0;
    checkYield(file, u, coded, audioYield);
    Block out((unsigned long long)u + audioPrefix);
    std::memcpy(out.get(), work.get(), audioPrefix);
    mCodec::unAComp(work.get() + audioPrefix, coded, out.get() + audioPrefix, u);
    return out;
}

// An 8-bit bitmap object with k header longs becomes a plain bitmap file image with a full
// colour table, which is not stored and left zero.
void *convert8Bit(mInputFile &file, const Block &work, unsigned long c, unsigned long u, unsigned long k,
                  int &size) {
    if (c < 4 * k)
        VELNOR_THROW("Short size for 8 bit bitmap object", c);
    const unsigned char *w = work.get();
    long long tableEnd = (long long)(long)getLong(w, 0) - 16;
    long long colors = floorQuarter(tableEnd - 40);
    long long target = u;
    if (colors < 256) {
        target += 1024 - 4 * colors;
        tableEnd += 4 * (256 - colors);
    }
    long long blockSize = target - 4;
    long long pixelRoom = blockSize > (long long)pixelStart ? blockSize - (long long)pixelStart : 0;
    unsigned long coded = c - 4 * k;
    checkYield(file, (unsigned long long)pixelRoom, coded, lzssYield);

    Block out(blockSize > (long long)pixelStart ? blockSize : pixelStart);
    unsigned char *b = out.get();
    unsigned long extra = k == 6 ? getLong(w, 20) : 0;
    putLong(b, 2, (unsigned long)blockSize);
    putWord(b, 6, (unsigned short)extra);
    putWord(b, 8, (unsigned short)(extra >> 16));
    putLong(b, 10, (unsigned long)(tableEnd + 14));
    putLong(b, 14, 40);
    putLong(b, 18, getLong(w, 4));
    putLong(b, 22, getLong(w, 8));
    putWord(b, 26, 1064);
    putWord(b, 28, 8);
    putLong(b, 30, getLong(w, 12));
    putLong(b, 34, getLong(w, 16));
    putLong(b, 38, 3800);
    putLong(b, 42, 3800);
    mCodec::unCompress(w + 4 * k, (long)coded, b + pixelStart, (long)pixelRoom);
    size = blockSize > 0 ? (int)blockSize : 0;
    return out.release();
}

// Two pixels a byte, high nibble first, each through the index map; whole rows only.
void expandNibbles(const unsigned char *src, long long sourceStride, unsigned char *dst, long long targetStride,
                   long long rows, long width, const unsigned char *map) {
    long pairs = (width + 1) / 2;
    for (long long row = 0; row < rows; ++row) {
        const unsigned char *s = src + row * sourceStride;
        unsigned char *d = dst + row * targetStride;
        for (long x = 0; x < pairs; ++x) {
            unsigned char v = s[x];
            d[2 * x] = map[v >> 4];
            d[2 * x + 1] = map[v & 15];
        }
    }
}

void *convert4Bit(mInputFile &file, const Block &work, unsigned long c, unsigned long u, int &size) {
    const unsigned char *w = work.get();
    if (c < 8)
        VELNOR_THROW("Short size for 4 bit bitmap object", c);
    unsigned short h = getWord(w, 0);
    if (h != 22 && h != 8)
        VELNOR_THROW("Bad header size for 4 bit bitmap object", h);
    if (u > max4BitTarget)
        VELNOR_THROW("Bad 4 bit image target size.  Cannot decode", u);
    long r = (long)getLong(w, h - 4);
    if (r < min4BitUnpacked)
        VELNOR_THROW("Uncompressed size for 4 bit image too small", r);
    if (u < pixelStart)
        VELNOR_THROW("Target size of 4 bit image too small.  Cannot decode", u);

    unsigned char map[16] = {0};
    std::memcpy(map, w + 2, h - 6);
    unsigned long coded = c > h ? c - h : 0;
    checkYield(file, (unsigned long)r, coded, lzssYield);
    Block unpacked((unsigned long)r);
    mCodec::unCompress(w + h, (long)coded, unpacked.get(), r);

    const unsigned char *p = unpacked.get();
    long width = (long)getLong(p, 22), height = (long)getLong(p, 26);
    Block out(u);
    unsigned char *b = out.get();
    putLong(b, 2, u - 4);
    putLong(b, 10, 1064);
    putLong(b, 14, 40);
    putLong(b, 18, (unsigned long)width);
    putLong(b, 22, (unsigned long)height);
    putWord(b, 26, 1);
    putWord(b, 28, 8);
    putLong(b, 34, u - 1082);
    putLong(b, 38, 3800);
    putLong(b, 42, 3800);

    if (width > 0 && height > 0) {
        long long targetStride = ((long long)width + 3) & ~3ll;
        long long rows = (long long)(u - pixelStart) / targetStride;
        if (rows > height)
            rows = height;
        if (h == 22) {
            long long sourceStride = (((long long)width + 1) / 2 + 3) & ~3ll;
            long long stored = (r - min4BitUnpacked) / sourceStride;
            expandNibbles(p + min4BitUnpacked, sourceStride, b + pixelStart, targetStride,
                          rows < stored ? rows : stored, width, map);
        } else {
            std::memset(b + pixelStart, map[0], (size_t)(rows * targetStride));
        }
    }
    size = (int)(u - 4);
    return out.release();
}

} // namespace

mAswObject::mAswObject(mObjFile *file, long position)
    : position(position), file(file), id(0), reserved(0), typeWord(0), headerRead(false) {
    std::memset(name, 0, sizeof name);
}

void mAswObject::readHeader() {
    if (headerRead)
        return;
    seekTo(*file, position);
    unsigned char raw[headerSize];
    if (file->readBytes(raw, headerSize) != headerSize)
        prematureEOF(*file);
    id = getWord(raw, 0);
    reserved = getWord(raw, 2);
    typeWord = (short)getWord(raw, 4);
    std::memcpy(name, raw + 6, nameSize);
    headerRead = true;
}

unsigned short mAswObject::getId() {
    readHeader();
    return id;
}

unsigned short mAswObject::getReserved() {
    readHeader();
    return reserved;
}

short mAswObject::getTypeWord() {
    readHeader();
    return typeWord;
}

mObjFile::mObjType mAswObject::getType() { return typeOf(getTypeWord()); }

mString mAswObject::getName() {
    readHeader();
    unsigned long n = 0;
    while (n < nameSize && name[n])
        ++n;
    return mString(name, n);
}

unsigned long mAswObject::getEnd() {
    seekTo(*file, (long long)position + headerSize);
    unsigned long sizes[3];
    if (file->readLongs(sizes, 3) != 3)
        prematureEOF(*file);
    unsigned long long end = (unsigned long long)position + headerSize + 12 + sizes[1];
    if (end > file->getFileSize())
        prematureEOF(*file);
    return (unsigned long)end;
}

void *mAswObject::getBody(int &size) {
    mObjFile::mObjType type = getType();
    seekTo(*file, (long long)position + headerSize);
    return readBody(*file, size, type);
}

mObjFile::mObjType mAswObject::typeOf(short word) {
    switch (word) {
    case 0: case 1: case 4: case 5: case 6: return mObjFile::objBitmap;
    case 2: return mObjFile::objSound;
    case 3: return mObjFile::objData;
    default: return mObjFile::objNone;
    }
}

void *mAswObject::readBody(mInputFile &file, int &size, int type) {
    unsigned long sizes[3];
    if (file.readLongs(sizes, 3) != 3)
        prematureEOF(file);
    unsigned long u = sizes[0], c = sizes[1], flags = sizes[2];
    if (flags == flagStored) {
        Block block = readStored(file, u);
        return finishBlock(block, u, flags, type, size);
    }
    Block work = readStored(file, c);
    switch (flags) {
    case flagLzss:
    case flagLzssPalette: {
        Block block = unpackLzss(file, work, c, u);
        return finishBlock(block, u, flags, type, size);
    }
    case flagAudio: {
        Block block = unpackAudio(file, work, c, u);
        return finishBlock(block, u, flags, type, size);
    }
    case flag8Bit: return convert8Bit(file, work, c, u, 5, size);
    case flag8BitLong: return convert8Bit(file, work, c, u, 6, size);
    case flag4Bit: return convert4Bit(file, work, c, u, size);
    default: VELNOR_THROW("Unknown/unsupported Compressor flags", flags);
    }
}
