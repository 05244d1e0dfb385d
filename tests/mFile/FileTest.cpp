// Streams on real scratch files: open modes, counts, lines, sizes, positions, rename and remove.
#include "ExpectError.h"
#include "FileTestSupport.h"

#include <cstring>

using namespace std::string_literals;

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
    mOutputFile out(scratch.path("o.bin").c_str());
    mIOFile io(scratch.path("io.bin").c_str());
    FileProbe probe(scratch.path("p.bin").c_str());
    FileProbe opened(scratch.path("q.bin").c_str());
    ASSERT_TRUE(in.OpenFile(true) && out.OpenFile(true, mFile::createFile) && io.OpenFile(true) &&
                opened.open(mFile::writeAccess, true, mFile::createFile));
    mIOFile closed(scratch.path("closed.bin").c_str());
    unsigned short words[2];
    unsigned long longs[2];
    struct Case {
        std::function<void()> call;
        const char *message;
        long value;
    } cases[] = {
        {[&] { in.OpenFile(false); }, "Attempt to open an opened file!", 0},
        {[&] { out.OpenFile(true, mFile::appendFile); }, "Attempt to open already opened file", 0},
        {[&] { io.OpenFile(true); }, "Attempt to open already opened file", 0},
        {[&] { probe.open(static_cast<mFile::access>(7), true, mFile::createFile); }, "Invalid file open type.", 7},
        {[&] { opened.open(mFile::readAccess, true, mFile::createFile); }, "Attempt to open a file twice!", 0},
        {[&] { in.seekFrom(0, static_cast<mFile::mSeekPos>(3)); }, "Bad seek position argument", 3},
        {[&] { closed.readLongs(longs, 1); }, "Attempt to access closed file", 0},
        {[&] { closed.readLine(); }, "Attempt to access closed file", 0},
        {[&] { closed.writeWords(words, 1); }, "Write to unopened file!", 0},
        {[&] { closed.writeLine("x"); }, "Attempt to write to closed file!", 0},
        {[&] { closed.getCurrentPosition(); }, "Access unopened file!", 0},
        {[&] { closed.seekFrom(0, static_cast<mFile::mSeekPos>(9)); }, "Access unopened file!", 0},
    };
    for (const Case &c : cases)
        EXPECT_MERROR(c.call(), c.message, c.value, "mFile/mFile");
    EXPECT_FALSE(probe.isOpen());
}

TEST(FileData, ItemsAreWrittenLittleEndian) {
    Scratch scratch;
    std::string path = scratch.path("le.bin");
    {
        mOutputFile f(path.c_str());
        ASSERT_TRUE(f.OpenFile(true, mFile::createFile));
        unsigned short words[] = {0x1234, 0xabcd};
        unsigned long value = 0x01020304UL;
        EXPECT_EQ(f.writeBytes("\x7f", 1), 1);
        EXPECT_EQ(f.writeWords(words, 2), 2);
        EXPECT_EQ(f.writeLongs(&value, 1), 1);
        EXPECT_EQ(f.writeBytes("zz", -3), 0);
    }
    EXPECT_EQ(readAll(path), "\x7f\x34\x12\xcd\xab\x04\x03\x02\x01"s);
}

TEST(FileData, CountsPositionsAndSize) {
    Scratch scratch;
    mInputFile f(scratch.file("ten.bin", "0123456789").c_str());
    EXPECT_EQ(f.getFileSize(), 10u);
    EXPECT_FALSE(f.isOpen()) << "the size of a closed file leaves it closed";
    ASSERT_TRUE(f.OpenFile(true));
    char bytes[16];
    EXPECT_EQ(f.readBytes(bytes, -1), 0);
    EXPECT_EQ(f.readBytes(bytes, 10), 10);
    EXPECT_FALSE(f.atEOF()) << "reading exactly the last byte is not the end";
    EXPECT_EQ(f.readBytes(bytes, 1), 0);
    EXPECT_TRUE(f.atEOF());

    ASSERT_TRUE(f.seekFrom(0, mFile::seekStart));
    unsigned long longs[3];
    EXPECT_EQ(f.readLongs(longs, 3), 2);
    EXPECT_EQ(longs[1], 0x37363534UL) << "little-endian \"4567\"";
    EXPECT_TRUE(f.seekFrom(-3, mFile::seekEnd));
    EXPECT_EQ(f.getCurrentPosition(), 7);
    unsigned short words[4];
    EXPECT_EQ(f.readWords(words, 4), 1) << "only whole items count";
    EXPECT_EQ(words[0], 0x3837);
    EXPECT_TRUE(f.seekFrom(-6, mFile::seekCurrent));
    EXPECT_EQ(f.getFileSize(), 10u);
    EXPECT_EQ(f.getCurrentPosition(), 4) << "the size leaves the position alone";
    EXPECT_EQ(f.readBytes(bytes, 1), 1);
    EXPECT_EQ(bytes[0], '4');
    EXPECT_FALSE(f.seekFrom(-1, mFile::seekStart));

    mInputFile missing(scratch.path("none.bin").c_str());
    EXPECT_EQ(missing.getFileSize(), 0u);
    EXPECT_FALSE(missing.OpenFile(true));
    EXPECT_FALSE(missing.isOpen());
    EXPECT_TRUE(missing.atEOF());
}

TEST(FileLines, CarriageReturnsDependOnTheModeAndLongLinesComeInPieces) {
    Scratch scratch;
    std::string longLine(2500, 'q');
    longLine[1023] = 'B';
    std::string path = scratch.file("lines.txt", "one\r\n\n" + longLine + "\nlast");

    mInputFile binary(path.c_str());
    ASSERT_TRUE(binary.OpenFile(true));
    EXPECT_STREQ(binary.readLine().c_str(), "one\r");
    EXPECT_STREQ(binary.readLine().c_str(), "");
    EXPECT_FALSE(binary.atEOF()) << "an empty line is not the end";
    EXPECT_EQ(binary.readLine().length(), 1023);
    mString second = binary.readLine();
    EXPECT_EQ(second.length(), 1023);
    EXPECT_EQ(second[0], 'B');
    EXPECT_EQ(binary.readLine().length(), 2500 - 2 * 1023);
    EXPECT_STREQ(binary.readLine().c_str(), "last");
    EXPECT_STREQ(binary.readLine().c_str(), "");
    EXPECT_TRUE(binary.atEOF());

    mInputFile textMode(path.c_str());
    ASSERT_TRUE(textMode.OpenFile(false));
    EXPECT_STREQ(textMode.readLine().c_str(), "one");
}

TEST(FileLines, WrittenLinesEndInALineFeedAndStopAtANul) {
    Scratch scratch;
    std::string path = scratch.path("w.txt");
    {
        mOutputFile f(path.c_str());
        ASSERT_TRUE(f.OpenFile(true, mFile::createFile));
        for (const mString &line : {mString("a"), mString("b\0hidden", 8), mString("")})
            EXPECT_TRUE(f.writeLine(line));
    }
    EXPECT_EQ(readAll(path), "a\nb\n\n") << "the destructor flushed and closed";
    EXPECT_TRUE(mFile(path.c_str()).remove());
}

TEST(FileLifetime, CopiesAndAssignmentsAreClosed) {
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
    EXPECT_FALSE(f.remove()) << "it is gone";
}

TEST(FileFilters, EntriesWithoutABarAreLeftOutAndNoneGivesTheDefault) {
    std::vector<mString> none, allBad = {"one", "two"}, mixed = {"Text|*.txt", "broken", "Images|*.bmp;*.dib"};
    struct Case {
        std::vector<mString> *filters;
        std::string bytes;
    } cases[] = {
        {nullptr, "All Files\0*.*\0\0\0"s},
        {&none, "All Files\0*.*\0\0\0"s},
        {&mixed, "Text\0*.txt\0Images\0*.bmp;*.dib\0\0"s},
        {&allBad, "\0"s}, // an empty list, not the default
    };
    FileProbe probe("C:\\unused");
    for (const Case &c : cases) {
        char *block = static_cast<char *>(probe.transFilters(c.filters));
        EXPECT_EQ(std::string(block, c.bytes.size()), c.bytes);
        mApp::free(block);
    }
}

} // namespace
