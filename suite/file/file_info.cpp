#include "pelora/file_info.h"

#include "base/utf.h"
#include "pelora/registry.h"

std::string FileInfo::GetPeloraCommDir() {
    static const std::string directory = [] {
        std::wstring configured;
        DE::Registry::GetValue(DE::RegistryRoot::kLocalMachine, L"SOFTWARE\\Vextro\\Pelora", L"CommonDirectory",
                               configured);
        while (!configured.empty() && configured.back() == L'\\') configured.pop_back();
        return configured.empty() ? std::string("C:\\ProgramData\\Comms\\Pelora")
                                  : tandor::Utf8FromWideLossy(configured);
    }();
    return directory;
}
