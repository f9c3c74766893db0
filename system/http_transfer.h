// One transfer on a thread of its own.
#pragma once

#include <curl/curl.h>

#include <memory>

#include "tandor/http_download.h"

namespace tandor {

struct CurlFree {
    void operator()(CURL* handle) const noexcept { ::curl_easy_cleanup(handle); }
    void operator()(curl_slist* list) const noexcept { ::curl_slist_free_all(list); }
};
using CurlHandle = std::unique_ptr<CURL, CurlFree>;
using CurlList = std::unique_ptr<curl_slist, CurlFree>;

// Null when libcurl cannot be set up.
CurlHandle NewCurlHandle() noexcept;

// Performs the transfer, then frees the list and the handle, all on a new thread; returns when that thread is through:
// libcurl's result, or -1 if it took longer than five seconds. `transfer`, if there is one, is filled in before the
// handle goes.
int RunTransfer(CurlHandle handle, CurlList headers, HttpTransfer* transfer);

}  // namespace tandor
