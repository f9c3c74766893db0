// What nearly every test uses, so that a test's own list of headers says what it is about.
#pragma once

#ifdef _WIN32
// The sockets' header has to come before the other.
#include <winsock2.h>

#include <windows.h>
#endif

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "base/utf.h"
#include "support/gate.h"
#include "support/host_log.h"
#include "support/tally.h"
#ifdef _WIN32
#include "base/win_handle.h"
#include "support/child.h"
#include "support/files.h"
#include "support/import_patch.h"
#include "support/own_resources.h"
#include "support/registry_value.h"
#include "support/run_program.h"
#endif

namespace tandor::test {

using testing::AllOf, testing::AnyOf, testing::Contains, testing::Each, testing::ElementsAre, testing::EndsWith;
using testing::HasSubstr, testing::IsEmpty, testing::Not, testing::SizeIs, testing::StartsWith;
using testing::UnorderedElementsAre;

// Calls `work` with 0 to count - 1, each on a thread of its own, and returns when all have ended.
template <class Work>
void InThreads(int count, const Work& work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) threads.emplace_back(work, i);
    for (std::thread& thread : threads) thread.join();
}

// The lines of a text, however they end. The last one counts when it is not empty.
inline std::vector<std::string> LinesIn(std::string text) {
    std::erase(text, '\r');
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

}  // namespace tandor::test
