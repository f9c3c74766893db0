// The system DLLs that are loaded on first use come from the system directory alone: the helper of the tool chain would
// take one that lies beside the program first.
#include <windows.h>

#include <delayimp.h>

namespace {

FARPROC WINAPI FromSystemDirectory(unsigned stage, PDelayLoadInfo info) {
    if (stage != dliNotePreLoadLibrary) return nullptr;
    return reinterpret_cast<FARPROC>(::LoadLibraryExA(info->szDll, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32));
}

}  // namespace

#if defined(_MSC_VER)
#define TANDOR_HOOK_CONST const
#else
#define TANDOR_HOOK_CONST
#endif

extern "C" {
// NOLINTNEXTLINE(bugprone-reserved-identifier): the helper looks for this name
TANDOR_HOOK_CONST PfnDliHook __pfnDliNotifyHook2 = FromSystemDirectory;
}
