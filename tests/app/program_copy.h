// tandorctl in a folder of its own with other letters, under any name: its libraries, and no configuration.
#pragma once

#include "support/files.h"
#include "support/run_program.h"

namespace tandor::test {

class ProgramCopy {
public:
    explicit ProgramCopy(const wchar_t* name = L"tandorctl.exe") : program_(folder_.path / name) {
        std::wstring own(MAX_PATH, L'\0');
        own.resize(::GetModuleFileNameW(nullptr, own.data(), MAX_PATH));
        const std::filesystem::path bin = std::filesystem::path(own).parent_path();
        for (const auto& entry : std::filesystem::directory_iterator(bin)) {
            if (entry.path().extension() == L".dll")
                std::filesystem::copy_file(entry.path(), folder_.path / entry.path().filename());
        }
        std::filesystem::copy_file(bin / L"tandorctl.exe", program_);
        std::filesystem::create_directories(folder_.path / L"config" / L"VxExScreen");
    }

    [[nodiscard]] const std::filesystem::path& Folder() const { return folder_.path; }
    [[nodiscard]] ProgramRun Run(const std::wstring& arguments, const std::string& input = {}) const {
        return RunProgram(L"\"" + program_.native() + L"\" " + arguments, input);
    }

private:
    TemporaryFolder folder_;
    std::filesystem::path program_;
};

}  // namespace tandor::test
