// Helpers shared by the module, profile and bounds tests.
#pragma once
#include "VelnorTest.h"

#include <gtest/gtest.h>
#include <windows.h>

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
    explicit ScratchKey(const mString &module) : module(module) { remove(); }
    ~ScratchKey() { remove(); }

    mString path() const { return mString("Software\\Tamrix\\") + module; }
    bool exists() const {
        HKEY key;
        if (RegOpenKeyExA(HKEY_CURRENT_USER, path().c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
            return false;
        RegCloseKey(key);
        return true;
    }

    const mString module;

private:
    void remove() {
        for (HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
            RegDeleteTreeA(root, path().c_str());
            // The company key goes too once nothing is left below it.
            RegDeleteKeyA(root, "Software\\Tamrix");
        }
    }
};
