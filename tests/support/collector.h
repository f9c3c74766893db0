// A collector on loopback that misbehaves as told: a small HTTP/1.1 server with one thread.
#pragma once

#include <winsock2.h>
#include <ws2tcpip.h>

#include <atomic>
#include <charconv>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace tandor::test {

class Collector {
public:
    enum class Way { kAnswer, kReset, kTakeAndReset, kStall };
    struct Behaviour {
        Way way = Way::kAnswer;
        int status = 200;
        std::string headers;  // further ones, each with its line break
    };
    // Decides for each request; runs on the collector's thread, as does `received`, which gets the bodies that were
    // taken: those answered with 200, and those whose answer was lost (kTakeAndReset, kStall).
    Collector(std::function<Behaviour()> decide, std::function<void(const std::string&)> received)
        : decide_(std::move(decide)), received_(std::move(received)) {
        WSADATA data;
        ::WSAStartup(MAKEWORD(2, 2), &data);
        listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        int length = sizeof(address);
        if (::bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0 || ::listen(listener_, 16) != 0 ||
            ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
            throw std::runtime_error("no loopback listener");
        }
        url = L"http://127.0.0.1:" + std::to_wstring(ntohs(address.sin_port)) + L"/v1/logs";
        thread_ = std::thread([this] { Serve(); });
    }
    ~Collector() {
        ending_ = true;
        thread_.join();
        for (const SOCKET stalled : stalled_) ::closesocket(stalled);
        ::closesocket(listener_);
        ::WSACleanup();
    }
    Collector(const Collector&) = delete;
    Collector& operator=(const Collector&) = delete;

    std::wstring url;
    std::atomic<int> requests{0};

private:
    static bool Readable(SOCKET socket) {
        fd_set set;
        FD_ZERO(&set);
        FD_SET(socket, &set);
        timeval wait{0, 100'000};
        return ::select(0, &set, nullptr, nullptr, &wait) > 0;
    }

    void Serve() {
        while (!ending_) {
            if (!Readable(listener_)) continue;
            const SOCKET client = ::accept(listener_, nullptr, nullptr);
            if (client != INVALID_SOCKET && ServeConnection(client)) ::closesocket(client);
        }
    }

    // False when the connection stays open without an answer.
    bool ServeConnection(SOCKET client) {
        std::string text;
        for (std::string body; ReadRequest(client, text, body);) {
            ++requests;
            const Behaviour behaviour = decide_();
            if (behaviour.way != Way::kReset && behaviour.status == 200) received_(body);
            if (behaviour.way == Way::kStall) {
                stalled_.push_back(client);
                return false;
            }
            if (behaviour.way != Way::kAnswer) {
                const linger at_once{1, 0};
                ::setsockopt(client, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&at_once), sizeof(at_once));
                return true;
            }
            const std::string answer = "HTTP/1.1 " + std::to_string(behaviour.status) + " x\r\n" + behaviour.headers +
                                       "Content-Length: 2\r\n\r\n{}";
            ::send(client, answer.data(), static_cast<int>(answer.size()), 0);
        }
        return true;
    }

    bool ReadRequest(SOCKET client, std::string& text, std::string& body) {
        for (;;) {
            const std::size_t head = text.find("\r\n\r\n");
            const std::size_t field = text.find("Content-Length: ");
            if (head != std::string::npos && field < head) {
                std::size_t length = 0;
                std::from_chars(text.data() + field + 16, text.data() + head, length);
                if (text.size() >= head + 4 + length) {
                    body = text.substr(head + 4, length);
                    text.erase(0, head + 4 + length);
                    return true;
                }
            }
            while (!Readable(client)) {
                if (ending_) return false;
            }
            char bytes[16384];
            const int count = ::recv(client, bytes, sizeof(bytes), 0);
            if (count <= 0) return false;
            text.append(bytes, static_cast<std::size_t>(count));
        }
    }

    std::function<Behaviour()> decide_;
    std::function<void(const std::string&)> received_;
    SOCKET listener_ = INVALID_SOCKET;
    std::vector<SOCKET> stalled_;
    std::atomic<bool> ending_{false};
    std::thread thread_;
};

}  // namespace tandor::test
