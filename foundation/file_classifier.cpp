#include "tandor/file_classifier.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace {

using Extensions = std::span<const std::string_view>;

constexpr std::array<std::string_view, 10> kImage{"bmp",  "jpeg", "gif", "psd", "png",
                                                  "tiff", "tga",  "eps", "jpg", "dng"};
constexpr std::array<std::string_view, 14> kVideo{"wmv", "avi", "mpg", "rm",  "rmvb", "asf", "asx",
                                                  "3gp", "flv", "mp4", "avi", "mov",  "mkv", "mpeg"};
constexpr std::array<std::string_view, 8> kTextDocument{"doc", "docx", "dot", "dotx", "docm", "dotm", "xml", "rtf"};
constexpr std::array<std::string_view, 7> kSpreadsheet{"xls", "xlsx", "xlsm", "xlt", "xltx", "xltm", "csv"};
constexpr std::array<std::string_view, 3> kPresentation{"ppt", "pptx", "pps"};
constexpr std::array<std::string_view, 1> kDiagram{"visio"};
constexpr std::array<std::string_view, 2> kFixedLayout{"pdf", "txt"};
constexpr std::array<std::string_view, 1> kTransferCache{"cache"};

// The row's index is the class.
constexpr std::array<Extensions, 8> FILE_TYPE_FILTER_LIST{kImage,        kVideo,   kTextDocument, kSpreadsheet,
                                                          kPresentation, kDiagram, kFixedLayout,  kTransferCache};

// An extension of one to seven characters as one number: its bytes, and its length in the top byte. 0 is no key.
constexpr std::size_t kLongest = 7;

constexpr std::uint64_t PackKey(std::string_view extension) {
    std::uint64_t key = std::uint64_t{extension.size()} << 56;
    for (std::size_t i = 0; i < extension.size(); ++i) {
        const auto byte = static_cast<unsigned char>(extension[i]);
        const unsigned char lower = byte >= 'A' && byte <= 'Z' ? static_cast<unsigned char>(byte + ('a' - 'A')) : byte;
        key |= std::uint64_t{lower} << (8 * i);
    }
    return key;
}

// The rows once more as an open hash table, made by the compiler.
struct Slot {
    std::uint64_t key = 0;
    std::uint8_t row = 0;
};
constexpr int kTableBits = 7;
constexpr std::size_t kMask = (std::size_t{1} << kTableBits) - 1;
using Table = std::array<Slot, kMask + 1>;

constexpr std::size_t HashKey(std::uint64_t key) {
    return static_cast<std::size_t>(key * 0x9E3779B97F4A7C15 >> (64 - kTableBits));
}

constexpr std::size_t FindSlot(const Table& table, std::uint64_t key) {
    std::size_t slot = HashKey(key);
    while (table[slot].key != 0 && table[slot].key != key) slot = (slot + 1) & kMask;
    return slot;
}

constexpr Table kTable = [] {
    Table table{};
    for (std::size_t row = 0; row < FILE_TYPE_FILTER_LIST.size(); ++row) {
        for (const std::string_view extension : FILE_TYPE_FILTER_LIST[row]) {
            Slot& slot = table[FindSlot(table, PackKey(extension))];
            if (slot.key == 0) slot = {PackKey(extension), static_cast<std::uint8_t>(row)};  // the first row wins
        }
    }
    return table;
}();

}  // namespace

ZellTransferFileType ZellFileClassifier::GetTransferFileType(const std::string& fileName) {
    // A last dot further to the front has an extension behind it that is too long to be listed.
    const std::string_view end =
        std::string_view(fileName).substr(fileName.size() - std::min(fileName.size(), kLongest + 1));
    const std::size_t dot = end.rfind('.');
    if (dot == std::string_view::npos || dot + 1 == end.size()) return ZELL_FILE_OTHER;
    const std::string_view extension = end.substr(dot + 1);
    const std::uint64_t key = PackKey(extension);
    const Slot& slot = kTable[FindSlot(kTable, key)];
    return slot.key == key ? static_cast<ZellTransferFileType>(slot.row) : ZELL_FILE_OTHER;
}

bool ZellFileClassifier::IsImage(const std::string& fileName) { return IsImage(GetTransferFileType(fileName)); }
bool ZellFileClassifier::IsImage(ZellTransferFileType type) { return type == ZELL_FILE_IMAGE; }
bool ZellFileClassifier::IsVideo(const std::string& fileName) { return IsVideo(GetTransferFileType(fileName)); }
bool ZellFileClassifier::IsVideo(ZellTransferFileType type) { return type == ZELL_FILE_VIDEO; }
bool ZellFileClassifier::IsDocument(const std::string& fileName) { return IsDocument(GetTransferFileType(fileName)); }
bool ZellFileClassifier::IsDocument(ZellTransferFileType type) {
    return type >= ZELL_FILE_TEXT_DOCUMENT && type <= ZELL_FILE_FIXED_LAYOUT;
}
bool ZellFileClassifier::IsTransferCacheFile(const std::string& fileName) {
    return IsTransferCacheFile(GetTransferFileType(fileName));
}
bool ZellFileClassifier::IsTransferCacheFile(ZellTransferFileType type) { return type == ZELL_FILE_TRANSFER_CACHE; }

std::wstring ZellFileClassifier::MakeCacheFileType(const std::wstring& fileName) { return fileName + L".cache"; }
