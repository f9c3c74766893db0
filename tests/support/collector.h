// A collector on loopback that misbehaves as told.
#pragma once

#include "support/loopback_server.h"

namespace tandor::test {

class Collector {
public:
    enum class Way { kAnswer, kReset, kTakeAndReset, kStall };
    struct Behaviour {
        Way way = Way::kAnswer;
        int status = 200;
        std::string headers = {};  // further ones, each with its line break
    };
    // Decides for each request. `received` gets the bodies that were taken: those answered with 200, and those whose
    // answer was lost (kTakeAndReset, kStall). Both run on a thread of the collector's, one request at a time.
    Collector(std::function<Behaviour()> decide, std::function<void(const std::string&)> received)
        : decide_(std::move(decide)), received_(std::move(received)) {}

    [[nodiscard]] std::string Url() const { return server_.Url(); }
    [[nodiscard]] int Requests() const { return requests_; }

private:
    // One connection carries as many requests as the sender likes, as with a real collector.
    void Serve(Exchange& exchange) {
        do {
            const Behaviour behaviour = Take(exchange.body);
            if (behaviour.way == Way::kStall) return exchange.AwaitEnd();
            if (behaviour.way != Way::kAnswer) return exchange.Reset();
            exchange.Write("HTTP/1.1 " + std::to_string(behaviour.status) + " x\r\n" + behaviour.headers +
                           "Content-Length: 2\r\n\r\n{}");
        } while (exchange.ReadRequest());
    }
    Behaviour Take(const std::string& body) {
        const std::lock_guard lock(mutex_);
        ++requests_;
        Behaviour behaviour = decide_();
        if (behaviour.way != Way::kReset && behaviour.status == 200) received_(body);
        return behaviour;
    }

    std::function<Behaviour()> decide_;
    std::function<void(const std::string&)> received_;
    std::mutex mutex_;
    std::atomic<int> requests_ = 0;
    LoopbackServer server_{{}, [this](Exchange& exchange) { Serve(exchange); }};  // gone first
};

}  // namespace tandor::test
