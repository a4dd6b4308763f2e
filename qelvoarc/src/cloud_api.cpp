// The HSM's cloud binding.

#include <cstring>
#include <utility>

#include "abi_guard.h"
#include "qelvoarc.h"
#include "remote_call.h"

namespace qelvoarc {
namespace {

// The console's bind key buffer: 1024 bytes with the terminator.
constexpr size_t kMaxBindKeyBytes = 1023;

[[nodiscard]] uint32_t BindHsm(QSessionHandle handle, const char *bindKey) {
    if (bindKey == nullptr) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    const size_t length = strnlen(bindKey, kMaxBindKeyBytes + 1);
    if (length == 0 || length > kMaxBindKeyBytes) return Refuse(handle, wire::ERR_INVALID_LENGTH);
    pb::BindHsm request;
    request.set_bind_key(bindKey, length);
    return Remote<pb::BindHsmReply>(handle, std::move(request));
}

}  // namespace
}  // namespace qelvoarc

extern "C" {

uint32_t QOSBindHSM(QSessionHandle session, const char *bindKey, uint32_t) {
    return qelvoarc::Guarded([&] { return qelvoarc::BindHsm(session, bindKey); });
}

uint32_t QOSUnbindHSM(QSessionHandle session, uint32_t) {
    return qelvoarc::Guarded([&] {
        return qelvoarc::Remote<qelvoarc::pb::UnbindHsmReply>(session, qelvoarc::pb::UnbindHsm());
    });
}

}  // extern "C"
