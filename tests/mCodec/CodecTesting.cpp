#include "CodecTesting.h"

#include <cstring>
#include <windows.h>

namespace codec {

namespace {
const size_t PAGE = 4096;
}

Fenced::Fenced(size_t size) {
    const size_t pages = (size + PAGE - 1) / PAGE;
    region = static_cast<unsigned char *>(VirtualAlloc(nullptr, (pages + 1) * PAGE, MEM_COMMIT | MEM_RESERVE,
                                                       PAGE_READWRITE));
    if (!region)
        throw std::bad_alloc();
    DWORD old;
    VirtualProtect(region + pages * PAGE, PAGE, PAGE_NOACCESS, &old);
    start = region + pages * PAGE - size;
}

Fenced::Fenced(const Bytes &content) : Fenced(content.size()) {
    if (!content.empty())
        memcpy(start, content.data(), content.size());
}

Fenced::~Fenced() { VirtualFree(region, 0, MEM_RELEASE); }

} // namespace codec
