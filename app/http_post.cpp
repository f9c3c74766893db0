#include "app/http_post.h"

#include <curl/curl.h>

#include "app/command.h"
#include "base/crypto_start.h"

namespace tandor::app {
namespace {

constexpr std::size_t kLargestAnswer = 64 * 1024;

std::size_t Collect(char* data, std::size_t, std::size_t size, void* target) {
    auto& body = *static_cast<std::string*>(target);
    body.append(data, std::min(size, kLargestAnswer - body.size()));
    return size;
}

bool WillNotHelpItself(CURLcode code) {
    return code == CURLE_URL_MALFORMAT || code == CURLE_UNSUPPORTED_PROTOCOL ||
           code == CURLE_PEER_FAILED_VERIFICATION || code == CURLE_SSL_CACERT_BADFILE || code == CURLE_SSL_CERTPROBLEM;
}

}  // namespace

class HttpPoster::Impl {
public:
    explicit Impl(Options options) : options_(std::move(options)) {
        if (!StartCrypto() || ::curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK)
            throw CommandError("HTTP", "the library did not start", "see 'tandorctl doctor'");
        easy_.reset(::curl_easy_init());
        if (!easy_) throw CommandError("HTTP", "the library did not start", "see 'tandorctl doctor'");
        for (const char* const header : {"Content-Type: application/json", "Expect:"}) AddHeader(header);
        for (const std::string& header : options_.headers) AddHeader(header.c_str());
    }

    PostResult Post(const std::string& body) {
        PostResult result;
        char trouble[CURL_ERROR_SIZE] = "";
        CURL* const easy = easy_.get();
        ::curl_easy_reset(easy);
        const auto set = [easy](CURLoption option, auto value) { ::curl_easy_setopt(easy, option, value); };
        set(CURLOPT_URL, options_.url.c_str());
        set(CURLOPT_PROTOCOLS_STR, "http,https");
        set(CURLOPT_HTTPHEADER, headers_.get());
        set(CURLOPT_POST, 1L);
        set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
        set(CURLOPT_POSTFIELDS, body.data());
        set(CURLOPT_WRITEFUNCTION, Collect);
        set(CURLOPT_WRITEDATA, static_cast<void*>(&result.body));
        set(CURLOPT_ERRORBUFFER, static_cast<char*>(trouble));
        set(CURLOPT_NOSIGNAL, 1L);
        set(CURLOPT_CONNECTTIMEOUT, std::min(10L, static_cast<long>(options_.timeout.count())));
        set(CURLOPT_TIMEOUT, static_cast<long>(options_.timeout.count()));
        set(CURLOPT_USERAGENT, "tandorctl/" TANDOR_VERSION);
        if (options_.certificates.empty()) {
            set(CURLOPT_SSL_OPTIONS, static_cast<long>(CURLSSLOPT_NATIVE_CA));
        } else {
            set(CURLOPT_CAINFO, options_.certificates.c_str());
        }
        const CURLcode code = ::curl_easy_perform(easy);
        if (code != CURLE_OK) {
            result.trouble = trouble[0] != '\0' ? trouble : ::curl_easy_strerror(code);
            result.unusable = WillNotHelpItself(code);
            return result;
        }
        ::curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &result.status);
        curl_off_t seconds = 0;
        ::curl_easy_getinfo(easy, CURLINFO_RETRY_AFTER, &seconds);
        if (seconds > 0) result.retry_after = std::chrono::seconds(seconds);
        return result;
    }

private:
    struct Cleanup {
        void operator()(CURL* easy) const noexcept { ::curl_easy_cleanup(easy); }
        void operator()(curl_slist* list) const noexcept { ::curl_slist_free_all(list); }
    };

    void AddHeader(const char* header) {
        curl_slist* const longer = ::curl_slist_append(headers_.get(), header);
        if (longer == nullptr) throw std::bad_alloc();
        static_cast<void>(headers_.release());
        headers_.reset(longer);
    }

    Options options_;
    std::unique_ptr<CURL, Cleanup> easy_;
    std::unique_ptr<curl_slist, Cleanup> headers_;
};

HttpPoster::HttpPoster(Options options) : impl_(std::make_unique<Impl>(std::move(options))) {}
HttpPoster::~HttpPoster() = default;
PostResult HttpPoster::PostJson(const std::string& body) { return impl_->Post(body); }

}  // namespace tandor::app
