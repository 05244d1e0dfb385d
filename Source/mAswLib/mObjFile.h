// A flat archive of numbered objects: compressed bitmaps, sounds and raw blocks.
#pragma once
#include "mFile/mFile.h"

class VELNOR_API mObjFile : public mInputFile {
public:
    enum mObjType { objNone = 0, objBitmap = 1, objSound = 2, objData = 3 };

    // The file is opened at once, and stays open.
    mObjFile(const mString &path);
    mObjFile(mFSobject &base, mString &path);
    // A copy opens the file again and finds its objects anew.
    mObjFile(const mObjFile &other);
    mObjFile &operator=(const mObjFile &) = delete;
    ~mObjFile();

    int getNumObjects() { return count; }
    // The file offset of an object's record, found by walking if need be; -1 out of range.
    long getOffset(int index);
    // objNone for an index out of range.
    mObjType getType(int index);
    // A block of the library's heap that the caller frees with mApp::free, or null when the
    // index is out of range or the object is of no known type.
    void *getObject(int index, mObjType &type, int &size);

private:
    void initFile();
    bool seekToItem(int index);

    unsigned long *offsets;
    unsigned short count;
    bool hasDirectory;
};
