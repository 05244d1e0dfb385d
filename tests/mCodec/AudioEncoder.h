// An encoder for the audio delta stream, which the library only decodes: the
// tests' way to make long streams that use every kind of command.
#pragma once
#include <vector>

namespace codec {

struct AudioStream {
    std::vector<unsigned char> bytes;    // the stream, its block-length byte first
    std::vector<unsigned char> expected; // the encoder's own reconstruction: what a decoder gives
    int absolutes = 0;
    int runs = 0;
    int nothings = 0;
    int blocks[3] = {0, 0, 0}; // of 1, 2 and 4 bits a step
    int clamped = 0;           // steps whose sum left 0 to 255
};

// Encodes samples with blocks of blockLength samples: a run where the samples
// repeat the present value, else the cheapest block that stays within tolerance
// of every sample it covers, else an absolute sample. With noOpEvery > 0, a
// command that does nothing follows every noOpEvery-th command.
AudioStream encodeAudio(const std::vector<unsigned char> &samples, unsigned char blockLength, int tolerance,
                        int noOpEvery);

} // namespace codec
