// Writes the bitmap resources of the image tests into the current directory: the sprite as
// a bitmap file, the same as a compressed block, and a block that claims more bytes than
// it has.
#include "BitmapFiles.h"

#include <cstdio>

namespace {

bool save(const char *name, const Bytes &bytes) {
    FILE *f = std::fopen(name, "wb");
    if (!f)
        return false;
    const bool ok = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    return std::fclose(f) == 0 && ok;
}

} // namespace

int main() {
    const Bytes sprite = spriteFile();
    Bytes broken = compressedBlock(sprite);
    broken[4] = broken[5] = 0xFF; // a stored size far beyond the block
    const bool ok = save("sprite.bmp", sprite) && save("sprite.imp", compressedBlock(sprite)) &&
                    save("broken.imp", broken);
    return ok ? 0 : 1;
}
