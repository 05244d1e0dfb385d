// Mutations of valid inputs: bit flips, extreme and negative values in size and count fields,
// truncation, extension, and splices of two inputs.
#pragma once
#include <cstdint>
#include <vector>

namespace fuzz {

typedef std::vector<unsigned char> Bytes;

// A valid input, and the offsets of its size and count fields (the width of each in bytes).
struct Seed {
    Bytes bytes;
    std::vector<std::pair<size_t, int>> fields;
};

class Random {
public:
    explicit Random(uint64_t seed) : state(seed * 2654435761u + 0x9E3779B97F4A7C15ull) {}
    uint64_t next() {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return state;
    }
    // 0 to n - 1; n above 0.
    size_t below(size_t n) { return (size_t)(next() % n); }

private:
    uint64_t state;
};

// One to four mutations of a seed; the size never exceeds limit.
Bytes mutate(const std::vector<Seed> &seeds, Random &random, size_t limit);

} // namespace fuzz
