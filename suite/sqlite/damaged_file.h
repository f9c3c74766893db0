// What happens to a database that is damaged: it is kept under another name, and a new one takes its place.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace pelora {

// Renames the database and its journal to "<name>.damaged-<time>" beside it, unless `check`, which opens it anew and
// reads all of it, finds nothing: another process may have met the same damage and have begun the new one already. The
// caller has closed its own connection. Returns what happened, for the log, beginning with `cause`; empty when there
// was nothing to do. `check` throws SqliteError.
std::string SetAsideDamaged(const std::filesystem::path& file, const std::string& cause,
                            const std::function<void()>& check);

}  // namespace pelora
