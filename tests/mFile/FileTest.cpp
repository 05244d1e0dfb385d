// Streams on real scratch files: open modes, counts, lines, sizes, positions, rename and remove.
#include "ExpectError.h"
#include "FileTestSupport.h"

#include <cstring>

namespace {

// Reaches the protected open and filter translation.
class FileProbe : public mIOFile {
public:
    FileProbe(const mString &path) : mIOFile(path) {}
    using mFile::open;
    using mFile::transFilters;
};

TEST(FileOpen, OutputFlagsDecideAboutExistingFiles) {
    Scratch scratch;
    std::string path = scratch.file("out.txt", "old");
    struct Step {
        mFile::mOutputFlags flags;
        bool opens;
        const char *bytes, *after;
    } steps[] = {
        {mFile::newFileOnly, false, "", "old"},
        {mFile::appendFile, true, "+new", "old+new"},
        {mFile::createFile, true, "x", "x"},
    };
    for (const Step &s : steps) {
        mOutputFile f(path.c_str());
        ASSERT_EQ(f.OpenFile(true, s.flags), s.opens) << s.after;
        if (s.opens) {
            EXPECT_EQ(f.writeBytes(s.bytes, (int)std::strlen(s.bytes)), (int)std::strlen(s.bytes));
        }
        EXPECT_EQ(f.close(), s.opens) << "closing a closed file gives false";
        EXPECT_EQ(readAll(path), s.after);
    }
    mOutputFile fresh(scratch.path("fresh.bin").c_str());
    EXPECT_TRUE(fresh.OpenFile(true, mFile::newFileOnly)) << "a missing file is made";
}

TEST(FileOpen, ReadWriteFileIsEmptiedAndServesBothSides) {
    Scratch scratch;
    std::string path = scratch.file("io.bin", "previous contents");
    mIOFile f(path.c_str());
    ASSERT_TRUE(f.OpenFile(true));
    EXPECT_EQ(f.getFileSize(), 0u);
    EXPECT_EQ(f.writeBytes("abcdef", 6), 6);
    EXPECT_TRUE(f.seekFrom(2, mFile::seekStart));
    char back[8] = {};
    EXPECT_EQ(f.readBytes(back, 8), 4);
    EXPECT_STREQ(back, "cdef");
    f.close();
    EXPECT_EQ(readAll(path), "abcdef");
}

TEST(FileOpen, MisuseIsReported) {
    Scratch scratch;
    mInputFile in(scratch.file("m.bin", "data").c_str());
    ASSERT_TRUE(in.OpenFile(true));
    EXPECT_MERROR(in.OpenFile(false), "Attempt to open an opened file!", 0, "mFile/mFile");

    mOutputFile out(scratch.path("o.bin").c_str());
    ASSERT_TRUE(out.OpenFile(true, mFile::createFile));
    EXPECT_MERROR(out.OpenFile(true, mFile::appendFile), "Attempt to open already opened file", 0, "mFile/mFile");

    mIOFile io(scratch.path("io.bin").c_str());
    ASSERT_TRUE(io.OpenFile(true));
    EXPECT_MERROR(io.OpenFile(true), "Attempt to open already opened file", 0, "mFile/mFile");

    FileProbe probe(scratch.path("p.bin").c_str());
    EXPECT_MERROR(probe.open(static_cast<mFile::access>(7), true, mFile::createFile), "Invalid file open type.", 7,
                  "mFile/mFile");
    EXPECT_FALSE(probe.isOpen());
    ASSERT_TRUE(probe.open(mFile::writeAccess, true, mFile::createFile));
    EXPECT_MERROR(probe.open(mFile::readAccess, true, mFile::createFile), "Attempt to open a file twice!", 0,
                  "mFile/mFile");
}

TEST(FileOpen, ClosedFilesRefuseStreamWork) {
    mIOFile f("C:\\never\\opened.bin");
    unsigned short words[2];
    unsigned long longs[2];
    struct Case {
        std::function<void()> call;
        const char *message;
    } cases[] = {
        {[&] { f.readLongs(longs, 1); }, "Attempt to access closed file"},
        {[&] { f.readLine(); }, "Attempt to access closed file"},
        {[&] { f.writeWords(words, 1); }, "Write to unopened file!"},
        {[&] { f.writeLine("x"); }, "Attempt to write to closed file!"},
        {[&] { f.getCurrentPosition(); }, "Access unopened file!"},
        {[&] { f.seekFrom(0, static_cast<mFile::mSeekPos>(9)); }, "Access unopened file!"},
    };
    for (const Case &c : cases)
        EXPECT_MERROR(c.call(), c.message, 0, "mFile/mFile");
}

TEST(FileData, ItemsMoveLittleEndian) {
    Scratch scratch;
    std::string path = scratch.path("le.bin");
    {
        mOutputFile f(path.c_str());
        ASSERT_TRUE(f.OpenFile(true, mFile::createFile));
        unsigned short words[] = {0x1234, 0xabcd};
        unsigned long longs[] = {0x01020304UL};
        EXPECT_EQ(f.writeBytes("\x7f", 1), 1);
        EXPECT_EQ(f.writeWords(words, 2), 2);
        EXPECT_EQ(f.writeLongs(longs, 1), 1);
        EXPECT_EQ(f.writeBytes("zz", -3), 0);
    }
    EXPECT_EQ(readAll(path), std::string("\x7f\x34\x12\xcd\xab\x04\x03\x02\x01", 9));

    mInputFile in(path.c_str());
    ASSERT_TRUE(in.OpenFile(true));
    unsigned char first = 0;
    unsigned short words[2] = {};
    unsigned long value = 0;
    EXPECT_EQ(in.readBytes(&first, 1), 1);
    EXPECT_EQ(in.readWords(words, 2), 2);
    EXPECT_EQ(in.readLongs(&value, 1), 1);
    EXPECT_EQ(first, 0x7f);
    EXPECT_EQ(words[1], 0xabcd);
    EXPECT_EQ(value, 0x01020304UL);
}

TEST(FileData, ShortCountsAndTheEnd) {
    Scratch scratch;
    mInputFile f(scratch.file("ten.bin", "0123456789").c_str());
    ASSERT_TRUE(f.OpenFile(true));
    char bytes[16];
    EXPECT_EQ(f.readBytes(bytes, -1), 0);
    EXPECT_EQ(f.readBytes(bytes, 0), 0);
    EXPECT_EQ(f.readBytes(bytes, 10), 10);
    EXPECT_FALSE(f.atEOF()) << "reading exactly the last byte is not the end";
    EXPECT_EQ(f.readBytes(bytes, 1), 0);
    EXPECT_TRUE(f.atEOF());

    ASSERT_TRUE(f.seekFrom(0, mFile::seekStart));
    unsigned long longs[3];
    EXPECT_EQ(f.readLongs(longs, 3), 2);
    ASSERT_TRUE(f.seekFrom(7, mFile::seekStart));
    unsigned short words[4];
    EXPECT_EQ(f.readWords(words, 4), 1) << "only whole items count";
}

TEST(FileData, PositionsSeeksAndSize) {
    Scratch scratch;
    mInputFile f(scratch.file("pos.bin", "0123456789").c_str());
    EXPECT_EQ(f.getFileSize(), 10u);
    EXPECT_FALSE(f.isOpen()) << "the size of a closed file leaves it closed";
    ASSERT_TRUE(f.OpenFile(true));
    EXPECT_TRUE(f.seekFrom(-3, mFile::seekEnd));
    EXPECT_EQ(f.getCurrentPosition(), 7);
    EXPECT_TRUE(f.seekFrom(-2, mFile::seekCurrent));
    EXPECT_EQ(f.getFileSize(), 10u);
    EXPECT_EQ(f.getCurrentPosition(), 5) << "the size leaves the position alone";
    char c = 0;
    f.readBytes(&c, 1);
    EXPECT_EQ(c, '5');
    EXPECT_FALSE(f.seekFrom(-1, mFile::seekStart));
    EXPECT_MERROR(f.seekFrom(0, static_cast<mFile::mSeekPos>(3)), "Bad seek position argument", 3, "mFile/mFile");

    mInputFile missing(scratch.path("none.bin").c_str());
    EXPECT_EQ(missing.getFileSize(), 0u);
    EXPECT_FALSE(missing.OpenFile(true));
    EXPECT_FALSE(missing.isOpen());
    EXPECT_TRUE(missing.atEOF());
}

TEST(FileLines, CarriageReturnsDependOnTheMode) {
    Scratch scratch;
    std::string path = scratch.file("lines.txt", "one\r\ntwo\n\nlast");

    mInputFile binary(path.c_str());
    ASSERT_TRUE(binary.OpenFile(true));
    EXPECT_STREQ(binary.readLine().c_str(), "one\r");
    EXPECT_STREQ(binary.readLine().c_str(), "two");
    EXPECT_STREQ(binary.readLine().c_str(), "");
    EXPECT_FALSE(binary.atEOF()) << "an empty line is not the end";
    EXPECT_STREQ(binary.readLine().c_str(), "last");
    EXPECT_STREQ(binary.readLine().c_str(), "");
    EXPECT_TRUE(binary.atEOF());

    mInputFile textMode(path.c_str());
    ASSERT_TRUE(textMode.OpenFile(false));
    EXPECT_STREQ(textMode.readLine().c_str(), "one");
    EXPECT_STREQ(textMode.readLine().c_str(), "two");
}

TEST(FileLines, LongLinesComeInPieces) {
    Scratch scratch;
    std::string line(2500, 'q');
    line[1023] = 'B';
    mInputFile f(scratch.file("long.txt", line + "\nnext\n").c_str());
    ASSERT_TRUE(f.OpenFile(true));
    EXPECT_EQ(f.readLine().length(), 1023);
    mString second = f.readLine();
    EXPECT_EQ(second.length(), 1023);
    EXPECT_EQ(second[0], 'B');
    EXPECT_EQ(f.readLine().length(), 2500 - 2 * 1023);
    EXPECT_STREQ(f.readLine().c_str(), "next");
}

TEST(FileLines, WrittenLinesEndByTheMode) {
    Scratch scratch;
    std::string textPath = scratch.path("t.txt");
    std::string binaryPath = scratch.path("b.txt");
    {
        mOutputFile t(textPath.c_str());
        ASSERT_TRUE(t.OpenFile(false, mFile::createFile));
        EXPECT_TRUE(t.writeLine("a"));
        EXPECT_TRUE(t.writeLine(mString("b\0hidden", 8)));
        mOutputFile b(binaryPath.c_str());
        ASSERT_TRUE(b.OpenFile(true, mFile::createFile));
        EXPECT_TRUE(b.writeLine("a"));
        EXPECT_TRUE(b.writeLine(""));
    }
    EXPECT_EQ(readAll(textPath), "a\r\nb\r\n");
    EXPECT_EQ(readAll(binaryPath), "a\n\n");
}

TEST(FileLifetime, CopiesAreClosedAndDestructionCloses) {
    Scratch scratch;
    std::string path = scratch.file("c.bin", "content");
    mInputFile original(path.c_str());
    ASSERT_TRUE(original.OpenFile(true));
    mInputFile copy(original);
    mInputFile fromFile(static_cast<mFile &>(original));
    for (mInputFile *c : {&copy, &fromFile}) {
        EXPECT_FALSE(c->isOpen());
        EXPECT_EQ(fullPath(*c), path);
    }
    EXPECT_TRUE(original.isOpen());

    mInputFile other(scratch.path("other.bin").c_str());
    original = other;
    EXPECT_FALSE(original.isOpen()) << "assignment leaves no stream behind";
    EXPECT_EQ(fullPath(original), fullPath(other));

    std::string written = scratch.path("w.bin");
    {
        mOutputFile f(written.c_str());
        ASSERT_TRUE(f.OpenFile(true, mFile::createFile));
        f.writeBytes("kept", 4);
    }
    EXPECT_EQ(readAll(written), "kept");
    EXPECT_TRUE(mFile(written.c_str()).remove()) << "the destructor released the file";
}

TEST(FileNames, RenameAndRemoveWaitForCloseAndRenameStaysInItsDirectory) {
    Scratch scratch;
    std::string oldPath = scratch.file("d\\old.txt", "x");
    scratch.file("d\\taken.txt", "y");
    scratch.dir("elsewhere");
    mInputFile f(oldPath.c_str());
    for (std::string target : {std::string("..\\elsewhere\\moved.txt"), scratch.path("moved.txt"),
                               std::string("taken.txt")})
        EXPECT_FALSE(f.rename(target.c_str())) << target;
    ASSERT_TRUE(f.OpenFile(true));
    EXPECT_FALSE(f.rename("new.txt"));
    EXPECT_FALSE(f.remove());
    f.close();
    EXPECT_EQ(readAll(oldPath), "x");
    EXPECT_EQ(readAll(scratch.path("d\\taken.txt")), "y");

    EXPECT_TRUE(f.rename("new.txt"));
    EXPECT_EQ(fullPath(f), scratch.path("d\\new.txt"));
    EXPECT_FALSE(fs::exists(oldPath));
    EXPECT_EQ(readAll(scratch.path("d\\new.txt")), "x");
    EXPECT_TRUE(f.remove());
    EXPECT_FALSE(fs::exists(scratch.path("d\\new.txt")));
    EXPECT_FALSE(f.remove());
}

TEST(FileFilters, EntriesWithoutABarAreLeftOutAndNoneGivesTheDefault) {
    const char all[] = "All Files\0*.*\0\0";
    const char mixedBytes[] = "Text\0*.txt\0Images\0*.bmp;*.dib\0";
    std::vector<mString> none, allBad = {"one", "two"}, mixed = {"Text|*.txt", "broken", "Images|*.bmp;*.dib"};
    struct Case {
        std::vector<mString> *filters;
        std::string bytes;
    } cases[] = {
        {nullptr, std::string(all, sizeof all)},
        {&none, std::string(all, sizeof all)},
        {&mixed, std::string(mixedBytes, sizeof mixedBytes)},
        {&allBad, std::string(1, '\0')}, // an empty list, not the default
    };
    FileProbe probe("C:\\unused");
    for (const Case &c : cases) {
        char *block = static_cast<char *>(probe.transFilters(c.filters));
        EXPECT_EQ(std::string(block, c.bytes.size()), c.bytes);
        mApp::free(block);
    }
}

} // namespace
