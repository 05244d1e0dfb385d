// Definitions every header of the library shares.
#pragma once

#ifdef VELNOR11_BUILD
#define VELNOR_API __declspec(dllexport)
#else
#define VELNOR_API __declspec(dllimport)
#endif

// The opaque handle of every platform object: windows, modules, drawing objects.
struct SYSTEM_INFO_STRUCT;

// Every source file names its own module-relative path in srcPath; a throw site
// adds the message, the value and its line.
#define VELNOR_THROW(message, value) throw mError((message), (long)(value), srcPath, __LINE__)
