// Throughput of the LZSS codec on a few MB of each kind of data and of a mix. Decoding is
// set against a plain decoder of the same format, a byte at a time through its ring, in
// alternate runs of the same program; encoding is given in MB/s.
#include <Velnor11.h>

#include "../tests/mCodec/MixedData.h"
#include "BenchTiming.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

// Keeps the compiler from dropping work whose result nobody reads.
void touch(const void *p) { asm volatile("" : : "r"(p) : "memory"); }

double mbPerSecond(size_t bytes, double seconds) { return bytes / seconds / 1e6; }

// The baseline: the classic decoder, every byte through a ring of 4096 spaces written from
// 4078 on. Checks its input as the format requires and trusts its output to be large enough.
size_t plainDecode(const unsigned char *in, size_t length, unsigned char *out) {
    unsigned char ring[4096];
    std::memset(ring, ' ', sizeof ring);
    const unsigned char *const end = in + length;
    unsigned r = 4078, flags = 0;
    size_t o = 0;
    for (;;) {
        if (!((flags >>= 1) & 0x100)) {
            if (in == end)
                break;
            flags = *in++ | 0xFF00u;
        }
        if (flags & 1) {
            if (in == end)
                break;
            out[o++] = ring[r] = *in++;
            r = (r + 1) & 4095;
            continue;
        }
        if (end - in < 2)
            break;
        const unsigned position = in[0] | ((in[1] & 0xF0) << 4), count = (in[1] & 0x0F) + 3;
        in += 2;
        for (unsigned k = 0; k < count; ++k) {
            out[o++] = ring[r] = ring[(position + k) & 4095];
            r = (r + 1) & 4095;
        }
    }
    return o;
}

void measure(const char *name, const mixed::Bytes &data) {
    const unsigned long n = (unsigned long)data.size();
    mixed::Bytes stream(mCodec::compressBound(n));
    const double start = bench::seconds();
    const unsigned long size = mCodec::compress(data.data(), n, stream.data(), (unsigned long)stream.size());
    const double encode = bench::seconds() - start;
    mixed::Bytes ours(n), plain(n);
    const bench::Timing t = bench::compare(
        [&] {
            mCodec::unCompress(stream.data(), (long)size, ours.data(), (long)ours.size());
            touch(ours.data());
        },
        [&] {
            plainDecode(stream.data(), size, plain.data());
            touch(plain.data());
        });
    const double decode = t.subject, baseline = t.baseline;
    printf("%-6s %5.2f MB -> %5.1f%%   decode %7.1f MB/s   plain decoder %7.1f MB/s   %5.2f x   encode %5.1f MB/s%s\n",
           name, n / 1e6, 100.0 * size / n, mbPerSecond(n, decode), mbPerSecond(n, baseline), baseline / decode,
           mbPerSecond(n, encode), ours == data && plain == data ? "" : "   DECODED DATA DIFFERS");
}

} // namespace

int main() {
    const size_t n = 4 << 20;
    mixed::Random rng(1);
    printf("LZSS, best of 7 alternate runs of each decoder.\n");
    measure("text", mixed::text(n, rng));
    measure("runs", mixed::runs(n, rng));
    measure("noise", mixed::noise(n, rng));
    measure("image", mixed::image(n, rng));
    measure("mixed", mixed::mix(n, rng));
    return 0;
}
