#include "ObjFileFixture.h"

#include <windows.h>

namespace {

// A file with one object of each compressor flag.
ObjImage everyKind(bool directory) {
    Bytes plain = bitmapBlock(8, 54, 0), table = bitmapBlock(8, 566, 3);
    Bytes eight = eightBitBody({16 + 40 + 4 * 20, 10, 6, 0, 72}, pattern(72, 22));
    Bytes eightLong = eightBitBody({16 + 40 + 4 * 256, 10, 6, 0, 72, 0xABCD}, pattern(72, 23));
    Bytes four = fourBitBody(22, pattern(16, 25), 11, 5, pattern(8 * 5, 24));
    Bytes solid = fourBitBody(8, {5, 6}, 11, 5, {});
    std::vector<Record> records = {
        storedRecord(0, plain),
        packedRecord(1, plain, 1),
        packedRecord(4, table, 64),
        soundRecord(pattern(48, 21)),
        rawRecord(5, 58 + 80 + 72, 8, eight),
        rawRecord(6, 58 + 1024 + 72, 32, eightLong),
        rawRecord(0, 1078 + 12 * 5, 16, four),
        rawRecord(0, 1078 + 12 * 5, 16, solid),
        packedRecord(3, pattern(500, 26), 1),
    };
    return objectFile(records, directory);
}

bool heapsIntact() {
    HANDLE heaps[64];
    DWORD n = GetProcessHeaps(64, heaps);
    for (DWORD i = 0; i < n && i < 64; ++i)
        if (!HeapValidate(heaps[i], 0, nullptr))
            return false;
    return true;
}

// Reads every object of a damaged file, and gives how many came out; only the library's own
// errors may end a read.
int readAll(const mString &path, const std::string &what) {
    int read = 0;
    try {
        mObjFile file(path);
        for (int i = 0; i < file.getNumObjects() && i < 12; ++i) {
            try {
                file.getType(i);
                Object got = readObject(file, i);
                if (got.block) {
                    EXPECT_GE(got.size, 0) << what;
                    ++read;
                }
            } catch (const mError &) {
            }
        }
    } catch (const mError &) {
    } catch (...) {
        ADD_FAILURE() << "not an mError: " << what;
    }
    EXPECT_TRUE(heapsIntact()) << what;
    return read;
}

TEST_F(ObjFileTest, TruncatedFilesEndInErrors) {
    for (bool directory : {false, true}) {
        Bytes whole = everyKind(directory).bytes;
        EXPECT_EQ(9, readAll(put(whole), "whole"));
        for (size_t length = 0; length < whole.size(); length += 1 + length / 40)
            readAll(put(Bytes(whole.begin(), whole.begin() + length)), "cut at " + std::to_string(length));
    }
}

TEST_F(ObjFileTest, DamagedBytesEndInErrors) {
    ObjImage image = everyKind(true);
    unsigned seed = 12345;
    for (int round = 0; round < 400; ++round) {
        Bytes damaged = image.bytes;
        // Headers and sizes are hit most often, the bodies now and then.
        for (int hit = 0; hit < 1 + round % 4; ++hit) {
            seed = seed * 1103515245u + 12345u;
            size_t record = (seed >> 8) % image.offsets.size();
            size_t at = round % 3 ? image.offsets[record] + (seed >> 16) % 40 : (seed >> 12) % damaged.size();
            if (at < damaged.size())
                damaged[at] = (unsigned char)(seed >> 24);
        }
        readAll(put(damaged), "round " + std::to_string(round));
    }
}

} // namespace
