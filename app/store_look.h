// Looking at a store of the suite without changing anything: its own code makes, mends and sets aside.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace tandor::app {

struct StoreLook {
    enum class State { kAbsent, kWhole, kForeign, kDamaged, kUnreadable };
    State state = State::kAbsent;
    std::string trouble;      // of the last three
    std::uint64_t bytes = 0;  // of the file without its journal
    std::int64_t rows = 0;    // of the table
};

// Reads all of the file. It is foreign when it is no database or does not have the table.
StoreLook LookAtStore(const std::filesystem::path& file, const std::string& table);

// Why the file is foreign; empty when it is not. Reads its first pages alone.
std::string WhyForeign(const std::filesystem::path& file, const std::string& table);

}  // namespace tandor::app
