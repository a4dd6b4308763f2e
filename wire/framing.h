#pragma once
// Framing of protocol messages over a byte stream: a 4-byte big-endian length, then the
// message. Used unchanged by the device library and the simulator.

#include <openssl/ssl.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "status.h"

namespace wire {

// Frames above this size are refused by both ends without reading their body.
inline constexpr uint32_t kMaxFrameBytes = 8u << 20;
// Before a session is open a peer is unauthenticated: its frames (a login, an information
// request) fit in a few hundred bytes, so nothing larger is read from it.
inline constexpr uint32_t kMaxFrameBytesBeforeLogin = 4096;

// A connected stream socket, optionally wrapped in TLS. Does not own the socket or the
// SSL object. Not thread-safe: one reader and writer at a time.
class Stream {
  public:
    Stream(int fd, SSL *ssl) : fd_(fd), ssl_(ssl) {}

    // Reads exactly `length` bytes. Returns OK, ERR_CONNECTION_LOST on end of stream or
    // error, or ERR_TIMEOUT when the socket's receive timeout expired first.
    [[nodiscard]] Status ReadExact(void *buffer, size_t length);
    // Writes all bytes. Returns OK or ERR_CONNECTION_LOST.
    [[nodiscard]] Status WriteAll(const void *buffer, size_t length);

    int fd() const { return fd_; }
    SSL *ssl() const { return ssl_; }

  private:
    int fd_;
    SSL *ssl_;
};

// Reads one frame into `payload` (replacing its contents). Returns OK, the stream's error,
// or ERR_FRAME_TOO_LARGE when the frame announces more than `maxLength` bytes (the body is
// not read; the connection must be dropped).
[[nodiscard]] Status ReadFrame(Stream &stream, std::string &payload,
                               uint32_t maxLength = kMaxFrameBytes);

// The two halves of ReadFrame, for a reader that times the body apart from the wait for
// the next frame. The body's buffer grows with the bytes that arrived, never to the
// announced length at once, so a header alone costs the peer as much memory as it costs us.
[[nodiscard]] Status ReadFrameHeader(Stream &stream, uint32_t *length, uint32_t maxLength);
[[nodiscard]] Status ReadFrameBody(Stream &stream, uint32_t length, std::string &payload);

// Writes `payload` as one frame with a single write call.
[[nodiscard]] Status WriteFrame(Stream &stream, const std::string &payload);

}  // namespace wire
