#include <fmt/format.h>

#include <algorithm>

#include "app/commands.h"
#include "app/doctor/doctor.h"
#include "base/hex.h"
#include "base/utf.h"
#include "security/secret.h"
#include "tandor/crypto.h"
#include "tandor/sealing.h"

namespace tandor::app {
namespace {

constexpr std::size_t kKeyDigits = 64;
constexpr std::size_t kLongestMessage = 168;
constexpr int kMostRandomBytes = 1 << 20;

// A text that is wiped at its end.
struct SecretText {
    std::string text;

    explicit SecretText(std::string content) : text(std::move(content)) {}
    ~SecretText() { WipeText(text); }
    SecretText(const SecretText&) = delete;
    SecretText& operator=(const SecretText&) = delete;
};

bool IsHex(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return HexValue(c) >= 0; });
}

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view kWhite = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kWhite);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kWhite) + 1 - first);
}

// How errors name an input.
std::string Named(const std::string& file) { return file == "-" ? "standard input" : file; }

struct Options {
    std::string key;
    std::string input = "-";
    bool hex = false;
};

void SetKey(SecurityEncryptUtil& util, const Options& options) {
    const SecretText file(ReadInput(options.key));
    const std::string_view key = Trimmed(file.text);
    if (key.size() != kKeyDigits || !IsHex(key)) {
        throw CommandError(
            Named(options.key),
            fmt::format("a key has {} hexadecimal digits, this file has {} characters", kKeyDigits, key.size()),
            "draw one with 'tandorctl random 32'");
    }
    util.SetSessionKey(std::string(key));
}

// The message as hexadecimal text.
std::string ReadMessage(const Options& options) {
    const SecretText content(ReadInput(options.input));
    const std::string_view digits = Trimmed(content.text);
    if (options.hex && (digits.size() % 2 != 0 || !IsHex(digits))) {
        throw CommandError(Named(options.input), "it is not pairs of hexadecimal digits",
                           "leave --hex out for other content");
    }
    const std::size_t size = options.hex ? digits.size() / 2 : content.text.size();
    if (size > kLongestMessage) {
        throw CommandError(Named(options.input), fmt::format("it has {} bytes", size),
                           fmt::format("a sealed message holds at most {}", kLongestMessage));
    }
    return options.hex ? std::string(digits) : HexFromBytes(content.text, HexCase::kUpper);
}

void Seal(const Context& context, const Options& options) {
    SecurityEncryptUtil util;
    SetKey(util, options);
    const SecretText message(ReadMessage(options));
    std::string sealed;
    const int size = util.AesGcmEncrypt(message.text, sealed);
    if (size < 0) throw CommandError("the message", "it could not be sealed", "try again with --follow to see why");
    context.json ? PrintJson({{"sealed", sealed}, {"bytes", size}}) : PrintLine(sealed);
}

void ShowOpened(const Context& context, const Options& options, const SecretText& digits) {
    SecretText bytes(std::string(digits.text.size() / 2, '\0'));
    ReadHex(digits.text, reinterpret_cast<unsigned char*>(bytes.text.data()));
    if (!context.json) return options.hex ? PrintLine(digits.text) : Print(bytes.text);
    Json document{{"bytes", bytes.text.size()}, {"hex", digits.text}};
    if (Utf8FromWideLossy(WideFromUtf8Lossy(bytes.text)) == bytes.text) document["text"] = bytes.text;
    PrintJson(document);
}

void Open(const Context& context, const Options& options) {
    SecurityEncryptUtil util;
    SetKey(util, options);
    const std::string content = ReadInput(options.input);
    const std::string sealed(Trimmed(content));
    if (sealed.empty() || sealed.size() % 2 != 0 || !IsHex(sealed)) {
        throw CommandError(Named(options.input), "a sealed message is pairs of hexadecimal digits",
                           "check for a cut end and foreign characters");
    }
    SecretText opened({});
    if (util.AesGcmDecrypt(sealed, opened.text) < 0) {
        throw CommandError(Named(options.input), "the message does not open under this key",
                           "it was changed or cut on its way, or it was sealed under another key");
    }
    ShowOpened(context, options, opened);
}

void AddSealing(CLI::App& app, const Context& context, const char* name, const char* help, const char* input_help,
                const char* footer, void (*run)(const Context&, const Options&)) {
    CLI::App* const command = app.add_subcommand(name, help);
    const auto options = std::make_shared<Options>();
    command->add_option("-k,--key", options->key, "File with the key, 64 hexadecimal digits; - is standard input")
        ->required()
        ->type_name("FILE");
    command->add_option("INPUT", options->input, input_help)->capture_default_str();
    command->add_flag("-x,--hex", options->hex, "The message's content is, or is shown, as hexadecimal digits");
    command->footer(footer);
    command->callback([options, run, &context] {
        if (options->key == "-" && options->input == "-") {
            throw CLI::ValidationError("standard input can be the key or the message, not both; name a file for one");
        }
        run(context, *options);
    });
}

struct RandomOptions {
    int bytes = 32;
    long long seed = 0;
    int count = 1;
};

void DrawBytes(const Context& context, const RandomOptions& options) {
    SecretText digits({});
    if (!SecurityEncryptUtil().GenerateRandom(digits.text, options.bytes)) {
        throw CommandError("the system's random numbers", "none could be drawn", "try again with --follow to see why");
    }
    context.json ? PrintJson({{"bytes", options.bytes}, {"hex", digits.text}}) : PrintLine(digits.text);
}

void DrawFromSeed(const Context& context, const RandomOptions& options) {
    TrustDeviceRandom random;
    random.Random(options.seed);
    Json numbers = Json::array();
    for (int i = 0; i < options.count; ++i) numbers.push_back(random.nextFloat());
    if (context.json) return PrintJson({{"seed", options.seed}, {"numbers", numbers}});
    for (const Json& number : numbers) PrintLine(fmt::format("{:.8f}", number.get<float>()));
}

}  // namespace

void AddSealCommands(CLI::App& app, Context& context) {
    AddSealing(app, context, "seal", "Seal a message of at most 168 bytes for a paired device",
               "File with the message; - is standard input",
               "Example:\n  tandorctl random 32 > key.txt\n  tandorctl seal --key key.txt message.txt > sealed.txt",
               Seal);
    AddSealing(
        app, context, "open", "Open a sealed message", "File with the sealed message; - is standard input",
        "Example:\n  tandorctl open --key key.txt sealed.txt\nExit code 1 when it was changed or the key differs.",
        Open);
    CLI::App* const random =
        app.add_subcommand("random", "Random bytes as hexadecimal digits, or reproducible numbers");
    const auto options = std::make_shared<RandomOptions>();
    CLI::Option* const bytes = random->add_option("BYTES", options->bytes, "How many bytes, 32 unless given")
                                   ->check(CLI::Range(1, kMostRandomBytes));
    CLI::Option* const seed =
        random->add_option("--seed", options->seed, "Numbers in [0, 1) instead, the same for the same seed")
            ->excludes(bytes);
    random->add_option("-n,--count", options->count, "How many numbers of the seed")
        ->check(CLI::Range(1, kMostRandomBytes))
        ->needs(seed);
    random->footer("Example:\n  tandorctl random 16\n  tandorctl random --seed 42 --count 3");
    random->callback([options, seed, &context] {
        seed->count() > 0 ? DrawFromSeed(context, *options) : DrawBytes(context, *options);
    });
}

void CheckSealing(Findings& findings) {
    constexpr const char* kThing = "random numbers and sealing";
    SecurityEncryptUtil util;
    SecretText key({}), opened({});
    std::string sealed;
    const bool drawn = util.GenerateRandom(key.text, 32);
    util.SetSessionKey(key.text);
    const bool works = drawn && util.AesGcmEncrypt("00FF", sealed) > 0 && util.AesGcmDecrypt(sealed, opened.text) == 2;
    findings.push_back(works   ? Finding{kThing, Verdict::kWorks, "AES-256-GCM under a fresh key", ""}
                       : drawn ? Finding{kThing, Verdict::kBroken, "a message could not be sealed and opened",
                                         "install the library again: its files do not fit together"}
                               : Finding{kThing, Verdict::kBroken, "the system gives no random bytes",
                                         "repair the system's cryptographic services"});
}

}  // namespace tandor::app
