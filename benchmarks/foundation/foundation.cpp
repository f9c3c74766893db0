#include <openssl/evp.h>
#include <windows.h>

#include <algorithm>
#include <codecvt>
#include <locale>

#include "benchmarks/ratio.h"
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

void AddBase64() {
    static std::string bytes(1 << 20, '\0');
    unsigned value = 1;
    for (char& byte : bytes) byte = static_cast<char>((value = value * 1664525 + 1013904223) >> 24);
    static const std::string text = TandorUtilClass::Base64Encode(reinterpret_cast<const unsigned char*>(bytes.data()),
                                                                  static_cast<unsigned>(bytes.size()));
    static std::vector<unsigned char> out(text.size() + 1);
    Compare("Base64Encode, 1 MB", "EVP_EncodeBlock", AtLeastAsFast(1.5), Repeat([] {
                return TandorUtilClass::Base64Encode(reinterpret_cast<const unsigned char*>(bytes.data()),
                                                     static_cast<unsigned>(bytes.size()));
            }),
            Repeat([] {
                std::string coded((bytes.size() + 2) / 3 * 4, '\0');
                EVP_EncodeBlock(reinterpret_cast<unsigned char*>(coded.data()),
                                reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
                return coded;
            }));
    Compare("Base64Decode, 1 MB", "EVP_DecodeBlock", AtLeastAsFast(2), Repeat([] {
                return TandorUtilClass::Base64Decode(reinterpret_cast<const unsigned char*>(text.data()),
                                                     static_cast<int>(text.size()), out.data());
            }),
            Repeat([] {
                return EVP_DecodeBlock(out.data(), reinterpret_cast<const unsigned char*>(text.data()),
                                       static_cast<int>(text.size()));
            }));
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
    AddBase64();
    AddClassification();
}

}  // namespace tandor::bench
