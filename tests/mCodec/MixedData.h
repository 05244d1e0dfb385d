// Inputs of the kinds the codec meets in a title's files: text, runs of one byte,
// noise, sparse bytes and 8-bit images, alone or interleaved. The codec's tests and its
// benchmark share them.
#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

namespace mixed {

using Bytes = std::vector<unsigned char>;

// A small deterministic generator, so that every run sees the same data.
class Random {
public:
    explicit Random(uint32_t seed) : state(seed ? seed : 1) {}
    uint32_t next() {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        return state;
    }
    unsigned below(unsigned n) { return next() % n; }

private:
    uint32_t state;
};

inline Bytes text(size_t n, Random &rng) {
    static const char *const words[] = {"the",    "sprite", "moves",  "across",  "a",     "window", "and",
                                        "its",    "palette", "of",    "colours", "is",    "mapped", "to",
                                        "image",  "sound",  "plays",  "when",    "title", "starts", "sequence",
                                        "step",   "waits",  "for",    "timer",   "frame", "loads",  "object"};
    const unsigned count = sizeof words / sizeof words[0];
    Bytes out;
    out.reserve(n + 16);
    while (out.size() < n) {
        for (const char *w = words[rng.below(count)]; *w; ++w)
            out.push_back((unsigned char)*w);
        const unsigned pick = rng.below(16);
        if (pick == 0) {
            out.push_back('.');
            out.push_back('\r');
            out.push_back('\n');
        } else {
            out.push_back(pick == 1 ? ',' : ' ');
        }
    }
    out.resize(n);
    return out;
}

// Mostly short runs, now and then a long one.
inline Bytes runs(size_t n, Random &rng) {
    Bytes out;
    out.reserve(n);
    while (out.size() < n) {
        const unsigned char value = (unsigned char)rng.below(256);
        const size_t length = 1 + rng.below(rng.below(4) ? 40 : 600);
        for (size_t k = 0; k < length && out.size() < n; ++k)
            out.push_back(value);
    }
    return out;
}

inline Bytes noise(size_t n, Random &rng) {
    Bytes out(n);
    for (unsigned char &b : out)
        b = (unsigned char)rng.next();
    return out;
}

// Mostly zeros with a byte here and there, as in a sprite's transparent areas.
inline Bytes sparse(size_t n, Random &rng) {
    Bytes out(n, 0);
    for (unsigned char &b : out)
        if (rng.below(24) == 0)
            b = (unsigned char)rng.next();
    return out;
}

// Rows of an indexed image: a gradient in bands, flat rectangles, and a light
// sprinkle of dither.
inline Bytes image(size_t n, Random &rng) {
    const size_t width = 640;
    struct Box {
        size_t x0, x1, y0, y1;
        unsigned char colour;
    } boxes[6];
    for (Box &b : boxes) {
        b.x0 = rng.below(width);
        b.x1 = b.x0 + 20 + rng.below(200);
        b.y0 = rng.below(400);
        b.y1 = b.y0 + 10 + rng.below(150);
        b.colour = (unsigned char)rng.below(256);
    }
    Bytes out(n);
    for (size_t i = 0; i < n; ++i) {
        const size_t x = i % width, y = (i / width) % 480;
        unsigned char v = (unsigned char)(16 + x / 10 + (y / 32) * 8);
        for (const Box &b : boxes)
            if (x >= b.x0 && x < b.x1 && y >= b.y0 && y < b.y1)
                v = b.colour;
        if (rng.below(16) == 0)
            v = (unsigned char)(v + 1);
        out[i] = v;
    }
    return out;
}

// The four kinds in turn, in chunks of 16 to 64 KB.
inline Bytes mix(size_t n, Random &rng) {
    Bytes out;
    out.reserve(n);
    for (unsigned kind = 0; out.size() < n; kind = (kind + 1) % 4) {
        const size_t chunk = 16384 + rng.below(49152);
        const Bytes part = kind == 0   ? text(chunk, rng)
                           : kind == 1 ? runs(chunk, rng)
                           : kind == 2 ? noise(chunk, rng)
                                       : image(chunk, rng);
        out.insert(out.end(), part.begin(), part.end());
    }
    out.resize(n);
    return out;
}

} // namespace mixed
