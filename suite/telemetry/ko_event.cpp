#include "suite/telemetry/ko_event.h"

#include <algorithm>

#include "base/hex.h"
#include "base/utf_codec.h"

namespace {

void AppendHex(unsigned value, std::size_t digits, std::string& out) {
    const unsigned char bytes[] = {static_cast<unsigned char>(value >> 8), static_cast<unsigned char>(value)};
    char text[2 * sizeof(bytes)];
    tandor::WriteHex(bytes, sizeof(bytes), tandor::HexCase::kLower, text);
    out.append(text + sizeof(text) - digits, digits);
}

// What would end a line or steer a terminal.
bool IsControl(char32_t code) {
    return code < 0x20 || (code >= 0x7F && code < 0xA0) || code == 0x2028 || code == 0x2029;
}

// As a JSON string; a byte that belongs to no UTF-8 character as "\xFF", which is none of JSON's escapes.
void AppendQuoted(const std::string& text, std::string& out) {
    const auto* in = reinterpret_cast<const unsigned char*>(text.data());
    const unsigned char* const end = in + text.size();
    out += '"';
    while (in != end) {
        const auto [code, length] =
            *in < 0x80 ? tandor::utf::Sequence{*in, 1} : tandor::utf::ReadSequence(in, end - in);
        if (length == 0) {
            out += "\\x";
            AppendHex(*in++, 2, out);
            continue;
        }
        if (IsControl(code)) {
            out += "\\u";
            AppendHex(code, 4, out);
        } else {
            if (code == '"' || code == '\\') out += '\\';
            out.append(reinterpret_cast<const char*>(in), static_cast<std::size_t>(length));
        }
        in += length;
    }
    out += '"';
}

template <class List, class Append>
void AppendList(const List& list, const char* brackets, Append append, std::string& out) {
    out += brackets[0];
    for (const auto& element : list) {
        if (&element != list.data()) out += ',';
        append(element);
    }
    out += brackets[1];
}

}  // namespace

void KoEvent::Impl::Put(const std::string& key, std::string text, bool number) {
    const auto same = std::find_if(values.begin(), values.end(), [&](const auto& value) { return value.key == key; });
    pelora::OutboxValue& value = same == values.end() ? values.emplace_back() : *same;
    value = {key, std::move(text), number};
}

void KoEvent::Impl::AddFile(const std::string& path) {
    if (std::find(files.begin(), files.end(), path) == files.end()) files.push_back(path);
}

KoEvent::KoEvent(int eventId) : impl_(new Impl(eventId)) {}

KoEvent::~KoEvent() { delete impl_; }

KoEvent& KoEvent::PutString(const std::string& key, const std::string& value) {
    impl_->Put(key, value, false);
    return *this;
}

KoEvent& KoEvent::PutInt(const std::string& key, int value) { return PutLong(key, value); }

KoEvent& KoEvent::PutLong(const std::string& key, long long value) {
    impl_->Put(key, std::to_string(value), true);
    return *this;
}

KoEvent& KoEvent::AddFilePath(const std::string& path) {
    impl_->AddFile(path);
    return *this;
}

KoEvent& KoEvent::Reset() {
    impl_->values.clear();
    impl_->files.clear();
    return *this;
}

const std::string& KoEvent::Flatten() {
    std::string& flat = impl_->flat;
    flat = std::to_string(impl_->id) + ' ';
    const auto pair = [&flat](const pelora::OutboxValue& value) {
        AppendQuoted(value.key, flat);
        flat += ':';
        value.number ? void(flat += value.text) : AppendQuoted(value.text, flat);
    };
    AppendList(impl_->values, "{}", pair, flat);
    if (impl_->files.empty()) return flat;
    flat += ' ';
    AppendList(
        impl_->files, "[]", [&flat](const std::string& path) { AppendQuoted(path, flat); }, flat);
    return flat;
}

int KoEvent::EventId() const noexcept { return impl_->id; }
