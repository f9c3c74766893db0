// The key of the user's hive in which the feature keeps its state.
#pragma once

namespace tandor {

inline constexpr const wchar_t* kSharingKey = L"\\SOFTWARE\\Vextro\\Pelora\\KoShare";

}  // namespace tandor
