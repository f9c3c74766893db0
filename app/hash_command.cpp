#include <windows.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <optional>

#include "app/commands.h"
#include "app/file_hash.h"
#include "base/hex.h"
#include "base/utf.h"
#include "base/win_error.h"
#include "pelora/digest.h"
#include "tandor/crypto.h"

namespace tandor::app {
namespace {

constexpr std::size_t kDigits = 64;
constexpr const char* kReadable = "check that it exists, is a file and that nobody has locked it";

std::string HashText(const std::string& text) {
    std::string digest = DE::GetStringSha256(text);
    if (digest.empty()) throw CommandError("the text", "it cannot be hashed", "see what 'tandorctl doctor' says");
    return digest;
}

std::string HashStandardInput() {
    DE::CryptSHA256 hash;
    std::vector<unsigned char> block(1024 * 1024);
    bool good = hash.Create();
    for (std::size_t size = block.size(); good && size > 0;) {
        size = std::fread(block.data(), 1, block.size(), stdin);
        good = hash.Update(block.data(), size) && std::ferror(stdin) == 0;
    }
    std::string digest(hash.DigestLen(), '\0');
    if (!good || !hash.Finish(reinterpret_cast<unsigned char*>(digest.data()))) {
        throw CommandError("standard input", "it cannot be read and hashed", "give a file's name instead");
    }
    return HexFromBytes(digest, HexCase::kLower);
}

std::string Hash(const std::string& file) {
    if (file == "-") return HashStandardInput();
    Progress progress("hashing " + file);
    const auto show = [&progress](unsigned long long done, unsigned long long total) {
        progress.Show(done, std::max(done, total));
        return true;
    };
    return HashFile(file, show);
}

// Lines of a list of digests: the digest, a blank, a blank or an asterisk, the name. A backslash in front says that
// backslashes and line breaks of the name are escaped.

std::string ListLine(const std::string& digest, const std::string& file) {
    std::string name;
    for (const char c : file) c == '\\' ? name += "\\\\" : c == '\n' ? name += "\\n" : name += c;
    return (name == file ? "" : "\\") + digest + "  " + name;
}

std::optional<std::string> Unescaped(std::string_view name) {
    std::string plain;
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (name[i] != '\\') {
            plain += name[i];
            continue;
        }
        if (++i == name.size() || (name[i] != '\\' && name[i] != 'n')) return std::nullopt;
        plain += name[i] == 'n' ? '\n' : '\\';
    }
    return plain;
}

struct Expected {
    std::string digest;
    std::string file;
};

std::optional<Expected> ReadListLine(std::string_view line) {
    const bool escaped = line.starts_with('\\');
    if (escaped) line.remove_prefix(1);
    if (line.size() < kDigits + 3 || line[kDigits] != ' ' || (line[kDigits + 1] != ' ' && line[kDigits + 1] != '*')) {
        return std::nullopt;
    }
    unsigned char digest[kDigits / 2];
    if (ReadHex(line.substr(0, kDigits), digest) != sizeof(digest)) return std::nullopt;
    const std::string_view name = line.substr(kDigits + 2);
    const auto file = escaped ? Unescaped(name) : std::string(name);
    if (!file) return std::nullopt;
    return Expected{HexFromBytes({reinterpret_cast<char*>(digest), sizeof(digest)}, HexCase::kLower), *file};
}

// The list as UTF-8 without a mark in front: some shells redirect output as UTF-16.
std::string ReadList(const std::string& file) {
    std::string content = ReadInput(file);
    if (content.starts_with("\xEF\xBB\xBF")) content.erase(0, 3);
    if (!content.starts_with("\xFF\xFE")) return content;
    std::wstring wide;
    for (std::size_t i = 2; i + 1 < content.size(); i += 2) {
        wide += static_cast<wchar_t>(static_cast<unsigned char>(content[i]) | static_cast<unsigned char>(content[i + 1])
                                                                                  << 8);
    }
    return Utf8FromWideLossy(wide);
}

// Checks what lists of digests say, and counts what is wrong.
class Checker {
public:
    explicit Checker(const Context& context) : json_(context.json) {}

    void CheckList(const std::string& list) {
        const std::string content = ReadList(list);
        std::size_t lines = 0;
        for (std::size_t at = 0; at < content.size();) {
            const std::size_t end = std::min(content.find('\n', at), content.size());
            std::string_view line(content.data() + at, end - at);
            at = end + 1;
            if (line.ends_with('\r')) line.remove_suffix(1);
            if (line.empty() || line.starts_with('#')) continue;
            const auto expected = ReadListLine(line);
            expected ? CheckFile(*expected) : static_cast<void>(++malformed_);
            lines += expected ? 1 : 0;
        }
        if (lines == 0) {
            throw CommandError(list, "it has no line with a digest and a name",
                               "make one with 'tandorctl hash file FILE'");
        }
    }

    // Whether all was well.
    bool Finish() const {
        if (json_)
            PrintJson({{"files", files_}, {"failed", failed_}, {"unreadable", unreadable_}, {"malformed", malformed_}});
        std::fflush(stdout);
        const std::pair<std::size_t, const char*> counts[] = {{failed_, "have another digest"},
                                                              {unreadable_, "could not be read"}};
        for (const auto& [count, what] : counts) {
            if (count > 0) std::fprintf(stderr, "warning: %zu of the files %s\n", count, what);
        }
        if (malformed_ > 0) std::fprintf(stderr, "warning: %zu lines are not a digest and a name\n", malformed_);
        return failed_ + unreadable_ == 0;
    }

private:
    void CheckFile(const Expected& expected) {
        Json entry{{"file", expected.file}, {"expected", expected.digest}};
        std::string verdict = "OK";
        try {
            const std::string digest = Hash(expected.file);
            entry["sha256"] = digest;
            if (digest != expected.digest) {
                verdict = "FAILED";
                ++failed_;
            }
        } catch (const CommandError& error) {
            verdict = "FAILED open or read";
            ++unreadable_;
            if (!json_) std::fprintf(stderr, "error: %s\n", error.what());
            entry["error"] = error.what();
        }
        entry["ok"] = verdict == "OK";
        files_.push_back(std::move(entry));
        if (!json_) PrintLine(expected.file + ": " + verdict);
    }

    bool json_;
    Json files_ = Json::array();
    std::size_t failed_ = 0, unreadable_ = 0, malformed_ = 0;
};

void HashFiles(Context& context, const std::vector<std::string>& files) {
    Json results = Json::array();
    for (const std::string& file : files) {
        try {
            const std::string digest = Hash(file);
            results.push_back({{"file", file}, {"sha256", digest}});
            if (!context.json) PrintLine(ListLine(digest, file));
        } catch (const CommandError& error) {  // the others are still of use
            std::fflush(stdout);
            std::fprintf(stderr, "error: %s\n", error.what());
            results.push_back({{"file", file}, {"error", error.what()}});
            context.exit_code = 1;
        }
    }
    if (context.json) PrintJson({{"files", results}});
}

void HashTexts(const Context& context, const std::vector<std::string>& texts) {
    Json results = Json::array();
    for (const std::string& text : texts) {
        const std::string digest = text == "-" ? HashStandardInput() : HashText(text);
        results.push_back({{"text", text}, {"sha256", digest}});
        if (!context.json) PrintLine(digest);
    }
    if (context.json) PrintJson({{"texts", results}});
}

void CheckLists(Context& context, const std::vector<std::string>& lists) {
    Checker checker(context);
    for (const std::string& list : lists) checker.CheckList(list);
    if (!checker.Finish()) context.exit_code = 1;
}

}  // namespace

std::string HashFile(const std::string& file, const CTandorSecTools::HashProgress& progress) {
    std::string digest;
    if (CTandorSecTools().GetSha256HashStrFromFile(PathFrom(file).native(), digest, progress)) return digest;
    throw CommandError(file, WindowsErrorText(::GetLastError()), kReadable);
}

void AddHashCommand(CLI::App& app, Context& context) {
    CLI::App* const hash = app.add_subcommand("hash", "SHA-256 of texts and files");
    hash->require_subcommand(1);
    hash->footer("Example:\n  tandorctl hash text phone-0815\n  tandorctl hash file film.mkv photo.jpg > sums.txt");
    const auto inputs = std::make_shared<std::vector<std::string>>();
    CLI::App* const text = hash->add_subcommand("text", "The digest of each text, a line each");
    text->add_option("TEXT", *inputs, "The texts, hashed as UTF-8; - is all of standard input")->required();
    text->footer("Example:\n  tandorctl hash text phone-0815");
    text->callback([inputs, &context] { HashTexts(context, *inputs); });

    CLI::App* const file = hash->add_subcommand("file", "Digests of files, as lists that sha256sum -c reads");
    const auto check = std::make_shared<bool>(false);
    file->add_option("FILE", *inputs, "The files, or with --check the lists; - is standard input")->required();
    file->add_flag("-c,--check", *check, "Read lists of digests and check the files that they name");
    file->footer(
        "Example:\n  tandorctl hash file film.mkv photo.jpg > sums.txt\n  tandorctl hash file --check sums.txt\n"
        "Exit code 1 when a file cannot be read or has another digest.");
    file->callback([inputs, check, &context] { *check ? CheckLists(context, *inputs) : HashFiles(context, *inputs); });
}

}  // namespace tandor::app
