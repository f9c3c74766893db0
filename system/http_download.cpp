#include "tandor/http_download.h"

#include <windows.h>

#include <combaseapi.h>
#include <pathcch.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "base/utf.h"
#include "foundation/message.h"
#include "pelora/device_info.h"
#include "pelora/ie_proxy_helper.h"
#include "system/http_headers.h"
#include "system/http_transfer.h"

namespace tandor {
namespace {

constexpr std::size_t kPathLength = 260;
constexpr long kTransferSeconds = 2000;            // the wait for the answer is what bounds a call in practice
constexpr std::size_t kLongestAnswer = 128 << 20;  // bytes; a server that never ends does not take all memory
constexpr const wchar_t* kCaFunction = L"HttpDownloadHelper::GetCaPath";
constexpr const wchar_t* kRequestFunction = L"HttpDownloadHelper::GetConfigDataFromServer";

int IgnoreDebug(CURL*, curl_infotype, char*, std::size_t, void*) noexcept { return 0; }

std::string NewTraceId() {
    GUID guid{};
    if (FAILED(::CoCreateGuid(&guid))) return {};
    TraceId id{static_cast<std::uint32_t>(guid.Data1), guid.Data2, guid.Data3, {}};
    std::memcpy(id.rest, guid.Data4, sizeof(id.rest));
    return TraceIdText(id);
}

std::string ProductName() {
    std::string name;
    if (DeviceType::GetInstance().GetProductName(name) != 0) {
        LogMessage(kFailure, kRequestFunction, L"get product name failed");
    }
    LogMessage(kInfo, kRequestFunction, L"productName: ", name);
    return name;
}

// Null when there is no memory for all of them.
CurlList RequestHeaders() {
    const std::string lines[] = {
        HeaderLine("Content-Type", "application/json"), HeaderLine("appId", "Pelora"),
        HeaderLine("sn", DeviceInfo::GetDeviceId()),    HeaderLine("traceid", NewTraceId()),
        HeaderLine("DeviceType", ProductName()),
    };
    CurlList list;
    for (const std::string& line : lines) {
        curl_slist* const longer = ::curl_slist_append(list.get(), line.c_str());
        if (longer == nullptr) return nullptr;
        static_cast<void>(list.release());
        list.reset(longer);
    }
    return list;
}

void SetRequest(CURL* curl, const std::string& url, const std::string& body, std::string& headers_out,
                std::string& response_out) {
    ::curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    ::curl_easy_setopt(curl, CURLOPT_POST, 1L);
    ::curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body.c_str());
    ::curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 1L);
    ::curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 1L);
    ::curl_easy_setopt(curl, CURLOPT_CAINFO, HttpDownloadHelper::GetCaPath().c_str());
    ::curl_easy_setopt(curl, CURLOPT_SSL_CIPHER_LIST, "AESGCM:!RSA");
    ::curl_easy_setopt(curl, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    ::curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &HttpDownloadHelper::OnWriteDataForUpdate);
    ::curl_easy_setopt(curl, CURLOPT_WRITEDATA, &response_out);
    ::curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, &HttpDownloadHelper::OnWriteDataForUpdate);
    ::curl_easy_setopt(curl, CURLOPT_HEADERDATA, &headers_out);
    ::curl_easy_setopt(curl, CURLOPT_VERBOSE, 1L);
    ::curl_easy_setopt(curl, CURLOPT_DEBUGFUNCTION, &IgnoreDebug);  // so that what is said goes nowhere
}

int Request(const std::string& url, const std::string& body, std::string& headers_out, std::string& response_out,
            HttpTransfer* transfer) {
    CurlHandle curl = NewCurlHandle();
    if (curl == nullptr) {
        if (transfer != nullptr) transfer->code = CURLE_FAILED_INIT;
        return 0;
    }
    SetRequest(curl.get(), url, body, headers_out, response_out);
    CurlList headers = RequestHeaders();
    if (headers == nullptr) throw std::bad_alloc();
    ::curl_easy_setopt(curl.get(), CURLOPT_HTTPHEADER, headers.get());
    HttpDownloadHelper::SetProxy(curl.get());
    ::curl_easy_setopt(curl.get(), CURLOPT_TIMEOUT, kTransferSeconds);
    return RunTransfer(std::move(curl), std::move(headers), transfer);
}

// Runs `operation`; no exception leaves.
template <class Operation>
int Guarded(HttpTransfer* transfer, Operation operation) noexcept {
    try {
        return operation();
    } catch (const std::exception&) {
        if (transfer != nullptr) transfer->code = CURLE_OUT_OF_MEMORY;
        return CURLE_OUT_OF_MEMORY;
    }
}

int GuardedRequest(const std::string& url, const std::string& body, std::string& headers_out, std::string& response_out,
                   HttpTransfer* transfer) noexcept {
    return Guarded(transfer, [&] { return Request(url, body, headers_out, response_out, transfer); });
}

}  // namespace
}  // namespace tandor

int HttpDownloadHelper::GetConfigDataFromServer(const std::string& url, const std::string& body,
                                                std::string& headersOut, std::string& responseOut) noexcept {
    return tandor::GuardedRequest(url, body, headersOut, responseOut, nullptr);
}

int HttpDownloadHelper::GetConfigDataFromServer(const std::string& url, const std::string& body,
                                                std::string& headersOut, std::string& responseOut,
                                                HttpTransfer& transfer) noexcept {
    return tandor::GuardedRequest(url, body, headersOut, responseOut, &transfer);
}

std::string HttpDownloadHelper::GetCaPath() {
    using namespace tandor;
    wchar_t path[kPathLength] = {};
    const DWORD length = ::GetModuleFileNameW(nullptr, path, kPathLength);
    const bool cut = length == 0 || length == kPathLength;  // a cut path would name another folder
    ::PathCchRemoveFileSpec(path, kPathLength);
    if (cut || FAILED(::PathCchAppend(path, kPathLength, L"config\\cacert.pem"))) {
        LogMessage(kFailure, kCaFunction, L"PathAppendA faild filePath:", path);
        return {};
    }
    wchar_t canonical[kPathLength] = {};
    if (FAILED(::PathCchCanonicalize(canonical, kPathLength, path))) {
        LogMessage(kFailure, kCaFunction, L"CanonicalizeFilePath faild filePath:", path);
        return {};
    }
    return Utf8FromWideLossy(canonical);
}

void HttpDownloadHelper::SetProxy(void* curl) noexcept {
    if (curl == nullptr) return;
    tandor::Guarded(nullptr, [curl] {
        IEProxyHelper* const helper = IEProxyHelper::GetInstance();
        if (helper == nullptr || !helper->GetDefaultIEProxy()) return 0;
        ::curl_easy_setopt(curl, CURLOPT_PROXYTYPE, static_cast<long>(CURLPROXY_HTTP));
        ::curl_easy_setopt(curl, CURLOPT_PROXY, helper->GetProxy().c_str());
        return 0;
    });
}

int HttpDownloadHelper::ExecutCurlEasyPerform(void* curl, void* headers) noexcept {
    tandor::CurlHandle handle(curl);
    tandor::CurlList list(static_cast<curl_slist*>(headers));
    if (handle == nullptr) return CURLE_BAD_FUNCTION_ARGUMENT;
    return tandor::Guarded(nullptr, [&] { return tandor::RunTransfer(std::move(handle), std::move(list), nullptr); });
}

std::size_t HttpDownloadHelper::OnWriteDataForUpdate(void* data, std::size_t size, std::size_t count,
                                                     std::string* out) noexcept {
    constexpr auto kEndTransfer = static_cast<std::size_t>(-1);
    if (data == nullptr || out == nullptr) return kEndTransfer;
    const std::size_t room = tandor::kLongestAnswer - std::min(out->size(), tandor::kLongestAnswer);
    if (size != 0 && count > room / size) return kEndTransfer;
    try {
        out->append(static_cast<const char*>(data), size * count);
    } catch (const std::exception&) {
        return kEndTransfer;
    }
    return count;
}
