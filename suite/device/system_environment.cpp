#include "pelora/system_environment.h"

#include "base/utf.h"
#include "pelora/registry.h"

std::string SystemEnvironment::GetUserFireWallPlan() {
    std::wstring plan;
    for (const DE::RegistryRoot root : {DE::RegistryRoot::kUser, DE::RegistryRoot::kLocalMachine}) {
        if (DE::Registry::GetValue(root, L"SOFTWARE\\Vextro\\Pelora", L"FireWallPlan", plan)) break;
    }
    return tandor::Utf8FromWideLossy(plan);
}
