// Inputs of the kinds the codec meets in a title's files: text, runs of one byte,
// noise, sparse bytes and 8-bit images, alone or interleaved. The codec's tests and its
// benchmark share them.
#pragma once
#include <cstddef>
#include <random>
#include <vector>

namespace mixed {

using Bytes = std::vector<unsigned char>;

// A deterministic generator, so that every run sees the same data.
struct Random : std::mt19937 {
    using std::mt19937::mt19937;
    unsigned below(unsigned n) { return (*this)() % n; }
};

// Words of a small vocabulary, now and then a comma or the end of a line.
inline Bytes text(size_t n, Random &rng) {
    static const char *const words[] = {"the",   "sprite",  "moves", "across",  "a",     "window", "and",
                                        "its",   "palette", "of",    "colours", "is",    "mapped", "to",
                                        "image", "sound",   "plays", "when",    "title", "starts", "sequence",
                                        "step",  "waits",   "for",   "timer",   "frame", "loads",  "object"};
    const unsigned count = sizeof words / sizeof words[0];
    Bytes out;
    while (out.size() < n) {
        for (const char *w = words[rng.below(count)]; *w; ++w)
            out.push_back((unsigned char)*w);
        const unsigned pick = rng.below(16);
        for (const char *b = pick == 0 ? ".\r\n" : pick == 1 ? "," : " "; *b; ++b)
            out.push_back((unsigned char)*b);
    }
    out.resize(n);
    return out;
}

// Mostly short runs, now and then a long one.
inline Bytes runs(size_t n, Random &rng) {
    Bytes out;
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
        b = (unsigned char)rng();
    return out;
}

// Mostly zeros with a byte here and there, as in a sprite's transparent areas.
inline Bytes sparse(size_t n, Random &rng) {
    Bytes out(n, 0);
    for (unsigned char &b : out)
        if (rng.below(24) == 0)
            b = (unsigned char)rng();
    return out;
}

// Rows of an indexed image: a gradient in bands, a flat rectangle in each band,
// and a light sprinkle of dither.
inline Bytes image(size_t n, Random &rng) {
    Bytes out(n);
    for (size_t i = 0; i < n; ++i) {
        const size_t x = i % 640, band = i / 640 % 480 / 32, left = band * 37 % 400;
        const size_t v = x >= left && x < left + 120 ? band * 13 : 16 + x / 10 + band * 8;
        out[i] = (unsigned char)(v + (rng.below(16) == 0));
    }
    return out;
}

// The four kinds in turn, in chunks of 16 to 64 KB.
inline Bytes mix(size_t n, Random &rng) {
    Bytes (*const kinds[])(size_t, Random &) = {text, runs, noise, image};
    Bytes out;
    for (unsigned kind = 0; out.size() < n; kind = (kind + 1) % 4) {
        const Bytes part = kinds[kind](16384 + rng.below(49152), rng);
        out.insert(out.end(), part.begin(), part.end());
    }
    out.resize(n);
    return out;
}

} // namespace mixed
