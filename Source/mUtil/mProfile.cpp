// The profile store: small settings kept in the registry below one company key and a key for each module.
#include "mUtil/mApp.h"
#include "mUtil/mModule.h"

#include <cstdio>
#include <cstdlib>
#include <windows.h>

static const char srcPath[] = "mUtil/mApp";

namespace {
const int longestText = 150;       // a longer text reads as absent
const int longestNumbers = 138;    // the numbers of a list stop before this length
const int longestList = 150;       // numbers and suffix stay below this length

HKEY rootOf(bool user) { return user ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE; }

// Reads one value of the wanted type into buffer; size is its room and becomes the length read.
// A missing key or value, one that does not fit, or one of another type is simply absent.
bool readValue(bool user, const mString &path, const mString &name, DWORD wanted, BYTE *buffer, DWORD &size) {
    HKEY key;
    if (RegOpenKeyExA(rootOf(user), path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
        return false;
    DWORD type = REG_NONE;
    LONG rc = RegQueryValueExA(key, name.c_str(), nullptr, &type, buffer, &size);
    RegCloseKey(key);
    return rc == ERROR_SUCCESS && type == wanted;
}

void writeValue(bool user, const mString &path, const mString &name, DWORD type, const BYTE *data, DWORD size) {
    HKEY key;
    LONG rc = RegCreateKeyExA(rootOf(user), path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr);
    if (rc == ERROR_SUCCESS) {
        rc = RegSetValueExA(key, name.c_str(), 0, type, data, size);
        RegCloseKey(key);
    }
    // The registry hands its error back as the result rather than as the thread's last error.
    if (rc != ERROR_SUCCESS)
        VELNOR_THROW("Cannot create profile value", rc);
}

bool isNumberStart(char c) { return (c >= '0' && c <= '9') || c == '-'; }

// A suffix that could be read as a number, or that starts with the quote itself, is quoted.
bool needsQuote(char c) { return isNumberStart(c) || c == '\'' || c == ' '; }

// Scans the numbers at the start of text into found; gives the position where they end,
// which is the length of the text when nothing follows them.
int scanNumbers(const mString &text, std::vector<long> &found) {
    int i = 0;
    for (;;) {
        while (text[i] == ' ')
            ++i;
        if (!isNumberStart(text[i]))
            return i;
        found.push_back(atol(text.c_str() + i));
        i = text.find(' ', i);
        if (i < 0)
            return text.length();
    }
}
} // namespace

mString mApp::getKeyPath(const mString &module) {
    mString path("Software\\Tamrix\\");
    if (!module.empty())
        return path + module;
    mApp *app = getCurrentApp();
    if (!app)
        VELNOR_THROW("Tried to use default module key when no app", 0);
    mModule *current = app->getModule();
    if (!current)
        VELNOR_THROW("Tried to use default module key when no module", 0);
    return path + current->getModuleName(true);
}

bool mApp::getProfileValue(const mString &name, mString &value, bool user, const mString &module) {
    char buffer[longestText + 2];
    DWORD size = longestText + 1;
    if (!readValue(user, getKeyPath(module), name, REG_SZ, reinterpret_cast<BYTE *>(buffer), size))
        return false;
    // A text stored without its end byte still ends here.
    buffer[size] = 0;
    value = buffer;
    return true;
}

bool mApp::getProfileValue(const mString &name, long &value, bool user, const mString &module) {
    DWORD number = 0;
    DWORD size = sizeof number;
    if (!readValue(user, getKeyPath(module), name, REG_DWORD, reinterpret_cast<BYTE *>(&number), size) ||
        size != sizeof number)
        return false;
    value = (long)number;
    return true;
}

bool mApp::getProfileValue(const mString &name, std::vector<long> &values, int minimum, mString &suffix, bool user,
                           const mString &module) {
    mString text;
    if (!getProfileValue(name, text, user, module))
        return false;
    std::vector<long> found;
    int end = scanNumbers(text, found);
    if ((int)found.size() < minimum)
        return false;
    if (end < text.length())
        suffix = text.substr(text.c_str()[end] == '\'' ? end + 1 : end, -1);
    values.swap(found);
    return true;
}

void mApp::setProfileValue(const mString &name, const mString &value, bool user, const mString &module) {
    writeValue(user, getKeyPath(module), name, REG_SZ, reinterpret_cast<const BYTE *>(value.c_str()),
               (DWORD)value.length() + 1);
}

void mApp::setProfileValue(const mString &name, long value, bool user, const mString &module) {
    DWORD number = (DWORD)value;
    writeValue(user, getKeyPath(module), name, REG_DWORD, reinterpret_cast<const BYTE *>(&number), sizeof number);
}

void mApp::setProfileValue(const mString &name, const std::vector<long> &values, const mString &suffix, bool user,
                           const mString &module) {
    // Room for the longest numbers: one more of 12 characters can follow a length of 137.
    char buffer[longestNumbers + 16];
    int length = 0;
    for (long v : values) {
        length += snprintf(buffer + length, sizeof buffer - length, "%ld ", v);
        if (length >= longestNumbers)
            VELNOR_THROW("Attempted to write too many values to profile", length);
    }
    if (length + suffix.length() >= longestList)
        VELNOR_THROW("Attempted to write a long suffix on value list", length + suffix.length());
    mString text(buffer, (unsigned long)length);
    if (!suffix.empty()) {
        if (needsQuote(suffix[0]))
            text += '\'';
        text += suffix;
    }
    setProfileValue(name, text, user, module);
}
