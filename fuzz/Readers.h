// The readers of the library that the harness feeds, each with the valid inputs it mutates.
#pragma once
#include "Mutator.h"

#include <string>

namespace fuzz {

// The largest input the mutator makes.
const size_t INPUT_LIMIT = 256 * 1024;

struct Reader {
    const char *name;
    std::vector<Seed> (*seeds)(const std::string &scratch);
    // Reads one input that lies at the very end of readable memory; returns on success and
    // throws on failure. A reader of files is given it as the scratch file.
    void (*feed)(const unsigned char *input, size_t size, const std::string &scratch);
};

const std::vector<Reader> &allReaders();

// A whole file, or nothing if it cannot be read.
Bytes readFile(const std::string &path);

} // namespace fuzz
