// The value thrown on every failure of the library.
#pragma once
#include "mUtil/mString.h"

class VELNOR_API mError {
public:
    mError(mString message);
    mError(mString message, long value, const char *file, unsigned long line);

    // "file:line prefix message[, value = n]"; only a null file drops the location.
    mString text(const mString &prefix, bool withValue) const;

    mString message;
    long value;
    const char *file;
    unsigned long line;
};
