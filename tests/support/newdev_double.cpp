// Stands in for the system's device-installation library in programs that the tests start: every driver fits.
#include <windows.h>

extern "C" {
__declspec(dllexport) BOOL WINAPI UpdateDriverForPlugAndPlayDevicesW(HWND, LPCWSTR, LPCWSTR, DWORD, BOOL*) {
    return TRUE;
}
__declspec(dllexport) BOOL WINAPI DiUninstallDriverW(HWND, LPCWSTR, DWORD, BOOL*) { return TRUE; }
}
