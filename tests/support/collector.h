// A collector on loopback that misbehaves as told.
#pragma once

#include "support/loopback_server.h"

namespace tandor::test {

class Collector {
public:
    // kCut: the connection ends in the middle of the answer. kGarbage: the answer is not HTTP.
    enum class Way { kAnswer, kReset, kTakeAndReset, kStall, kCut, kGarbage };
    struct Behaviour {
        Way way = Way::kAnswer;
        int status = 200;
        std::string headers = {};  // further ones, each with its line break
        std::string answer = "{}";
        bool taken = true;  // of an answer of 200, and of one that is lost
    };
    // Decides for each request, whose body it is given. `received` gets the bodies that were taken. Both run on a
    // thread of the collector's, one request at a time.
    Collector(std::function<Behaviour(const std::string&)> decide, std::function<void(const std::string&)> received)
        : decide_(std::move(decide)), received_(std::move(received)) {}

    [[nodiscard]] std::string Url() const { return server_.Url("127.0.0.1", "/v1/logs"); }
    [[nodiscard]] int Requests() const { return requests_; }
    // Requests that were no posts of JSON to the address.
    [[nodiscard]] int Strange() const { return strange_; }

private:
    // One connection carries as many requests as the sender likes, as with a real collector.
    void Serve(Exchange& exchange) {
        do {
            const bool usual = exchange.head.starts_with("POST /v1/logs HTTP/1.1\r\n") &&
                               exchange.head.find("\r\nContent-Type: application/json\r\n") != std::string::npos;
            strange_ += usual ? 0 : 1;
            const Behaviour behaviour = Take(exchange.body);
            const std::string answer = "HTTP/1.1 " + std::to_string(behaviour.status) + " x\r\n" + behaviour.headers +
                                       "Content-Length: " + std::to_string(behaviour.answer.size()) + "\r\n\r\n" +
                                       behaviour.answer;
            switch (behaviour.way) {
                case Way::kStall:
                    return exchange.AwaitEnd();
                case Way::kCut:
                    exchange.Write(answer.substr(0, answer.size() - 1));
                    return;
                case Way::kGarbage:
                    exchange.Write("\x16\x03\x01 no HTTP\r\n\r\n");
                    return;
                case Way::kReset:
                case Way::kTakeAndReset:
                    return exchange.Reset();
                case Way::kAnswer:
                    exchange.Write(answer);
            }
        } while (exchange.ReadRequest());
    }
    Behaviour Take(const std::string& body) {
        const std::lock_guard lock(mutex_);
        ++requests_;
        Behaviour behaviour = decide_(body);
        const bool lost = behaviour.way == Way::kReset || behaviour.way == Way::kGarbage;
        if (behaviour.taken && !lost && behaviour.status == 200) received_(body);
        return behaviour;
    }

    std::function<Behaviour(const std::string&)> decide_;
    std::function<void(const std::string&)> received_;
    std::mutex mutex_;
    std::atomic<int> requests_ = 0, strange_ = 0;
    LoopbackServer server_{{}, [this](Exchange& exchange) { Serve(exchange); }};  // gone first
};

}  // namespace tandor::test
