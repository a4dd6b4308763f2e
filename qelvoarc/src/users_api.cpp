// Accounts: creation, removal, listing, their rights and parameters, trust relations.

#include <openssl/crypto.h>

#include <cstring>
#include <string>
#include <vector>

#include "abi_guard.h"
#include "callback_delivery.h"
#include "library_memory.h"
#include "library_state.h"
#include "qelvoarc.h"

namespace qelvoarc {
namespace {

constexpr size_t kUserIdField = sizeof(QUserRecord::userId);

void WipeSetUserParam(pb::Request &request) {
    std::string *data = request.mutable_set_user_param()->mutable_data();
    OPENSSL_cleanse(data->data(), data->size());
}

uint32_t CreateUser(QSessionHandle handle, const QUserRecord *record) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    if (record == nullptr) return wire::ERR_INVALID_PARAMETER;
    return session->CallWithSecret(
        [&](pb::Request &request) {
            pb::CreateUser *create = request.mutable_create_user();
            create->set_user(BoundedText(record->userId, kUserIdField));
            create->set_password(record->password,
                                 BoundedText(record->password, Q_MAX_PASSWORD).size());
            create->set_acl(record->acl);
        },
        [](pb::Request &request) {
            std::string *password = request.mutable_create_user()->mutable_password();
            OPENSSL_cleanse(password->data(), password->size());
        });
}

uint32_t RemoveUser(QSessionHandle handle, const char *userId) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    if (userId == nullptr) return wire::ERR_INVALID_PARAMETER;
    return session->Call([&](pb::Request &request) {
        request.mutable_remove_user()->set_user(BoundedText(userId, Q_MAX_USER_ID));
    });
}

// Runs a request answering names and delivers them to the callback.
template <class Fill>
uint32_t ListNames(QSessionHandle handle, QNameCallback callback, void *context, Fill &&fill) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    if (callback == nullptr) return wire::ERR_INVALID_PARAMETER;
    std::vector<std::string> names;
    status = session->Call(fill, [&](const pb::Response &response) {
        names.assign(response.names().begin(), response.names().end());
        return static_cast<uint32_t>(wire::OK);
    });
    return status == wire::OK ? DeliverNames(names, callback, context) : status;
}

uint32_t ListUsers(QSessionHandle handle, QNameCallback callback, void *context) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    if (callback == nullptr) return wire::ERR_INVALID_PARAMETER;
    std::vector<std::string> names;
    status = session->Call([](pb::Request &request) { request.mutable_list_users(); },
                           [&](const pb::Response &response) {
                               auto listing = std::make_shared<UserListing>();
                               for (const pb::UserSummary &user : response.users()) {
                                   UserListing::Entry &entry = listing->users[user.user()];
                                   entry.acl = user.acl();
                                   for (const pb::ObjectCount &count : user.object_counts())
                                       entry.counts.push_back({count.object_type(), count.count()});
                                   names.push_back(user.user());
                               }
                               session->KeepUserListing(std::move(listing));
                               return static_cast<uint32_t>(wire::OK);
                           });
    return status == wire::OK ? DeliverNames(names, callback, context) : status;
}

// The entry of `user` in the session's current user list, or null.
const UserListing::Entry *Listed(const std::shared_ptr<const UserListing> &listing,
                                 const std::string &user) {
    if (listing == nullptr) return nullptr;
    auto it = listing->users.find(user);
    return it == listing->users.end() ? nullptr : &it->second;
}

uint32_t GetUserAcl(QSessionHandle handle, const char *userId, uint32_t *acl) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    if (userId == nullptr || acl == nullptr) return wire::ERR_INVALID_PARAMETER;
    std::shared_ptr<const UserListing> listing = session->CurrentUserListing();
    if (const UserListing::Entry *entry = Listed(listing, BoundedText(userId, Q_MAX_USER_ID))) {
        *acl = entry->acl;
        return wire::OK;
    }
    return session->Call(
        [&](pb::Request &request) {
            request.mutable_get_user_acl()->set_user(BoundedText(userId, Q_MAX_USER_ID));
        },
        [&](const pb::Response &response) {
            *acl = static_cast<uint32_t>(response.value());
            return static_cast<uint32_t>(wire::OK);
        });
}

// The record each GetUserParam code fills, and how.
uint32_t RecordSizeOf(uint32_t code) {
    switch (code) {
        case Q_USER_PARAM_BLOCK:
            return sizeof(QUserStatusRecord);
        case Q_USER_PARAM_AUTH:
            return sizeof(QUserAuthRecord);
        case Q_USER_PARAM_OBJECT_COUNT:
            return sizeof(QObjectCountQuery);
        default:
            return 0;
    }
}

uint32_t FillObjectCounts(const std::vector<QObjectCountEntry> &counts, QObjectCountQuery *query) {
    query->entryCount = 0;
    query->entries = nullptr;
    if (counts.empty()) return wire::OK;
    void *entries = CopyToLibraryMemory(counts.data(), sizeof(QObjectCountEntry) * counts.size());
    if (entries == nullptr) return wire::ERR_NO_MEMORY;
    query->entries = static_cast<QObjectCountEntry *>(entries);
    query->entryCount = counts.size();
    return wire::OK;
}

uint32_t GetUserParam(QSessionHandle handle, uint32_t code, void *buffer, uint32_t *length) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    const uint32_t size = RecordSizeOf(code);
    if (size == 0) return wire::ERR_NOT_SUPPORTED;
    if (buffer == nullptr || length == nullptr) return wire::ERR_INVALID_PARAMETER;
    if (*length < size) {
        *length = size;
        return wire::ERR_BUFFER_TOO_SMALL;
    }
    // Every record starts with the user id the caller filled in.
    const size_t idCapacity = code == Q_USER_PARAM_OBJECT_COUNT ? Q_MAX_OBJ_NAME : kUserIdField;
    std::string user = BoundedText(static_cast<const char *>(buffer), idCapacity);
    if (code == Q_USER_PARAM_OBJECT_COUNT) {
        std::shared_ptr<const UserListing> listing = session->CurrentUserListing();
        if (const UserListing::Entry *entry = Listed(listing, user)) {
            *length = size;
            return FillObjectCounts(entry->counts, static_cast<QObjectCountQuery *>(buffer));
        }
    }
    status = session->Call(
        [&](pb::Request &request) {
            pb::GetUserParam *param = request.mutable_get_user_param();
            param->set_code(code);
            param->set_user(user);
        },
        [&](const pb::Response &response) -> uint32_t {
            if (code == Q_USER_PARAM_OBJECT_COUNT) {
                std::vector<QObjectCountEntry> counts;
                for (const pb::ObjectCount &count : response.object_counts())
                    counts.push_back({count.object_type(), count.count()});
                return FillObjectCounts(counts, static_cast<QObjectCountQuery *>(buffer));
            }
            if (code == Q_USER_PARAM_BLOCK) {
                auto *record = static_cast<QUserStatusRecord *>(buffer);
                record->blocked = static_cast<uint32_t>(response.value());
                record->reserved = 0;
            } else {
                auto *record = static_cast<QUserAuthRecord *>(buffer);
                record->mofnState = static_cast<uint32_t>(response.value());
                record->permissionMask = response.flags();
            }
            return wire::OK;
        });
    if (status == wire::OK) *length = size;
    return status;
}

// Fills the SetUserParam request of a code from the caller's data; false when the data
// cannot be what the code expects.
bool FillSetUserParam(uint32_t code, const void *data, uint32_t length, pb::SetUserParam *param) {
    switch (code) {
        case Q_USER_PARAM_OWN_PASSWORD:
            if (length == 0 || length > Q_MAX_PASSWORD) return false;
            param->set_data(data, length);
            return true;
        case Q_USER_PARAM_BLOCK:
        case Q_USER_PARAM_UNBLOCK:
            if (length == 0 || length > kUserIdField) return false;
            param->set_user(BoundedText(static_cast<const char *>(data), length));
            return true;
        case Q_USER_PARAM_ACL:
        case Q_USER_PARAM_PASSWORD: {
            if (length < sizeof(QUserRecord)) return false;
            const auto *record = static_cast<const QUserRecord *>(data);
            param->set_user(BoundedText(record->userId, kUserIdField));
            if (code == Q_USER_PARAM_ACL)
                param->set_acl(record->acl);
            else
                param->set_data(record->password,
                                BoundedText(record->password, Q_MAX_PASSWORD).size());
            return true;
        }
        case Q_USER_PARAM_CERT: {
            if (length < sizeof(QUserCertRecord)) return false;
            const auto *record = static_cast<const QUserCertRecord *>(data);
            param->set_user(BoundedText(record->userId, kUserIdField));
            param->set_operation(record->operation);
            if (record->operation == Q_CERT_OP_ASSIGN) {
                if (record->certificate == nullptr || record->certificateLength == 0) return false;
                param->set_data(record->certificate, record->certificateLength);
            }
            return true;
        }
        default:
            return false;
    }
}

uint32_t SetUserParam(QSessionHandle handle, uint32_t code, const void *data, uint32_t length,
                      uint32_t flags) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    if (data == nullptr) return wire::ERR_INVALID_PARAMETER;
    pb::Request prepared;
    pb::SetUserParam *param = prepared.mutable_set_user_param();
    param->set_code(code);
    param->set_flags(flags);
    if (!FillSetUserParam(code, data, length, param)) {
        WipeSetUserParam(prepared);
        return wire::ERR_INVALID_PARAMETER;
    }
    // Swapped in, so the secret exists in one message only and is wiped there once sent.
    return session->CallWithSecret([&](pb::Request &request) { request.Swap(&prepared); },
                                   WipeSetUserParam);
}

}  // namespace
}  // namespace qelvoarc

using qelvoarc::Guarded;

extern "C" {

uint32_t QCreateUser(QSessionHandle session, const QUserRecord *record) {
    return Guarded([&] { return qelvoarc::CreateUser(session, record); });
}

uint32_t QRemoveUser(QSessionHandle session, const char *userId) {
    return Guarded([&] { return qelvoarc::RemoveUser(session, userId); });
}

uint32_t QListUsers(QSessionHandle session, QNameCallback callback, void *context) {
    return Guarded([&] { return qelvoarc::ListUsers(session, callback, context); });
}

uint32_t QGetUserAcl(QSessionHandle session, const char *userId, uint32_t *acl) {
    return Guarded([&] { return qelvoarc::GetUserAcl(session, userId, acl); });
}

uint32_t QGetUserParam(QSessionHandle session, uint32_t code, void *buffer, uint32_t *length,
                       uint32_t) {
    return Guarded([&] { return qelvoarc::GetUserParam(session, code, buffer, length); });
}

uint32_t QSetUserParam(QSessionHandle session, uint32_t code, const void *data, uint32_t length,
                       uint32_t flags) {
    return Guarded([&] { return qelvoarc::SetUserParam(session, code, data, length, flags); });
}

uint32_t QListUserTrusts(QSessionHandle session, const char *userId, uint32_t direction,
                         QNameCallback callback, void *context, uint32_t) {
    return Guarded([&] {
        if (userId == nullptr) return static_cast<uint32_t>(Q_ERR_INVALID_PARAMETER);
        return qelvoarc::ListNames(session, callback, context, [&](qelvoarc::pb::Request &request) {
            qelvoarc::pb::ListUserTrusts *trusts = request.mutable_list_user_trusts();
            trusts->set_user(qelvoarc::BoundedText(userId, Q_MAX_USER_ID));
            trusts->set_direction(direction);
        });
    });
}

}  // extern "C"
