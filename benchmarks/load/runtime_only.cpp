// A DLL that needs the C++ run-time and nothing else: what a process pays for in any case.
#include <string>

extern "C" __declspec(dllexport) int UseRuntime(int value) {
    return value < 0 ? throw std::string("negative") : static_cast<int>(std::to_string(value).size());
}
