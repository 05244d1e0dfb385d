// The library's one text type: NUL-terminated bytes in a counted, shared block.
#pragma once
#include "mUtil/mDefs.h"

class VELNOR_API mString {
public:
    mString();
    mString(const char *s);
    mString(const char *s, unsigned long n);
    mString(const mString &s);
    mString(int n, char c);
    mString(unsigned long value, int width, char fill, int radix, bool keepLong);
    ~mString();

    mString &assign(const char *s);
    mString &assign(const char *s, unsigned long n);
    mString &assign(const mString &s);
    mString &assign(int n, char c);
    mString &operator=(const char *s) { return assign(s); }
    mString &operator=(const mString &s) { return assign(s); }
    mString &operator=(char c) { return assign(1, c); }

    const char *c_str() const { return buf; }
    operator const char *() const { return buf; }
    int length() const { return len; }
    int size() const { return len; }
    bool empty() const { return len == 0; }
    int capacity() const { return cap; }

    const char &at(int i) const;
    char &at(int i);
    const char &operator[](int i) const { return at(i); }
    char &operator[](int i) { return at(i); }
    mString substr(int pos, int n) const;

    int compare(const mString &s) const { return compare(s.buf); }
    int compare(const char *s) const;
    int compare(int pos, int n, const mString &s) const;
    bool operator==(const mString &s) const { return compare(s) == 0; }
    bool operator!=(const mString &s) const { return compare(s) != 0; }
    bool operator<(const mString &s) const { return compare(s) < 0; }
    bool operator<=(const mString &s) const { return compare(s) <= 0; }
    bool operator>(const mString &s) const { return compare(s) > 0; }
    bool operator>=(const mString &s) const { return compare(s) >= 0; }
    bool operator==(const char *s) const { return compare(s) == 0; }
    bool operator!=(const char *s) const { return compare(s) != 0; }
    bool operator<(const char *s) const { return compare(s) < 0; }
    bool operator<=(const char *s) const { return compare(s) <= 0; }
    bool operator>(const char *s) const { return compare(s) > 0; }
    bool operator>=(const char *s) const { return compare(s) >= 0; }

    int find(char c, int pos) const;
    int find(const mString &s, int pos) const { return find(s.buf, pos); }
    int find(const char *s, int pos) const;
    int find_first_of(char c, int pos) const { return find(c, pos); }
    int find_first_of(const mString &s, int pos) const { return find_first_of(s.buf, pos); }
    int find_first_of(const char *s, int pos) const;
    int rfind(char c, int pos) const;
    int rfind(const mString &s, int pos) const { return rfind(s.buf, pos); }
    int rfind(const char *s, int pos) const;
    int find_last_of(const mString &s, int pos) const { return find_last_of(s.buf, pos); }
    int find_last_of(const char *s, int pos) const;

    mString &append(const char *s);
    mString &append(const mString &s);
    mString &append(int n, char c);
    mString &operator+=(const char *s) { return append(s); }
    mString &operator+=(const mString &s) { return append(s); }
    mString &operator+=(char c) { return append(1, c); }
    mString &operator+=(long v);
    mString &prepend(int n, char c);
    mString &insert(int pos, const char *s, int n);
    mString &insert(int pos, const char *s);
    mString &insert(int pos, const mString &s, int from, int n);
    mString &insert(int pos, int n, char c);
    mString &replace(int pos, int n, const mString &s);
    mString &replace(int pos, int n, int count, char c);
    mString &erase();
    void erase(int pos, int n);
    mString &toUpper();
    mString &toLower();
    mString &reserve(int n);

    mString operator+(const mString &s) const;
    mString operator+(const char *s) const;
    mString operator+(char c) const;
    mString operator+(long v) const;
    mString operator+(int v) const { return *this + (long)v; }
    mString operator+(unsigned long v) const { return *this + (long)v; }

private:
    void ensureSpace(int need, bool unique, bool discard);
    void release();
    void replaceRange(int pos, int n, const char *s, int count, char fill);
    mString(int room, const char *a, int na, const char *b, int nb);

    char *buf;
    int len;
    int cap;
};

VELNOR_API mString operator+(const char *a, const mString &b);
