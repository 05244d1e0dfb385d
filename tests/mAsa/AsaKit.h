// What the animation tests share: scratch files, images of one colour, and file bytes.
#pragma once
#include "AsaWriter.h"
#include "ExpectError.h"
#include "ScratchDir.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

struct FreeImage {
    void operator()(mBitMap *image) const { image->free(); }
};
using Image = std::unique_ptr<mBitMap, FreeImage>;

// An 8-bit image without colours, every pixel the value index.
inline Image solid(int width, int height, unsigned char index) {
    Image image(mBitMap::create(8, mSize(width, height), nullptr));
    const mBHeader *h = image->getHeader();
    std::memset(const_cast<void *>(image->getData()), index, (size_t)h->dataSize);
    return image;
}

class AsaFileTest : public ::testing::Test {
protected:
    AsaFileTest() : dir(::testing::UnitTest::GetInstance()->current_test_info()->name()) {}

    // A new file holding bytes; its absolute path.
    mString save(const asa::Bytes &bytes) {
        return mString(dir.write("a" + std::to_string(serial++) + ".asa", bytes).c_str());
    }

    ScratchDir dir;
    int serial = 0;
};
