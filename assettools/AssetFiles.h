// Files of the asset tool: whole files in and out, outputs that appear whole or not at all,
// and the bitmap and wave file images of the library's images and sounds.
#pragma once
#include <stdexcept>
#include <string>
#include <vector>

class mBitMap;
class mDigSound;

namespace assets {

typedef std::vector<unsigned char> Bytes;

// A failure to report as one line: the file it concerns, and the system's message.
class Failure : public std::runtime_error {
public:
    Failure(const std::string &file, const std::string &message) : std::runtime_error(file + ": " + message) {}
};

// The platform's text for its last error.
std::string systemMessage();

Bytes readWhole(const std::string &path);
// Throws with the system's reason if the file cannot be opened for reading.
void requireReadable(const std::string &path);
// The last component of a path without its extension, and the extension in lower case.
std::string baseName(const std::string &path);
std::string extensionOf(const std::string &path);
std::string absolutePath(const std::string &path);
void makeDirectory(const std::string &path);

// An output written under a temporary name beside its own, and renamed over it on commit;
// without a commit the temporary file goes.
class Output {
public:
    explicit Output(const std::string &path);
    ~Output();
    Output(const Output &) = delete;
    Output &operator=(const Output &) = delete;

    const std::string &partial() const { return temporary; }
    void commit();

private:
    std::string path, temporary;
    bool committed;
};

void writeWhole(const std::string &path, const Bytes &bytes);

// A bitmap file image of an 8-bit, run-length or 15-bit image. An image without colours gets
// a grey ramp, so that its indices stay visible.
Bytes bitmapFile(const mBitMap &image);
// A wave file image: the RIFF header, the format, and the samples of a sound in memory.
Bytes waveFile(const mDigSound &sound);

} // namespace assets
