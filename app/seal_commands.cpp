#include <windows.h>

#include <fmt/format.h>

#include <algorithm>

#include "app/commands.h"
#include "app/doctor/doctor.h"
#include "base/hex.h"
#include "base/utf.h"
#include "base/win_error.h"
#include "base/win_handle.h"
#include "security/secret.h"
#include "tandor/crypto.h"
#include "tandor/sealing.h"

namespace tandor::app {
namespace {

constexpr std::size_t kKeyDigits = 64;
constexpr std::size_t kLongestMessage = 168;
constexpr int kMostRandomBytes = 1 << 20;

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
            "draw one with 'tandorctl key new'");
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
    SecretText opened;
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
    int bytes = 0;
    long long seed = 0;
    int count = 1;
};

void Draw(int bytes, SecretText& digits) {
    if (!SecurityEncryptUtil().GenerateRandom(digits.text, bytes)) {
        throw CommandError("the system's random numbers", "none could be drawn", "try again with --follow to see why");
    }
}

void DrawBytes(const Context& context, const RandomOptions& options) {
    SecretText digits;
    Draw(options.bytes, digits);
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

// A key that exists may still be in use: its file is never written over.
void WriteKey(const std::string& file, const SecretText& key) {
    const std::filesystem::path path = PathFrom(file);
    FileHandle handle(
        ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD error = handle ? ERROR_SUCCESS : ::GetLastError();
    if (error == ERROR_FILE_EXISTS)
        throw CommandError(file, "it exists, and a key is not written over another", "name another file or delete it");
    DWORD written = 0;
    if (handle && ::WriteFile(handle.Get(), key.text.data(), kKeyDigits, &written, nullptr) == 0) {
        error = ::GetLastError();
        handle.Reset();
        ::DeleteFileW(path.c_str());
    }
    if (error != ERROR_SUCCESS)
        throw CommandError(file, WindowsErrorText(error), "check its folder, your rights there, and the disk");
}

void NewKey(const Context& context, const std::string& file) {
    SecretText key;
    Draw(kKeyDigits / 2, key);
    if (!file.empty() && file != "-") return WriteKey(file, key);
    context.json ? PrintJson({{"key", key.text}}) : PrintLine(key.text);
}

void AddKeyCommand(CLI::App& app, const Context& context) {
    CLI::App* const key = app.add_subcommand("key", "Keys for seal and open");
    key->require_subcommand(1);
    key->footer("Example:\n  tandorctl key new -o key.txt");
    CLI::App* const fresh = key->add_subcommand("new", "Draw a key: 64 hexadecimal digits");
    const auto file = std::make_shared<std::string>();
    fresh->add_option("-o,--output", *file, "Write it to this new file instead of standard output")->type_name("FILE");
    fresh->footer("Example:\n  tandorctl key new -o key.txt");
    fresh->callback([file, &context] { NewKey(context, *file); });
}

void AddRandomCommand(CLI::App& app, const Context& context) {
    CLI::App* const random = app.add_subcommand("random", "Random bytes, or reproducible numbers");
    random->require_subcommand(1);
    random->footer("Example:\n  tandorctl random hex 16\n  tandorctl random sequence --seed 42 --count 3");
    const auto options = std::make_shared<RandomOptions>();
    CLI::App* const hex = random->add_subcommand("hex", "Random bytes of the system as hexadecimal digits");
    hex->add_option("N", options->bytes, "How many bytes")->required()->check(CLI::Range(1, kMostRandomBytes));
    hex->footer("Example:\n  tandorctl random hex 16");
    hex->callback([options, &context] { DrawBytes(context, *options); });
    CLI::App* const sequence = random->add_subcommand("sequence", "Numbers in [0, 1), the same for the same seed");
    sequence->add_option("--seed", options->seed, "Where the sequence begins")->required();
    sequence->add_option("-n,--count", options->count, "How many numbers")->check(CLI::Range(1, kMostRandomBytes));
    sequence->footer("Example:\n  tandorctl random sequence --seed 42 --count 3");
    sequence->callback([options, &context] { DrawFromSeed(context, *options); });
}

}  // namespace

void AddSealCommands(CLI::App& app, Context& context) {
    AddSealing(app, context, "seal", "Seal a message of at most 168 bytes for a paired device",
               "File with the message; - is standard input",
               "Example:\n  tandorctl key new -o key.txt\n  tandorctl seal --key key.txt message.txt > sealed.txt",
               Seal);
    AddSealing(
        app, context, "open", "Open a sealed message", "File with the sealed message; - is standard input",
        "Example:\n  tandorctl open --key key.txt sealed.txt\nExit code 1 when it was changed or the key differs.",
        Open);
    AddKeyCommand(app, context);
    AddRandomCommand(app, context);
}

void CheckSealing(Findings& findings) {
    constexpr const char* kThing = "random numbers and sealing";
    SecurityEncryptUtil util;
    SecretText key, opened;
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
