#include "device/hex_dump.h"

#include <algorithm>
#include <string>
#include <utility>

#include "base/hex.h"

namespace tandor {
namespace {

constexpr std::size_t kRow = 16;  // bytes in a line of most dumps

std::string_view DigitsAt(std::string_view text) {
    const auto end = std::find_if(text.begin(), text.end(), [](char c) { return HexValue(c) < 0; });
    return text.substr(0, static_cast<std::size_t>(end - text.begin()));
}

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

class DumpReader {
public:
    HexDump Read(std::string_view text) {
        const std::size_t export_at = text.find("hex:");
        const bool exported = export_at != std::string_view::npos;
        if (exported) {
            dump_.line = static_cast<std::size_t>(std::count(text.begin(), text.begin() + export_at, '\n'));
            const std::size_t line_at = text.substr(0, export_at).rfind('\n') + 1;  // 0 where there is none
            before_ = export_at + 4 - line_at;
            text.remove_prefix(export_at + 4);
        }
        for (bool more = true; more && dump_.fault == nullptr;) {
            const std::size_t end = text.find('\n');
            more = end != std::string_view::npos;
            ++dump_.line;
            const std::string_view line = text.substr(0, end);
            ReadLine(line);
            if (dump_.fault == nullptr) before_ = 0;
            if (exported && line.find('\\') == std::string_view::npos) break;  // the value ends where no line follows
            if (more) text.remove_prefix(end + 1);
        }
        if (dump_.fault == nullptr && repeat_) Fail("a star must stand between two lines", {});
        if (dump_.fault == nullptr) {
            dump_.line = dump_.column = 0;
        } else {
            dump_.bytes.clear();
        }
        return std::move(dump_);
    }

private:
    enum class Form { kUnknown, kPlain, kOffsets };

    void ReadLine(std::string_view line) {
        line_ = line;
        while (!line.empty() && IsBlank(line.front())) line.remove_prefix(1);
        while (!line.empty() && IsBlank(line.back())) line.remove_suffix(1);
        if (line.empty()) return;
        if (form_ == Form::kUnknown) {
            const std::string_view first = DigitsAt(line);
            const bool zeros = first.size() >= 4 && first.find_first_not_of('0') == std::string_view::npos;
            form_ = zeros && first.size() < line.size() ? Form::kOffsets : Form::kPlain;
        }
        if (form_ == Form::kPlain) return ReadPairs(line);
        if (line != "*") return ReadRow(line);
        if (dump_.bytes.empty()) return Fail("a star must stand between two lines", line);
        repeat_ = true;
    }

    void ReadRow(std::string_view line) {
        const std::string_view digits = DigitsAt(line);
        if (!TakeOffset(digits, line)) return;
        line.remove_prefix(digits.size());
        const bool colon = line.starts_with(':');
        if (colon) line.remove_prefix(1);
        row_begin_ = dump_.bytes.size();
        std::size_t blanks = 0;
        while (!line.empty() && dump_.fault == nullptr) {
            if (IsBlank(line.front())) {
                ++blanks;
                line.remove_prefix(1);
                continue;
            }
            const std::size_t read = dump_.bytes.size() - row_begin_;
            const bool gap = blanks >= 2 && read != 0;
            if (gap && (colon || read >= kRow || line.front() == '|' || line.front() == '>')) return;
            blanks = 0;
            TakeWord(line);
        }
    }

    // False, with the fault, when the offset is not where the dump has come to.
    bool TakeOffset(std::string_view digits, std::string_view line) {
        std::size_t offset = 0;
        for (const char c : digits)
            offset = std::min(offset * 16 + static_cast<std::size_t>(HexValue(c)), kLargestDump + 1);
        const std::size_t row = dump_.bytes.size() - row_begin_;
        while (repeat_ && row != 0 && dump_.bytes.size() < offset && dump_.bytes.size() < kLargestDump)
            dump_.bytes.push_back(dump_.bytes[dump_.bytes.size() - row]);
        repeat_ = false;
        if (digits.size() < 4) {
            Fail("an offset is missing", line);
        } else if (offset != dump_.bytes.size()) {
            Fail("the offset is not the number of bytes before it", line);
        }
        return dump_.fault == nullptr;
    }

    void ReadPairs(std::string_view line) {
        constexpr std::string_view kSeparators = ",-:;{}\"\\";
        while (!line.empty() && dump_.fault == nullptr) {
            if (IsBlank(line.front()) || kSeparators.find(line.front()) != std::string_view::npos) {
                line.remove_prefix(1);
            } else {
                if (line.starts_with("0x") || line.starts_with("0X")) line.remove_prefix(2);
                TakeWord(line);
            }
        }
    }

    void TakeWord(std::string_view& line) {
        const std::string_view digits = DigitsAt(line);
        if (digits.empty()) return Fail("this is no hexadecimal digit", line);
        if (digits.size() % 2 != 0) return Fail("a byte has two digits", line);
        if (dump_.bytes.size() + digits.size() / 2 > kLargestDump) return Fail("it has more than 32768 bytes", line);
        for (std::size_t i = 0; i < digits.size(); i += 2)
            dump_.bytes.push_back(static_cast<std::uint8_t>(HexValue(digits[i]) << 4 | HexValue(digits[i + 1])));
        line.remove_prefix(digits.size());
    }

    // `at` is the rest of the line.
    void Fail(const char* fault, std::string_view at) {
        dump_.fault = fault;
        dump_.column = at.empty() ? 1 : before_ + static_cast<std::size_t>(at.data() - line_.data()) + 1;
    }

    HexDump dump_;
    Form form_ = Form::kUnknown;
    std::string_view line_;
    std::size_t before_ = 0;  // characters of the line before line_
    std::size_t row_begin_ = 0;
    bool repeat_ = false;  // the line before was a star
};

// Dumps are ASCII; other characters may stand in a column of them alone.
std::string NarrowFromUtf16(std::string_view text) {
    std::string narrow;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) narrow += text[i + 1] == 0 ? text[i] : '?';
    return narrow;
}

}  // namespace

HexDump ReadHexDump(std::string_view text) {
    constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF", kUtf16Mark = "\xFF\xFE";
    if (text.starts_with(kUtf16Mark)) return DumpReader().Read(NarrowFromUtf16(text.substr(kUtf16Mark.size())));
    if (text.starts_with(kUtf8Mark)) text.remove_prefix(kUtf8Mark.size());
    return DumpReader().Read(text);
}

}  // namespace tandor
