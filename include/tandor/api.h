/// @file
/// What marks the library's exported classes. TANDOR_BUILDING is set while the library itself is built.
#pragma once

/// @def TANDOR_API
/// Stands at every exported name: export while the library is built, import for its users, nothing elsewhere.

#if defined(_WIN32)
#if defined(TANDOR_BUILDING)
#define TANDOR_API __declspec(dllexport)
#else
#define TANDOR_API __declspec(dllimport)
#endif
#else
#define TANDOR_API
#endif
