#include "AudioEncoder.h"

#include <cstdlib>

namespace codec {

namespace {

// Row r, entry k of the steps, held to a signed byte.
int step(int row, int entry) {
    const int value = (entry < 8 ? entry - 8 : entry - 7) * (row + 1);
    return value > 127 ? 127 : value;
}

struct Mode {
    int bits;
    int firstEntry; // the entry that code 0 selects
    int shift;      // data bytes are the block length shifted right by this
};
const Mode modes[3] = {{1, 7, 3}, {2, 6, 2}, {4, 0, 1}};

struct Block {
    int maxError = 1 << 30;
    std::vector<unsigned char> data;
    std::vector<unsigned char> output;
    int clamped = 0;
};

// Chooses, step by step, the code that lands nearest the sample.
Block tryBlock(const Mode &mode, int row, const std::vector<unsigned char> &samples, size_t from, int cur,
               size_t dataBytes) {
    Block b;
    b.maxError = 0;
    const int stepsPerByte = 8 / mode.bits;
    for (size_t i = 0; i < dataBytes; ++i) {
        unsigned byte = 0;
        for (int k = 0; k < stepsPerByte; ++k) {
            const int target = samples[from + i * stepsPerByte + k];
            int bestCode = 0, bestValue = 0, bestError = 1 << 30;
            bool bestClamped = false;
            for (int code = 0; code < (1 << mode.bits); ++code) {
                const int sum = cur + step(row, mode.firstEntry + code);
                const int value = sum < 0 ? 0 : sum > 255 ? 255 : sum;
                if (std::abs(value - target) < bestError) {
                    bestCode = code;
                    bestValue = value;
                    bestError = std::abs(value - target);
                    bestClamped = value != sum;
                }
            }
            byte = (byte << mode.bits) | (unsigned)bestCode;
            cur = bestValue;
            b.output.push_back((unsigned char)cur);
            b.clamped += bestClamped;
            if (bestError > b.maxError)
                b.maxError = bestError;
        }
        b.data.push_back((unsigned char)byte);
    }
    return b;
}

class Encoder {
public:
    Encoder(const std::vector<unsigned char> &samples, unsigned char blockLength, int tolerance, int noOpEvery)
        : samples(samples), blockLength(blockLength), tolerance(tolerance), noOpEvery(noOpEvery) {}

    AudioStream run() {
        if (samples.empty())
            return out;
        out.bytes = {blockLength, samples[0]};
        cur = samples[0];
        out.expected.push_back((unsigned char)cur);
        for (size_t i = 1; i < samples.size();) {
            if (size_t n = runLength(i)) {
                out.bytes.push_back((unsigned char)(0x40 | n));
                out.expected.insert(out.expected.end(), n, (unsigned char)cur);
                ++out.runs;
                i += n;
            } else if (size_t n = block(i)) {
                i += n;
            } else {
                out.bytes.push_back((unsigned char)(0x80 | (samples[i] >> 1)));
                cur = samples[i] & 0xFE;
                out.expected.push_back((unsigned char)cur);
                ++out.absolutes;
                ++i;
            }
            commandDone();
        }
        return out;
    }

private:
    size_t runLength(size_t i) const {
        size_t n = 0;
        while (i + n < samples.size() && n < 63 && samples[i + n] == cur)
            ++n;
        return n;
    }

    // Puts the cheapest fitting block at i; gives the samples it covers, or 0.
    size_t block(size_t i) {
        for (int m = 0; m < 3; ++m) {
            const size_t dataBytes = blockLength >> modes[m].shift;
            const size_t steps = dataBytes * (8 / modes[m].bits);
            if (steps == 0 || i + steps > samples.size())
                continue;
            Block best;
            int bestRow = 0;
            for (int row = 0; row < 16; ++row) {
                Block b = tryBlock(modes[m], row, samples, i, cur, dataBytes);
                if (b.maxError < best.maxError) {
                    best = b;
                    bestRow = row;
                }
            }
            if (best.maxError > tolerance)
                continue;
            out.bytes.push_back((unsigned char)(((m + 1) << 4) | bestRow));
            out.bytes.insert(out.bytes.end(), best.data.begin(), best.data.end());
            out.expected.insert(out.expected.end(), best.output.begin(), best.output.end());
            out.clamped += best.clamped;
            ++out.blocks[m];
            cur = best.output.back();
            return steps;
        }
        return 0;
    }

    void commandDone() {
        if (noOpEvery > 0 && ++commands % noOpEvery == 0) {
            out.bytes.push_back((unsigned char)((commands / noOpEvery) & 0x0F));
            ++out.nothings;
        }
    }

    const std::vector<unsigned char> &samples;
    const unsigned char blockLength;
    const int tolerance;
    const int noOpEvery;
    AudioStream out;
    int cur = 0;
    int commands = 0;
};

} // namespace

AudioStream encodeAudio(const std::vector<unsigned char> &samples, unsigned char blockLength, int tolerance,
                        int noOpEvery) {
    return Encoder(samples, blockLength, tolerance, noOpEvery).run();
}

} // namespace codec
