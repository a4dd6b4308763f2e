#include "framing.h"

#include <openssl/crypto.h>
#include <sys/socket.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>

namespace wire {

Status Stream::ReadExact(void *buffer, size_t length) {
    auto *p = static_cast<unsigned char *>(buffer);
    while (length > 0) {
        if (ssl_ != nullptr) {
            size_t got = 0;
            if (SSL_read_ex(ssl_, p, length, &got) != 1) {
                int err = SSL_get_error(ssl_, 0);
                if (err == SSL_ERROR_SYSCALL && (errno == EAGAIN || errno == EWOULDBLOCK))
                    return ERR_TIMEOUT;
                return ERR_CONNECTION_LOST;
            }
            p += got;
            length -= got;
        } else {
            ssize_t got = ::recv(fd_, p, length, 0);
            if (got > 0) {
                p += got;
                length -= static_cast<size_t>(got);
            } else if (got < 0 && errno == EINTR) {
                continue;
            } else if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
                return ERR_TIMEOUT;
            } else {
                return ERR_CONNECTION_LOST;
            }
        }
    }
    return OK;
}

Status Stream::WriteAll(const void *buffer, size_t length) {
    const auto *p = static_cast<const unsigned char *>(buffer);
    while (length > 0) {
        if (ssl_ != nullptr) {
            size_t sent = 0;
            if (SSL_write_ex(ssl_, p, length, &sent) != 1) return ERR_CONNECTION_LOST;
            p += sent;
            length -= sent;
        } else {
            ssize_t sent = ::send(fd_, p, length, MSG_NOSIGNAL);
            if (sent < 0 && errno == EINTR) continue;
            if (sent <= 0) return ERR_CONNECTION_LOST;
            p += sent;
            length -= static_cast<size_t>(sent);
        }
    }
    return OK;
}

namespace {

// The first step of a body's buffer; each later step doubles what arrived.
constexpr size_t kFirstBodyStep = 64 * 1024;

// Moves `payload` into a larger buffer, wiping the old one: the bytes may be a secret.
void Grow(std::string &payload, size_t capacity) {
    std::string larger;
    larger.reserve(capacity);
    larger.assign(payload);
    OPENSSL_cleanse(payload.data(), payload.size());
    payload.swap(larger);
}

}  // namespace

Status ReadFrameHeader(Stream &stream, uint32_t *length, uint32_t maxLength) {
    unsigned char header[4];
    if (Status s = stream.ReadExact(header, sizeof header); s != OK) return s;
    *length = (uint32_t{header[0]} << 24) | (uint32_t{header[1]} << 16) |
              (uint32_t{header[2]} << 8) | uint32_t{header[3]};
    return *length > maxLength ? ERR_FRAME_TOO_LARGE : OK;
}

Status ReadFrameBody(Stream &stream, uint32_t length, std::string &payload) {
    OPENSSL_cleanse(payload.data(), payload.size());
    payload.clear();
    while (payload.size() < length) {
        const size_t have = payload.size();
        const size_t step = std::min<size_t>(length - have, std::max(kFirstBodyStep, have));
        if (payload.capacity() < have + step) Grow(payload, have + step);
        payload.resize(have + step);
        if (Status s = stream.ReadExact(payload.data() + have, step); s != OK) {
            OPENSSL_cleanse(payload.data(), payload.size());
            payload.clear();
            return s;
        }
    }
    return OK;
}

Status ReadFrame(Stream &stream, std::string &payload, uint32_t maxLength) {
    uint32_t length = 0;
    if (Status s = ReadFrameHeader(stream, &length, maxLength); s != OK) return s;
    return ReadFrameBody(stream, length, payload);
}

Status WriteFrame(Stream &stream, const std::string &payload) {
    if (payload.size() > kMaxFrameBytes) return ERR_FRAME_TOO_LARGE;
    std::string frame;
    frame.reserve(4 + payload.size());
    auto length = static_cast<uint32_t>(payload.size());
    frame.push_back(static_cast<char>(length >> 24));
    frame.push_back(static_cast<char>(length >> 16));
    frame.push_back(static_cast<char>(length >> 8));
    frame.push_back(static_cast<char>(length));
    frame.append(payload);
    Status status = stream.WriteAll(frame.data(), frame.size());
    // The copy may hold a secret (a password, a token) that the caller wipes in its own buffer.
    OPENSSL_cleanse(frame.data(), frame.size());
    return status;
}

}  // namespace wire
