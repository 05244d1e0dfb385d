#include "Readers.h"

#include "AsaWriter.h"
#include "Fenced.h"
#include <Velnor11.h>

#include <cstdio>
#include <memory>

namespace fuzz {

namespace {

// A run command gives 63 samples for one byte.
const size_t AUDIO_MOST_PER_BYTE = 64;

// ---- Building inputs

using asa::put;

Bytes lzss(const Bytes &plain) {
    Bytes coded(mCodec::compressBound((unsigned long)plain.size()));
    coded.resize(mCodec::compress(plain.data(), (unsigned long)plain.size(), coded.data(), (unsigned long)coded.size()));
    return coded;
}

Bytes ramp(size_t n, unsigned step) {
    Bytes b(n);
    for (size_t i = 0; i < n; ++i)
        b[i] = (unsigned char)((i * step) / 7);
    return b;
}

// The scratch file of a reader stays open here, shared with the library's own opens, so that
// an input costs no open and close of ours.
class Scratch {
public:
    void write(const std::string &path, const unsigned char *bytes, size_t size) {
        if (path != name) {
            close();
            handle = CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                 nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
            name = path;
        }
        DWORD written = 0;
        if (handle == INVALID_HANDLE_VALUE || SetFilePointer(handle, 0, nullptr, FILE_BEGIN) != 0 ||
            !WriteFile(handle, bytes, (DWORD)size, &written, nullptr) || written != size || !SetEndOfFile(handle))
            throw mError(mString("Scratch file cannot be written: ") + path.c_str());
    }
    ~Scratch() { close(); }

private:
    void close() {
        if (handle != INVALID_HANDLE_VALUE)
            CloseHandle(handle);
        handle = INVALID_HANDLE_VALUE;
        name.clear();
    }

    HANDLE handle = INVALID_HANDLE_VALUE;
    std::string name;
};

Scratch scratchFile;

void writeFile(const std::string &path, const unsigned char *bytes, size_t size) { scratchFile.write(path, bytes, size); }

struct FreeImage {
    void operator()(mBitMap *image) const {
        if (image)
            image->free();
    }
};
typedef std::unique_ptr<mBitMap, FreeImage> Image;

// A bitmap payload's info header; the fields are noted for the mutator from offset at.
Bytes infoHeader(long width, long height, int planes, int bits, int compression, long colors, size_t at,
                 std::vector<std::pair<size_t, int>> &fields) {
    Bytes b;
    for (long v : {40L, width, height})
        put(b, (uint32_t)v, 4);
    put(b, (uint32_t)planes, 2);
    put(b, (uint32_t)bits, 2);
    for (long v : {(long)compression, 0L, 0L, 0L, colors, 0L})
        put(b, (uint32_t)v, 4);
    for (auto f : {std::make_pair(4, 4), std::make_pair(8, 4), std::make_pair(12, 2), std::make_pair(14, 2),
                   std::make_pair(16, 4), std::make_pair(32, 4)})
        fields.push_back({at + (size_t)f.first, f.second});
    return b;
}

// A run-length stream of rows of width 20: a skip, a run, a literal, and the end of each row.
Bytes rleStream(int rows) {
    Bytes b;
    for (int y = 0; y < rows; ++y)
        put(b, {0, 2, (unsigned char)(y % 4), 0, 6, (unsigned char)y, 0, 5, 1, 2, 3, 4, 5, 0, 3, 9, 0, 0});
    put(b, {0, 1});
    return b;
}

Bytes waveImage(int rate, int bits, int channels, size_t samples, bool extraChunks) {
    Bytes fmt;
    put(fmt, 1, 2);
    put(fmt, (uint32_t)channels, 2);
    put(fmt, (uint32_t)rate, 4);
    put(fmt, (uint32_t)(rate * channels * bits / 8), 4);
    put(fmt, (uint32_t)(channels * bits / 8), 2);
    put(fmt, (uint32_t)bits, 2);
    if (extraChunks)
        put(fmt, 0, 2);
    Bytes body = {'W', 'A', 'V', 'E'};
    if (extraChunks)
        put(body, {'L', 'I', 'S', 'T', 4, 0, 0, 0, 'I', 'N', 'F', 'O'});
    put(body, {'f', 'm', 't', ' '});
    put(body, (uint32_t)fmt.size(), 4);
    put(body, fmt);
    put(body, {'d', 'a', 't', 'a'});
    size_t bytes = samples * channels * bits / 8;
    put(body, (uint32_t)bytes, 4);
    put(body, ramp(bytes, 5));
    Bytes riff = {'R', 'I', 'F', 'F'};
    put(riff, (uint32_t)body.size(), 4);
    put(riff, body);
    return riff;
}

// Chunk sizes of a wave image that starts at offset at.
std::vector<std::pair<size_t, int>> waveFields(const Bytes &b, size_t at) {
    std::vector<std::pair<size_t, int>> fields;
    size_t p = at + 12;
    fields.push_back({at + 4, 4});
    while (p + 8 <= b.size()) {
        fields.push_back({p + 4, 4});
        uint32_t size = b[p + 4] | b[p + 5] << 8 | b[p + 6] << 16 | (uint32_t)b[p + 7] << 24;
        if (b[p] == 'f')
            for (int f : {0, 2, 4, 14})
                fields.push_back({p + 8 + f, f == 4 ? 4 : 2});
        if (b[p] == 'd')
            break;
        p += 8 + size;
    }
    return fields;
}

// A decoder's target: one region for all inputs, the target placed so that it ends where an
// inaccessible page begins.
class TargetFence {
public:
    explicit TargetFence(size_t most) : room((most + 4095) / 4096 * 4096) {
        base = static_cast<unsigned char *>(VirtualAlloc(nullptr, room + 4096, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
        DWORD old;
        VirtualProtect(base + room, 4096, PAGE_NOACCESS, &old);
    }
    unsigned char *place(size_t size) const { return base + room - size; }

private:
    size_t room;
    unsigned char *base;
};

// ---- Exercising what a reader gave

// An operation that may refuse an image of this kind; here only a fault would matter.
template <class F> void tolerate(F f) {
    try {
        f();
    } catch (const mError &) {
    }
}

// Copies into an 8-bit and a 15-bit target fenced at one edge, at places taken from the input.
void copyInto(const mBitMap &source, const unsigned char *input, size_t size) {
    const bool atEnd = size & 1;
    const int dx = size > 8 ? (signed char)input[size / 2] % 16 : 0, dy = size > 8 ? (signed char)input[size / 3] % 16 : 0;
    mSize extent = source.getSize();
    mRect whole(0, 0, extent.cx, extent.cy);
    mColor grey[4] = {mColor(0, 0, 0), mColor(90, 90, 90), mColor(180, 180, 180), mColor(255, 255, 255)};
    mPalette palette(grey, 4);
    std::unique_ptr<Guarded<m8Bit>> eight(new Guarded<m8Bit>(atEnd, mSize(23, 17), &palette));
    tolerate([&] { eight->copy(&source, whole, mPoint(dx, dy)); });
    std::unique_ptr<Guarded<m15Bit>> fifteen(new Guarded<m15Bit>(!atEnd, mSize(19, 21)));
    fifteen->setMapping(&palette, mColor(true));
    tolerate([&] { fifteen->copy(&source, whole, mPoint(-dy, dx)); });
}

void exercise(mBitMap &image, const unsigned char *input, size_t size) {
    int count = 0;
    tolerate([&] { delete[] image.getUsedColors(count, 0); });
    tolerate([&] { image.isSolid(mPoint(1, 1)); });
    tolerate([&] { image.flip(); });
    if (image.getBitmapType() != mBitMap::bitmapRLE) {
        mSize extent = image.getSize();
        tolerate([&] { delete[] image.getStdImage(mRect(0, 0, extent.cx, extent.cy), false); });
    }
    copyInto(image, input, size);
}

// ---- The readers

std::vector<Seed> objSeeds(const std::string &scratch) {
    {
        mColor colors[3] = {mColor(1, 2, 3), mColor(200, 100, 50), mColor(9, 99, 199)};
        mPalette palette(colors, 3);
        Image eight(new m8Bit(mSize(13, 7), &palette)), plain(new m8Bit(mSize(5, 4), nullptr)),
            deep(new m15Bit(mSize(6, 3)));
        std::vector<std::pair<size_t, int>> unused;
        Bytes rleBytes = infoHeader(20, 3, 40, 8, 1, 0, 0, unused);
        put(rleBytes, rleStream(3));
        Image runs(mBitMap::create(rleBytes.data(), (long)rleBytes.size(), false));
        mObjStore store(mString(scratch.c_str()));
        for (mBitMap *image : {eight.get(), plain.get(), deep.get(), runs.get()})
            store.write(*image, "image");
        Bytes sound(4, 0);
        put(sound, waveImage(11025, 8, 1, 40, false));
        store.writeBlock(2, sound.data(), (unsigned long)sound.size(), "sound");
        Bytes coded(sound.begin(), sound.begin() + 48);
        put(coded, {4, 128, 0x30, 0x9F, 0x08, 0x43, 0x85});
        store.writeCoded(2, 4, 48 + 9, coded.data(), (unsigned long)coded.size(), "delta");
        Bytes eightBit;
        for (uint32_t v : {16u + 40u + 12u, 6u, 2u, 0u, 16u})
            put(eightBit, v, 4);
        put(eightBit, lzss(ramp(16, 3)));
        store.writeCoded(0, 8, 58 + 12 + 16, eightBit.data(), (unsigned long)eightBit.size(), "eight");
        Bytes fourBit;
        put(fourBit, 22, 2);
        put(fourBit, ramp(16, 11));
        Bytes unpacked(22, 0);
        for (uint32_t v : {7u, 3u})
            put(unpacked, v, 4);
        unpacked.resize(54, 0);
        put(unpacked, ramp(12, 29));
        put(fourBit, (uint32_t)unpacked.size(), 4);
        put(fourBit, lzss(unpacked));
        store.writeCoded(1, 16, 1078 + 24, fourBit.data(), (unsigned long)fourBit.size(), "four");
        Bytes data(4, 0);
        put(data, ramp(30, 1));
        store.writeBlock(3, data.data(), (unsigned long)data.size(), "data");
    }
    Seed plainForm{readFile(scratch), {{0, 2}}};
    for (size_t at = 2; at + 35 <= plainForm.bytes.size();) {
        for (size_t f : {4u, 23u, 27u, 31u})
            plainForm.fields.push_back({at + f, f == 4 ? 2 : 4});
        const unsigned char *c = &plainForm.bytes[at + 27];
        at += 35 + (c[0] | c[1] << 8 | c[2] << 16 | (size_t)c[3] << 24);
    }
    // The same records behind a directory, whose middle entry is left for the walk.
    Seed directory{{'i', 'O', 'B', 'L'}, {{4, 2}}};
    const uint16_t count = (uint16_t)(plainForm.bytes[0] | plainForm.bytes[1] << 8);
    put(directory.bytes, count, 2);
    const size_t shift = 4 + 4 * (size_t)count;
    std::vector<size_t> starts;
    for (const auto &f : plainForm.fields)
        if (f.second == 2 && f.first > 0)
            starts.push_back(f.first - 4);
    for (size_t i = 0; i < count; ++i) {
        put(directory.bytes, i == 2 ? 0 : (uint32_t)(starts[i] + shift), 4);
        directory.fields.push_back({6 + 4 * i, 4});
    }
    directory.bytes.insert(directory.bytes.end(), plainForm.bytes.begin() + 2, plainForm.bytes.end());
    for (const auto &f : plainForm.fields)
        if (f.first > 0)
            directory.fields.push_back({f.first + shift, f.second});
    // Each record alone as well: most inputs then cost one object's reads.
    std::vector<Seed> seeds = {plainForm, directory};
    for (size_t r = 0; r < starts.size(); ++r) {
        const size_t from = starts[r], to = r + 1 < starts.size() ? starts[r + 1] : plainForm.bytes.size();
        Seed single{{1, 0}, {{0, 2}}};
        single.bytes.insert(single.bytes.end(), plainForm.bytes.begin() + (long)from, plainForm.bytes.begin() + (long)to);
        for (size_t f : {4u, 23u, 27u, 31u})
            single.fields.push_back({2 + f, f == 4 ? 2 : 4});
        seeds.push_back(single);
    }
    return seeds;
}

void feedObj(const unsigned char *input, size_t size, const std::string &scratch) {
    writeFile(scratch, input, size);
    mObjFile file(mString(scratch.c_str()));
    for (int i = 0; i < file.getNumObjects() && i < 64; ++i) {
        mObjFile::mObjType type = file.getType(i);
        if (type == mObjFile::objBitmap)
            Image(mBitMap::create(&file, i));
        else if (type == mObjFile::objSound)
            mDigSound(file, i).getLength();
        else {
            int got = 0;
            mApp::free(file.getObject(i, type, got));
        }
    }
}

std::vector<Seed> lzssSeeds(const std::string &) {
    Bytes text;
    for (int i = 0; i < 40; ++i)
        put(text, {'a', 'b', (unsigned char)('c' + i % 5), ' ', (unsigned char)i});
    return {{lzss(text), {}}, {lzss(Bytes(300, 7)), {}}, {lzss(ramp(2000, 13)), {}}};
}

// The plain form into a target as large as any stream of this size can fill, then the bounded
// form into one of a size the input chooses; both end at an inaccessible page.
void feedLzss(const unsigned char *input, size_t size, const std::string &) {
    static const TargetFence fence(INPUT_LIMIT * mCodec::LZSS_MOST_PER_BYTE);
    const long most = (long)size * mCodec::LZSS_MOST_PER_BYTE;
    const long bounded = size ? most >> (input[0] & 7) : 0;
    mCodec::unCompress(input, fence.place((size_t)most), (long)size);
    mCodec::unCompress(input, (long)size, fence.place((size_t)bounded), bounded);
}

std::vector<Seed> audioSeeds(const std::string &) {
    Bytes blocks = {32, 128, 0x30};
    put(blocks, ramp(16, 90));
    put(blocks, {0x25});
    put(blocks, ramp(8, 200));
    put(blocks, {0x1F});
    put(blocks, ramp(4, 255));
    put(blocks, {0x45, 0x85, 0x00, 0x40});
    return {{blocks, {}}, {{8, 10, 0x3F, 0xFF, 0x00, 0x12, 0x34, 0x81, 0x7F}, {}}};
}

void feedAudio(const unsigned char *input, size_t size, const std::string &) {
    static const TargetFence fence(INPUT_LIMIT * AUDIO_MOST_PER_BYTE);
    const unsigned long most = (unsigned long)size * AUDIO_MOST_PER_BYTE;
    const unsigned long bounded = size ? most >> (input[size - 1] & 7) : 0;
    mCodec::unAComp(input, fence.place(most), (unsigned long)size);
    mCodec::unAComp(input, (unsigned long)size, fence.place(bounded), bounded);
}

std::vector<Seed> bitmapSeeds(const std::string &) {
    std::vector<Seed> seeds;
    struct Kind {
        int planes, bits, compression;
        long colors;
    };
    const Kind kinds[] = {{1, 8, 0, 3}, {2, 8, 0, 4}, {3, 8, 0, 2}, {40, 8, 0, 0}, {1, 4, 0, 5},
                          {1, 8, 1, 2}, {40, 8, 1, 0}, {1, 16, 0, 0}};
    for (const Kind &k : kinds)
        for (bool fileHeader : {false, true}) {
            Seed s;
            const size_t at = fileHeader ? 14 : 0;
            Bytes table(k.planes == 2 ? 2 * k.colors : k.planes == 40 ? 0 : 4 * k.colors, 0x55);
            Bytes pixels = k.compression ? rleStream(5) : ramp(k.bits == 16 ? 2 * 20 * 5 : 20 * 5, 3);
            if (fileHeader) {
                s.bytes = {'B', 'M'};
                put(s.bytes, 0, 4);
                put(s.bytes, 0, 4);
                put(s.bytes, (uint32_t)(54 + table.size()), 4);
            }
            put(s.bytes, infoHeader(20, 5, k.planes, k.bits, k.compression, k.colors, at, s.fields));
            put(s.bytes, table);
            put(s.bytes, pixels);
            seeds.push_back(s);
        }
    return seeds;
}

void feedBitmap(const unsigned char *input, size_t size, const std::string &) {
    const bool fileHeader = size >= 2 && input[0] == 'B' && input[1] == 'M';
    Image image(mBitMap::create(input, (long)size, fileHeader));
    exercise(*image, input, size);
}

// Width and height from the first four bytes, then the token stream; the image's own block is
// fenced at its end before anything walks it.
std::vector<Seed> rleSeeds(const std::string &) {
    Seed s{{20, 0, 6, 0}, {{0, 2}, {2, 2}}};
    put(s.bytes, rleStream(6));
    Seed odd{{7, 0, 2, 0, 3, 1, 0, 7, 1, 2, 3, 4, 5, 6, 7, 0, 0, 0, 0, 2, 3, 0, 2, 5, 0, 0, 1}, {{0, 2}, {2, 2}}};
    return {s, odd};
}

void feedRle(const unsigned char *input, size_t size, const std::string &) {
    const long width = size >= 2 ? 1 + (input[0] | input[1] << 8) % 400 : 1;
    const long height = size >= 4 ? 1 + (input[2] | input[3] << 8) % 400 : 1;
    std::vector<std::pair<size_t, int>> unused;
    Bytes payload = infoHeader(width, height, 40, 8, 1, 0, 0, unused);
    if (size > 4)
        payload.insert(payload.end(), input + 4, input + size);
    Image loaded(mBitMap::create(payload.data(), (long)payload.size(), false));
    std::unique_ptr<Guarded<m8BitRLE>> fenced(new Guarded<m8BitRLE>(true, *loaded));
    exercise(*fenced, input, size);
}

std::vector<Seed> paletteSeeds(const std::string &) {
    Seed s{{0, 3}, {{0, 2}}};
    put(s.bytes, ramp(1024, 9));
    return {s};
}

void feedPalette(const unsigned char *input, size_t size, const std::string &scratch) {
    writeFile(scratch, input, size);
    mPalette palette{mString(scratch.c_str())};
    palette.getIndex(mColor(10, 20, 30));
}

std::vector<Seed> waveSeeds(const std::string &) {
    std::vector<Seed> seeds;
    for (bool extra : {false, true})
        for (int kind = 0; kind < 3; ++kind) {
            Bytes b(4, 0);
            put(b, waveImage(kind == 2 ? 44100 : 11025, kind ? 16 : 8, kind == 2 ? 2 : 1, 33, extra));
            seeds.push_back({b, waveFields(b, 4)});
        }
    return seeds;
}

void feedWave(const unsigned char *input, size_t size, const std::string &) {
    mDigSound sound(input, (int)size);
    mDigSound twice = sound + sound;
    twice.getLength();
}

std::vector<Seed> waveFileSeeds(const std::string &scratch) {
    std::vector<Seed> seeds = waveSeeds(scratch);
    // Long enough to stay on disk when streaming is allowed.
    Bytes longOne(4, 0);
    put(longOne, waveImage(22050, 8, 1, 0x10001, false));
    seeds.push_back({longOne, waveFields(longOne, 4)});
    for (Seed &s : seeds) {
        s.bytes.erase(s.bytes.begin(), s.bytes.begin() + 4);
        for (auto &f : s.fields)
            f.first -= 4;
    }
    return seeds;
}

// From the file, held in memory or, for inputs of odd size, streamed when long.
void feedWaveFile(const unsigned char *input, size_t size, const std::string &scratch) {
    writeFile(scratch, input, size);
    mDigSound sound(mString(scratch.c_str()), size & 1);
    mDigSound copy(sound);
    copy.getLength();
}

// Two animation files: one with a title, names, images with and without colours, a sound,
// command frames and a palette; one with a single frame and item.
std::vector<Seed> asaSeeds(const std::string &) {
    mColor colors[2] = {mColor(10, 20, 30), mColor(250, 0, 9)};
    mPalette palette(colors, 2);
    Image colored(new m8Bit(mSize(6, 4), &palette)), plain(new m8Bit(mSize(3, 5), nullptr));
    asa::Writer full(40, 30, 70);
    full.setTitle("fuzz");
    full.setPalette(palette);
    full.addImage(*colored, "colored", true);
    full.addImage(*plain, "plain");
    full.addSound(waveImage(11025, 8, 1, 20, false), "sound");
    asa::Frame first;
    first.flags = mAsaFrame::hasSlots;
    first.background = 0;
    first.name = "start";
    first.slots = {{1, 3, 9}, {0xFFFF, 0, 0}, {2, 1, 1}};
    full.addFrame(first);
    full.addFrame(asa::command(3, 2, 0, asa::Slot{59, 0, 0}));
    asa::Frame last = first;
    last.name = "end";
    last.wave = 2;
    full.addFrame(last);
    full.chain(0, 2);
    asa::Writer small(8, 8, 100);
    small.addImage(*plain, "only");
    asa::Frame one;
    one.flags = mAsaFrame::hasSlots;
    one.slots = {{0, 0, 5}};
    small.addFrame(one);
    std::vector<std::pair<size_t, int>> header;
    for (size_t at : {4u, 6u, 8u, 10u, 16u, 18u, 20u, 26u, 28u, 34u})
        header.push_back({at, at == 10 ? 4 : 2});
    return {{full.bytes(), header}, {small.bytes(), header}};
}

void feedAsa(const unsigned char *input, size_t size, const std::string &scratch) {
    writeFile(scratch, input, size);
    mAsaFile file(mString(scratch.c_str()));
    for (int f = 0; f < file.getFrames(); ++f) {
        mAsaFrame *frame = file.getFrame(f);
        for (int s = 0; s < frame->getItemSlots(); ++s)
            file.getImagePtr((short)frame->getSlot(s)->getVerb());
        file.getNextFrame(frame);
        file.getNextSplit(frame);
    }
    file.getFrame("start");
    for (int i = 0; i < file.getItems() && i < 8; ++i) {
        if (const mBitMap *image = file.getImagePtr(i))
            copyInto(*image, input, size);
        if (mDigSound *sound = file.getSoundPtr(i))
            sound->getLength();
    }
}

} // namespace

Bytes readFile(const std::string &path) {
    Bytes b;
    std::FILE *f = std::fopen(path.c_str(), "rb");
    int c;
    while (f && (c = std::fgetc(f)) != EOF)
        b.push_back((unsigned char)c);
    if (f)
        std::fclose(f);
    return b;
}

const std::vector<Reader> &allReaders() {
    static const std::vector<Reader> readers = {
        {"objfile", objSeeds, feedObj},       {"lzss", lzssSeeds, feedLzss},
        {"audio", audioSeeds, feedAudio},     {"bitmap", bitmapSeeds, feedBitmap},
        {"rle", rleSeeds, feedRle},           {"palette", paletteSeeds, feedPalette},
        {"wave", waveSeeds, feedWave},        {"wavefile", waveFileSeeds, feedWaveFile},
        {"asa", asaSeeds, feedAsa},
    };
    return readers;
}

} // namespace fuzz
