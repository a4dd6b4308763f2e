#include "library_state.h"

#include <openssl/ssl.h>

namespace qelvoarc {

LibraryState &LibraryState::Get() {
    static LibraryState state;
    return state;
}

uint32_t LibraryState::Initialize() {
    std::lock_guard lock(mutex_);
    if (initCount_ == 0 && OPENSSL_init_ssl(0, nullptr) != 1) return wire::ERR_INTERNAL;
    ++initCount_;
    initialized_.store(true, std::memory_order_release);
    return wire::OK;
}

uint32_t LibraryState::Finalize() {
    std::unique_lock lock(mutex_);
    if (initCount_ == 0) return wire::ERR_NOT_INITIALIZED;
    if (--initCount_ > 0) return wire::OK;
    initialized_.store(false, std::memory_order_release);
    lock.unlock();
    hashes.TakeAll();
    keys.TakeAll();
    metadata.TakeAll();
    p11Infos.TakeAll();
    logs.TakeAll();
    for (auto &session : sessions.TakeAll())
        session->Close();
    return wire::OK;
}

std::shared_ptr<Session> FindSession(uint64_t handle, uint32_t *status) {
    LibraryState &state = LibraryState::Get();
    if (!state.initialized()) {
        *status = wire::ERR_NOT_INITIALIZED;
        return nullptr;
    }
    std::shared_ptr<Session> session = state.sessions.Find(handle);
    *status = session == nullptr ? wire::ERR_INVALID_HANDLE : wire::OK;
    return session;
}

}  // namespace qelvoarc
