// tandorctl in a folder of its own with other letters: its libraries, and no configuration.
#pragma once

#include "support/files.h"
#include "support/run_program.h"

namespace tandor::test {

class ProgramCopy {
public:
    ProgramCopy() {
        std::wstring own(MAX_PATH, L'\0');
        own.resize(::GetModuleFileNameW(nullptr, own.data(), MAX_PATH));
        for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::path(own).parent_path())) {
            if (entry.path().extension() == L".dll" || entry.path().filename() == L"tandorctl.exe")
                std::filesystem::copy_file(entry.path(), folder_.path / entry.path().filename());
        }
        std::filesystem::create_directories(folder_.path / L"config" / L"VxExScreen");
    }

    [[nodiscard]] const std::filesystem::path& Folder() const { return folder_.path; }
    [[nodiscard]] ProgramRun Run(const std::wstring& arguments, const std::string& input = {}) const {
        return RunProgram(L"\"" + (folder_.path / L"tandorctl.exe").native() + L"\" " + arguments, input);
    }

private:
    TemporaryFolder folder_;
};

}  // namespace tandor::test
