// Real files and folders for tests.
#pragma once

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tandor/uncopyable.h"

namespace tandor::test {

inline std::string ReadAll(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteAll(const std::filesystem::path& path, std::string_view text) {
    std::ofstream(path, std::ios::binary).write(text.data(), static_cast<std::streamsize>(text.size()));
}

// A folder of its own, with a name that is not ASCII, gone at the end.
class TemporaryFolder : UnCopyable {
public:
    TemporaryFolder() {
        static int number = 0;
        path = std::filesystem::temp_directory_path() /
               (L"tandor-Прüfung-手机-" + std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(++number));
        std::filesystem::create_directories(path);
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }

    std::filesystem::path path;
};

}  // namespace tandor::test
