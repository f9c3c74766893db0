// What marks the library's exported classes. TANDOR_BUILDING is set while the library itself is built.
#pragma once

#if defined(_WIN32)
#if defined(TANDOR_BUILDING)
#define TANDOR_API __declspec(dllexport)
#else
#define TANDOR_API __declspec(dllimport)
#endif
#else
#define TANDOR_API
#endif
