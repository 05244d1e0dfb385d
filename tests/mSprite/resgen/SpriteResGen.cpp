// Writes the bitmap resources of the image tests into the current directory: an 8-bit
// bitmap file, the same image as a compressed block, a 24-bit file and a block that
// claims more bytes than it has.
#include "SpritePattern.h"

#include <cstdio>
#include <vector>

namespace {
typedef std::vector<unsigned char> Bytes;

void put(Bytes &out, unsigned long v, int bytes) {
    for (int i = 0; i < bytes; ++i)
        out.push_back((unsigned char)(v >> (8 * i)));
}

// A bitmap file: file header, info header, colour table, rows bottom first.
Bytes bitmapFile(int width, int height, int bitsPerPixel, int colors, const Bytes &rows) {
    Bytes out = {'B', 'M'};
    const unsigned long offset = 54 + 4 * colors;
    put(out, offset + rows.size(), 4);
    put(out, 0, 4);
    put(out, offset, 4);
    put(out, 40, 4);
    put(out, width, 4);
    put(out, height, 4);
    put(out, 1, 2);
    put(out, bitsPerPixel, 2);
    put(out, 0, 4);
    put(out, rows.size(), 4);
    put(out, 2835, 4);
    put(out, 2835, 4);
    put(out, colors, 4);
    put(out, 0, 4);
    for (int i = 0; i < colors; ++i) {
        const unsigned long rgb = spriteColor(i);
        out.insert(out.end(), {(unsigned char)rgb, (unsigned char)(rgb >> 8), (unsigned char)(rgb >> 16), 0});
    }
    out.insert(out.end(), rows.begin(), rows.end());
    return out;
}

// A compressed block whose stream holds nothing but literals: a flag byte of eight
// literal bits before every eight bytes.
Bytes compressedBlock(const Bytes &data) {
    Bytes stream;
    for (size_t i = 0; i < data.size(); i += 8) {
        stream.push_back(0xFF);
        for (size_t k = i; k < i + 8 && k < data.size(); ++k)
            stream.push_back(data[k]);
    }
    Bytes out;
    put(out, data.size(), 4);
    put(out, stream.size() + 8, 4);
    out.insert(out.end(), stream.begin(), stream.end());
    return out;
}

bool save(const char *name, const Bytes &bytes) {
    FILE *f = std::fopen(name, "wb");
    if (!f)
        return false;
    const bool ok = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    return std::fclose(f) == 0 && ok;
}
} // namespace

int main() {
    const int line = (spriteWidth + 3) & ~3;
    Bytes rows(line * spriteHeight, 0);
    for (int y = 0; y < spriteHeight; ++y)
        for (int x = 0; x < spriteWidth; ++x)
            rows[(spriteHeight - 1 - y) * line + x] = (unsigned char)spritePixel(x, y);
    const Bytes sprite = bitmapFile(spriteWidth, spriteHeight, 8, spriteColors, rows);
    const Bytes deep = bitmapFile(2, 2, 24, 0, Bytes(16, 0x40));
    Bytes broken = compressedBlock(sprite);
    broken[4] = 0xFF; // a stored size far beyond the block
    broken[5] = 0xFF;
    const bool ok = save("sprite.bmp", sprite) && save("sprite.imp", compressedBlock(sprite)) &&
                    save("deep.bmp", deep) && save("broken.imp", broken);
    return ok ? 0 : 1;
}
