// What the codec's tests share: blocks fenced by an inaccessible page, decoding
// between them under a fault guard, and the hostile input both decoders must survive.
#pragma once
#include "MixedData.h"

#include <Velnor11.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <exception>
#include <string>

namespace codec {

using Bytes = std::vector<unsigned char>;

const char *const truncatedMessage = "Hit EOF on decompression";
const char *const overrunMessage = "Compressed data overruns its block";
const char *const codecPath = "mUtil/mCodec";

// A copy of some bytes that ends right where an inaccessible page begins:
// reading or writing one byte past it faults.
class Fenced {
public:
    explicit Fenced(const Bytes &content) {
        const size_t page = 4096, pages = content.size() / page + 1;
        region = static_cast<unsigned char *>(
            VirtualAlloc(nullptr, (pages + 1) * page, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
        if (!region)
            throw std::bad_alloc();
        DWORD old;
        VirtualProtect(region + pages * page, page, PAGE_NOACCESS, &old);
        start = region + pages * page - content.size();
        std::copy(content.begin(), content.end(), start);
    }
    explicit Fenced(size_t size) : Fenced(Bytes(size)) {}
    ~Fenced() { VirtualFree(region, 0, MEM_RELEASE); }
    Fenced(const Fenced &) = delete;
    Fenced &operator=(const Fenced &) = delete;

    unsigned char *data() { return start; }
    Bytes first(size_t n) const { return Bytes(start, start + n); }

private:
    unsigned char *region;
    unsigned char *start;
};

// Runs f under a fault guard: a fault fails the test instead of ending the
// program. What f throws passes on to the caller.
template <class F> void guarded(F f) {
    struct Context {
        F *f;
        std::exception_ptr error;
    } context{&f, nullptr};
    int result = 0;
    mFaultInfo fault;
    auto body = [](void *p) -> int {
        Context *c = static_cast<Context *>(p);
        try {
            (*c->f)();
        } catch (...) {
            c->error = std::current_exception();
        }
        return 0;
    };
    if (!mFaultGuard::run(body, &context, result, fault))
        ADD_FAILURE() << mFaultGuard::describe(fault).c_str();
    else if (context.error)
        std::rethrow_exception(context.error);
}

enum Format { lzss, audio };

// Decodes a fenced stream into a fenced block of `size` bytes through the
// bounded form; gives what was written.
inline Bytes decode(Format format, const Bytes &stream, size_t size) {
    Fenced src(stream), dst(size);
    size_t written = 0;
    guarded([&] {
        written = format == lzss
                      ? (size_t)mCodec::unCompress(src.data(), (long)stream.size(), dst.data(), (long)size)
                      : mCodec::unAComp(src.data(), (unsigned long)stream.size(), dst.data(), (unsigned long)size);
    });
    EXPECT_LE(written, size);
    return dst.first(written < size ? written : size);
}

// Hostile input. Prefixes of a good stream, denser at its start, decode to a
// prefix of what the whole gives, or throw for the token they cut. Random bytes
// decoded into blocks of random sizes stay inside both, as the guard pages see,
// and fail only with the codec's own errors.
inline void expectHostileStreamsContained(Format format, const Bytes &stream, const Bytes &whole) {
    for (size_t cut = 0; cut < stream.size(); cut += 1 + cut / 50) {
        try {
            const Bytes out = decode(format, Bytes(stream.begin(), stream.begin() + cut), whole.size());
            ASSERT_EQ(out, Bytes(whole.begin(), whole.begin() + out.size())) << "cut at " << cut;
        } catch (const mError &e) {
            ASSERT_STREQ(e.message.c_str(), truncatedMessage) << "cut at " << cut;
        }
    }
    mixed::Random rng(format + 1);
    for (int round = 0; round < 3000; ++round) {
        try {
            decode(format, mixed::noise(rng.below(600), rng), rng.below(3000));
        } catch (const mError &e) {
            const std::string message = e.message.c_str();
            ASSERT_TRUE(message == truncatedMessage || message == overrunMessage) << message;
        }
    }
}

} // namespace codec
