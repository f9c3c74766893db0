/// @file
/// The HTTPS request to the configuration server.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "tandor/api.h"

/// What a caller may want to know about one transfer beside its answer.
struct HttpTransfer {
    /// May be set before the call: called on the transfer's own thread with the bytes of the answer that have come and
    /// how many there will be (0 while that is unknown). Returning false, or throwing, gives the transfer up (code 42).
    std::function<bool(unsigned long long received, unsigned long long total)> progress;

    int code = 0;              ///< libcurl's result, also when the call itself returned -1
    long status = 0;           ///< the HTTP status; 0 when no answer came
    long certificateCode = 0;  ///< of checking the server's certificate (X509_V_...); 0: well or not checked
    std::string error;         ///< libcurl's sentence about what failed; empty when nothing did
    std::string address;       ///< the address that was connected to, the proxy's when there is one; empty without one

    /// Seconds from the begin until the phase was over; 0 when it was not reached.
    /// @{
    double nameLookup = 0;  ///< the host's address is known
    double connect = 0;     ///< the connection stands
    double handshake = 0;   ///< TLS is agreed on
    double firstByte = 0;   ///< the answer's first byte is here
    double total = 0;       ///< all is over
    /// @}
};

/// Posts a JSON request to a configuration server and hands back what it answers. The transfer runs on a thread of its
/// own with a connection of its own. The server must show a certificate for its name, signed by an authority in the
/// bundle that GetCaPath names, and speak TLS 1.2 or newer; under TLS 1.2 with AES-GCM and without RSA key exchange
/// (certificates with RSA keys are as good as others). Redirections are not followed.
///
/// The results of libcurl that callers meet most: 0 done (also when the HTTP status is an error), 6 unknown host, 7 no
/// connection, 35 no agreement on TLS, 18 and 56 the connection broke, 60 the server's certificate is not trusted or is
/// another host's, 77 the bundle of authorities is missing or damaged. 2 and 27: no thread or no memory to work with;
/// 23 the answer is too long.
///
/// Threads: no state; any number of threads may call at once. Nothing throws but GetCaPath, for want of memory.
/// Nothing of addresses, headers, bodies or proxies is logged, the product's name excepted.
class TANDOR_API HttpDownloadHelper {
public:
    /// Posts `body`, which ends at its first zero byte, to `url`. Answer and header lines, those of a proxy included,
    /// are appended to `responseOut` and `headersOut` as they arrive: after a failure they hold what came until then.
    /// Neither text grows beyond 128 MiB, counting what it held before: a longer answer ends with 23.
    /// Returns libcurl's result; -1 when the answer took longer than five seconds (it is there all the same: the call
    /// always returns after the transfer's end, at most 2,000 seconds); 0 with nothing done when libcurl cannot be set
    /// up.
    static int GetConfigDataFromServer(const std::string& url, const std::string& body, std::string& headersOut,
                                       std::string& responseOut) noexcept;
    /// The same; `transfer` is filled in as well, all but its `progress`. Its code is 2 when libcurl cannot be set up.
    static int GetConfigDataFromServer(const std::string& url, const std::string& body, std::string& headersOut,
                                       std::string& responseOut, HttpTransfer& transfer) noexcept;

    /// The bundle of trusted authorities (PEM): `config\cacert.pem` in the program's directory, as UTF-8. Empty, with a
    /// line in the log, when that is longer than 259 characters: nothing is trusted then.
    static std::string GetCaPath();

    /// Sets the proxy that the user set for the system, if there is one; otherwise libcurl's own rules stay in force.
    /// The handle is libcurl's easy handle; null is ignored.
    static void SetProxy(void* curl) noexcept;

    /// Runs the transfer on a new thread, which then frees the header list and the handle (an easy handle and a
    /// curl_slist or null); both are gone when this returns, whatever it returns. The handle must come from this
    /// library's own libcurl. Returns as GetConfigDataFromServer does.
    static int ExecutCurlEasyPerform(void* curl, void* headers) noexcept;

    /// libcurl's write and header callback: appends size * count bytes to `out` and returns `count`. Returns
    /// static_cast<size_t>(-1), which ends the transfer, when `data` or `out` is null, there is no memory, or `out`
    /// would get longer than 128 MiB.
    static std::size_t OnWriteDataForUpdate(void* data, std::size_t size, std::size_t count, std::string* out) noexcept;
};
