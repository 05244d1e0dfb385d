// The asset tool's commands. Each throws Failure, naming the file, on bad input or a refusal of
// the disk; outputs appear whole or not at all.
#pragma once
#include <string>
#include <vector>

namespace assets {

struct PackOptions {
    // 8-bit mono sounds go in the lossy audio delta form instead of LZSS.
    bool audioDelta = false;
};

// BMP images (8-bit, run-length, 15-bit) and WAV sounds, in the order given, into an object file.
void pack(const std::string &out, const std::vector<std::string> &inputs, const PackOptions &options);
// A line for each object: index, id, type, name, stored and unpacked sizes, compression.
void list(const std::string &objectFile);
// Every object back to a BMP, WAV or, for raw data, DAT file in dir.
void extract(const std::string &objectFile, const std::string &dir);
// Every ordinary frame of an animation file as a 16-bit BMP in dir: the background in force and
// the images of the frame's slots, as the player would show them; command frames are passed over.
void frames(const std::string &animationFile, const std::string &dir);

} // namespace assets
