// Helpers shared by the module, profile and bounds tests.
#pragma once
#include "VelnorTest.h"

#include <gtest/gtest.h>
#include <ostream>
#include <windows.h>

// Readable values in failure messages.
inline void PrintTo(const mRect &r, std::ostream *os) {
    *os << "(" << r.left << ", " << r.top << ", " << r.right << ", " << r.bottom << ")";
}
inline void PrintTo(const mPoint &p, std::ostream *os) { *os << "(" << p.x << ", " << p.y << ")"; }

// The error that f throws; a test failure when it throws none.
template <class F> mError errorOf(F f) {
    try {
        f();
    } catch (mError &e) {
        return e;
    }
    ADD_FAILURE() << "no mError thrown";
    return mError("none");
}

// A module key below the company root, removed from both roots before and after a test.
class ScratchKey {
public:
    explicit ScratchKey(const char *module) : module(module) { remove(); }
    ~ScratchKey() { remove(); }
    ScratchKey(const ScratchKey &) = delete;
    ScratchKey &operator=(const ScratchKey &) = delete;

    mString path() const { return mString("Software\\Tamrix\\") + module; }
    bool exists(HKEY root) const {
        HKEY key;
        if (RegOpenKeyExA(root, path().c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
            return false;
        RegCloseKey(key);
        return true;
    }

    const mString module;

private:
    void remove() {
        for (HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
            RegDeleteTreeA(root, path().c_str());
            RegDeleteKeyA(root, path().c_str());
            // The company key goes too once nothing is left below it.
            RegDeleteKeyA(root, "Software\\Tamrix");
        }
    }
};
