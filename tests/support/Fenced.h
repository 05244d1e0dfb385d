// Memory fenced by inaccessible pages, so that a read or write past an edge faults at once
// instead of passing silently; used by the tests and the fuzzing harness.
#pragma once
#include "mUtil/mApp.h"

#include <cstring>
#include <windows.h>

// Memory with inaccessible pages on both sides; the block either starts right behind the
// first or ends right before the second, so that a step past that edge faults at once.
class GuardedBlock {
public:
    GuardedBlock(size_t size, bool atEnd) {
        const size_t page = 4096, span = (size + page - 1) / page * page + (size ? 0 : page);
        base = static_cast<unsigned char *>(VirtualAlloc(nullptr, span + 2 * page, MEM_RESERVE | MEM_COMMIT, PAGE_NOACCESS));
        DWORD old;
        VirtualProtect(base + page, span, PAGE_READWRITE, &old);
        start = atEnd ? base + page + span - size : base + page;
    }
    ~GuardedBlock() { VirtualFree(base, 0, MEM_RELEASE); }
    GuardedBlock(const GuardedBlock &) = delete;
    GuardedBlock &operator=(const GuardedBlock &) = delete;
    unsigned char *get() const { return start; }

private:
    unsigned char *base;
    unsigned char *start;
};

// An image of a library class whose block lies in guarded memory, as a memory image's
// block lies in memory the image does not own.
template <class Base> class Guarded : public Base {
public:
    template <class... Args>
    Guarded(bool atEnd, Args &&...args) : Base(args...), block((size_t)this->header->dataSize, atEnd) {
        std::memcpy(block.get(), this->data, (size_t)this->header->dataSize);
        mApp::free(this->data);
        this->data = block.get();
    }
    ~Guarded() override { this->data = nullptr; }

private:
    GuardedBlock block;
};
