// The frame decoder on a byte stream that arrives as the input: every frame is read, parsed
// as the request or response it claims to be and wiped, as both ends do with what they read.
#include <sys/socket.h>
#include <unistd.h>

#include <google/protobuf/stubs/logging.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "envelope.pb.h"
#include "framing.h"
#include "secret_fields.h"

// Text fields that are not UTF-8 make protobuf log a line per parse; inputs are full of them.
extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    google::protobuf::SetLogHandler(nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    int fds[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, fds) != 0) return 0;
    // The input is smaller than the socket's buffer (fuzz.sh caps it), so one write holds it.
    if (size > 0) (void)!::write(fds[1], data, size);
    ::shutdown(fds[1], SHUT_WR);
    wire::Stream stream(fds[0], nullptr);
    std::string payload;
    wire::pb::Request request;
    wire::pb::Response response;
    while (wire::ReadFrame(stream, payload) == wire::OK) {
        if (request.ParseFromString(payload)) (void)wire::WipeSecretFields(request);
        if (response.ParseFromString(payload)) (void)wire::WipeSecretFields(response);
    }
    ::close(fds[0]);
    ::close(fds[1]);
    return 0;
}
