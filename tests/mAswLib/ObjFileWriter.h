// Builds object files for the tests, well formed or not: records, bodies of every compressor
// flag, bitmap blocks, and a small encoder of the audio delta stream.
#pragma once
#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;

void appendLong(Bytes &b, unsigned long v);
void appendWord(Bytes &b, unsigned short v);
void pokeLong(Bytes &b, size_t offset, unsigned long v);
unsigned long peekLong(const unsigned char *p, size_t offset);
unsigned short peekWord(const unsigned char *p, size_t offset);

// A stream of the library's LZSS encoder.
Bytes lzss(const Bytes &plain);
// Bytes that are not all alike, so that a test sees where each one lands.
Bytes pattern(size_t n, unsigned seed);

// An audio delta stream and the samples that a decoder of it gives back.
struct AudioCode {
    Bytes stream;
    Bytes decoded;
};
AudioCode encodeAudio(const Bytes &samples, int blockLength);

struct Record {
    short typeWord;
    unsigned long u, c, f;
    Bytes body;
    std::string name;
};
Record storedRecord(short typeWord, const Bytes &block);
Record packedRecord(short typeWord, const Bytes &block, unsigned long flags);
Record rawRecord(short typeWord, unsigned long u, unsigned long c, unsigned long f, const Bytes &body);

// The 23-byte header, the three sizes and the body.
Bytes recordBytes(const Record &r);

struct ObjImage {
    Bytes bytes;
    std::vector<unsigned long> offsets;  // where each record begins
};
// With a directory: "iOBL", the count and the offsets; without: the count, then the records.
ObjImage objectFile(const std::vector<Record> &records, bool directory);

// The block that the store writer puts behind F 0, 1 and 64: a 4-byte slot and a bitmap file
// image with 54-byte headers, a table of 256 15-bit colours if colors is not empty, and the pixels.
struct BitmapBlock {
    long width = 0, height = 0;
    unsigned short bits = 8;
    unsigned long compression = 0;
    std::vector<unsigned short> colors;
    Bytes pixels;
    long pixelOffset = -1;  // -1: as the writer sets it
};
Bytes bitmapBlock(const BitmapBlock &spec);

// The body of an 8-bit bitmap object (F 8, or 32 with the sixth long).
Bytes eightBitBody(unsigned long l0, long width, long height, unsigned long compression, unsigned long imageSize,
                   bool sixth, unsigned long sixthValue, const Bytes &pixels);

// The block that a 4-bit bitmap object unpacks to: width at 22, height at 26, rows from 54.
Bytes unpacked4Bit(long width, long height, const Bytes &rows);
// The body of a 4-bit bitmap object: h, the map (16 indices with h 22, 2 bytes with h 8), r as
// the unpacked size, and the unpacked block coded.
Bytes fourBitBody(unsigned short h, const Bytes &map, const Bytes &unpacked, long r);

// A 44-byte wave header for 8-bit mono samples.
Bytes waveHeader(unsigned long samples);
