// The run-length token stream, read one token at a time: c v a run, 00 00 a row's end,
// 00 01 the image's end, 00 02 dx dy a skip, 00 n and n bytes (padded to even) a literal.
// Shared by the run-length image and its row index; not part of the library's interface.
#pragma once

namespace rle {

// The kinds that cover pixels come first: a row goes on while a token's kind is below rowEnd.
enum Kind { run, skip, literal, rowEnd, imageEnd };

struct Token {
    Kind kind;
    long length;                 // pixels covered by a run, skip or literal
    unsigned value;              // the value of a run, the dy of a skip
    const unsigned char *pixels; // the bytes of a literal
};

// Reads the token at `p` and moves `p` behind it. A token cut off by the end of the
// stream reads as the end of the image, so that no walk ever leaves the stream.
inline Kind readToken(const unsigned char *&p, const unsigned char *end, Token &t) {
    const long left = end - p;
    if (left < 2)
        return t.kind = imageEnd;
    const unsigned c = p[0], v = p[1];
    if (c) {
        t.length = c;
        t.value = v;
        p += 2;
        return t.kind = run;
    }
    if (v < 2) {
        p += 2;
        return t.kind = v ? imageEnd : rowEnd;
    }
    if (v == 2) {
        if (left < 4)
            return t.kind = imageEnd;
        t.length = p[2];
        t.value = p[3];
        p += 4;
        return t.kind = skip;
    }
    if (left < 2 + (long)v)
        return t.kind = imageEnd;
    t.length = v;
    t.pixels = p + 2;
    // The pad byte of the stream's very last literal may be missing.
    p += left < 2 + (long)(v + (v & 1)) ? 2 + v : 2 + v + (v & 1);
    return t.kind = literal;
}

// Passes the tokens up to the end of the present row; false if the image ends first.
inline bool passRow(const unsigned char *&p, const unsigned char *end) {
    Token t;
    Kind kind;
    while ((kind = readToken(p, end, t)) < rowEnd) {
    }
    return kind == rowEnd;
}

} // namespace rle
