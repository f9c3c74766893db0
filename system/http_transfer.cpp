#include "system/http_transfer.h"

#include <openssl/crypto.h>
#include <winsock2.h>

#include <chrono>
#include <future>

#include "base/crypto_start.h"
#include "foundation/message.h"

namespace tandor {
namespace {

constexpr std::chrono::seconds kAnswerWait{5};
constexpr long kNotCheckedYet = 1;  // what libcurl begins with

int OnProgress(void* context, curl_off_t total, curl_off_t received, curl_off_t, curl_off_t) noexcept {
    try {
        const auto& progress = static_cast<HttpTransfer*>(context)->progress;
        return progress(static_cast<unsigned long long>(received), static_cast<unsigned long long>(total)) ? 0 : 1;
    } catch (...) {  // it must not go through libcurl
        return 1;
    }
}

// Sets what only a caller who wants to know more needs.
class Observer {
public:
    Observer(CURL* handle, HttpTransfer& transfer) : handle_(handle), transfer_(transfer) {
        ::curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, error_);
        if (!transfer.progress) return;
        ::curl_easy_setopt(handle, CURLOPT_NOPROGRESS, 0L);
        ::curl_easy_setopt(handle, CURLOPT_XFERINFOFUNCTION, &OnProgress);
        ::curl_easy_setopt(handle, CURLOPT_XFERINFODATA, &transfer);
    }

    void Fill(CURLcode code) {
        transfer_.code = code;
        ::curl_easy_getinfo(handle_, CURLINFO_RESPONSE_CODE, &transfer_.status);
        ::curl_easy_getinfo(handle_, CURLINFO_SSL_VERIFYRESULT, &transfer_.certificateCode);
        if (transfer_.certificateCode == kNotCheckedYet) transfer_.certificateCode = 0;
        transfer_.nameLookup = Seconds(CURLINFO_NAMELOOKUP_TIME);
        transfer_.connect = Seconds(CURLINFO_CONNECT_TIME);
        transfer_.handshake = Seconds(CURLINFO_APPCONNECT_TIME);
        transfer_.firstByte = Seconds(CURLINFO_STARTTRANSFER_TIME);
        transfer_.total = Seconds(CURLINFO_TOTAL_TIME);
        const char* address = nullptr;
        if (::curl_easy_getinfo(handle_, CURLINFO_PRIMARY_IP, &address) == CURLE_OK && address != nullptr) {
            transfer_.address = address;
        }
        if (code != CURLE_OK) transfer_.error = *error_ != '\0' ? error_ : ::curl_easy_strerror(code);
    }

private:
    double Seconds(CURLINFO phase) const {
        double seconds = 0;
        ::curl_easy_getinfo(handle_, phase, &seconds);
        return seconds;
    }

    CURL* handle_;
    HttpTransfer& transfer_;
    char error_[CURL_ERROR_SIZE] = {};
};

CURLcode Perform(CURL* handle, HttpTransfer* transfer) {
    if (transfer == nullptr) return ::curl_easy_perform(handle);
    Observer observer(handle, *transfer);
    const CURLcode code = ::curl_easy_perform(handle);
    observer.Fill(code);
    return code;
}

// The task: what it was given goes with it, in this order.
int PerformAndFree(CURL* handle, curl_slist* headers, HttpTransfer* transfer) {
    int code = CURLE_OUT_OF_MEMORY;
    try {
        code = Perform(handle, transfer);
    } catch (const std::exception&) {  // no memory for the facts: the transfer itself is over
        if (transfer != nullptr) transfer->code = code;
    }
    ::curl_slist_free_all(headers);
    ::curl_easy_cleanup(handle);
    ::OPENSSL_thread_stop();  // linked statically, the library does not see threads end
    return code;
}

}  // namespace

CurlHandle NewCurlHandle() noexcept {
    static const bool ready = [] {
        if (!StartCrypto() || ::curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) return false;
        // Loaded at its first call like all of its library, which must not be the one that has an error to tell:
        // loading would overwrite it.
        ::WSAGetLastError();
        return true;
    }();
    return CurlHandle(ready ? ::curl_easy_init() : nullptr);
}

int RunTransfer(CurlHandle handle, CurlList headers, HttpTransfer* transfer) {
    std::future<int> task;
    try {
        task = std::async(std::launch::async, PerformAndFree, handle.get(), headers.get(), transfer);
    } catch (const std::exception&) {  // no thread: both are still ours
        if (transfer != nullptr) transfer->code = CURLE_FAILED_INIT;
        return CURLE_FAILED_INIT;
    }
    static_cast<void>(handle.release());
    static_cast<void>(headers.release());
    if (task.wait_for(kAnswerWait) == std::future_status::ready) return task.get();
    LogMessage(kInfo, L"HttpDownloadHelper::ExecutCurlEasyPerform", L"wait execut curl_easy_perform timeout ");
    return -1;  // the task's end is waited for as `task` goes
}

}  // namespace tandor
