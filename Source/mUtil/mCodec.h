// The library's two compression formats: a byte-oriented LZSS with a 4096-byte
// history for bitmaps and anything else, and a lossy delta stream for 8-bit audio.
//
// Neither stream carries its length; the caller knows the stored size and has
// sized the output. Every decoder has a bounded form that takes the size of its
// target block: a stream that would write past it throws "Compressed data
// overruns its block" with that size as the value, before writing a byte past
// it. No decoder reads past the `srcLength` / `length` bytes it is given; an
// LZSS token cut short, and an audio block whose data bytes run past the end of
// the input, throw "Hit EOF on decompression".
#pragma once
#include "mUtil/mDefs.h"

class mOutputFile;

class VELNOR_API mCodec {
public:
    // The most an LZSS stream can yield for each byte it holds: a reference of two bytes
    // gives at most 18. Readers use it to refuse stated sizes no stream could reach.
    enum { LZSS_MOST_PER_BYTE = 9 };

    // Decodes an LZSS stream of exactly srcLength bytes; srcLength <= 0 does
    // nothing. The target must hold all that the stream yields; prefer the
    // bounded form, which gives the number of bytes written.
    static void unCompress(const unsigned char *src, unsigned char *dst, long srcLength);
    static long unCompress(const unsigned char *src, long srcLength, unsigned char *dst, long dstLength);

    // Encodes length bytes and gives the size of the stream, which may exceed
    // length. The first form writes at the file's present position, a group of
    // tokens at a time, and does not check what the file reports. The second
    // fills a block of dstLength bytes, which compressBound(length) always
    // suffices for, and throws "Compressed data overruns its block" if the
    // stream would not fit.
    static unsigned long compress(const unsigned char *src, mOutputFile &out, unsigned long length);
    static unsigned long compress(const unsigned char *src, unsigned long length, unsigned char *dst,
                                  unsigned long dstLength);
    static unsigned long compressBound(unsigned long length) { return length + (length + 7) / 8; }

    // Decodes an audio delta stream of length bytes, its leading block-length
    // byte included, into 8-bit unsigned samples. The bounded form gives the
    // number of samples written.
    static void unAComp(const unsigned char *src, unsigned char *dst, unsigned long length);
    static unsigned long unAComp(const unsigned char *src, unsigned long length, unsigned char *dst,
                                 unsigned long dstLength);
};
