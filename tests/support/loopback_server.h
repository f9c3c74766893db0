// Servers on 127.0.0.1: HTTP, with and without TLS, and a proxy that tunnels.
#pragma once

#include <winsock2.h>

#include <openssl/ssl.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "support/certificates.h"
#include "tandor/uncopyable.h"

namespace tandor::test {

// Serves connections, as many at a time as it has threads. The end waits for those under way.
class Listener : UnCopyable {
public:
    Listener(int threads, std::function<void(SOCKET)> serve);
    ~Listener();

    [[nodiscard]] int Port() const { return port_; }
    [[nodiscard]] int Connections() const { return connections_; }

private:
    void Run();

    std::function<void(SOCKET)> serve_;
    SOCKET socket_;
    int port_ = 0;
    std::atomic<bool> stopped_ = false;
    std::atomic<int> connections_ = 0;
    std::vector<std::thread> threads_;
};

struct ServerOptions {
    const Identity* identity = nullptr;  // without one, no TLS
    int lowest = TLS1_2_VERSION, highest = TLS1_3_VERSION;
    const char* ciphers = nullptr;  // up to TLS 1.2; null for the library's own choice
    int threads = 4;
};

// A request that has been read, and its answer's way.
class Exchange {
public:
    std::string head, body;

    Exchange(SOCKET connection, SSL* tls) : connection_(connection), tls_(tls) {}
    // Whether a whole request came: the connection's next one, when the one before it has been answered.
    bool ReadRequest();
    // Whether the other side took it.
    bool Write(std::string_view bytes);
    // A whole answer with status 200.
    void Answer(std::string_view text);
    // Ends the connection as a crash of the server would: with a reset.
    void Reset();
    // Says nothing until the other side gives up.
    void AwaitEnd() {
        while (ReadMore(body)) continue;
    }

private:
    bool ReadMore(std::string& to);

    SOCKET connection_;
    SSL* tls_;
};

class LoopbackServer {
public:
    // `handle` is called on several threads.
    LoopbackServer(const ServerOptions& options, std::function<void(Exchange&)> handle);

    [[nodiscard]] std::string Url(const std::string& host = "127.0.0.1", const std::string& path = "/config") const;
    [[nodiscard]] int Port() const { return listener_->Port(); }
    [[nodiscard]] int Connections() const { return listener_->Connections(); }
    // Each connection's first one alone: those that a handler reads itself are its own to count.
    [[nodiscard]] int Requests() const { return requests_; }

private:
    void Serve(SOCKET connection);

    struct ContextFree {
        void operator()(SSL_CTX* context) const { ::SSL_CTX_free(context); }
    };

    std::function<void(Exchange&)> handle_;
    std::unique_ptr<SSL_CTX, ContextFree> context_;
    std::atomic<int> requests_ = 0;
    std::unique_ptr<Listener> listener_;  // gone first
};

// Understands CONNECT alone, and tunnels to where it is asked to.
class TunnelProxy {
public:
    TunnelProxy();
    [[nodiscard]] int Port() const { return listener_->Port(); }
    // The heads of the requests so far.
    std::vector<std::string> Heads();

private:
    void Serve(SOCKET client);

    std::mutex mutex_;
    std::vector<std::string> heads_;
    std::unique_ptr<Listener> listener_;
};

// Answers every greeting with TLS 1.1, which the library in use does not speak itself: its words are given.
std::unique_ptr<Listener> OldTlsServer();

}  // namespace tandor::test
