#include "mUtil/mString.h"
#include "mUtil/mApp.h"

#include <cctype>
#include <cstring>

namespace {

// Block-less strings point here; nothing but NUL is ever written into it.
char emptyCell[1] = {0};
// Target of out-of-range writes through the non-constant at().
char scratch = 0;

unsigned long &countOf(char *buf) { return *reinterpret_cast<unsigned long *>(buf - 4); }

int sign(int v) { return v < 0 ? -1 : (v > 0 ? 1 : 0); }

// Unsigned digits of value in radix 2 to 36, lower case, into out; returns the length.
int formatUnsigned(unsigned long value, int radix, char *out) {
    char tmp[33];
    int n = 0;
    do {
        int d = (int)(value % (unsigned long)radix);
        tmp[n++] = (char)(d < 10 ? '0' + d : 'a' + d - 10);
        value /= (unsigned long)radix;
    } while (value);
    for (int i = 0; i < n; ++i)
        out[i] = tmp[n - 1 - i];
    out[n] = 0;
    return n;
}

// Signed decimal of a 32-bit value into out; returns the length.
int formatDecimal(long v, char *out) {
    if (v >= 0)
        return formatUnsigned((unsigned long)v, 10, out);
    out[0] = '-';
    return 1 + formatUnsigned(0UL - (unsigned long)v, 10, out + 1);
}

bool inside(const char *p, const char *buf, int cap) { return cap > 0 && p >= buf && p <= buf + cap; }

} // namespace

mString::mString() : buf(emptyCell), len(0), cap(0) {}

mString::mString(const char *s) : mString() { assign(s); }

mString::mString(const char *s, unsigned long n) : mString() { assign(s, n); }

mString::mString(const mString &s) : mString() { assign(s); }

mString::mString(int n, char c) : mString() { assign(n, c); }

mString::mString(int room, const char *a, int na, const char *b, int nb) : mString() {
    if (room < 1)
        return;
    ensureSpace(room, true, true);
    memcpy(buf, a, na);
    memcpy(buf + na, b, nb);
    len = na + nb;
    buf[len] = 0;
}

mString::mString(unsigned long value, int width, char fill, int radix, bool keepLong) : mString() {
    int magnitude = width < 0 ? -width : width;
    ensureSpace(magnitude > 33 ? magnitude : 33, true, true);
    int base = radix < 0 ? -radix : radix;
    if (base < 2 || base > 36)
        base = 10;
    char text[35];
    int n;
    if (radix < 0 && base == 10)
        n = formatDecimal((long)value, text);
    else
        n = formatUnsigned(value & 0xFFFFFFFFUL, base, text);
    if (radix > 10)
        for (int i = 0; i < n; ++i)
            text[i] = (char)toupper((unsigned char)text[i]);

    const char *from = text;
    if (n > magnitude && width != 0 && !keepLong) {
        from = text + n - magnitude;
        n = magnitude;
    }
    int pad = (width != 0 && n < magnitude) ? magnitude - n : 0;
    char *out = buf;
    if (width > 0 && pad) {
        if (from[0] == '-' && fill == '0') {
            *out++ = '-';
            ++from;
            --n;
        }
        memset(out, fill, pad);
        out += pad;
    }
    memcpy(out, from, n);
    out += n;
    if (width < 0 && pad) {
        memset(out, fill, pad);
        out += pad;
    }
    *out = 0;
    len = (int)(out - buf);
}

mString::~mString() { release(); }

void mString::release() {
    if (cap > 0 && --countOf(buf) == 0)
        mApp::free(buf - 4);
    buf = emptyCell;
    len = 0;
    cap = 0;
}

void mString::ensureSpace(int need, bool unique, bool discard) {
    if (cap >= need && !unique)
        return;
    if (need < 1) {
        release();
        return;
    }
    bool fresh = need > cap || countOf(buf) != 1;
    char *old = buf;
    int oldCap = cap;
    if (fresh) {
        char *block = static_cast<char *>(mApp::malloc(need + 5));
        *reinterpret_cast<unsigned long *>(block) = 1;
        buf = block + 4;
    }
    if (discard || len == 0) {
        buf[0] = 0;
        len = 0;
    } else if (fresh) {
        if (len > need)
            len = need;
        memcpy(buf, old, len);
        buf[len] = 0;
    }
    if (fresh && oldCap > 0 && --countOf(old) == 0)
        mApp::free(old - 4);
    if (fresh)
        cap = need;
}

mString &mString::assign(const char *s) { return assign(s, (unsigned long)strlen(s)); }

mString &mString::assign(const char *s, unsigned long n) {
    if (inside(s, buf, cap)) {
        mString copy(s, n);
        return assign(copy);
    }
    ensureSpace((int)n, true, true);
    if (n == 0)
        return *this;
    unsigned long i = 0;
    for (; i < n && s[i]; ++i)
        buf[i] = s[i];
    memset(buf + i, 0, n - i + 1);
    len = (int)n;
    return *this;
}

mString &mString::assign(const mString &s) {
    if (&s == this)
        return *this;
    if (s.len < 1) {
        release();
        return *this;
    }
    ++countOf(s.buf);
    release();
    buf = s.buf;
    len = s.len;
    cap = s.cap;
    return *this;
}

mString &mString::assign(int n, char c) {
    ensureSpace(n, true, true);
    if (n < 1)
        return *this;
    memset(buf, c, n);
    buf[n] = 0;
    len = n;
    return *this;
}

const char &mString::at(int i) const { return (i >= 0 && i < len) ? buf[i] : emptyCell[0]; }

char &mString::at(int i) {
    if (i < 0 || i >= len)
        return scratch;
    ensureSpace(cap, true, false);
    return buf[i];
}

mString mString::substr(int pos, int n) const {
    if (pos >= len)
        return mString();
    int count = len - pos;
    if (n >= 0 && n < count)
        count = n;
    return count ? mString(buf + pos, (unsigned long)count) : mString();
}

int mString::compare(const char *s) const {
    return sign(strcmp(buf, s));
}

int mString::compare(int pos, int n, const mString &s) const {
    return n == 0 ? 0 : sign(strncmp(buf + pos, s.buf, n));
}

int mString::find(char c, int pos) const {
    if (c == 0 || pos < 0 || pos >= len)
        return -1;
    const char *p = strchr(buf + pos, c);
    return p ? (int)(p - buf) : -1;
}

int mString::find(const char *s, int pos) const {
    if (pos < 0 || pos >= len)
        return -1;
    const char *p = strstr(buf + pos, s);
    return p ? (int)(p - buf) : -1;
}

int mString::find_first_of(const char *s, int pos) const {
    if (pos < 0 || pos >= len || !*s)
        return -1;
    const char *p = strpbrk(buf + pos, s);
    return p ? (int)(p - buf) : -1;
}

namespace {
int lastPosition(int pos, int len) { return (pos == -1 || pos >= len) ? len - 1 : pos; }
} // namespace

int mString::rfind(char c, int pos) const {
    for (int p = lastPosition(pos, len); p >= 0; --p)
        if (buf[p] == c)
            return p;
    return -1;
}

int mString::rfind(const char *s, int pos) const {
    int p = lastPosition(pos, len);
    int n = (int)strlen(s);
    if (n == 0)
        return p;
    for (int start = p - n + 1; start >= 0; --start)
        if (memcmp(buf + start, s, n) == 0)
            return start;
    return -1;
}

int mString::find_last_of(const char *s, int pos) const {
    if (!*s)
        return -1;
    for (int p = lastPosition(pos, len); p >= 0; --p)
        if (buf[p] && strchr(s, buf[p]))
            return p;
    return -1;
}

mString &mString::append(const char *s) {
    if (inside(s, buf, cap))
        return append(mString(s));
    return insert(len, s, (int)strlen(s));
}

mString &mString::append(const mString &s) {
    int n = s.len;
    if (n == 0)
        return *this;
    ensureSpace(len + n, true, false);
    memcpy(buf + len, s.buf, n);
    len += n;
    buf[len] = 0;
    return *this;
}

mString &mString::append(int n, char c) { return insert(len, n, c); }

mString &mString::operator+=(long v) {
    ensureSpace(len + 11, true, false);
    len += formatDecimal(v, buf + len);
    return *this;
}

mString &mString::prepend(int n, char c) { return insert(0, n, c); }

mString &mString::insert(int pos, const char *s, int n) {
    if (n < 1)
        return *this;
    if (inside(s, buf, cap))
        return insert(pos, mString(s, (unsigned long)n).buf, n);
    ensureSpace(len + n, true, false);
    memmove(buf + pos + n, buf + pos, len - pos + 1);
    memcpy(buf + pos, s, n);
    len += n;
    return *this;
}

mString &mString::insert(int pos, const char *s) { return insert(pos, s, (int)strlen(s)); }

mString &mString::insert(int pos, const mString &s, int from, int n) {
    mString part(s.buf + from, (unsigned long)(n > 0 ? n : 0));
    return insert(pos, part.buf, n);
}

mString &mString::insert(int pos, int n, char c) {
    if (n < 1)
        return *this;
    ensureSpace(len + n, true, false);
    memmove(buf + pos + n, buf + pos, len - pos + 1);
    memset(buf + pos, c, n);
    len += n;
    return *this;
}

void mString::replaceRange(int pos, int n, const char *s, int count, char fill) {
    if (n < 0)
        n = len - pos;
    if (pos < 0 || pos > len)
        return;
    if (count < 0)
        count = 0;
    int removed = pos + n > len ? len - pos : n;
    int delta = count - removed;
    int tail = len - pos - removed + 1;
    ensureSpace(delta > 0 ? len + delta : len, true, false);
    if (delta)
        memmove(buf + pos + count, buf + pos + removed, tail);
    len += delta;
    if (s)
        memcpy(buf + pos, s, count);
    else
        memset(buf + pos, fill, count);
    buf[len] = 0;
}

mString &mString::replace(int pos, int n, const mString &s) {
    if (s.cap > 0 && s.buf == buf) {
        mString copy(s.buf, (unsigned long)s.len);
        replaceRange(pos, n, copy.buf, copy.len, 0);
    } else {
        replaceRange(pos, n, s.buf, s.len, 0);
    }
    return *this;
}

mString &mString::replace(int pos, int n, int count, char c) {
    replaceRange(pos, n, nullptr, count, c);
    return *this;
}

mString &mString::erase() {
    ensureSpace(0, true, true);
    return *this;
}

void mString::erase(int pos, int n) {
    ensureSpace(cap, true, false);
    if (cap == 0)
        return;
    int end = (n == -1 || pos + n > len) ? len : pos + n;
    int start = pos < 0 ? 0 : pos;
    if (end >= start)
        memmove(buf + start, buf + end, len - end + 1);
    len = (int)strlen(buf);
}

mString &mString::toUpper() {
    ensureSpace(len, true, false);
    for (int i = 0; i < len; ++i)
        buf[i] = (char)toupper((unsigned char)buf[i]);
    return *this;
}

mString &mString::toLower() {
    ensureSpace(len, true, false);
    for (int i = 0; i < len; ++i)
        buf[i] = (char)tolower((unsigned char)buf[i]);
    return *this;
}

mString &mString::reserve(int n) {
    ensureSpace(n, false, false);
    return *this;
}

mString mString::operator+(const mString &s) const { return mString(len + s.len, buf, len, s.buf, s.len); }

mString mString::operator+(const char *s) const {
    int n = (int)strlen(s);
    return mString(len + n, buf, len, s, n);
}

mString mString::operator+(char c) const { return mString(len + 1, buf, len, &c, 1); }

mString mString::operator+(long v) const {
    char digits[12];
    int n = formatDecimal(v, digits);
    mString result(len + 11, buf, len, digits, n);
    return result;
}

mString operator+(const char *a, const mString &b) { return mString(a) + b; }
