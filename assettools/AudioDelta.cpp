#include "AudioDelta.h"

namespace assets {

namespace {

enum { ROWS = 16, STEPS = 16, MAX_RUN = 63 };
enum { CMD_ABSOLUTE = 0x80, CMD_RUN = 0x40, CMD_4BIT = 0x30 };

// The decoder's table: row r steps by r + 1, with no zero step; the last entry is cut to 127.
struct StepTable {
    int step[ROWS][STEPS];
    StepTable() {
        for (int r = 0; r < ROWS; ++r)
            for (int k = 0; k < STEPS; ++k) {
                int v = (k < 8 ? k - 8 : k - 7) * (r + 1);
                step[r][k] = v > 127 ? 127 : v;
            }
    }
};

const StepTable table;

int clampSample(int v) { return v < 0 ? 0 : v > 255 ? 255 : v; }

// Codes one block in one row, each step the one that lands nearest its sample as the decoder
// will see it; gives the squared error, and leaves the nibbles and the value reached.
long codeBlock(const unsigned char *samples, int row, int &cur, unsigned char *nibbles) {
    long error = 0;
    for (int i = 0; i < DELTA_BLOCK; ++i) {
        int best = 0, bestValue = 0, bestDistance = 1 << 30;
        for (int k = 0; k < STEPS; ++k) {
            int value = clampSample(cur + table.step[row][k]);
            int distance = value > samples[i] ? value - samples[i] : samples[i] - value;
            if (distance < bestDistance) {
                bestDistance = distance;
                best = k;
                bestValue = value;
            }
        }
        nibbles[i] = (unsigned char)best;
        cur = bestValue;
        error += (long)bestDistance * bestDistance;
    }
    return error;
}

bool holds(const unsigned char *samples, int count, int value) {
    for (int i = 0; i < count; ++i)
        if (samples[i] != value)
            return false;
    return true;
}

void appendBlock(std::vector<unsigned char> &out, const unsigned char *samples, int &cur) {
    long bestError = -1;
    int bestRow = 0, bestEnd = cur;
    unsigned char bestNibbles[DELTA_BLOCK], nibbles[DELTA_BLOCK];
    for (int row = 0; row < ROWS && bestError != 0; ++row) {
        int end = cur;
        long error = codeBlock(samples, row, end, nibbles);
        if (bestError < 0 || error < bestError) {
            bestError = error;
            bestRow = row;
            bestEnd = end;
            for (int i = 0; i < DELTA_BLOCK; ++i)
                bestNibbles[i] = nibbles[i];
        }
    }
    out.push_back((unsigned char)(CMD_4BIT | bestRow));
    for (int i = 0; i < DELTA_BLOCK; i += 2)
        out.push_back((unsigned char)(bestNibbles[i] << 4 | bestNibbles[i + 1]));
    cur = bestEnd;
}

// A sample as an absolute command, which holds even values only, or as a run of the value held.
void appendSingles(std::vector<unsigned char> &out, const unsigned char *samples, unsigned long count, int &cur) {
    int run = 0;
    for (unsigned long i = 0; i < count; ++i) {
        int d = samples[i] - cur;
        if ((d == 0 || d == 1 || d == -1) && run < MAX_RUN) {
            ++run;
            continue;
        }
        if (run)
            out.push_back((unsigned char)(CMD_RUN | run));
        run = 0;
        int half = (samples[i] + 1) / 2;
        half = half > 127 ? 127 : half;
        out.push_back((unsigned char)(CMD_ABSOLUTE | half));
        cur = half * 2;
    }
    if (run)
        out.push_back((unsigned char)(CMD_RUN | run));
}

} // namespace

std::vector<unsigned char> encodeAudioDelta(const unsigned char *samples, unsigned long count) {
    std::vector<unsigned char> out;
    if (count == 0)
        return out;
    out.push_back(DELTA_BLOCK);
    out.push_back(samples[0]);
    int cur = samples[0];
    unsigned long i = 1;
    for (; count - i >= DELTA_BLOCK; i += DELTA_BLOCK) {
        if (holds(samples + i, DELTA_BLOCK, cur))
            out.push_back((unsigned char)(CMD_RUN | DELTA_BLOCK));
        else
            appendBlock(out, samples + i, cur);
    }
    appendSingles(out, samples + i, count - i, cur);
    return out;
}

} // namespace assets
