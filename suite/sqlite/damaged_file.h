// What happens to a database that is damaged: it is kept under another name, and a new one takes its place.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

namespace pelora {

struct SettingAside {
    bool done;         // or there was nothing to do
    std::string text;  // what happened, for the log, beginning with the cause; empty when there was nothing to do
};

// One thread at a time.
class DamagedFile {
public:
    explicit DamagedFile(const std::filesystem::path& file);

    // Renames the database and its journal to "<name>.damaged-<time>" beside it, unless `check`, which opens it anew
    // and reads all of it, finds nothing: another process may have met the same damage and have begun the new one
    // already. What other processes have open cannot be renamed: it is copied, then emptied where it is. All of that
    // takes long; where it fails, it is tried again after five seconds, and a call before that says the same at once.
    // The caller has closed its own connection. `check` throws SqliteError.
    SettingAside SetAside(const std::string& cause, const std::function<void()>& check);

private:
    SettingAside Try(const std::string& cause, const std::function<void()>& check) const;

    const std::filesystem::path file_;
    SettingAside last_{true, {}};
    std::uint64_t next_try_ = 0;  // tick count
};

}  // namespace pelora
