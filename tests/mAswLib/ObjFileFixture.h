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

class ObjFileTest : public ::testing::Test {
protected:
    ObjFileTest() : dir(::testing::UnitTest::GetInstance()->current_test_info()->name()), serial(0) {}

    // A new file holding bytes; its absolute path.
    mString put(const Bytes &bytes) { return mString(dir.write("f" + std::to_string(serial++) + ".obj", bytes).c_str()); }

    // The one object of a file made of one record.
    BlockPtr only(const Record &record, mObjFile::mObjType &type, int &size) {
        mObjFile file(put(objectFile({record}, false).bytes));
        return BlockPtr(static_cast<unsigned char *>(file.getObject(0, type, size)));
    }

    ScratchDir dir;
    int serial;
};
