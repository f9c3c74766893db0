#include "support/loopback_server.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

#include "base/crypto_start.h"

namespace tandor::test {
namespace {

constexpr DWORD kReadLimit = 20'000;  // milliseconds: a peer that says nothing does not hold a test up

sockaddr_in Loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = ::htons(static_cast<u_short>(port));
    address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
    return address;
}

SOCKET ConnectTo(int port) {
    const SOCKET socket = ::socket(AF_INET, SOCK_STREAM, 0);
    const sockaddr_in address = Loopback(port);
    ::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    return socket;
}

// Carries bytes one way until there are no more, and passes the end on.
void Carry(SOCKET from, SOCKET to) {
    char buffer[16384];
    for (int size = 0; (size = ::recv(from, buffer, sizeof(buffer), 0)) > 0;) ::send(to, buffer, size, 0);
    ::shutdown(to, SD_SEND);
}

}  // namespace

// ---- Listener

Listener::Listener(int threads, std::function<void(SOCKET)> serve) : serve_(std::move(serve)) {
    WSADATA data;
    ::WSAStartup(MAKEWORD(2, 2), &data);
    socket_ = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = Loopback(0);
    int size = sizeof(address);
    if (::bind(socket_, reinterpret_cast<sockaddr*>(&address), size) != 0 || ::listen(socket_, 200) != 0 ||
        ::getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        throw std::runtime_error("no server on loopback");
    }
    port_ = ::ntohs(address.sin_port);
    for (int i = 0; i < threads; ++i) threads_.emplace_back([this] { Run(); });
}

Listener::~Listener() {
    stopped_ = true;
    for (std::size_t i = 0; i < threads_.size(); ++i) ::closesocket(ConnectTo(port_));  // wakes one each
    for (std::thread& thread : threads_) thread.join();
    ::closesocket(socket_);
    ::WSACleanup();
}

void Listener::Run() {
    while (true) {
        const SOCKET connection = ::accept(socket_, nullptr, nullptr);
        if (connection == INVALID_SOCKET) continue;
        if (!stopped_) {
            ++connections_;
            ::setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&kReadLimit),
                         sizeof(kReadLimit));
            const int on = 1;
            ::setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof(on));
            serve_(connection);
        }
        ::closesocket(connection);
        if (!stopped_) continue;
        ::OPENSSL_thread_stop();
        return;
    }
}

// ---- Exchange

bool Exchange::ReadMore(std::string& to) {
    char buffer[16384];
    const int size =
        tls_ != nullptr ? ::SSL_read(tls_, buffer, sizeof(buffer)) : ::recv(connection_, buffer, sizeof(buffer), 0);
    to.append(buffer, static_cast<std::size_t>(std::max(size, 0)));
    return size > 0;
}

bool Exchange::ReadRequest() {
    head.clear();
    std::size_t end = std::string::npos;
    while ((end = head.find("\r\n\r\n")) == std::string::npos)
        if (!ReadMore(head)) return false;
    body = head.substr(end + 4);
    head.resize(end + 4);
    const std::size_t length_at = head.find("Content-Length: ");
    const std::size_t length = length_at == std::string::npos ? 0 : std::stoul(head.substr(length_at + 16));
    if (head.find("Expect: 100-continue") != std::string::npos) Write("HTTP/1.1 100 Continue\r\n\r\n");
    while (body.size() < length)
        if (!ReadMore(body)) return false;
    return true;
}

bool Exchange::Write(std::string_view bytes) {
    while (!bytes.empty()) {
        const int size = static_cast<int>(std::min<std::size_t>(bytes.size(), 1 << 20));
        const int written =
            tls_ != nullptr ? ::SSL_write(tls_, bytes.data(), size) : ::send(connection_, bytes.data(), size, 0);
        if (written <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

void Exchange::Answer(std::string_view text) {
    std::string answer = "HTTP/1.1 200 OK\r\nX-Server: loopback\r\nContent-Length: " + std::to_string(text.size());
    answer.append("\r\n\r\n").append(text);
    Write(answer);
}

void Exchange::Reset() {
    const linger now{1, 0};
    ::setsockopt(connection_, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&now), sizeof(now));
    if (tls_ != nullptr) ::SSL_set_quiet_shutdown(tls_, 1);
}

// ---- LoopbackServer

LoopbackServer::LoopbackServer(const ServerOptions& options, std::function<void(Exchange&)> handle)
    : handle_(std::move(handle)) {
    if (options.identity != nullptr) {
        if (!StartCrypto()) throw std::runtime_error("no cryptographic library");
        context_.reset(::SSL_CTX_new(::TLS_server_method()));
        SSL_CTX* const context = context_.get();
        SSL_CTX_set_min_proto_version(context, options.lowest);
        SSL_CTX_set_max_proto_version(context, options.highest);
        if (::SSL_CTX_use_certificate(context, options.identity->certificate.get()) != 1 ||
            ::SSL_CTX_use_PrivateKey(context, options.identity->key.get()) != 1 ||
            (options.ciphers != nullptr && ::SSL_CTX_set_cipher_list(context, options.ciphers) != 1)) {
            throw std::runtime_error("the server's options are refused");
        }
    }
    listener_ = std::make_unique<Listener>(options.threads, [this](SOCKET connection) { Serve(connection); });
}

std::string LoopbackServer::Url(const std::string& host, const std::string& path) const {
    return (context_ ? "https://" : "http://") + host + ":" + std::to_string(listener_->Port()) + path;
}

void LoopbackServer::Serve(SOCKET connection) {
    const std::unique_ptr<SSL, void (*)(SSL*)> tls(context_ ? ::SSL_new(context_.get()) : nullptr, ::SSL_free);
    if (tls && (::SSL_set_fd(tls.get(), static_cast<int>(connection)) != 1 || ::SSL_accept(tls.get()) != 1)) return;
    Exchange exchange(connection, tls.get());
    if (exchange.ReadRequest()) {
        ++requests_;
        handle_(exchange);
    }
    if (tls) ::SSL_shutdown(tls.get());
    if (!tls) ::shutdown(connection, SD_SEND);
}

// ---- TunnelProxy

TunnelProxy::TunnelProxy() : listener_(std::make_unique<Listener>(4, [this](SOCKET client) { Serve(client); })) {}

std::vector<std::string> TunnelProxy::Heads() {
    const std::lock_guard lock(mutex_);
    return heads_;
}

void TunnelProxy::Serve(SOCKET client) {
    Exchange exchange(client, nullptr);
    if (!exchange.ReadRequest()) return;
    {
        const std::lock_guard lock(mutex_);
        heads_.push_back(exchange.head);
    }
    const std::size_t colon = exchange.head.find(':');
    if (!exchange.head.starts_with("CONNECT ") || colon == std::string::npos) return;
    const SOCKET server = ConnectTo(std::atoi(exchange.head.c_str() + colon + 1));
    exchange.Write("HTTP/1.1 200 Connection established\r\n\r\n");
    std::thread back([&] { Carry(server, client); });
    Carry(client, server);
    back.join();
    ::closesocket(server);
}

std::unique_ptr<Listener> OldTlsServer() {
    return std::make_unique<Listener>(1, [](SOCKET connection) {
        const std::string hello =  // RSA with AES-128-CBC, no compression
            std::string("\x16\x03\x02\x00\x2a\x02\x00\x00\x26\x03\x02", 11) + std::string(32, 'r') +
            std::string("\x00\x00\x2f\x00", 4);
        char sink[4096];
        ::recv(connection, sink, sizeof(sink), 0);
        ::send(connection, hello.data(), static_cast<int>(hello.size()), 0);
        while (::recv(connection, sink, sizeof(sink), 0) > 0) continue;
    });
}

}  // namespace tandor::test
