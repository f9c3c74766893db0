// Where the suite's files, this program and the system lie, and what is in them, for looking only.
#pragma once

#include <windows.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace tandor::app {

struct LogChannel {
    std::string name;
    std::filesystem::path file;
};

// The three channels with their present files; older ones lie beside them.
const std::vector<LogChannel>& LogChannels();
std::filesystem::path HostLogFolder();
// Of the process that has this number, or had it last; empty when there is none.
std::filesystem::path HostLogFile(unsigned long process);
std::filesystem::path DeviceStoreFile();
std::filesystem::path OutboxFile();

// Of a loaded library or program; tandorctl.exe itself, and where it lies.
std::filesystem::path PathOfModule(HMODULE module);
std::filesystem::path ProgramFile();
std::filesystem::path ProgramFolder();

// Where the system's own libraries and programs are.
std::filesystem::path SystemFolder();

struct FolderContent {
    std::size_t files = 0;
    std::uint64_t bytes = 0;
};

// Of the folder itself, not of folders in it. Nothing when there is none.
FolderContent ContentOf(const std::filesystem::path& folder);

// "3 files, 12,345 bytes".
std::string ContentText(const FolderContent& content);

}  // namespace tandor::app
