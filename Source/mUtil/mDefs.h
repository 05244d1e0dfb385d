// Definitions every header of the library shares.
#pragma once

#ifdef VELNOR11_BUILD
#define VELNOR_API __declspec(dllexport)
#else
#define VELNOR_API __declspec(dllimport)
#endif

#include <cstdint>

// The platform's message parameters and result, at their full width: a pointer or handle
// travels in them.
typedef uintptr_t mWParam;
typedef intptr_t mLParam;
typedef intptr_t mLResult;

// The opaque handle of every platform object: windows, modules, drawing objects.
struct SYSTEM_INFO_STRUCT;

// Every source file names its own module-relative path in srcPath; a throw site
// adds the message, the value and its line.
#define VELNOR_THROW(message, value) throw mError((message), (long)(value), srcPath, __LINE__)
