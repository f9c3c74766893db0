// Numbers and texts as little-endian bytes, and the checked way back.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace tandor {

template <std::unsigned_integral T>
void AppendLittle(T value, std::string& out) {
    for (std::size_t i = 0; i < sizeof(T); ++i) out += static_cast<char>(value >> 8 * i & 0xFF);
}

// Length (32-bit) and bytes. The caller sees to it that the length fits.
inline void AppendText(std::string_view text, std::string& out) {
    AppendLittle(static_cast<std::uint32_t>(text.size()), out);
    out += text;
}

// Takes values off the front of bytes from outside. A take that fails takes nothing and leaves its value as it was.
class ByteReader {
public:
    explicit ByteReader(std::string_view bytes) : rest_(bytes) {}

    template <std::unsigned_integral T>
    [[nodiscard]] bool Take(T& value) {
        std::string_view bytes;
        if (!TakeBytes(sizeof(T), bytes)) return false;
        T taken = 0;
        for (std::size_t i = 0; i < sizeof(T); ++i) {
            taken = static_cast<T>(taken | static_cast<T>(static_cast<unsigned char>(bytes[i])) << 8 * i);
        }
        value = taken;
        return true;
    }
    template <std::signed_integral T>
    [[nodiscard]] bool Take(T& value) {
        std::make_unsigned_t<T> bits = 0;
        if (!Take(bits)) return false;
        value = static_cast<T>(bits);
        return true;
    }
    [[nodiscard]] bool TakeBytes(std::size_t count, std::string_view& bytes) {
        if (count > rest_.size()) return false;
        bytes = rest_.substr(0, count);
        rest_.remove_prefix(count);
        return true;
    }
    [[nodiscard]] bool TakeText(std::string& text) {
        const std::string_view before = rest_;
        std::uint32_t length = 0;
        std::string_view bytes;
        if (Take(length) && TakeBytes(length, bytes)) {
            text = bytes;
            return true;
        }
        rest_ = before;
        return false;
    }
    [[nodiscard]] std::string_view Rest() const noexcept { return rest_; }
    [[nodiscard]] bool AtEnd() const noexcept { return rest_.empty(); }

private:
    std::string_view rest_;
};

}  // namespace tandor
