#include "mAswLib/mObjFile.h"
#include "mAswLib/mAswObject.h"
#include "mUtil/mError.h"

#include <cstring>

static const char srcPath[] = "mAswLib/mObjFile";

namespace {
const unsigned short maxObjects = 1024;
const unsigned char magic[4] = {'i', 'O', 'B', 'L'};
} // namespace

mObjFile::mObjFile(const mString &path) : mInputFile(path), offsets(nullptr), count(0), hasDirectory(false) {
    initFile();
}

mObjFile::mObjFile(mFSobject &base, mString &path)
    : mFile(base, path), mInputFile(base, path), offsets(nullptr), count(0), hasDirectory(false) {
    initFile();
}

mObjFile::mObjFile(const mObjFile &other)
    : mFile(other), mInputFile(other), offsets(nullptr), count(0), hasDirectory(false) {
    initFile();
}

mObjFile::~mObjFile() { delete[] offsets; }

void mObjFile::initFile() {
    if (!OpenFile(true))
        VELNOR_THROW(mString("Unable to open object file ") + getFullPath(), 0);
    unsigned char head[4];
    hasDirectory = readBytes(head, 4) == 4 && std::memcmp(head, magic, 4) == 0;
    if (!hasDirectory)
        seekFrom(0, seekStart);
    unsigned short stated = 0;
    readWords(&stated, 1);
    if (stated == 0 || stated > maxObjects)
        VELNOR_THROW(mString("Does not appear to be an object file: ") + getFullPath(), stated);

    unsigned long *table = new unsigned long[stated]();
    if (hasDirectory) {
        if (readLongs(table, stated) != stated) {
            delete[] table;
            VELNOR_THROW(mString("Premature EOF: ") + getFullPath(), 0);
        }
    } else {
        table[0] = (unsigned long)getCurrentPosition();
    }
    offsets = table;
    count = stated;
}

// Positions that the directory leaves open are found by walking from the nearest known one,
// and kept, so that each record is walked over once.
bool mObjFile::seekToItem(int index) {
    if (index < 0 || index >= count)
        return false;
    if (offsets[index] == 0) {
        int known = index - 1;
        while (known >= 0 && offsets[known] == 0)
            --known;
        if (known < 0)
            return false;
        for (int i = known; i < index; ++i)
            offsets[i + 1] = mAswObject(this, (long)offsets[i]).getEnd();
    }
    return true;
}

long mObjFile::getOffset(int index) { return seekToItem(index) ? (long)offsets[index] : -1; }

mObjFile::mObjType mObjFile::getType(int index) {
    if (!seekToItem(index))
        return objNone;
    return mAswObject(this, (long)offsets[index]).getType();
}

void *mObjFile::getObject(int index, mObjType &type, int &size) {
    type = objNone;
    size = 0;
    if (!seekToItem(index))
        return nullptr;
    mAswObject object(this, (long)offsets[index]);
    type = object.getType();
    if (type == objNone)
        return nullptr;
    return object.getBody(size);
}
