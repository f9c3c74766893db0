#include <curl/curl.h>

#include <filesystem>
#include <stdexcept>

#include "base/crypto_start.h"
#include "base/utf.h"
#include "benchmarks/ratio.h"
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

// The same options and headers by hand: no thread, no look at the machine.
int ByHand() {
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
    for (const char* line : {"Content-Type: application/json", "appId: Pelora", "sn: 0815",
                             "traceid: 00000000-0000-0000-0000-000000000000", "DeviceType: PC"}) {
        list = curl_slist_append(list, line);
    }
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, list);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, 2000L);
    const int code = curl_easy_perform(curl);
    curl_slist_free_all(list);
    curl_easy_cleanup(curl);
    if (code != CURLE_OK || body != "{}") throw std::runtime_error("the request by hand failed");
    return code;
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

}  // namespace

void AddHttp() {
    Compare("GetConfigDataFromServer, TLS on loopback", "libcurl by hand, same options", AtMostTimes(1.05),
            Prepared(Ours), Prepared(ByHand));
}

}  // namespace tandor::bench
