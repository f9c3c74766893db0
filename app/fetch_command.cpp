#include <windows.h>

#include <algorithm>
#include <cctype>
#include <random>

#include "app/commands.h"
#include "app/fetch_errors.h"
#include "base/decimal.h"
#include "tandor/http_download.h"

namespace tandor::app {
namespace {

constexpr double kFirstPause = 0.5, kLongestPause = 30;  // seconds

struct FetchOptions {
    std::string url, body, output;
    int retries = 0;
    bool headers = false;
    bool timeout_note = false;
};

struct Fetched {
    int result = 0;  // of the library's call
    int attempts = 0;
    std::string headers, body;
    HttpTransfer transfer;
};

bool Good(const HttpTransfer& transfer) {
    return transfer.code == 0 && transfer.status >= 200 && transfer.status < 400;
}

// The seconds that the last "Retry-After" header asks for; 0 when there is none or it is a date.
double WantedPause(std::string headers) {
    std::transform(headers.begin(), headers.end(), headers.begin(),
                   [](char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); });
    const std::string_view name = "\nretry-after: ";
    const std::size_t at = headers.rfind(name);
    if (at == std::string::npos) return 0;
    const std::size_t begin = at + name.size();
    const std::size_t end = std::min(headers.find_first_of("\r\n", begin), headers.size());
    const auto seconds = ParseDecimal<unsigned>(std::string_view(headers).substr(begin, end - begin));
    return seconds ? std::min<double>(*seconds, kLongestPause) : 0;
}

// Doubles with each try; up to half of it is left to chance, so that many clients do not come back at once.
double Pause(int attempt, const std::string& headers) {
    static std::mt19937 chance(std::random_device{}());
    const double longest =
        std::min(kFirstPause * static_cast<double>(1ULL << std::min(attempt - 1, 16)), kLongestPause);
    return std::max(WantedPause(headers), longest * std::uniform_real_distribution(0.5, 1.0)(chance));
}

Fetched FetchOnce(const FetchOptions& options, const std::string& body) {
    Fetched fetched;
    Progress progress("fetching " + options.url);
    fetched.transfer.progress = [&progress](unsigned long long received, unsigned long long total) {
        total > 0 ? progress.Show(received, total) : progress.Count(received, "bytes");
        return true;
    };
    fetched.result =
        HttpDownloadHelper::GetConfigDataFromServer(options.url, body, fetched.headers, fetched.body, fetched.transfer);
    return fetched;
}

Fetched FetchWithRetries(const FetchOptions& options, const std::string& body) {
    for (int attempt = 1;; ++attempt) {
        Fetched fetched = FetchOnce(options, body);
        fetched.attempts = attempt;
        if (Good(fetched.transfer) || attempt > options.retries || !MayPass(fetched.transfer)) return fetched;
        const double pause = Pause(attempt, fetched.headers);
        std::fprintf(stderr, "attempt %d: %s; trying again in %.1f s\n", attempt,
                     Explain(fetched.transfer).cause.c_str(), pause);
        ::Sleep(static_cast<DWORD>(pause * 1000));
    }
}

Json Phases(const HttpTransfer& transfer) {
    return {{"name_lookup", transfer.nameLookup},
            {"connect", transfer.connect},
            {"tls_handshake", transfer.handshake},
            {"first_byte", transfer.firstByte},
            {"total", transfer.total}};
}

void PrintForPeople(const FetchOptions& options, const Fetched& fetched) {
    const HttpTransfer& t = fetched.transfer;
    std::fprintf(stderr, "status %ld from %s, %zu bytes; %d attempt%s\n", t.status,
                 t.address.empty() ? "nowhere" : t.address.c_str(), fetched.body.size(), fetched.attempts,
                 fetched.attempts == 1 ? "" : "s");
    std::fprintf(stderr, "seconds until: name found %.3f, connected %.3f, TLS agreed %.3f, first byte %.3f, all %.3f\n",
                 t.nameLookup, t.connect, t.handshake, t.firstByte, t.total);
    if (options.headers) std::fputs(fetched.headers.c_str(), stderr);
    if (options.output.empty()) Print(fetched.body);
}

void PrintForMachines(const FetchOptions& options, const Fetched& fetched) {
    const HttpTransfer& t = fetched.transfer;
    Json document{{"url", options.url},
                  {"result", fetched.result},
                  {"code", t.code},
                  {"status", t.status},
                  {"address", t.address},
                  {"attempts", fetched.attempts},
                  {"certificate_code", t.certificateCode},
                  {"seconds", Phases(t)},
                  {"headers", fetched.headers}};
    if (options.output.empty()) document["body"] = fetched.body;
    if (!Good(t)) {
        const Explanation why = Explain(t);
        document["error"] = why.cause;
        document["remedy"] = why.remedy;
    }
    PrintJson(document);
}

std::string RequestBody(const FetchOptions& options) {
    std::string body = ReadInput(options.body);
    if (body.find('\0') != std::string::npos) {
        throw CommandError(options.body, "it has a zero byte, and a body ends there", "save it as UTF-8");
    }
    if (!Json::accept(body)) std::fprintf(stderr, "warning: %s is not JSON\n", options.body.c_str());
    return body;
}

void Fetch(Context& context, const FetchOptions& options) {
    const std::string body = RequestBody(options);
    const Fetched fetched = FetchWithRetries(options, body);
    context.json ? PrintForMachines(options, fetched) : PrintForPeople(options, fetched);
    std::fflush(stdout);
    if (options.timeout_note && fetched.result == -1) {
        std::fprintf(stderr,
                     "note: it took %.1f s, longer than the five that callers of the library wait: they get -1\n",
                     fetched.transfer.total);
    }
    if (!Good(fetched.transfer)) {
        const Explanation why = Explain(fetched.transfer);
        throw CommandError(options.url, why.cause, why.remedy);
    }
    if (!options.output.empty()) WriteOutput(options.output, fetched.body);
}

}  // namespace

void AddFetchCommand(CLI::App& app, Context& context) {
    CLI::App* const fetch = app.add_subcommand("fetch", "Post a JSON request as the library does, and show the answer");
    const auto options = std::make_shared<FetchOptions>();
    fetch->add_option("URL", options->url, "The server's address, as https://host/path")
        ->required()
        ->check(WebAddress());
    fetch->add_option("--body", options->body, "The file with the request's body; - is standard input")
        ->required()
        ->type_name("FILE");
    fetch->add_option("-o,--output", options->output, "Write the answer's body to this file")->type_name("FILE");
    fetch->add_option("--retries", options->retries, "Try so often again when the network fails or the server is busy")
        ->check(CLI::Range(0, 20));
    fetch->add_flag("--headers", options->headers, "Show the answer's headers as well, on standard error");
    fetch->add_flag("--timeout-note", options->timeout_note,
                    "Say when the answer came so late that callers of the library take it for a time-out");
    fetch->footer(
        "Example:\n  tandorctl fetch https://config.example/v1/query --body request.json --retries 3\n"
        "The body goes to standard output, what else is to say to standard error. Servers are trusted when an "
        "authority\n"
        "in config\\cacert.pem beside this program signed their certificate. Pauses between tries double from half a\n"
        "second to 30 seconds, and a server may ask for up to 30. Exit code 1 for a failure or an error's status.");
    fetch->callback([options, &context] { Fetch(context, *options); });
}

}  // namespace tandor::app
