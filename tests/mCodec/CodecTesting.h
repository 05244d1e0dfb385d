// What the codec's tests share: blocks fenced by an inaccessible page, and a
// guard that turns a fault into a failed test.
#pragma once
#include <Velnor11.h>
#include <gtest/gtest.h>

#include <vector>

namespace codec {

using Bytes = std::vector<unsigned char>;

// A block that ends right where an inaccessible page begins: reading or writing
// one byte past it faults.
class Fenced {
public:
    explicit Fenced(size_t size);
    explicit Fenced(const Bytes &content);
    ~Fenced();
    Fenced(const Fenced &) = delete;
    Fenced &operator=(const Fenced &) = delete;

    unsigned char *data() { return start; }
    Bytes first(size_t n) const { return Bytes(start, start + n); }

private:
    unsigned char *region;
    unsigned char *start;
};

// Runs f under a fault guard: a fault fails the test instead of ending the
// program. An mError that f throws passes on to the caller.
template <class F> void guarded(F f) {
    struct Context {
        F *f;
        bool threw;
        mError error;
    } context{&f, false, mError("")};
    int result = 0;
    mFaultInfo fault;
    const bool finished = mFaultGuard::run(
        [](void *p) -> int {
            Context *c = static_cast<Context *>(p);
            try {
                (*c->f)();
            } catch (const mError &e) {
                c->threw = true;
                c->error = e;
            }
            return 0;
        },
        &context, result, fault);
    if (!finished) {
        ADD_FAILURE() << mFaultGuard::describe(fault).c_str();
        return;
    }
    if (context.threw)
        throw context.error;
}

} // namespace codec
