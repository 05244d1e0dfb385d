#include "AsaKit.h"

#include <functional>
#include <set>

using asa::Bytes;
using asa::put;

namespace {

const char src[] = "mAswLib/mAsaFile";

Bytes words(std::initializer_list<int> values) {
    Bytes b;
    for (int v : values)
        put(b, (unsigned short)v, 2);
    return b;
}

// The 38 fixed bytes of a header; rest is the header's length word.
Bytes header(const char *magic, int slotsPerFrame, int rest, bool title, bool names, bool skipBlock) {
    Bytes b(magic, magic + 4);
    put(b, words({slotsPerFrame, 32, 16}));
    put(b, 100, 4);
    put(b, words({0, title, 0, rest, 0, 0, names, 0, 0, 0, skipBlock, 0}));
    return b;
}

// The fixed part of a frame record, up to and with its next split.
Bytes frameHead(int flags, int third, int next = -1) {
    return words({7, flags, 0, 0, -1, -1, third, 3, 4, -1, next, -1, -1});
}

Bytes join(std::initializer_list<Bytes> parts) {
    Bytes b;
    for (const Bytes &p : parts)
        put(b, p);
    return b;
}

} // namespace

// A file of every kind of item, named frames, a command frame and a palette reads back whole.
TEST_F(AsaFileTest, WrittenFileReadsBackWhole) {
    mColor colors[256];
    for (int i = 0; i < 256; ++i)
        colors[i] = mColor(i, 255 - i, i / 2);
    mPalette palette(colors, 256);

    asa::Writer w(64, 48, 120);
    w.setTitle("Walk");
    w.setPalette(palette);
    Image ball = solid(8, 6, 3), sky = solid(64, 48, 9);
    int ballItem = w.addImage(*ball, "ball");
    int skyItem = w.addImage(*sky, "sky", true);
    int tick = w.addSound(asa::waveImage(Bytes(200, 128), 11025, 8, 1), "tick");
    int blob = w.addItem(asa::itemData, "a-name-longer-than-14", Bytes{1, 2, 3, 4, 5}, 0);

    asa::Frame first;
    first.name = "start";
    first.background = (short)skyItem;
    first.wave = (short)tick;
    first.slots = {{(unsigned short)ballItem, 5, 20}, {0xFFFF, 7, 7}};
    w.addFrame(first);
    w.addFrame(asa::command(62, 4, 9));
    asa::Frame last;
    last.name = "end";
    last.slots = {{(unsigned short)ballItem, 10, 30}, {(unsigned short)blob, 10, 30}};
    w.addFrame(last);
    w.chain(0, 2);

    mAsaFile file(save(w.bytes()));
    EXPECT_STREQ("Walk", file.getTitle().c_str());
    EXPECT_EQ(mSize(64, 48), file.getBackgroundSize());
    EXPECT_EQ(120, file.getFrameTime());
    ASSERT_EQ(3, file.getFrames());
    ASSERT_EQ(4, file.getItems());
    EXPECT_EQ(2, file.getSpriteSlots());

    mAsaFrame *f0 = file.getFirstFrame();
    EXPECT_EQ(file.getFrame(1), file.getNextFrame(f0));
    EXPECT_EQ(f0, file.getPrevFrame(file.getFrame(1)));
    EXPECT_EQ(nullptr, file.getNextFrame(file.getFrame(2)));
    EXPECT_EQ(nullptr, file.getNextSplit(f0));
    EXPECT_EQ(file.getFrame(2), file.getFrame("end"));
    EXPECT_EQ(f0, file.getFrame("start"));
    EXPECT_EQ(nullptr, file.getFrame("x"));
    EXPECT_EQ(skyItem, f0->getBackground());
    EXPECT_EQ(tick, f0->getWave());
    EXPECT_TRUE(file.getFrame(1)->isCmd());

    // The file gives bottom edges; an image's slot is moved to its top edge, nothing else is.
    EXPECT_EQ(14, f0->getSlot(0)->getopb());
    EXPECT_EQ(7, f0->getSlot(1)->getopb());
    EXPECT_EQ(9, file.getFrame(1)->getSlot(0)->getopb());
    EXPECT_EQ(24, file.getFrame(2)->getSlot(0)->getopb());
    EXPECT_EQ(30, file.getFrame(2)->getSlot(1)->getopb());
    EXPECT_EQ(nullptr, f0->getSlot(2));

    EXPECT_STREQ("a-name-longer-", file.getItemName(blob).c_str());
    EXPECT_STREQ("", file.getItemName(4).c_str());
    EXPECT_EQ(mObjFile::objData, file.getType(blob));
    EXPECT_EQ(mObjFile::objNone, file.getType(-1));
    EXPECT_TRUE(file.isBackground(skyItem));
    EXPECT_FALSE(file.isBackground(ballItem));
    EXPECT_EQ(nullptr, file.getImage(tick));
    EXPECT_EQ(nullptr, file.getImagePtr(blob));
    EXPECT_EQ(nullptr, file.getSoundPtr(ballItem));
    EXPECT_NE(nullptr, file.getSoundPtr(tick));

    Image image(file.getImage(ballItem));
    ASSERT_EQ(mSize(8, 6), image->getSize());
    EXPECT_EQ(0, std::memcmp(ball->getData(), image->getData(), (size_t)ball->getHeader()->dataSize));
    EXPECT_EQ(2, image->getHeader()->refCount);

    ASSERT_NE(nullptr, file.getPalette());
    for (int i : {0, 77, 255})
        EXPECT_EQ(colors[i].getRGB(), const_cast<mPalette *>(file.getPalette())->getColor(i).getRGB());
}

// The header's length word, both tags, records of the old form and the extension's lengths.
TEST_F(AsaFileTest, HeaderFormsAndRecordForms) {
    // Rest 0 counts as 18: the title stands 56 bytes behind the fixed header.
    Bytes title = words({2});
    asa::put(title, Bytes{'h', 'i'});
    Bytes padded = join({header("AniN", 1, 0, true, false, false), Bytes(56, 0xEE), title, words({0, 0})});
    mAsaFile longHeader(save(padded));
    EXPECT_STREQ("hi", longHeader.getTitle().c_str());

    // Frame 0 and 1 are old records, frame 2 turns the rest over to extended ones.
    Bytes body = join({header("AniM", 1, 4, false, true, false), words({4}),
                       frameHead(0x20, 2), frameHead(0, 5),
                       frameHead(0x41, 1), words({2, 6}), words({5, 6, 7}),
                       frameHead(0x01, 3), words({10, 8, 0, 2, 0, 0}),
                       words({0}), words({6}), Bytes{'a', 'b', 0, 'c', 'd', 0}});
    // Frame 3 names the middle of "ab".
    mAsaFile file(save(body));
    ASSERT_EQ(4, file.getFrames());
    mAsaFrame *sub = file.getFrame(0), *old = file.getFrame(1), *ext = file.getFrame(2), *late = file.getFrame(3);
    EXPECT_EQ(2, sub->getSubTarget());
    EXPECT_EQ(-1, sub->getBackground());
    EXPECT_EQ(5, old->getBackground());
    EXPECT_EQ(-1, old->getSubTarget());
    EXPECT_TRUE(old->hasFlag(mAsaFrame::extended));
    EXPECT_EQ(mPoint(3, 4), old->getPos());
    EXPECT_EQ(0, old->getItemSlots());
    EXPECT_EQ(6, ext->getBackground());
    EXPECT_EQ(1, ext->getSubTarget());
    ASSERT_EQ(1, ext->getItemSlots());
    EXPECT_EQ(5, ext->getSlot(0)->getVerb());
    EXPECT_EQ(8, late->getBackground());
    EXPECT_EQ(0, late->getItemSlots());
    EXPECT_EQ(nullptr, file.getFrame("ab"));
    EXPECT_EQ(nullptr, file.getFrame("cd"));
    EXPECT_EQ(nullptr, file.getPalette());

    Bytes named = body;
    named[named.size() - 16] = 4;  // frame 3's name id: "cd"
    mAsaFile renamed(save(named));
    EXPECT_EQ(renamed.getFrame(3), renamed.getFrame("cd"));

    // A palette needs 1024 bytes behind the names.
    mAsaFile shortPalette(save(join({body, Bytes(1023, 1)})));
    EXPECT_EQ(nullptr, shortPalette.getPalette());
    mAsaFile withPalette(save(join({body, Bytes(1024, 1)})));
    EXPECT_NE(nullptr, withPalette.getPalette());

    mString wrong = save(join({header("AniX", 1, 4, false, false, false), words({0, 0})}));
    EXPECT_MERROR(mAsaFile{wrong}, (wrong + " is not a valid asa file").c_str(), 0, src);
    EXPECT_MERROR(mAsaFile{mString(dir.path("missing.asa").c_str())}, "Attempt to access closed file", 0,
                  "mFile/mFile");
}

// A file cut anywhere ends in the message of the field it was cut in; cut behind the names it
// loads, without a palette.
TEST_F(AsaFileTest, TruncationAtEveryFieldThrowsItsMessage) {
    asa::Writer w(20, 20, 100);
    w.setTitle("cut");
    Image ball = solid(4, 4, 2);
    w.addImage(*ball, "ball");
    asa::Frame a;
    a.name = "a";
    a.slots = {{0, 1, 2}, {0, 3, 4}};
    w.addFrame(a);
    w.addFrame(a);
    Bytes whole = w.bytes();

    // Where each part begins, from the writer's layout: header, title, frames, items, names.
    const size_t title = 38, frames = title + 2 + 3, record = 34 + 12;
    const size_t items = frames + 2 + 2 * record, names = whole.size() - 2 - 4;
    auto expected = [&](size_t cut, const mString &path) -> std::set<std::string> {
        if (cut < 4)
            return {std::string(path.c_str()) + " is not a valid asa file"};
        if (cut < 18)
            return {"Cannot read frame count"};
        if (cut < title + 2)
            return {"Failed to read string length"};
        if (cut < frames)
            return {"Failed to read string bytes"};
        if (cut < frames + 2)
            return {"Cannot read frame count"};
        if (cut < items)
            return {"Cannot read item location in .asa file", "Cannot read frame data count"};
        if (cut < items + 2)
            return {"Cannot read frame data count"};
        if (cut < names)
            return {std::string("Premature EOF: ") + mInputFile(path).getFullPath().c_str()};
        if (cut < names + 2)
            return {"Cannot read byte count for names in .asa file"};
        return {"Cannot read name buffer in .asa file"};
    };
    for (size_t cut = 0; cut < whole.size(); ++cut) {
        mString path = save(Bytes(whole.begin(), whole.begin() + cut));
        try {
            mAsaFile file(path);
            ADD_FAILURE() << "loaded when cut at " << cut;
        } catch (const mError &e) {
            EXPECT_EQ(1u, expected(cut, path).count(e.message.c_str())) << "cut at " << cut << ": " << e.message.c_str();
        }
    }
    mAsaFile full(save(join({whole, Bytes(1000, 0)})));
    EXPECT_EQ(nullptr, full.getPalette());
    EXPECT_EQ(full.getFrame(0), full.getFrame("a"));
}

// Counts that overrun the file, bad bodies and items that are not what they claim end in an
// error; the same object then loads a good file.
TEST_F(AsaFileTest, CorruptContentThrowsAndLeavesObjectUsable) {
    Bytes head = header("AniM", 1, 4, false, false, false);
    Bytes ok = join({head, words({1}), frameHead(0x41, -1), words({6, -1, 1, -1}), words({0, 0, 0}), words({0})});
    struct Case {
        Bytes bytes;
        std::string message;
        long value;
        const char *source;
    };
    auto item = [&](int type, unsigned long u, unsigned long c, unsigned long f, const Bytes &body) {
        Bytes r = join({words({0, 0, type}), Bytes(17, 0)});
        asa::put(r, u, 4);
        asa::put(r, c, 4);
        asa::put(r, f, 4);
        return join({head, words({0, 1}), r, body});
    };
    std::vector<Case> cases = {
        {join({head, words({0xFFFF})}), "Cannot read frame data count", 0, src},
        {join({head, words({1}), frameHead(0x41, -1), words({6, -1, 0xFFFF, -1})}),
         "Cannot read item location in .asa file", 0, src},
        {join({head, words({0, 0xFFFF})}), "", 0, "mAswLib/mAswObject"},
        {item(3, 4, 4, 2, Bytes(4, 0)), "Unknown/unsupported Compressor flags", 2, "mAswLib/mAswObject"},
        {item(3, 0x7FFFFFFF, 4, 1, Bytes(4, 0)), "", 0, "mAswLib/mAswObject"},
        {item(0, 60, 60, 0, Bytes(60, 0)), "No support for this bitmap format", 0, "mSprite/mBitMap"},
    };
    mAsaFile file;
    for (Case &c : cases) {
        mString path = save(c.bytes);
        if (c.message.empty())
            c.message = std::string("Premature EOF: ") + mInputFile(path).getFullPath().c_str();
        EXPECT_MERROR(file.load(path), c.message.c_str(), c.value, c.source);
    }
    file.load(save(ok));
    EXPECT_EQ(1, file.getFrames());
    EXPECT_EQ(1, file.getSpriteSlots());
}
