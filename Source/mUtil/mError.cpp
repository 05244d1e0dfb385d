#include "mUtil/mError.h"

#include <cstring>

mError::mError(mString message) : message(message), value(0), file(""), line(0) {}

mError::mError(mString message, long value, const char *file, unsigned long line)
    : message(message), value(value), file(file), line(line) {}

mString mError::text(const mString &prefix, bool withValue) const {
    mString result;
    if (file) {
        const char *name = strrchr(file, '\\');
        result.append(name ? name + 1 : file);
        result += ':';
        result += (long)line;
        result += ' ';
    }
    result += prefix;
    result += message;
    if (value != 0 || withValue) {
        result += ", value = ";
        result += value;
    }
    return result;
}
