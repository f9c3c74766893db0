#include <curl/curl.h>
#include <objbase.h>

#include <filesystem>
#include <future>
#include <stdexcept>

#include "base/crypto_start.h"
#include "base/utf.h"
#include "benchmarks/ratio.h"
#include "pelora/device_info.h"
#include "pelora/ie_proxy_helper.h"
#include "support/https_world.h"
#include "support/loopback_server.h"
#include "tandor/http_download.h"

namespace tandor::bench {
namespace {

// A TLS server and a bundle that trusts it, made when the first request needs them and gone at the end.
struct World {
    test::HttpsWorld https;
    test::Identity identity = test::MakeServer(https.authority, "IP:127.0.0.1");
    test::LoopbackServer server{{&identity}, [](test::Exchange& exchange) { exchange.Answer("{}"); }};
    std::string url = server.Url();
    std::string bundle = Utf8FromWide(https.bundle.native());
};

World& TheWorld() {
    static World world;
    return world;
}

std::size_t Append(char* data, std::size_t size, std::size_t count, std::string* out) {
    out->append(data, size * count);
    return count;
}

int Ignore(CURL*, curl_infotype, char*, std::size_t, void*) { return 0; }

// What the headers and the proxy need to know about this machine.
struct Machine {
    std::string device = "0815", trace = "00000000-0000-0000-0000-000000000000", product = "PC", proxy;
};

Machine AskMachine() {
    Machine machine;
    machine.device = DeviceInfo::GetDeviceId();
    DeviceType::GetInstance().GetProductName(machine.product);
    GUID guid{};
    wchar_t text[40] = {};
    if (SUCCEEDED(::CoCreateGuid(&guid)) && ::StringFromGUID2(guid, text, 40) > 0) machine.trace = Utf8FromWide(text);
    if (IEProxyHelper::GetInstance()->GetDefaultIEProxy()) machine.proxy = IEProxyHelper::GetInstance()->GetProxy();
    return machine;
}

// The same options and headers by hand, without a thread of its own.
int Perform(const Machine& machine) {
    const World& world = TheWorld();
    std::string headers, body;
    CURL* const curl = curl_easy_init();
    curl_easy_setopt(curl, CURLOPT_URL, world.url.c_str());
    curl_easy_setopt(curl, CURLOPT_POST, 1L);
    curl_easy_setopt(curl, CURLOPT_POSTFIELDS, "{}");
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 1L);
    curl_easy_setopt(curl, CURLOPT_CAINFO, world.bundle.c_str());
    curl_easy_setopt(curl, CURLOPT_SSL_CIPHER_LIST, "AESGCM:!RSA");
    curl_easy_setopt(curl, CURLOPT_SSLVERSION, 6L);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &Append);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &body);
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, &Append);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, &headers);
    curl_easy_setopt(curl, CURLOPT_VERBOSE, 1L);
    curl_easy_setopt(curl, CURLOPT_DEBUGFUNCTION, &Ignore);
    curl_slist* list = nullptr;
    for (const std::string& line :
         {std::string("Content-Type: application/json"), std::string("appId: Pelora"), "sn: " + machine.device,
          "traceid: " + machine.trace, "DeviceType: " + machine.product}) {
        list = curl_slist_append(list, line.c_str());
    }
    if (!machine.proxy.empty()) curl_easy_setopt(curl, CURLOPT_PROXY, machine.proxy.c_str());
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, list);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, 2000L);
    const int code = curl_easy_perform(curl);
    curl_slist_free_all(list);
    curl_easy_cleanup(curl);
    if (code != CURLE_OK || body != "{}") throw std::runtime_error("the request by hand failed");
    return code;
}

int PerformOnThread() {
    const Machine machine = AskMachine();
    return std::async(std::launch::async,
                      [&] {
                          const int code = Perform(machine);
                          ::OPENSSL_thread_stop();
                          return code;
                      })
        .get();
}

int Ours() {
    std::string headers, body;
    const int code = HttpDownloadHelper::GetConfigDataFromServer(TheWorld().url, "{}", headers, body);
    if (code != 0 || body != "{}") throw std::runtime_error("the request failed");
    return code;
}

Body Prepared(int (*operation)()) {
    return [operation](benchmark::State& state) {
        StartCrypto();
        TheWorld();
        for (auto _ : state) benchmark::DoNotOptimize(operation());
    };
}

// 32 requests to a server that takes 200 ms for each answer.
constexpr int kAtOnce = 32;

struct SlowWorld {
    test::LoopbackServer server{{.identity = &TheWorld().identity, .threads = kAtOnce}, [](test::Exchange& exchange) {
                                    ::Sleep(200);
                                    exchange.Answer("{}");
                                }};
};

int AskSlowly() {
    static SlowWorld world;
    std::string headers, body;
    const int code = HttpDownloadHelper::GetConfigDataFromServer(world.server.Url(), "{}", headers, body);
    if (code != 0) throw std::runtime_error("a slow request failed");
    return code;
}

int AskAtOnce() {
    std::vector<std::future<int>> answers;
    for (int i = 0; i < kAtOnce; ++i) answers.push_back(std::async(std::launch::async, AskSlowly));
    for (std::future<int>& answer : answers) answer.get();
    return 0;
}

int AskInTurn() {
    for (int i = 0; i < kAtOnce; ++i) AskSlowly();
    return 0;
}

}  // namespace

void AddHttp() {
    constexpr const char* kRequest = "GetConfigDataFromServer, TLS on loopback";
    Compare(kRequest, "libcurl by hand, same options and headers, on a thread of its own", AtMostTimes(1.05),
            Prepared(Ours), Prepared(PerformOnThread));
    Compare(kRequest, "the same by hand, without the thread", Reported(), Prepared(Ours),
            Prepared([] { return Perform(AskMachine()); }));
    Compare(kRequest, "libcurl by hand, constant headers and no proxy", Reported(), Prepared(Ours),
            Prepared([] { return Perform({}); }));
    Compare("32 requests from 32 threads, each answered after 200 ms", "one after another", AtMostTimes(0.25),
            Prepared(AskAtOnce), Prepared(AskInTurn), false, 3);
}

}  // namespace tandor::bench
