#include "ExpectError.h"
#include "ObjFileFixture.h"

#include <windows.h>

#include <cstdio>

namespace {

const char source[] = "mAswLib/mObjFile";
const char objectSource[] = "mAswLib/mAswObject";

// A data block whose content tells which object it is.
Bytes dataBlock(int index, size_t size) {
    Bytes b = pattern(size, (unsigned)index + 100);
    b[4] = (unsigned char)index;
    return b;
}

std::vector<Record> dataRecords(int count, size_t size) {
    std::vector<Record> records;
    for (int i = 0; i < count; ++i)
        records.push_back(storedRecord(3, dataBlock(i, size)));
    return records;
}

void expectData(mObjFile &file, int index, size_t size) {
    mObjFile::mObjType type;
    int got = -1;
    BlockPtr block(static_cast<unsigned char *>(file.getObject(index, type, got)));
    ASSERT_TRUE(block) << index;
    EXPECT_EQ(mObjFile::objData, type);
    ASSERT_EQ((int)size, got);
    Bytes expected = dataBlock(index, size);
    pokeLong(expected, 0, (unsigned long)size);
    EXPECT_EQ(0, memcmp(expected.data(), block.get(), size)) << index;
}

// Overwrites bytes of a file that another object holds open.
void patchFile(const mString &path, long offset, const Bytes &bytes) {
    std::FILE *f = std::fopen(path.c_str(), "r+b");
    ASSERT_NE(nullptr, f);
    std::fseek(f, offset, SEEK_SET);
    std::fwrite(bytes.data(), 1, bytes.size(), f);
    std::fclose(f);
}

Bytes longBytes(unsigned long v) {
    Bytes b;
    appendLong(b, v);
    return b;
}

TEST_F(ObjFileTest, ReadsEveryObjectInBothForms) {
    for (bool directory : {false, true}) {
        mObjFile file(put(objectFile(dataRecords(4, 40), directory).bytes));
        EXPECT_EQ(4, file.getNumObjects());
        for (int i : {3, 0, 2, 1})
            expectData(file, i, 40);
    }
}

TEST_F(ObjFileTest, OutOfRangeGivesNothing) {
    mObjFile file(put(objectFile(dataRecords(3, 20), false).bytes));
    EXPECT_EQ(mObjFile::objNone, file.getType(3));
    EXPECT_EQ(mObjFile::objNone, file.getType(-1));
    mObjFile::mObjType type = mObjFile::objData;
    int size = 5;
    EXPECT_EQ(nullptr, file.getObject(3, type, size));
    EXPECT_EQ(mObjFile::objNone, type);
    EXPECT_EQ(0, size);
    type = mObjFile::objData;
    size = 5;
    EXPECT_EQ(nullptr, file.getObject(-1, type, size));
    EXPECT_EQ(mObjFile::objNone, type);
    EXPECT_EQ(0, size);
}

TEST_F(ObjFileTest, TypeWordsMapToObjectTypes) {
    const short words[] = {-1, 0, 1, 2, 3, 4, 5, 6, 7, 300};
    const mObjFile::mObjType types[] = {mObjFile::objNone,   mObjFile::objBitmap, mObjFile::objBitmap,
                                        mObjFile::objSound,  mObjFile::objData,   mObjFile::objBitmap,
                                        mObjFile::objBitmap, mObjFile::objBitmap, mObjFile::objNone,
                                        mObjFile::objNone};
    std::vector<Record> records;
    for (short w : words)
        records.push_back(storedRecord(w, Bytes(12, 0x11)));
    mObjFile file(put(objectFile(records, false).bytes));
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(types[i], file.getType(i)) << words[i];

    mObjFile::mObjType type = mObjFile::objData;
    int size = 9;
    EXPECT_EQ(nullptr, file.getObject(8, type, size));
    EXPECT_EQ(mObjFile::objNone, type);
    EXPECT_EQ(0, size);
}

// Once a record's place is known it is not walked to again: a stored size spoilt on disk after
// the first walk stays unseen. Records are large, so the stream's buffer holds none of them.
TEST_F(ObjFileTest, WalksEachRecordOnce) {
    const size_t size = 9000;
    ObjImage image = objectFile(dataRecords(6, size), false);
    mString path = put(image.bytes);
    mObjFile file(path);
    expectData(file, 5, size);
    patchFile(path, (long)image.offsets[1] + 27, longBytes(0x00FFFFFF));
    expectData(file, 3, size);
    expectData(file, 1, size);

    mObjFile fresh(path);
    EXPECT_MERROR(fresh.getType(3), mString("Premature EOF: ") + path, 0, objectSource);
}

TEST_F(ObjFileTest, DirectoryGapsAreWalkedFromTheNearestKnownEntry) {
    std::vector<Record> records = dataRecords(4, 30);
    records[1].c = 0x00FFFFFF;
    ObjImage image = objectFile(records, true);
    pokeLong(image.bytes, 6 + 4 * 1, 0);
    pokeLong(image.bytes, 6 + 4 * 3, 0);
    mObjFile file(put(image.bytes));
    expectData(file, 3, 30);
    expectData(file, 2, 30);
    expectData(file, 0, 30);
    // Record 1 is found from record 0; its lying size is not walked over.
    expectData(file, 1, 30);

    ObjImage noStart = objectFile(dataRecords(2, 30), true);
    pokeLong(noStart.bytes, 6, 0);
    mObjFile gap(put(noStart.bytes));
    EXPECT_EQ(mObjFile::objNone, gap.getType(0));
    mObjFile::mObjType type;
    int size;
    EXPECT_EQ(nullptr, gap.getObject(0, type, size));
    expectData(gap, 1, 30);
}

TEST_F(ObjFileTest, CountMustBeOneTo1024) {
    mString zero = put({0, 0});
    EXPECT_MERROR(mObjFile f(zero), mString("Does not appear to be an object file: ") + zero, 0, source);
    mString empty = put({});
    EXPECT_MERROR(mObjFile f(empty), mString("Does not appear to be an object file: ") + empty, 0, source);
    Bytes tooMany = objectFile(dataRecords(2, 10), false).bytes;
    tooMany[0] = 0x01;
    tooMany[1] = 0x04;
    mString path = put(tooMany);
    EXPECT_MERROR(mObjFile f(path), mString("Does not appear to be an object file: ") + path, 1025, source);
    Bytes magicZero = {'i', 'O', 'B', 'L', 0, 0};
    mString magicPath = put(magicZero);
    EXPECT_MERROR(mObjFile f(magicPath), mString("Does not appear to be an object file: ") + magicPath, 0, source);

    Bytes most = objectFile(dataRecords(2, 10), false).bytes;
    most[0] = 0x00;
    most[1] = 0x04;
    mObjFile file(put(most));
    EXPECT_EQ(1024, file.getNumObjects());
    expectData(file, 1, 10);
    // The count says more than the file holds: the walk runs into the end.
    EXPECT_THROW(file.getType(2), mError);
    EXPECT_THROW(file.getType(900), mError);
}

TEST_F(ObjFileTest, OpenAndDirectoryFailures) {
    mString missing(dir.path("missing.obj").c_str());
    EXPECT_MERROR(mObjFile f(missing), mString("Unable to open object file ") + missing, 0, source);

    Bytes cut = objectFile(dataRecords(5, 10), true).bytes;
    cut.resize(6 + 4 * 3 + 2);
    mString path = put(cut);
    EXPECT_MERROR(mObjFile f(path), mString("Premature EOF: ") + path, 0, source);
}

TEST_F(ObjFileTest, LyingOffsetsEndInAnError) {
    std::vector<Record> records = dataRecords(3, 30);
    ObjImage image = objectFile(records, true);
    pokeLong(image.bytes, 6, (unsigned long)image.bytes.size() + 100);
    pokeLong(image.bytes, 10, 0x90000000);
    pokeLong(image.bytes, 14, (unsigned long)image.bytes.size() - 10);
    mString path = put(image.bytes);
    mObjFile file(path);
    mObjFile::mObjType type;
    int size;
    for (int i = 0; i < 3; ++i)
        EXPECT_MERROR(file.getObject(i, type, size), mString("Premature EOF: ") + path, 0, objectSource);
}

TEST_F(ObjFileTest, OpensRelativeToABaseAndCopiesStandAlone) {
    put(objectFile(dataRecords(3, 16), false).bytes);
    mFSdir base(mString(dir.path("").c_str()));
    mString name("f0.obj");
    mObjFile file(base, name);
    EXPECT_EQ(3, file.getNumObjects());
    expectData(file, 2, 16);

    {
        mObjFile copy(file);
        EXPECT_TRUE(copy.isOpen());
        expectData(copy, 1, 16);
    }
    expectData(file, 0, 16);
    expectData(file, 2, 16);
}

} // namespace
