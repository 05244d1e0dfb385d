#include "ExpectError.h"
#include "ObjFileFixture.h"

#include <utility>

namespace {

const char source[] = "mAswLib/mObjFile";
const char objectSource[] = "mAswLib/mAswObject";

// Data objects whose content tells which object each one is.
std::vector<Record> dataRecords(int count, size_t size) {
    std::vector<Record> records;
    for (int i = 0; i < count; ++i)
        records.push_back(storedRecord(3, pattern(size, (unsigned)i + 100)));
    return records;
}

void expectData(mObjFile &file, int index, size_t size) {
    Object got = readObject(file, index);
    ASSERT_TRUE(got.block) << index;
    EXPECT_EQ(mObjFile::objData, got.type);
    ASSERT_EQ((int)size, got.size);
    Bytes expected = pattern(size, (unsigned)index + 100);
    poke(expected, 0, {4, size});
    EXPECT_EQ(expected, got.bytes(0, size)) << index;
}

TEST_F(ObjFileTest, ReadsEveryObjectInBothForms) {
    for (bool directory : {false, true}) {
        mObjFile file(put(objectFile(dataRecords(4, 40), directory).bytes));
        EXPECT_EQ(4, file.getNumObjects());
        for (int i : {3, 0, 2, 1})
            expectData(file, i, 40);
    }
}

TEST_F(ObjFileTest, TypeWordsMapToObjectTypesAndNoneGivesNothing) {
    const std::pair<short, mObjFile::mObjType> words[] = {
        {-1, mObjFile::objNone},  {0, mObjFile::objBitmap}, {1, mObjFile::objBitmap}, {2, mObjFile::objSound},
        {3, mObjFile::objData},   {4, mObjFile::objBitmap}, {5, mObjFile::objBitmap}, {6, mObjFile::objBitmap},
        {7, mObjFile::objNone}, {300, mObjFile::objNone}};
    std::vector<Record> records;
    for (const auto &w : words)
        records.push_back(storedRecord(w.first, Bytes(12, 0x11)));
    mObjFile file(put(objectFile(records).bytes));
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(words[i].second, file.getType(i)) << words[i].first;
    EXPECT_EQ(mObjFile::objNone, file.getType(10));
    EXPECT_EQ(mObjFile::objNone, file.getType(-1));

    // Past either end, and on a record of no type.
    for (int index : {10, -1, 8}) {
        Object none = readObject(file, index);
        EXPECT_EQ(nullptr, none.block);
        EXPECT_EQ(mObjFile::objNone, none.type);
        EXPECT_EQ(0, none.size);
    }
}

// Once a record's place is known it is not walked to again: a stored size spoilt on disk after
// the first walk stays unseen. Records are large, so the stream's buffer holds none of them.
TEST_F(ObjFileTest, WalksEachRecordOnce) {
    const size_t size = 9000;
    ObjImage image = objectFile(dataRecords(6, size));
    mString path = put(image.bytes);
    mObjFile file(path);
    expectData(file, 5, size);
    poke(image.bytes, image.offsets[1] + 27, {4, 0x00FFFFFF});
    dir.write("f0.obj", image.bytes);
    expectData(file, 3, size);
    expectData(file, 1, size);

    mObjFile fresh(path);
    EXPECT_MERROR(fresh.getType(3), mString("Premature EOF: ") + path, 0, objectSource);
}

TEST_F(ObjFileTest, DirectoryGapsAreWalkedFromTheNearestKnownEntry) {
    std::vector<Record> records = dataRecords(4, 30);
    records[1].c = 0x00FFFFFF;
    ObjImage image = objectFile(records, true);
    poke(image.bytes, 6 + 4 * 1, {4, 0});
    poke(image.bytes, 6 + 4 * 3, {4, 0});
    mObjFile file(put(image.bytes));
    // Record 3 is found from record 2; record 1 from record 0, its lying size not walked over.
    for (int i : {3, 2, 0, 1})
        expectData(file, i, 30);

    ObjImage noStart = objectFile(dataRecords(2, 30), true);
    poke(noStart.bytes, 6, {4, 0});
    mObjFile gap(put(noStart.bytes));
    EXPECT_EQ(mObjFile::objNone, gap.getType(0));
    expectData(gap, 1, 30);
}

TEST_F(ObjFileTest, OpeningChecksTheFileTheCountAndTheDirectory) {
    const char notObject[] = "Does not appear to be an object file: ";
    Bytes tooMany = objectFile(dataRecords(2, 10)).bytes;
    poke(tooMany, 0, {2, 1025});
    Bytes cut = objectFile(dataRecords(5, 10), true).bytes;
    cut.resize(6 + 4 * 3 + 2);
    const struct {
        Bytes bytes;
        const char *message;
        long value;
    } cases[] = {{{0, 0}, notObject, 0},
                 {{}, notObject, 0},
                 {tooMany, notObject, 1025},
                 {{'i', 'O', 'B', 'L', 0, 0}, notObject, 0},
                 {cut, "Premature EOF: ", 0}};
    for (const auto &c : cases) {
        mString path = put(c.bytes);
        EXPECT_MERROR(mObjFile f(path), mString(c.message) + path, c.value, source);
    }
    mString missing(dir.path("missing.obj").c_str());
    EXPECT_MERROR(mObjFile f(missing), mString("Unable to open object file ") + missing, 0, source);

    poke(tooMany, 0, {2, 1024});
    mObjFile file(put(tooMany));
    EXPECT_EQ(1024, file.getNumObjects());
    expectData(file, 1, 10);
    // The count says more than the file holds: the walk runs into the end.
    EXPECT_THROW(file.getType(2), mError);
}

TEST_F(ObjFileTest, LyingOffsetsEndInAnError) {
    ObjImage image = objectFile(dataRecords(3, 30), true);
    poke(image.bytes, 6, {4, image.bytes.size() + 100});
    poke(image.bytes, 10, {4, 0x90000000});
    poke(image.bytes, 14, {4, image.bytes.size() - 10});
    mString path = put(image.bytes);
    mObjFile file(path);
    for (int i = 0; i < 3; ++i)
        EXPECT_MERROR(readObject(file, i), mString("Premature EOF: ") + path, 0, objectSource);
}

TEST_F(ObjFileTest, OpensRelativeToABaseAndCopiesStandAlone) {
    put(objectFile(dataRecords(3, 16)).bytes);
    mFSdir base(mString(dir.path("").c_str()));
    mString name("f0.obj");
    mObjFile file(base, name);
    EXPECT_EQ(3, file.getNumObjects());
    expectData(file, 2, 16);
    {
        mObjFile copy(file);
        expectData(copy, 1, 16);
    }
    expectData(file, 0, 16);
}

} // namespace
