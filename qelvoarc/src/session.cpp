#include "session.h"

namespace qelvoarc {

void Session::Close() {
    std::lock_guard lock(mutex_);
    if (connection_ == nullptr) return;
    CollectOwedReply();
    request_.Clear();
    request_.mutable_logout();
    // The answer does not matter: the connection goes either way.
    (void)connection_->RoundTrip(request_, &response_);
    connection_.reset();
}

}  // namespace qelvoarc
