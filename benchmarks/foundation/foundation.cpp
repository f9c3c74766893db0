#include <openssl/evp.h>
#include <windows.h>

#include <algorithm>
#include <codecvt>
#include <locale>
#include <memory>
#include <regex>
#include <sstream>

#include "benchmarks/ratio.h"
#include "foundation/version.h"
#include "tandor/file_classifier.h"
#include "tandor/text.h"

// The standard converter is deprecated, and it is the baseline.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace tandor::bench {
namespace {

// ---- conversion

std::wstring TwoCallsToWide(const std::string& text) {
    const int size = ::MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(size), L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), wide.data(), size);
    return wide;
}

std::string TwoCallsToUtf8(const std::wstring& wide) {
    const int size =
        ::WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), nullptr, 0, nullptr, nullptr);
    std::string text(static_cast<std::size_t>(size), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), text.data(), size, nullptr, nullptr);
    return text;
}

using StandardConverter = std::wstring_convert<std::codecvt_utf8_utf16<wchar_t>>;

void AddConversion(const std::string& what, const std::string& text, double target) {
    const std::wstring wide = TandorUtilClass::ConvertFromBytes(text);
    const Body to_wide = Repeat([text] { return TandorUtilClass::ConvertFromBytes(text); });
    const Body to_utf8 = Repeat([wide] { return TandorUtilClass::ConvertFromWideBytes(wide); });
    Compare("ConvertFromBytes, " + what, "MultiByteToWideChar, two calls", AtLeastAsFast(target), to_wide,
            Repeat([text] { return TwoCallsToWide(text); }));
    Compare("ConvertFromBytes, " + what, "the standard converter", AtLeastAsFast(1), to_wide,
            Repeat([text] { return StandardConverter().from_bytes(text); }));
    Compare("ConvertFromWideBytes, " + what, "WideCharToMultiByte, two calls", AtLeastAsFast(target), to_utf8,
            Repeat([wide] { return TwoCallsToUtf8(wide); }));
    Compare("ConvertFromWideBytes, " + what, "the standard converter", AtLeastAsFast(1), to_utf8,
            Repeat([wide] { return StandardConverter().to_bytes(wide); }));
}

std::string Repeated(const std::string& piece, std::size_t size) {
    std::string text;
    while (text.size() + piece.size() <= size) text += piece;
    return text;
}

// ---- Base64

struct Base64Sample {
    explicit Base64Sample(std::size_t size) : bytes(size, '\0') {
        unsigned value = 1;
        for (char& byte : bytes) byte = static_cast<char>((value = value * 1664525 + 1013904223) >> 24);
        text = Encoded();
        out.resize(text.size() + 1);
    }
    [[nodiscard]] const unsigned char* Data() const { return reinterpret_cast<const unsigned char*>(bytes.data()); }
    [[nodiscard]] std::string Encoded() const {
        return TandorUtilClass::Base64Encode(Data(), static_cast<unsigned>(bytes.size()));
    }
    std::string bytes;
    std::string text;
    std::vector<unsigned char> out;
};

void AddBase64(const std::string& name, std::size_t size) {
    const auto sample = std::make_shared<Base64Sample>(size);
    const auto text = reinterpret_cast<const unsigned char*>(sample->text.data());
    Compare("Base64Encode, " + name, "EVP_EncodeBlock", AtLeastAsFast(1.5),
            Repeat([sample] { return sample->Encoded(); }), Repeat([sample] {
                std::string coded((sample->bytes.size() + 2) / 3 * 4, '\0');
                EVP_EncodeBlock(reinterpret_cast<unsigned char*>(coded.data()), sample->Data(),
                                static_cast<int>(sample->bytes.size()));
                return coded;
            }));
    Compare("Base64Decode, " + name, "EVP_DecodeBlock", AtLeastAsFast(2), Repeat([sample, text] {
                return TandorUtilClass::Base64Decode(text, static_cast<int>(sample->text.size()), sample->out.data());
            }),
            Repeat([sample, text] {
                return EVP_DecodeBlock(sample->out.data(), text, static_cast<int>(sample->text.size()));
            }));
}

// ---- versions

std::vector<std::string> PiecesOf(const std::string& version) {
    std::vector<std::string> pieces;
    std::stringstream stream(version);
    for (std::string piece; std::getline(stream, piece, '.');) pieces.push_back(piece);
    return pieces;
}

int PlainCompare(const std::string& left, const std::string& right) {
    static const std::regex digits("\\d+");
    const auto left_pieces = PiecesOf(left), right_pieces = PiecesOf(right);
    if (left_pieces.size() != right_pieces.size()) return 2;
    for (std::size_t i = 0; i < left_pieces.size(); ++i) {
        std::smatch a, b;
        if (!std::regex_search(left_pieces[i], a, digits) || !std::regex_search(right_pieces[i], b, digits)) return 3;
        const int difference = std::stoi(a.str()) - std::stoi(b.str());
        if (difference != 0) return difference;
    }
    return 0;
}

unsigned PlainPack(const std::string& version) {
    static const std::regex number("\\d+");
    unsigned packed = 0;
    for (const std::string& piece : PiecesOf(version))
        packed = packed << 8 | (std::regex_match(piece, number) ? std::stoul(piece) & 0xFF : 0);
    return packed;
}

void AddVersions() {
    static const std::string high = "10.0.10", low = "10.0.9", packed = "10.0.0.100";
    Compare("CalcVersion", "std::regex and stringstream", AtLeastAsFast(10),
            Repeat([] { return TandorUtilClass::CalcVersion(packed); }), Repeat([] { return PlainPack(packed); }));
    Compare("CompareVersion", "std::regex and stringstream", AtLeastAsFast(10),
            Repeat([] { return static_cast<int>(CompareVersions(high, low)); }),
            Repeat([] { return PlainCompare(high, low); }));
}

// ---- classification

const std::vector<std::vector<std::string>> kRows{
    {"bmp", "jpeg", "gif", "psd", "png", "tiff", "tga", "eps", "jpg", "dng"},
    {"wmv", "avi", "mpg", "rm", "rmvb", "asf", "asx", "3gp", "flv", "mp4", "avi", "mov", "mkv", "mpeg"},
    {"doc", "docx", "dot", "dotx", "docm", "dotm", "xml", "rtf"},
    {"xls", "xlsx", "xlsm", "xlt", "xltx", "xltm", "csv"},
    {"ppt", "pptx", "pps"},
    {"visio"},
    {"pdf", "txt"},
    {"cache"}};

std::size_t RowByRow(const std::string& name) {
    const std::size_t dot = name.rfind('.');
    if (dot == std::string::npos) return kRows.size();
    std::string extension = name.substr(dot + 1);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    for (std::size_t row = 0; row < kRows.size(); ++row) {
        if (std::find(kRows[row].begin(), kRows[row].end(), extension) != kRows[row].end()) return row;
    }
    return kRows.size();
}

void AddClassification() {
    static const std::vector<std::string> names{"DSC_0042.JPG", "holiday.mkv", "report final.docx", "table.csv",
                                                "slides.pptx",  "manual.pdf",  "film.mp4.cache",    "archive.tar.gz"};
    Compare("classify 8 file names", "lower-cased copy, row by row", AtLeastAsFast(10), Repeat([] {
                int sum = 0;
                for (const std::string& name : names) sum += ZellFileClassifier::GetTransferFileType(name);
                return sum;
            }),
            Repeat([] {
                std::size_t sum = 0;
                for (const std::string& name : names) sum += RowByRow(name);
                return sum;
            }));
}

}  // namespace

void AddFoundation() {
    AddConversion("40 B ASCII", Repeated("device name ", 40), 1.2);
    AddConversion("1 KB ASCII", Repeated("C:\\ProgramData\\Comms\\", 1024), 3);
    AddConversion("1 KB CJK", Repeated("\xE6\x89\x8B\xE6\x9C\xBA\xE5\xB1\x8F\xE5\xB9\x95", 1024), 1.2);
    AddBase64("1 KB", 1024);
    AddBase64("1 MB", 1 << 20);
    AddVersions();
    AddClassification();
}

}  // namespace tandor::bench
