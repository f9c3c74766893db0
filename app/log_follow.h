// Reading a log while others write to it and rename it.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "base/win_handle.h"

namespace tandor::app {

// Which file a handle or name stands for, whatever it is called by now.
struct FileIdentity {
    unsigned long volume = 0;
    unsigned long long index = 0;

    bool operator==(const FileIdentity&) const = default;
};

// Follows name.log through its renames to name.1.log, name.2.log and so on. It holds files open in the way that lets
// others write, rename and delete them.
class LogFollower {
public:
    // The file need not be there yet.
    explicit LogFollower(std::filesystem::path file);

    // The whole lines that came since the last call, without their ends; the first time all that the file has. Lines
    // that were written, renamed beyond the oldest kept file and dropped between two calls are missing.
    std::vector<std::string> NewLines();

private:
    struct Opened {
        FileHandle file;
        FileIdentity identity;
    };

    static Opened Open(const std::filesystem::path& file);
    void ReadRest(std::vector<std::string>& lines);
    [[nodiscard]] std::vector<Opened> Since(Opened newest) const;

    std::filesystem::path path_;
    Opened current_;
    std::string rest_;  // of a line that is not whole yet
};

}  // namespace tandor::app
