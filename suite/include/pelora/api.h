// What marks the suite's exported operations.
#pragma once

#if defined(_WIN32)
#if defined(PELORA_BUILDING)
#define PELORA_API __declspec(dllexport)
#else
#define PELORA_API __declspec(dllimport)
#endif
#else
#define PELORA_API
#endif
