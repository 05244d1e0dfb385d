// Catches the processor's and the system's faults around a piece of work, on a platform
// whose compiler has no structured exception blocks of its own.
#pragma once
#include "mUtil/mString.h"

struct VELNOR_API mFaultInfo {
    mFaultInfo() : code(0), address(nullptr), write(false), target(nullptr) {}
    unsigned long code;   // the platform's exception code
    const void *address;  // the faulting instruction
    bool write;           // an access violation was a write
    const void *target;   // the address an access violation touched
};

class VELNOR_API mFaultGuard {
public:
    // Runs body(context) into result. False if a fault ended it; fault then says which.
    static bool run(int (*body)(void *), void *context, int &result, mFaultInfo &fault);
    // "Exception: <description> occurred at 0x<address>".
    static mString describe(const mFaultInfo &fault);
};
