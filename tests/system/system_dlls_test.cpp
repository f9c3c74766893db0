// Which libraries the programs load, and which not.
#include <gtest/gtest.h>

#include "app/program_copy.h"
#include "pelora/registry.h"

namespace {

constexpr wchar_t kProgram[] = L"beside-a-false-dll.exe";
constexpr wchar_t kWineKey[] = L"Software\\Wine\\AppDefaults\\beside-a-false-dll.exe";

TEST(SystemDlls, ComeFromTheSystemDirectoryAndNotFromBesideTheProgram) {
    const tandor::test::ProgramCopy program(kProgram);
    // It lacks every entry, so the program would end if it took it. Wine prefers its own without being told otherwise.
    std::filesystem::copy_file(program.Folder() / L"newdev_double.dll", program.Folder() / L"setupapi.dll");
    ASSERT_TRUE(DE::Registry::SetValue(DE::RegistryRoot::kCurrentUser, std::wstring(kWineKey) + L"\\DllOverrides",
                                       L"setupapi", L"native,builtin"));
    const auto run = program.Run(L"console list");
    DE::Registry::DeleteKey(DE::RegistryRoot::kCurrentUser, kWineKey);
    EXPECT_EQ(run.exit_code, 0) << run.error;
    EXPECT_NE(run.out.find("INSTANCE"), std::string::npos) << run.out;
}

}  // namespace
