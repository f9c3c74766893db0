// The COM apartments that a caller's thread may be in.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <objbase.h>

#include <optional>
#include <thread>
#include <utility>

namespace tandor::test {

// Does `work` on a thread that has entered no apartment, the one of many threads, and one of its own, and expects each
// thread to be left as it was: entering once more says S_OK where there was none, S_FALSE in the same one.
template <class Work>
void InEachApartment(const Work& work) {
    const std::pair<std::optional<DWORD>, HRESULT> apartments[] = {
        {std::nullopt, S_OK}, {COINIT_MULTITHREADED, S_FALSE}, {COINIT_APARTMENTTHREADED, S_FALSE}};
    for (const auto& [before, left] : apartments) {
        std::thread([&work, before = before, left = left] {
            EXPECT_TRUE(!before || ::CoInitializeEx(nullptr, *before) == S_OK);
            work();
            EXPECT_EQ(::CoInitializeEx(nullptr, before.value_or(COINIT_MULTITHREADED)), left);
            ::CoUninitialize();
            if (before) ::CoUninitialize();
        }).join();
    }
}

}  // namespace tandor::test
