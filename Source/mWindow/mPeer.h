// The platform's side of the window layer's peers: casts between the library's opaque peers
// and the platform's handles, and the module its classes and windows are made under. Shared
// by the window layer's sources; not part of the library's interface, so the umbrella header
// leaves it out.
#pragma once
#include "mUtil/mModule.h"

#include <windows.h>

inline HWND hwnd(SYSTEM_INFO_STRUCT *peer) { return reinterpret_cast<HWND>(peer); }
inline HMENU hmenu(SYSTEM_INFO_STRUCT *peer) { return reinterpret_cast<HMENU>(peer); }
inline HINSTANCE hinstance(SYSTEM_INFO_STRUCT *peer) { return reinterpret_cast<HINSTANCE>(peer); }
inline SYSTEM_INFO_STRUCT *handle(void *platformHandle) { return static_cast<SYSTEM_INFO_STRUCT *>(platformHandle); }

// The library's own module, or the program's when the library is linked in.
inline SYSTEM_INFO_STRUCT *libraryInstance() {
    const mModule *library = mModule::getVelnor();
    return library ? library->getInstance() : handle(GetModuleHandleA(nullptr));
}
