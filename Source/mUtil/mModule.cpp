#include "mUtil/mModule.h"
#include "mUtil/mCodec.h"

#include <cstring>
#include <memory>
#include <vector>
#include <windows.h>

static const char srcPath[] = "mUtil/mModule";

namespace {
mModule *velnorModule = nullptr;
HMODULE handleOf(SYSTEM_INFO_STRUCT *instance) { return reinterpret_cast<HMODULE>(instance); }

// The module's file name, read into room bytes; false when the platform refuses.
bool moduleFileName(SYSTEM_INFO_STRUCT *instance, DWORD room, mString &name) {
    std::vector<char> buffer(room);
    DWORD n = GetModuleFileNameA(handleOf(instance), buffer.data(), room);
    if (n == 0)
        return false;
    name.assign(buffer.data(), n < room ? n : room - 1);
    return true;
}

// One string of a version block. Only the two US-English blocks are searched, the ANSI one first.
mString versionString(const void *block, const char *name) {
    static const char *const languages[] = {"040904E4", "040904B0"};
    for (const char *language : languages) {
        mString path = mString("\\StringFileInfo\\") + language + "\\" + name;
        void *value = nullptr;
        UINT length = 0;
        if (VerQueryValueA(block, path.c_str(), &value, &length) && value)
            return mString(static_cast<const char *>(value), strnlen(static_cast<const char *>(value), length));
    }
    return mString();
}

// A resource as bytes inside the module; type is a name or an integer type.
const void *lockResource(SYSTEM_INFO_STRUCT *instance, const char *type, long &size, unsigned short id) {
    HMODULE h = handleOf(instance);
    HRSRC found = FindResourceA(h, MAKEINTRESOURCEA(id), type);
    if (!found)
        VELNOR_THROW("Resource not found", id);
    size = (long)SizeofResource(h, found);
    return LockResource(LoadResource(h, found));
}

const long long longestExpansion = mCodec::LZSS_MOST_PER_BYTE;
} // namespace

mModule::mModule(SYSTEM_INFO_STRUCT *instance) : owned(false), instance(instance) {}

mModule::mModule(const mString &path, bool owned) : owned(owned), instance(nullptr) {
    HMODULE h = LoadLibraryA(path.c_str());
    if (!h)
        VELNOR_THROW("Module Not Found", GetLastError());
    instance = reinterpret_cast<SYSTEM_INFO_STRUCT *>(h);
}

mModule::~mModule() {
    if (owned && instance)
        FreeLibrary(handleOf(instance));
}

void (*mModule::getEntryPoint(const mString &name) const)(void) {
    return reinterpret_cast<void (*)(void)>(GetProcAddress(handleOf(instance), name.c_str()));
}

mString mModule::getFileName() const {
    mString name;
    if (!moduleFileName(instance, 260, name))
        VELNOR_THROW("GetModuleFileName failure!", GetLastError());
    return name;
}

mFSdir mModule::getModuleDirectory() const {
    mString file = getFileName();
    int sep = file.rfind(mFSobject::getPathSep(), -1);
    return mFSdir(sep >= 0 ? file.substr(0, sep) : file);
}

mString mModule::getModuleName(bool noExtension) const {
    mString file = getFileName();
    int sep = file.rfind(mFSobject::getPathSep(), -1);
    mString result = sep >= 0 ? file.substr(sep + 1, -1) : file;
    if (noExtension) {
        int dot = result.rfind('.', -1);
        if (dot >= 0)
            result = result.substr(0, dot);
    }
    return result;
}

bool mModule::getModuleVersion(mString &product, mString &version) const {
    mString file;
    if (!moduleFileName(instance, 256, file)) {
        product = version = mString();
        return false;
    }
    DWORD handle = 0;
    DWORD size = GetFileVersionInfoSizeA(file.c_str(), &handle);
    if (size == 0) {
        product = "Unknown library";
        version = "Unknown";
        return false;
    }
    std::vector<char> block(size);
    if (!GetFileVersionInfoA(file.c_str(), 0, size, block.data()))
        return false;
    product = versionString(block.data(), "ProductName");
    version = versionString(block.data(), "ProductVersion");
    if (version.empty())
        version = versionString(block.data(), "FileVersion");
    return true;
}

void mModule::getCodeVersion(int *numbers) {
    numbers[0] = numbers[1] = numbers[2] = 0;
    mString product, version;
    getModuleVersion(product, version);
    int k = 0;
    for (const char *p = version.c_str(); *p; ++p) {
        char c = *p;
        if (c == '.') {
            if (++k == 3)
                break;
        } else if (c >= '0' && c <= '9') {
            // Wraps instead of overflowing on an absurd run of digits.
            numbers[k] = (int)((unsigned)numbers[k] * 10u + (unsigned)(c - '0'));
        }
    }
}

const void *mModule::loadAnyResource(const mString &type, long &size, unsigned short id) {
    return lockResource(instance, type.c_str(), size, id);
}

const void *mModule::loadBitMapResource(long &size, unsigned short id) {
    return lockResource(instance, MAKEINTRESOURCEA(2), size, id);
}

mString mModule::loadString(unsigned short id) {
    char buffer[249];
    int n = LoadStringA(handleOf(instance), id, buffer, sizeof buffer);
    return n > 0 ? mString(buffer, (unsigned long)n) : mString();
}

void *mModule::decodeCompressed(const void *data, long &size) {
    const unsigned char *block = static_cast<const unsigned char *>(data);
    if (!block || size < 8)
        VELNOR_THROW("Short compression file", size);
    long decoded = leReadLong(block), stored = leReadLong(block + 4);
    // A stored size below the header, or a decoded size the data cannot produce, is a lie too.
    if (stored < 8 || size < stored || decoded <= 0 || decoded > (stored - 8) * longestExpansion)
        VELNOR_THROW("Short compression file", decoded);
    std::unique_ptr<unsigned char[]> target(new unsigned char[decoded]);
    // A stream that stops early would hand out bytes it never wrote.
    if (mCodec::unCompress(block + 8, stored - 8, target.get(), decoded) < decoded)
        VELNOR_THROW("Short compression file", decoded);
    size = decoded;
    return target.release();
}

const mModule *mModule::getVelnor() { return velnorModule; }

void mModule::attachLibrary(SYSTEM_INFO_STRUCT *instance) {
    if (!velnorModule)
        velnorModule = new mModule(instance);
}

void mModule::detachLibrary() {
    delete velnorModule;
    velnorModule = nullptr;
}

mAccel::mAccel(mModule *module, unsigned short id)
    : table(reinterpret_cast<SYSTEM_INFO_STRUCT *>(
          LoadAcceleratorsA(module ? handleOf(module->getInstance()) : nullptr, MAKEINTRESOURCEA(id)))),
      id(id) {}
