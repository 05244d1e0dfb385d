#include "AssetFiles.h"

#include "AsaWriter.h"

#include <Velnor11.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <windows.h>

namespace assets {

using asa::put;

namespace {

const unsigned long PIXELS_PER_METRE = 2835;

} // namespace

std::string systemMessage() {
    char text[512] = "";
    DWORD n = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, GetLastError(), 0,
                             text, sizeof text, nullptr);
    while (n > 0 && (text[n - 1] == '\n' || text[n - 1] == '\r' || text[n - 1] == '.'))
        text[--n] = '\0';
    return n ? text : "unknown error";
}

Bytes readWhole(const std::string &path) {
    std::FILE *f = std::fopen(path.c_str(), "rb");
    if (!f)
        throw Failure(path, std::strerror(errno));
    Bytes bytes;
    unsigned char chunk[65536];
    size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, f)) > 0)
        bytes.insert(bytes.end(), chunk, chunk + n);
    bool failed = std::ferror(f) != 0;
    std::fclose(f);
    if (failed)
        throw Failure(path, std::strerror(errno));
    return bytes;
}

void requireReadable(const std::string &path) {
    std::FILE *f = std::fopen(path.c_str(), "rb");
    if (!f)
        throw Failure(path, std::strerror(errno));
    std::fclose(f);
}

std::string baseName(const std::string &path) {
    size_t slash = path.find_last_of("\\/:");
    std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    size_t dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

std::string extensionOf(const std::string &path) {
    size_t slash = path.find_last_of("\\/:"), dot = path.rfind('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash))
        return "";
    std::string ext = path.substr(dot + 1);
    for (char &c : ext)
        c = (char)std::tolower((unsigned char)c);
    return ext;
}

std::string absolutePath(const std::string &path) {
    char full[MAX_PATH];
    DWORD n = GetFullPathNameA(path.c_str(), sizeof full, full, nullptr);
    if (n == 0 || n >= sizeof full)
        throw Failure(path, systemMessage());
    return full;
}

void makeDirectory(const std::string &path) {
    if (!CreateDirectoryA(path.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS)
        throw Failure(path, systemMessage());
}

Output::Output(const std::string &path) : path(path), temporary(path + ".partial"), committed(false) {}

Output::~Output() {
    if (!committed)
        DeleteFileA(temporary.c_str());
}

void Output::commit() {
    if (!MoveFileExA(temporary.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
        throw Failure(path, systemMessage());
    committed = true;
}

void writeWhole(const std::string &path, const Bytes &bytes) {
    Output out(path);
    std::FILE *f = std::fopen(out.partial().c_str(), "wb");
    if (!f)
        throw Failure(path, std::strerror(errno));
    bool written = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    int err = errno;
    if (std::fclose(f) != 0 && written) {
        written = false;
        err = errno;
    }
    if (!written)
        throw Failure(path, std::strerror(err));
    out.commit();
}

Bytes bitmapFile(const mBitMap &image) {
    const mBHeader &h = *image.getHeader();
    const bool deep = h.noPalette;
    const unsigned long colors = deep ? 0 : 256;
    const unsigned long pixels = 14 + 40 + 4 * colors;
    const unsigned long dataSize = h.dataSize > 0 ? (unsigned long)h.dataSize : 0;
    Bytes out = {'B', 'M'};
    put(out, pixels + dataSize, 4);
    put(out, 0, 4);
    put(out, pixels, 4);
    for (unsigned long v : {40ul, (unsigned long)h.width, (unsigned long)h.height})
        put(out, v, 4);
    put(out, 1, 2);
    put(out, deep ? 16 : 8, 2);
    for (unsigned long v : {(unsigned long)h.compression, dataSize, PIXELS_PER_METRE, PIXELS_PER_METRE, colors, 0ul})
        put(out, v, 4);
    for (unsigned long i = 0; i < colors; ++i) {
        mColor c = (int)i < h.colorCount && h.colors ? h.colors[i] : mColor((int)i, (int)i, (int)i);
        out.push_back(c.getBlue());
        out.push_back(c.getGreen());
        out.push_back(c.getRed());
        out.push_back(0);
    }
    const unsigned char *data = static_cast<const unsigned char *>(image.getData());
    out.insert(out.end(), data, data + dataSize);
    return out;
}

Bytes waveFile(const mDigSound &sound) {
    const unsigned char *samples = static_cast<const unsigned char *>(sound.getDataPtr());
    return asa::waveImage(Bytes(samples, samples + sound.getByteLength()), mDigSound::rateOf(sound.getFreq()),
                          (int)mDigSound::bitsOf(sound.getSampSize()), sound.isStereo() ? 2 : 1);
}

} // namespace assets
