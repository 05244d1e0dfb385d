// The encoder of the library's lossy audio delta stream for 8-bit unsigned samples.
#pragma once
#include <vector>

namespace assets {

// Blocks of this many samples, each coded with 4 bits a step at the step size that keeps its
// squared error smallest; samples at the end that fill no block go in one by one.
enum { DELTA_BLOCK = 32 };

std::vector<unsigned char> encodeAudioDelta(const unsigned char *samples, unsigned long count);

} // namespace assets
