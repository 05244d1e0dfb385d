// One object record of an object file or an animation file: a 23-byte header, then the
// body with its uncompressed size, stored size and compressor flags.
#pragma once
#include "mAswLib/mObjFile.h"

class VELNOR_API mAswObject {
public:
    enum { headerSize = 23, nameSize = 17 };

    // The record at a file offset; nothing is read until it is needed.
    mAswObject(mObjFile *file, long position);

    unsigned short getId();
    unsigned short getReserved();
    short getTypeWord();
    mObjFile::mObjType getType();
    // The name bytes up to the first NUL.
    mString getName();
    // The offset behind this record's body.
    unsigned long getEnd();
    // The body as the body reader gives it, read with this record's type.
    void *getBody(int &size);

    static mObjFile::mObjType typeOf(short typeWord);
    // Reads U, C, F and the body at the present position of an open file, and leaves the
    // position behind the body. type is a type word or an mObjType: 0, 1 and 4 to 7 mark a
    // bitmap. The block is the caller's, to be freed with mApp::free.
    static void *readBody(mInputFile &file, int &size, int type);

private:
    void readHeader();

    long position;
    mObjFile *file;
    unsigned short id;
    unsigned short reserved;
    short typeWord;
    char name[nameSize];
    bool headerRead;
};
