// What the object-file tests share: scratch files, and blocks that go back to the library's heap.
#pragma once
#include "ObjFileWriter.h"
#include "ScratchDir.h"
#include "mAswLib/mObjFile.h"
#include "mUtil/mApp.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

struct FreeBlock {
    void operator()(void *block) const { mApp::free(block); }
};
using BlockPtr = std::unique_ptr<unsigned char, FreeBlock>;

// An object as getObject gives it out; type and size start as what it must overwrite.
struct Object {
    BlockPtr block;
    mObjFile::mObjType type = mObjFile::objData;
    int size = -1;

    Bytes bytes(size_t from, size_t to) const { return Bytes(block.get() + from, block.get() + to); }
};

inline Object readObject(mObjFile &file, int index) {
    Object object;
    object.block.reset(static_cast<unsigned char *>(file.getObject(index, object.type, object.size)));
    return object;
}

class ObjFileTest : public ::testing::Test {
protected:
    ObjFileTest() : dir(::testing::UnitTest::GetInstance()->current_test_info()->name()), serial(0) {}

    // A new file holding bytes; its absolute path.
    mString put(const Bytes &bytes) { return mString(dir.write("f" + std::to_string(serial++) + ".obj", bytes).c_str()); }

    // The one object of a file made of one record.
    Object only(const Record &record) {
        mObjFile file(put(objectFile({record}).bytes));
        return readObject(file, 0);
    }

    ScratchDir dir;
    int serial;
};
