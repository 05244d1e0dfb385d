#include "mUtil/mModule.h"

#include <windows.h>

static const char srcPath[] = "mUtil/mModule";

namespace {
mModule *velnorModule = nullptr;
HMODULE handleOf(SYSTEM_INFO_STRUCT *instance) { return reinterpret_cast<HMODULE>(instance); }
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
    char buffer[260];
    DWORD n = GetModuleFileNameA(handleOf(instance), buffer, sizeof buffer);
    if (n == 0)
        VELNOR_THROW("GetModuleFileName failure!", GetLastError());
    return mString(buffer, n);
}

mFSdir mModule::getModuleDirectory() {
    mString file = getFileName();
    int sep = file.rfind(mFSobject::getPathSep(), -1);
    return mFSdir(sep >= 0 ? file.substr(0, sep) : file);
}

mString mModule::getModuleName(bool noExtension) {
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
