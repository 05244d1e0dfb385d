#include "Mutator.h"

namespace fuzz {

namespace {

const uint32_t extremes[] = {0, 1, 2, 0x7F, 0x80, 0xFF, 0x7FFF, 0x8000, 0xFFFF, 0x10000, 0x7FFFFFFF, 0x80000000u,
                             0xFFFFFFFFu, 0xFFFFFFFEu, 1024, 1025, 54, 1078};

void putValue(Bytes &b, size_t at, int width, uint32_t v) {
    for (int i = 0; i < width && at + i < b.size(); ++i)
        b[at + i] = (unsigned char)(v >> (8 * i));
}

uint32_t interestingValue(Random &random, size_t size) {
    switch (random.below(4)) {
    case 0: return (uint32_t)size + (uint32_t)random.below(5) - 2;
    case 1: return (uint32_t)random.next();
    case 2: return (uint32_t)(0u - (uint32_t)random.below(256) - 1);
    default: return extremes[random.below(sizeof extremes / sizeof extremes[0])];
    }
}

// A size or count field of the seed when it names any, else any place.
void setField(Bytes &b, const Seed &seed, Random &random) {
    if (b.empty())
        return;
    size_t at;
    int width;
    if (!seed.fields.empty() && random.below(4) != 0) {
        const auto &field = seed.fields[random.below(seed.fields.size())];
        at = field.first;
        width = field.second;
    } else {
        at = random.below(b.size());
        width = random.below(2) ? 4 : 2;
    }
    putValue(b, at, width, interestingValue(random, b.size()));
}

void flipBits(Bytes &b, Random &random) {
    if (b.empty())
        return;
    for (size_t n = 1 + random.below(8); n > 0; --n)
        b[random.below(b.size())] ^= (unsigned char)(1u << random.below(8));
}

void extend(Bytes &b, Random &random, size_t limit) {
    size_t more = 1 + random.below(random.below(2) ? 16 : 4096);
    bool repeat = !b.empty() && random.below(2);
    for (size_t i = 0; i < more && b.size() < limit; ++i)
        b.push_back(repeat ? b[random.below(b.size())] : (unsigned char)random.next());
}

// The front of this input and the back of another.
void splice(Bytes &b, const std::vector<Seed> &seeds, Random &random) {
    const Bytes &other = seeds[random.below(seeds.size())].bytes;
    if (other.empty())
        return;
    size_t cut = b.empty() ? 0 : random.below(b.size());
    size_t from = random.below(other.size());
    b.resize(cut);
    b.insert(b.end(), other.begin() + (long)from, other.end());
}

void insertOrDelete(Bytes &b, Random &random) {
    if (b.empty())
        return;
    size_t at = random.below(b.size()), n = 1 + random.below(8);
    if (random.below(2))
        b.insert(b.begin() + (long)at, n, (unsigned char)random.next());
    else
        b.erase(b.begin() + (long)at, b.begin() + (long)(at + n < b.size() ? at + n : b.size()));
}

} // namespace

Bytes mutate(const std::vector<Seed> &seeds, Random &random, size_t limit) {
    const Seed &seed = seeds[random.below(seeds.size())];
    Bytes b = seed.bytes;
    for (size_t n = 1 + random.below(4); n > 0; --n) {
        switch (random.below(8)) {
        case 0: case 1: flipBits(b, random); break;
        case 2: case 3: setField(b, seed, random); break;
        case 4: b.resize(b.empty() ? 0 : random.below(b.size())); break;
        case 5: extend(b, random, limit); break;
        case 6: splice(b, seeds, random); break;
        default: insertOrDelete(b, random); break;
        }
    }
    if (b.size() > limit)
        b.resize(limit);
    return b;
}

} // namespace fuzz
