// Which libraries the programs load, and which not.
#include <gtest/gtest.h>

#include "pelora/registry.h"
#include "support/files.h"
#include "support/run_program.h"

namespace {

constexpr wchar_t kProgram[] = L"beside-a-false-dll.exe";
constexpr wchar_t kWineKey[] = L"Software\\Wine\\AppDefaults\\beside-a-false-dll.exe";

TEST(SystemDlls, ComeFromTheSystemDirectoryAndNotFromBesideTheProgram) {
    const tandor::test::TemporaryFolder folder;
    wchar_t self[MAX_PATH];
    ASSERT_NE(::GetModuleFileNameW(nullptr, self, MAX_PATH), 0u);
    const std::filesystem::path bin = std::filesystem::path(self).parent_path();
    for (const auto& entry : std::filesystem::directory_iterator(bin)) {
        if (entry.path().extension() == L".dll")
            std::filesystem::copy_file(entry.path(), folder.path / entry.path().filename());
    }
    std::filesystem::copy_file(bin / L"tandorctl.exe", folder.path / kProgram);
    // It lacks every entry, so the program would end if it took it. Wine prefers its own without being told otherwise.
    std::filesystem::copy_file(bin / L"newdev_double.dll", folder.path / L"setupapi.dll");
    ASSERT_TRUE(DE::Registry::SetValue(DE::RegistryRoot::kCurrentUser, std::wstring(kWineKey) + L"\\DllOverrides",
                                       L"setupapi", L"native,builtin"));
    const auto run = tandor::test::RunProgram(L"\"" + (folder.path / kProgram).native() + L"\" console list");
    DE::Registry::DeleteKey(DE::RegistryRoot::kCurrentUser, kWineKey);
    EXPECT_EQ(run.exit_code, 0) << run.error;
    EXPECT_NE(run.out.find("INSTANCE"), std::string::npos) << run.out;
}

}  // namespace
