#include "https_receiver.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>

namespace {

// A client that stalls is dropped after this long, so the server never hangs a test.
constexpr int kClientTimeoutSeconds = 5;

// The value of Content-Length in `head`, 0 when absent.
size_t ContentLength(const std::string &head) {
    for (const char *name : {"Content-Length:", "content-length:"}) {
        const size_t at = head.find(name);
        if (at != std::string::npos) return std::strtoul(head.c_str() + at + 15, nullptr, 10);
    }
    return 0;
}

}  // namespace

HttpsReceiver::HttpsReceiver(const TestCertificate &identity) {
    context_ = SSL_CTX_new(TLS_server_method());
    SSL_CTX_use_certificate(context_, identity.cert.get());
    SSL_CTX_use_PrivateKey(context_, identity.key.get());
    listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (::bind(listener_, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0 &&
        ::listen(listener_, 8) == 0 &&
        ::getsockname(listener_, reinterpret_cast<sockaddr *>(&address), &length) == 0)
        port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { Serve(); });
}

HttpsReceiver::~HttpsReceiver() {
    stopping_ = true;
    thread_.join();
    ::close(listener_);
    SSL_CTX_free(context_);
}

std::vector<std::string> HttpsReceiver::Bodies() {
    std::lock_guard lock(mutex_);
    return bodies_;
}

bool HttpsReceiver::WaitForBodies(size_t count, int seconds) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    while (Bodies().size() < count) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return true;
}

void HttpsReceiver::Serve() {
    while (!stopping_) {
        pollfd ready{listener_, POLLIN, 0};
        if (::poll(&ready, 1, 100) != 1) continue;
        const int client = ::accept(listener_, nullptr, nullptr);
        if (client < 0) continue;
        const timeval timeout{kClientTimeoutSeconds, 0};
        ::setsockopt(client, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
        Answer(client);
        ::close(client);
    }
}

void HttpsReceiver::Answer(int client) {
    SSL *ssl = SSL_new(context_);
    SSL_set_fd(ssl, client);
    std::string request;
    size_t headEnd = std::string::npos;
    if (SSL_accept(ssl) == 1) {
        char buffer[4096];
        for (int got; (got = SSL_read(ssl, buffer, sizeof buffer)) > 0;) {
            request.append(buffer, static_cast<size_t>(got));
            if (headEnd == std::string::npos) headEnd = request.find("\r\n\r\n");
            if (headEnd != std::string::npos &&
                request.size() >= headEnd + 4 + ContentLength(request.substr(0, headEnd)))
                break;
        }
    }
    if (headEnd != std::string::npos) {
        {
            std::lock_guard lock(mutex_);
            bodies_.push_back(request.substr(headEnd + 4));
        }
        static const char kOk[] =
            "HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
        SSL_write(ssl, kOk, sizeof kOk - 1);
        SSL_shutdown(ssl);
    }
    SSL_free(ssl);
}
