#include <fmt/format.h>

#include "app/commands.h"
#include "base/decimal.h"
#include "base/utf.h"
#include "tandor/text.h"

namespace tandor::app {
namespace {

// A text, or the whole content of a file.
struct Input {
    explicit Input(CLI::App& command)
        : file(command, {command.add_option("TEXT", text, "The text")},
               "Read the input from this file instead; - is standard input") {}

    [[nodiscard]] std::string Read() const { return file.IsGiven() ? file.Content() : text; }

    std::string text;
    bool decode = false;
    FileInput file;
};

const unsigned char* Bytes(const std::string& text) { return reinterpret_cast<const unsigned char*>(text.data()); }

// Text from outside may be no UTF-8.
std::wstring WideText(const std::string& text) {
    try {
        return TandorUtilClass::ConvertFromBytes(text);
    } catch (const std::range_error&) {
        throw CommandError("the text", "it is not valid UTF-8", "save it as UTF-8");
    }
}

std::string Base64(const Input& input) {
    const std::string content = input.Read();
    if (content.size() > 0x7FFFFFFF)
        throw CommandError("the input", "it is larger than 2 GiB", "code it in parts, each a multiple of 3 bytes long");
    if (!input.decode) return TandorUtilClass::Base64Encode(Bytes(content), static_cast<unsigned>(content.size()));
    std::string text = content;
    text.erase(std::remove_if(text.begin(), text.end(), [](char c) { return c == '\r' || c == '\n'; }), text.end());
    std::string out(text.size() * 3 / 4 + 3, '\0');
    const int size = TandorUtilClass::Base64Decode(Bytes(text), static_cast<int>(text.size()),
                                                   reinterpret_cast<unsigned char*>(out.data()));
    const std::size_t padding = text.ends_with("==") ? 2 : text.ends_with("=") ? 1 : 0;
    if (text.size() % 4 != 0 || static_cast<std::size_t>(size) != text.size() / 4 * 3 - padding) {
        throw CommandError("the Base64 text", fmt::format("it is not whole after {} decoded bytes", size),
                           "check for foreign characters and a cut end");
    }
    return out.substr(0, static_cast<std::size_t>(size));
}

// The UTF-16 units of the text, which is what the wide strings of the library hold.
Json Units(const std::string& text) {
    Json units = Json::array();
    for (const wchar_t unit : WideText(text)) units.push_back(fmt::format("{:04X}", static_cast<unsigned>(unit)));
    return units;
}

void ShowUnits(const Context& context, const std::string& text) {
    const Json units = Units(text);
    if (context.json) return PrintJson({{"utf8_bytes", text.size()}, {"utf16_units", units}});
    std::string line;
    for (const auto& unit : units) line += (line.empty() ? "" : " ") + unit.get<std::string>();
    PrintLine(line);
}

void AddCoding(CLI::App* text, const Context& context, const char* name, const char* help, const char* example,
               std::string (*code)(const Input&), bool both_ways = true) {
    CLI::App* const command = text->add_subcommand(name, help);
    const auto input = std::make_shared<Input>(*command);
    if (both_ways) command->add_flag("-d,--decode", input->decode, "Decode instead");
    command->footer(fmt::format("Example:\n  tandorctl text {}", example));
    command->callback([input, code, &context] {
        const std::string result = code(*input);
        if (context.json) return PrintJson({{"result", result}});
        input->decode && input->file.IsGiven() ? Print(result) : PrintLine(result);
    });
}

}  // namespace

void AddTextCommands(CLI::App& app, Context& context) {
    CLI::App* const text = app.add_subcommand("text", "Convert, code and mask text");
    text->require_subcommand(1);
    text->footer(
        "Example:\n  tandorctl text base64 hello\n  tandorctl text url --decode a+b%26c\n  tandorctl text mask "
        "13812345678");

    AddCoding(text, context, "base64", "Base64, standard alphabet with padding", "base64 --decode TGVuYQ==", Base64);
    AddCoding(text, context, "url", "Form coding of URL text", "url \"a b&c\"", [](const Input& input) {
        return input.decode ? TandorUtilClass::UrlDecode(input.Read()) : TandorUtilClass::UrlEncode(input.Read());
    });
    AddCoding(
        text, context, "mask", "Keep the first and the last character, asterisks between", "mask 13812345678",
        [](const Input& input) { return Utf8FromWide(TandorUtilClass::SenstiveContent(WideText(input.Read()))); },
        false);
    AddCoding(text, context, "hex", "A number as sixteen hexadecimal digits, or hexadecimal text as a number",
              "hex --decode 1A2B", [](const Input& input) {
                  const std::string content = input.Read();
                  if (input.decode) return std::to_string(TandorUtilClass::hexToDec(content));
                  const auto number = ParseDecimal<unsigned long long>(content);
                  if (!number)
                      throw CommandError("'" + content + "'", "it is not a decimal number of at most 64 bits",
                                         "give digits alone");
                  return Utf8FromWide(TandorUtilClass::StringFromHex(*number));
              });

    CLI::App* const units = text->add_subcommand("utf16", "The UTF-16 units of a text");
    const auto input = std::make_shared<Input>(*units);
    units->footer("Example:\n  tandorctl text utf16 é");
    units->callback([input, &context] { ShowUnits(context, input->Read()); });
}

}  // namespace tandor::app
