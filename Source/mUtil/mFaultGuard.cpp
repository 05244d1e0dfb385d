#include "mUtil/mFaultGuard.h"

#include <cstdio>
#include <windows.h>

namespace {

// The code under which a C++ exception of this compiler travels through the platform.
const unsigned long FOREIGN_EXCEPTION = 0x20474343;

struct Guard {
    void *jump[5];
    mFaultInfo fault;
    Guard *previous;
    DWORD thread;
};

Guard *active = nullptr;
PVOID vectored = nullptr;
LPTOP_LEVEL_EXCEPTION_FILTER previousFilter = nullptr;

// The recovery runs on a stack of its own, so that a stack overflow can be recovered too.
alignas(16) char recoveryStack[64 * 1024];

[[noreturn]] void recover() { __builtin_longjmp(active->jump, 1); }

bool isProcessorFault(DWORD code) {
    switch (code) {
    case 0x80000002: case 0xC0000005: case 0xC0000006: case 0xC000001D: case 0xC0000025:
    case 0xC000008C: case 0xC000008D: case 0xC000008E: case 0xC000008F: case 0xC0000090:
    case 0xC0000091: case 0xC0000092: case 0xC0000093: case 0xC0000094: case 0xC0000095:
    case 0xC0000096: case 0xC00000FD:
        return true;
    default:
        return false;
    }
}

// Faults inside the system's own modules may be expected and handled there.
bool inSystemModule(const void *address) {
    HMODULE module;
    if (!GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            static_cast<LPCSTR>(address), &module))
        return false;
    char file[MAX_PATH], system[MAX_PATH];
    UINT n = GetSystemDirectoryA(system, sizeof system);
    if (!GetModuleFileNameA(module, file, sizeof file) || n == 0)
        return false;
    return CompareStringA(LOCALE_INVARIANT, NORM_IGNORECASE, file, (int)n, system, (int)n) == CSTR_EQUAL;
}

LONG redirect(EXCEPTION_POINTERS *info) {
    const EXCEPTION_RECORD *record = info->ExceptionRecord;
    mFaultInfo &fault = active->fault;
    fault.code = record->ExceptionCode;
    fault.address = record->ExceptionAddress;
    if (record->ExceptionCode == 0xC0000005 && record->NumberParameters >= 2) {
        fault.write = record->ExceptionInformation[0] == 1;
        fault.target = reinterpret_cast<const void *>(record->ExceptionInformation[1]);
    }
    CONTEXT *context = info->ContextRecord;
    context->Rip = reinterpret_cast<DWORD64>(&recover);
    // As if called: the return-address slot leaves the stack 8 below a 16-byte boundary.
    context->Rsp = reinterpret_cast<DWORD64>(recoveryStack + sizeof recoveryStack) - 8;
    return EXCEPTION_CONTINUE_EXECUTION;
}

// Only faults of the thread that runs the guarded work are its business.
bool guarding() { return active && active->thread == GetCurrentThreadId(); }

LONG CALLBACK firstChance(EXCEPTION_POINTERS *info) {
    if (!guarding() || !isProcessorFault(info->ExceptionRecord->ExceptionCode) ||
        inSystemModule(info->ExceptionRecord->ExceptionAddress))
        return EXCEPTION_CONTINUE_SEARCH;
    return redirect(info);
}

LONG WINAPI unhandled(EXCEPTION_POINTERS *info) {
    if (guarding())
        return redirect(info);
    return previousFilter ? previousFilter(info) : EXCEPTION_CONTINUE_SEARCH;
}

void install() {
    if (vectored)
        return;
    vectored = AddVectoredExceptionHandler(1, firstChance);
    previousFilter = SetUnhandledExceptionFilter(unhandled);
}

const char *description(unsigned long code) {
    switch (code) {
    case 0x80000002: return "Data misalign";
    case 0x80000003: return "Breakpoint";
    case 0x80000004: return "Single step";
    case 0xC0000006: return "Page error";
    case 0xC000001D: return "Illegal instruction";
    case 0xC0000025: return "Cannot continue after exception";
    case 0xC000008C: return "Array bounds exceeded";
    case 0xC000008D: return "Unnormalized float";
    case 0xC000008E: return "Float divide by 0";
    case 0xC000008F: return "Inexact result";
    case 0xC0000090: return "Float invalid operation";
    case 0xC0000091: return "Float overflow";
    case 0xC0000092: return "Float stack check";
    case 0xC0000093: return "Float underflow";
    case 0xC0000094: return "Divide by 0";
    case 0xC0000095: return "Int overflow";
    case 0xC0000096: return "Privileged instruction";
    case 0xC00000FD: return "Stack overflow";
    default: return nullptr;
    }
}

} // namespace

bool mFaultGuard::run(int (*body)(void *), void *context, int &result, mFaultInfo &fault) {
    install();
    Guard guard;
    guard.previous = active;
    guard.thread = GetCurrentThreadId();
    if (__builtin_setjmp(guard.jump)) {
        active = guard.previous;
        fault = guard.fault;
        return false;
    }
    active = &guard;
    try {
        result = body(context);
    } catch (...) {
        active = guard.previous;
        fault = mFaultInfo();
        fault.code = FOREIGN_EXCEPTION;
        return false;
    }
    active = guard.previous;
    return true;
}

mString mFaultGuard::describe(const mFaultInfo &fault) {
    char what[96];
    if (fault.code == 0xC0000005)
        snprintf(what, sizeof what, fault.write ? "Access violation writing to 0x%08llX" : "Access violation reading 0x%08llX",
                 (unsigned long long)(uintptr_t)fault.target);
    else if (const char *text = description(fault.code))
        snprintf(what, sizeof what, "%s", text);
    else
        snprintf(what, sizeof what, "0x%lX", fault.code);
    char line[160];
    snprintf(line, sizeof line, "Exception: %s occurred at 0x%08llX", what, (unsigned long long)(uintptr_t)fault.address);
    return mString(line);
}
