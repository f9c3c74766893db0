// One HTTP request to a collector.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tandor::app {

struct PostResult {
    long status = 0;        // 0: there was no whole answer
    std::string trouble;    // why not
    bool unusable = false;  // the address itself is wrong, or the certificate is not trusted: trying again is no use
    std::string body;       // at most 1 MiB of it
    std::optional<std::chrono::seconds> retry_after;
};

// A connection that is kept between requests. Used by one thread.
class HttpPoster {
public:
    struct Options {
        std::string url;
        std::vector<std::string> headers;  // "Name: value"
        std::string certificates;          // file of trusted certificates (PEM); empty: the system's
        std::chrono::seconds timeout{30};  // of a whole request
    };
    // Throws CommandError when the library cannot be set up.
    explicit HttpPoster(Options options);
    ~HttpPoster();

    PostResult PostJson(const std::string& body);

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace tandor::app
