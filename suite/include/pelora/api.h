/// @file
/// What marks the suite's exported operations.
#pragma once

/// @def PELORA_API
/// Stands at every exported name: export while the suite is built, import for its users, nothing elsewhere.

#if defined(_WIN32)
#if defined(PELORA_BUILDING)
#define PELORA_API __declspec(dllexport)
#else
#define PELORA_API __declspec(dllimport)
#endif
#else
#define PELORA_API
#endif
