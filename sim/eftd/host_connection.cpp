#include "eftd/host_connection.h"

#include <openssl/crypto.h>

#include <cstdint>
#include <string>

#include "eftd/host_commands.h"
#include "framing.h"

namespace sim {

namespace {

constexpr size_t kLengthBytes = 2;

// The message and its answer may carry an encrypted PIN block or a CVV: neither lingers.
void Wipe(std::string &bytes) {
    OPENSSL_cleanse(bytes.data(), bytes.size());
}

}  // namespace

void ServeHostConnection(HsmContext &hsm, int fd, const ConnectionLimits &limits,
                         ConnectionWatch &watch) {
    ConfigureSocket(fd, limits.idleTimeoutSeconds);
    // A host never logs in: the wait for its next command is bounded by the idle timeout
    // alone, and each command's body by the frame timeout.
    watch.deadline = 0;
    wire::Stream stream(fd, nullptr);
    HostKeyCache keys(hsm);
    std::string message;
    std::string frame;
    for (;;) {
        unsigned char prefix[kLengthBytes];
        if (stream.ReadExact(prefix, sizeof prefix) != wire::OK) return;
        const size_t length = (size_t{prefix[0]} << 8) | prefix[1];
        if (length > kMaxHostMessageBytes) return;
        watch.deadline = DeadlineAfter(limits.frameSeconds);
        message.resize(length);
        const wire::Status read = stream.ReadExact(message.data(), length);
        watch.deadline = 0;
        if (read != wire::OK) break;
        std::string answer = AnswerHostCommand(hsm, keys, message);
        Wipe(message);
        frame.assign({static_cast<char>(answer.size() >> 8), static_cast<char>(answer.size())});
        frame += answer;
        Wipe(answer);
        const bool sent = stream.WriteAll(frame.data(), frame.size()) == wire::OK;
        Wipe(frame);
        if (!sent) return;
    }
    Wipe(message);
}

}  // namespace sim
