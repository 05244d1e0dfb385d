#include "ObjFileFixture.h"

#include <windows.h>

#include <cstring>

namespace {

// A file with one object of each compressor flag.
ObjImage everyKind(bool directory) {
    BitmapBlock plain;
    plain.width = 9;
    plain.height = 4;
    plain.pixels = pattern(12 * 4, 20);
    BitmapBlock table = plain;
    table.colors = {0x7C00, 0x001F, 0x1234};

    Bytes samples = pattern(300, 21);
    AudioCode code = encodeAudio(samples, 32);
    Bytes sound(4, 0);
    Bytes wave = waveHeader(300);
    sound.insert(sound.end(), wave.begin(), wave.end());
    sound.insert(sound.end(), code.stream.begin(), code.stream.end());

    Bytes eight = eightBitBody(16 + 40 + 4 * 20, 10, 6, 0, 72, false, 0, pattern(72, 22));
    Bytes eightLong = eightBitBody(16 + 40 + 4 * 256, 10, 6, 0, 72, true, 0xABCD, pattern(72, 23));
    Bytes unpacked = unpacked4Bit(11, 5, pattern(8 * 5, 24));
    Bytes four = fourBitBody(22, pattern(16, 25), unpacked, (long)unpacked.size());
    Bytes solid = fourBitBody(8, {5, 6}, unpacked4Bit(11, 5, {}), 54);

    std::vector<Record> records = {
        storedRecord(0, bitmapBlock(plain)),
        packedRecord(1, bitmapBlock(plain), 1),
        packedRecord(4, bitmapBlock(table), 64),
        rawRecord(2, 300, (unsigned long)sound.size(), 4, sound),
        rawRecord(5, 58 + 80 + 72, (unsigned long)eight.size(), 8, eight),
        rawRecord(6, 58 + 1024 + 72, (unsigned long)eightLong.size(), 32, eightLong),
        rawRecord(0, 1078 + 12 * 5, (unsigned long)four.size(), 16, four),
        rawRecord(0, 1078 + 12 * 5, (unsigned long)solid.size(), 16, solid),
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

// Reads every object of a damaged file; only the library's own errors may come out.
void readAll(const mString &path, const std::string &what) {
    try {
        mObjFile file(path);
        int n = file.getNumObjects();
        for (int i = 0; i < n && i < 12; ++i) {
            mObjFile::mObjType type;
            int size;
            try {
                file.getType(i);
                BlockPtr block(static_cast<unsigned char *>(file.getObject(i, type, size)));
                if (block) {
                    ASSERT_GE(size, 0) << what;
                }
            } catch (const mError &) {
            }
        }
    } catch (const mError &) {
    } catch (...) {
        ADD_FAILURE() << "not an mError: " << what;
    }
    ASSERT_TRUE(heapsIntact()) << what;
}

TEST_F(ObjFileTest, EveryKindReadsBack) {
    for (bool directory : {false, true}) {
        mObjFile file(put(everyKind(directory).bytes));
        ASSERT_EQ(9, file.getNumObjects());
        for (int i = 0; i < 9; ++i) {
            mObjFile::mObjType type;
            int size;
            BlockPtr block(static_cast<unsigned char *>(file.getObject(i, type, size)));
            EXPECT_TRUE(block) << i;
            EXPECT_GT(size, 0) << i;
        }
    }
}

TEST_F(ObjFileTest, TruncatedFilesEndInErrors) {
    for (bool directory : {false, true}) {
        Bytes whole = everyKind(directory).bytes;
        for (size_t length = 0; length < whole.size(); length += 1 + length / 40) {
            Bytes cut(whole.begin(), whole.begin() + length);
            readAll(put(cut), "cut at " + std::to_string(length));
        }
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
            if (at >= damaged.size())
                continue;
            damaged[at] = (unsigned char)(seed >> 24);
        }
        readAll(put(damaged), "round " + std::to_string(round));
    }
}

} // namespace
