#include "mAswLib/mObjStore.h"
#include "mAswLib/mAswObject.h"
#include "mSprite/mBitMap.h"
#include "mUtil/mApp.h"
#include "mUtil/mCodec.h"

#include <cstring>
#include <vector>

namespace {

enum { flagStored = 0, flagLzss = 1, flagLzssPalette = 64 };

// The 4-byte slot and the headers of a bitmap file image.
const unsigned long headersEnd = 58;
// 256 colours in 15-bit words.
const unsigned long tableSize = 512;
const unsigned long fileHeaderSize = 14;
const unsigned long infoHeaderSize = 40;
const unsigned short maxName = 12;

void putLong(unsigned char *p, unsigned long offset, unsigned long v) { std::memcpy(p + offset, &v, 4); }

void putWord(unsigned char *p, unsigned long offset, unsigned short v) { std::memcpy(p + offset, &v, 2); }

bool isStorable(const mBitMap &image) {
    mBitMap::BitmapType kind = image.getBitmapType();
    return kind == mBitMap::bitmap8 || kind == mBitMap::bitmapRLE || kind == mBitMap::bitmap15;
}

bool hasTable(const mBHeader &h) { return !h.noPalette && h.colorCount > 0 && h.colors; }

// The slot, the bitmap file image's headers, the colours as 15-bit words if there are any, and
// the pixels as the image holds them.
std::vector<unsigned char> bitmapBlock(const mBitMap &image) {
    const mBHeader &h = *image.getHeader();
    const bool table = hasTable(h);
    const unsigned long pixels = headersEnd + (table ? tableSize : 0);
    const unsigned long dataSize = h.dataSize > 0 ? (unsigned long)h.dataSize : 0;
    std::vector<unsigned char> block(pixels + dataSize, 0);
    unsigned char *b = block.data();
    const unsigned long imageSize = (unsigned long)block.size() - 4;
    putLong(b, 0, imageSize);
    b[4] = 'B';
    b[5] = 'M';
    putLong(b, 6, imageSize);
    putLong(b, 14, pixels - 4);
    putLong(b, 4 + fileHeaderSize, infoHeaderSize);
    putLong(b, 22, (unsigned long)h.width);
    putLong(b, 26, (unsigned long)h.height);
    putWord(b, 30, 1);
    putWord(b, 32, h.noPalette ? 16 : 8);
    putLong(b, 34, image.getBitmapType() == mBitMap::bitmapRLE ? 1 : 0);
    putLong(b, 38, dataSize);
    if (table) {
        int n = h.colorCount < 256 ? h.colorCount : 256;
        putLong(b, 50, (unsigned long)n);
        for (int i = 0; i < n; ++i)
            putWord(b, headersEnd + 2 * i, h.colors[i].getRGB15());
    }
    if (dataSize)
        std::memcpy(b + pixels, image.getData(), dataSize);
    return block;
}

} // namespace

mObjStore::mObjStore(const mString &path) : file(path), count(0) {
    file.OpenFile(true, mFile::createFile);
    file.writeWords(&count, 1);
}

mObjStore::~mObjStore() {
    if (count != 0 && file.seekFrom(0, mFile::seekStart))
        file.writeWords(&count, 1);
    file.close();
}

mObjStore::ERROR_TYPE mObjStore::write(const mBitMap &image, const mString &name) {
    if (!isStorable(image))
        return storeBadImage;
    std::vector<unsigned char> block = bitmapBlock(image);
    writePacked(0, block.data(), (unsigned long)block.size(),
                hasTable(*image.getHeader()) ? flagLzssPalette : flagLzss, name);
    return storeOk;
}

void mObjStore::writeBlock(short typeWord, const void *block, unsigned long size, const mString &name) {
    writePacked(typeWord, static_cast<const unsigned char *>(block), size, flagLzss, name);
}

void mObjStore::writeCoded(short typeWord, unsigned long flags, unsigned long unpacked, const void *body,
                           unsigned long size, const mString &name) {
    writeHeader(typeWord, name);
    const unsigned long sizes[3] = {unpacked, size, flags};
    file.writeLongs(sizes, 3);
    file.writeBytes(body, (int)size);
    ++count;
}

void mObjStore::writeHeader(short typeWord, const mString &name) {
    unsigned char header[mAswObject::headerSize] = {0};
    putWord(header, 0, count);
    putWord(header, 4, (unsigned short)typeWord);
    std::strncpy(reinterpret_cast<char *>(header) + 6, name.c_str(), maxName);
    file.writeBytes(header, sizeof header);
}

void mObjStore::writePacked(short typeWord, const unsigned char *block, unsigned long s, unsigned long flags,
                            const mString &name) {
    writeHeader(typeWord, name);
    unsigned long sizes[3] = {s, 0, flags};
    file.writeLongs(sizes, 1);
    const long storedAt = file.getCurrentPosition();
    file.writeLongs(sizes + 1, 2);

    const unsigned long coded = mCodec::compress(block, file, s);
    file.seekFrom(storedAt, mFile::seekStart);
    if (coded < s) {
        sizes[1] = coded;
        file.writeLongs(sizes + 1, 1);
        // Not the file's end: a stored block before may have left a longer stream's tail there.
        file.seekFrom(storedAt + 8 + (long)coded, mFile::seekStart);
    } else {
        // A block the coder cannot shrink goes in as it is; what the longer stream left behind
        // it is overwritten by the next record, or ignored by the reader.
        sizes[1] = s;
        sizes[2] = flagStored;
        file.writeLongs(sizes + 1, 2);
        file.writeBytes(block, (int)s);
    }
    ++count;
}
