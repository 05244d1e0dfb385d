// Writes an object file without a directory from images: each one a record whose block is a
// bitmap file image behind a 4-byte slot, coded when that makes it smaller.
#pragma once
#include "mFile/mFile.h"

class mBitMap;

class VELNOR_API mObjStore {
public:
    enum ERROR_TYPE { storeOk = 0, storeBadImage = 1 };

    // Creates the file and writes a place holder for the count; an open that fails shows at
    // the first write, as "Write to unopened file!".
    mObjStore(const mString &path);
    // A copy would share the open file's fate; there is one writer per file.
    mObjStore(const mObjStore &) = delete;
    mObjStore &operator=(const mObjStore &) = delete;
    // Puts the count in, if anything was written, and closes.
    ~mObjStore();

    // Appends an 8-bit, run-length or 15-bit image under the first 12 characters of name;
    // storeBadImage for any other kind, with nothing written.
    ERROR_TYPE write(const mBitMap &image, const mString &name);
    // Appends a block under a type word (2 a sound, 3 data): coded when that makes it smaller,
    // stored otherwise. Its first 4 bytes are a slot that the reader overwrites.
    void writeBlock(short typeWord, const void *block, unsigned long size, const mString &name);
    // Appends a body that is coded already, with its compressor flags and unpacked size.
    void writeCoded(short typeWord, unsigned long flags, unsigned long unpacked, const void *body,
                    unsigned long size, const mString &name);

private:
    // The 23-byte header; the id is the present count.
    void writeHeader(short typeWord, const mString &name);
    void writePacked(short typeWord, const unsigned char *block, unsigned long size, unsigned long flags,
                     const mString &name);

    mOutputFile file;
    unsigned short count;
};
