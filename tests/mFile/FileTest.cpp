// Streams on real scratch files: open modes, counts, lines, sizes, positions, rename and remove.
#include "ExpectError.h"
#include "FileTestSupport.h"

namespace {

// Reaches the protected open and filter translation.
class FileProbe : public mIOFile {
public:
    FileProbe(const mString &path) : mIOFile(path) {}
    using mFile::open;
    using mFile::transFilters;
};

mString text(const std::string &s) { return mString(s.c_str()); }

std::string filterBytes(std::vector<mString> *filters, int size) {
    FileProbe probe("C:\\unused");
    char *block = static_cast<char *>(probe.transFilters(filters));
    std::string bytes(block, size);
    mApp::free(block);
    return bytes;
}

TEST(FileOpen, MissingFileStaysClosed) {
    ScratchDir scratch(testName());
    mInputFile f(text(scratch.path("missing.bin")));
    EXPECT_FALSE(f.OpenFile(true));
    EXPECT_FALSE(f.isOpen());
    EXPECT_FALSE(f.close());
    EXPECT_TRUE(f.atEOF());
}

TEST(FileOpen, OutputFlagsDecideAboutExistingFiles) {
    ScratchDir scratch(testName());
    std::string path = makeFile(scratch, "out.txt", "old");
    {
        mOutputFile f(text(path));
        EXPECT_FALSE(f.OpenFile(true, mFile::newFileOnly));
        EXPECT_FALSE(f.isOpen());
    }
    EXPECT_EQ(readAll(path), "old");
    {
        mOutputFile f(text(path));
        ASSERT_TRUE(f.OpenFile(true, mFile::appendFile));
        EXPECT_EQ(f.writeBytes("+new", 4), 4);
    }
    EXPECT_EQ(readAll(path), "old+new");
    {
        mOutputFile f(text(path));
        ASSERT_TRUE(f.OpenFile(true, mFile::createFile));
        EXPECT_EQ(f.writeBytes("x", 1), 1);
        EXPECT_TRUE(f.close());
    }
    EXPECT_EQ(readAll(path), "x");

    std::string fresh = scratch.path("fresh.bin");
    mOutputFile created(text(fresh));
    ASSERT_TRUE(created.OpenFile(true, mFile::newFileOnly));
    created.close();
    EXPECT_TRUE(pathExists(fresh));
}

TEST(FileOpen, ReadWriteFileIsEmptiedAndServesBothSides) {
    ScratchDir scratch(testName());
    std::string path = makeFile(scratch, "io.bin", "previous contents");
    mIOFile f(text(path));
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
    ScratchDir scratch(testName());
    std::string path = makeFile(scratch, "m.bin", "data");
    mInputFile in(text(path));
    ASSERT_TRUE(in.OpenFile(true));
    EXPECT_MERROR(in.OpenFile(false), "Attempt to open an opened file!", 0, "mFile/mFile");

    mOutputFile out(text(scratch.path("o.bin")));
    ASSERT_TRUE(out.OpenFile(true, mFile::createFile));
    EXPECT_MERROR(out.OpenFile(true, mFile::appendFile), "Attempt to open already opened file", 0, "mFile/mFile");

    mIOFile io(text(scratch.path("io.bin")));
    ASSERT_TRUE(io.OpenFile(true));
    EXPECT_MERROR(io.OpenFile(true), "Attempt to open already opened file", 0, "mFile/mFile");

    FileProbe probe(text(scratch.path("p.bin")));
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
    ScratchDir scratch(testName());
    std::string path = scratch.path("le.bin");
    {
        mOutputFile f(text(path));
        ASSERT_TRUE(f.OpenFile(true, mFile::createFile));
        unsigned short words[] = {0x1234, 0xabcd};
        unsigned long longs[] = {0x01020304UL};
        EXPECT_EQ(f.writeBytes("\x7f", 1), 1);
        EXPECT_EQ(f.writeWords(words, 2), 2);
        EXPECT_EQ(f.writeLongs(longs, 1), 1);
        EXPECT_EQ(f.writeBytes("zz", -3), 0);
    }
    EXPECT_EQ(readAll(path), std::string("\x7f\x34\x12\xcd\xab\x04\x03\x02\x01", 9));

    mInputFile in(text(path));
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

TEST(FileData, ShortCountsAtTheEnd) {
    ScratchDir scratch(testName());
    std::string path = makeFile(scratch, "ten.bin", "0123456789");
    mInputFile f(text(path));
    ASSERT_TRUE(f.OpenFile(true));
    unsigned long longs[3];
    EXPECT_EQ(f.readLongs(longs, 3), 2);
    EXPECT_TRUE(f.atEOF());

    ASSERT_TRUE(f.seekFrom(7, mFile::seekStart));
    unsigned short words[4];
    EXPECT_EQ(f.readWords(words, 4), 1) << "only whole items count";

    ASSERT_TRUE(f.seekFrom(0, mFile::seekStart));
    char bytes[16];
    EXPECT_EQ(f.readBytes(bytes, -1), 0);
    EXPECT_EQ(f.readBytes(bytes, 0), 0);
    EXPECT_EQ(f.readBytes(bytes, 16), 10);
}

TEST(FileData, EndOfFileOnlyAfterAReadRunsIntoIt) {
    ScratchDir scratch(testName());
    std::string path = makeFile(scratch, "three.bin", "abc");
    mInputFile f(text(path));
    ASSERT_TRUE(f.OpenFile(true));
    char bytes[4];
    EXPECT_EQ(f.readBytes(bytes, 3), 3);
    EXPECT_FALSE(f.atEOF());
    EXPECT_EQ(f.readBytes(bytes, 1), 0);
    EXPECT_TRUE(f.atEOF());
}

TEST(FileData, PositionsAndSeeks) {
    ScratchDir scratch(testName());
    std::string path = makeFile(scratch, "pos.bin", "0123456789");
    mInputFile f(text(path));
    ASSERT_TRUE(f.OpenFile(true));
    char c = 0;
    EXPECT_TRUE(f.seekFrom(-3, mFile::seekEnd));
    EXPECT_EQ(f.getCurrentPosition(), 7);
    EXPECT_TRUE(f.seekFrom(-2, mFile::seekCurrent));
    f.readBytes(&c, 1);
    EXPECT_EQ(c, '5');
    EXPECT_FALSE(f.seekFrom(-1, mFile::seekStart));

    EXPECT_MERROR(f.seekFrom(0, static_cast<mFile::mSeekPos>(3)), "Bad seek position argument", 3, "mFile/mFile");
}

TEST(FileData, SizeLeavesPositionAndStateAlone) {
    ScratchDir scratch(testName());
    std::string path = makeFile(scratch, "size.bin", std::string(1234, 'x'));
    mInputFile f(text(path));
    EXPECT_EQ(f.getFileSize(), 1234u);
    EXPECT_FALSE(f.isOpen());

    ASSERT_TRUE(f.OpenFile(true));
    ASSERT_TRUE(f.seekFrom(100, mFile::seekStart));
    EXPECT_EQ(f.getFileSize(), 1234u);
    EXPECT_EQ(f.getCurrentPosition(), 100);

    mInputFile missing(text(scratch.path("none.bin")));
    EXPECT_EQ(missing.getFileSize(), 0u);
    EXPECT_FALSE(missing.isOpen());
}

TEST(FileLines, CarriageReturnsDependOnTheMode) {
    ScratchDir scratch(testName());
    std::string path = makeFile(scratch, "lines.txt", "one\r\ntwo\n\nlast");

    mInputFile binary(text(path));
    ASSERT_TRUE(binary.OpenFile(true));
    EXPECT_STREQ(binary.readLine().c_str(), "one\r");
    EXPECT_STREQ(binary.readLine().c_str(), "two");
    EXPECT_STREQ(binary.readLine().c_str(), "");
    EXPECT_FALSE(binary.atEOF()) << "an empty line is not the end";
    EXPECT_STREQ(binary.readLine().c_str(), "last");
    EXPECT_STREQ(binary.readLine().c_str(), "");
    EXPECT_TRUE(binary.atEOF());

    mInputFile textMode(text(path));
    ASSERT_TRUE(textMode.OpenFile(false));
    EXPECT_STREQ(textMode.readLine().c_str(), "one");
    EXPECT_STREQ(textMode.readLine().c_str(), "two");
}

TEST(FileLines, LongLinesComeInPieces) {
    ScratchDir scratch(testName());
    std::string line(2500, 'q');
    line[0] = 'A';
    line[1023] = 'B';
    std::string path = makeFile(scratch, "long.txt", line + "\nnext\n");
    mInputFile f(text(path));
    ASSERT_TRUE(f.OpenFile(true));
    mString first = f.readLine();
    mString second = f.readLine();
    mString third = f.readLine();
    EXPECT_EQ(first.length(), 1023);
    EXPECT_EQ(first[0], 'A');
    EXPECT_EQ(second.length(), 1023);
    EXPECT_EQ(second[0], 'B');
    EXPECT_EQ(third.length(), 2500 - 2 * 1023);
    EXPECT_STREQ(f.readLine().c_str(), "next");
}

TEST(FileLines, WrittenLinesEndByTheMode) {
    ScratchDir scratch(testName());
    std::string textPath = scratch.path("t.txt");
    std::string binaryPath = scratch.path("b.txt");
    {
        mOutputFile t(text(textPath));
        ASSERT_TRUE(t.OpenFile(false, mFile::createFile));
        EXPECT_TRUE(t.writeLine("a"));
        EXPECT_TRUE(t.writeLine(mString("b\0hidden", 8)));
        mOutputFile b(text(binaryPath));
        ASSERT_TRUE(b.OpenFile(true, mFile::createFile));
        EXPECT_TRUE(b.writeLine("a"));
        EXPECT_TRUE(b.writeLine(""));
    }
    EXPECT_EQ(readAll(textPath), "a\r\nb\r\n");
    EXPECT_EQ(readAll(binaryPath), "a\n\n");
}

TEST(FileLifetime, CopiesAreClosedAndDestructionCloses) {
    ScratchDir scratch(testName());
    std::string path = makeFile(scratch, "c.bin", "content");
    mInputFile original(text(path));
    ASSERT_TRUE(original.OpenFile(true));
    mInputFile copy(original);
    EXPECT_FALSE(copy.isOpen());
    EXPECT_STREQ(copy.getFullPath().c_str(), original.getFullPath().c_str());
    mInputFile fromFile(static_cast<mFile &>(original));
    EXPECT_FALSE(fromFile.isOpen());
    EXPECT_STREQ(fromFile.getFullPath().c_str(), path.c_str());
    EXPECT_TRUE(original.isOpen());

    mInputFile other(text(scratch.path("other.bin")));
    original = other;
    EXPECT_FALSE(original.isOpen()) << "assignment leaves no stream behind";
    EXPECT_STREQ(original.getFullPath().c_str(), other.getFullPath().c_str());

    std::string written = scratch.path("w.bin");
    {
        mOutputFile f(text(written));
        ASSERT_TRUE(f.OpenFile(true, mFile::createFile));
        f.writeBytes("kept", 4);
    }
    EXPECT_EQ(readAll(written), "kept");
    mFile f(text(written));
    EXPECT_TRUE(f.remove()) << "the destructor released the file";
}

TEST(FileNames, RenameStaysInItsDirectory) {
    ScratchDir scratch(testName());
    std::string oldPath = makeFile(scratch, "d\\old.txt", "x");
    makeFile(scratch, "d\\taken.txt", "y");
    makeDir(scratch, "elsewhere");
    mInputFile f(text(oldPath));

    EXPECT_FALSE(f.rename("..\\elsewhere\\moved.txt"));
    EXPECT_FALSE(f.rename(text(scratch.path("moved.txt"))));
    EXPECT_FALSE(f.rename("taken.txt"));
    ASSERT_TRUE(f.OpenFile(true));
    EXPECT_FALSE(f.rename("new.txt"));
    f.close();
    EXPECT_TRUE(pathExists(oldPath));
    EXPECT_EQ(readAll(scratch.path("d\\taken.txt")), "y");

    EXPECT_TRUE(f.rename("new.txt"));
    EXPECT_STREQ(f.getFullPath().c_str(), scratch.path("d\\new.txt").c_str());
    EXPECT_STREQ(f.getName().c_str(), "new.txt");
    EXPECT_FALSE(pathExists(oldPath));
    EXPECT_EQ(readAll(scratch.path("d\\new.txt")), "x");
}

TEST(FileNames, RemoveOnlyWhenClosed) {
    ScratchDir scratch(testName());
    std::string path = makeFile(scratch, "gone.txt", "x");
    mInputFile f(text(path));
    ASSERT_TRUE(f.OpenFile(true));
    EXPECT_FALSE(f.remove());
    f.close();
    EXPECT_TRUE(f.remove());
    EXPECT_FALSE(pathExists(path));
    EXPECT_FALSE(f.remove());
}

TEST(FileFilters, DefaultListForNoFilters) {
    const char allFiles[] = "All Files\0*.*\0\0";
    std::string expected(allFiles, 16);
    EXPECT_EQ(filterBytes(nullptr, 16), expected);
    std::vector<mString> none;
    EXPECT_EQ(filterBytes(&none, 16), expected);
}

TEST(FileFilters, EntriesWithoutABarAreLeftOut) {
    std::vector<mString> filters = {"Text|*.txt", "broken", "Images|*.bmp;*.dib"};
    const char expected[] = "Text\0*.txt\0Images\0*.bmp;*.dib\0";
    EXPECT_EQ(filterBytes(&filters, sizeof expected), std::string(expected, sizeof expected));

    std::vector<mString> allBad = {"one", "two"};
    EXPECT_EQ(filterBytes(&allBad, 1), std::string(1, '\0')) << "an empty list, not the default";
}

} // namespace
