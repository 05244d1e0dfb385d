// Throughput of the LZSS codec on a few MB of each kind of data and of a mix,
// against a plain memcpy of the same output measured in the same run.
#include <Velnor11.h>

#include "../tests/mCodec/MixedData.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>

namespace {

using Clock = std::chrono::steady_clock;

// Keeps the compiler from dropping work whose result nobody reads.
void touch(const void *p) { asm volatile("" : : "r"(p) : "memory"); }

// The best of several runs, in seconds.
template <class F> double bestTime(int runs, F f) {
    double best = 1e30;
    for (int i = 0; i < runs; ++i) {
        const Clock::time_point start = Clock::now();
        f();
        best = std::min(best, std::chrono::duration<double>(Clock::now() - start).count());
    }
    return best;
}

double mbPerSecond(size_t bytes, double seconds) { return bytes / seconds / 1e6; }

void measure(const char *name, const mixed::Bytes &data) {
    const unsigned long n = (unsigned long)data.size();
    mixed::Bytes stream(mCodec::compressBound(n));
    unsigned long size = 0;
    const double encode = bestTime(3, [&] {
        size = mCodec::compress(data.data(), n, stream.data(), (unsigned long)stream.size());
    });
    mixed::Bytes out(n);
    const double decode = bestTime(10, [&] {
        mCodec::unCompress(stream.data(), (long)size, out.data(), (long)n);
        touch(out.data());
    });
    mixed::Bytes copy(n);
    const double copying = bestTime(10, [&] {
        memcpy(copy.data(), data.data(), n);
        touch(copy.data());
    });
    const bool same = out == data;
    printf("%-6s %5.2f MB -> %5.1f%%   decode %7.1f MB/s = %.3g x memcpy   encode %6.1f MB/s = %.3g x memcpy"
           "   memcpy %7.1f MB/s%s\n",
           name, n / 1e6, 100.0 * size / n, mbPerSecond(n, decode), copying / decode, mbPerSecond(n, encode),
           copying / encode, mbPerSecond(n, copying), same ? "" : "   DECODED DATA DIFFERS");
}

} // namespace

int main() {
    const size_t n = 4 << 20;
    mixed::Random rng(1);
    measure("text", mixed::text(n, rng));
    measure("runs", mixed::runs(n, rng));
    measure("noise", mixed::noise(n, rng));
    measure("image", mixed::image(n, rng));
    measure("mixed", mixed::mix(n, rng));
    return 0;
}
