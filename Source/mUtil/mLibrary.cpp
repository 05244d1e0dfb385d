// The library's start and end in a process.
#include "mSprite/mBitMap.h"
#include "mUtil/mModule.h"

#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    switch (reason) {
    case DLL_PROCESS_ATTACH:
        mModule::attachLibrary(reinterpret_cast<SYSTEM_INFO_STRUCT *>(instance));
        mBitMap::registerAll();
        break;
    case DLL_PROCESS_DETACH:
        mBitMap::unregisterAll();
        mModule::detachLibrary();
        break;
    default:
        break;
    }
    return TRUE;
}
