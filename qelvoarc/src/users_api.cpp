// Accounts: creation, removal, listing, their rights and parameters, trust relations.

#include <cstring>
#include <string>
#include <vector>

#include "abi_guard.h"
#include "callback_delivery.h"
#include "library_memory.h"
#include "library_state.h"
#include "qelvoarc.h"
#include "remote_call.h"

namespace qelvoarc {
namespace {

constexpr size_t kUserIdField = sizeof(QUserRecord::userId);

// The password of a caller's record, up to its terminator.
template <class Message>
void SetPassword(Message &message, const char (&password)[Q_MAX_PASSWORD + 1]) {
    message.set_password(password, BoundedText(password, Q_MAX_PASSWORD).size());
}

[[nodiscard]] uint32_t CreateUser(QSessionHandle handle, const QUserRecord *record) {
    if (record == nullptr) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    pb::CreateUser request;
    request.set_user(BoundedText(record->userId, kUserIdField));
    SetPassword(request, record->password);
    request.set_acl(record->acl);
    return Remote<pb::CreateUserReply>(handle, std::move(request));
}

[[nodiscard]] uint32_t RemoveUser(QSessionHandle handle, const char *userId) {
    if (userId == nullptr) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    pb::RemoveUser request;
    request.set_user(BoundedText(userId, Q_MAX_USER_ID));
    return Remote<pb::RemoveUserReply>(handle, std::move(request));
}

[[nodiscard]] uint32_t ListUserTrusts(QSessionHandle handle, const char *userId, uint32_t direction,
                                      QNameCallback callback, void *context) {
    if (userId == nullptr) return wire::ERR_INVALID_PARAMETER;  // judged before the handle
    if (callback == nullptr) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    pb::ListUserTrusts request;
    request.set_user(BoundedText(userId, Q_MAX_USER_ID));
    request.set_direction(static_cast<pb::TrustDirection>(direction));
    std::vector<std::string> names;
    uint32_t status = Remote<pb::ListUserTrustsReply>(
        handle, std::move(request), [&](const pb::ListUserTrustsReply &reply) {
            names.assign(reply.users().begin(), reply.users().end());
        });
    return status == wire::OK ? DeliverNames(names, callback, context) : status;
}

[[nodiscard]] uint32_t ListUsers(QSessionHandle handle, QNameCallback callback, void *context) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    if (callback == nullptr) return wire::ERR_INVALID_PARAMETER;
    std::vector<std::string> names;
    status =
        Remote<pb::ListUsersReply>(*session, pb::ListUsers(), [&](const pb::ListUsersReply &reply) {
            auto listing = std::make_shared<UserListing>();
            for (const pb::UserSummary &user : reply.users()) {
                UserListing::Entry &entry = listing->users[user.user()];
                entry.acl = user.acl();
                for (const pb::ObjectCount &count : user.object_counts())
                    entry.counts.push_back({count.object_type(), count.count()});
                names.push_back(user.user());
            }
            session->KeepUserListing(std::move(listing));
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

[[nodiscard]] uint32_t GetUserAcl(QSessionHandle handle, const char *userId, uint32_t *acl) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    if (userId == nullptr || acl == nullptr) return wire::ERR_INVALID_PARAMETER;
    std::shared_ptr<const UserListing> listing = session->CurrentUserListing();
    if (const UserListing::Entry *entry = Listed(listing, BoundedText(userId, Q_MAX_USER_ID))) {
        *acl = entry->acl;
        return wire::OK;
    }
    pb::GetUserAcl request;
    request.set_user(BoundedText(userId, Q_MAX_USER_ID));
    return Remote<pb::GetUserAclReply>(
        *session, std::move(request),
        [&](const pb::GetUserAclReply &reply) { *acl = reply.acl(); });
}

[[nodiscard]] uint32_t FillObjectCounts(const std::vector<QObjectCountEntry> &counts,
                                        QObjectCountQuery *query) {
    query->entryCount = 0;
    query->entries = nullptr;
    if (counts.empty()) return wire::OK;
    void *entries = CopyToLibraryMemory(counts.data(), sizeof(QObjectCountEntry) * counts.size());
    if (entries == nullptr) return wire::ERR_NO_MEMORY;
    query->entries = static_cast<QObjectCountEntry *>(entries);
    query->entryCount = counts.size();
    return wire::OK;
}

[[nodiscard]] uint32_t GetObjectCounts(Session &session, const std::string &user,
                                       QObjectCountQuery *query) {
    if (const UserListing::Entry *entry = Listed(session.CurrentUserListing(), user))
        return FillObjectCounts(entry->counts, query);
    pb::GetObjectCounts request;
    request.set_user(user);
    return Remote<pb::GetObjectCountsReply>(
        session, std::move(request), [&](const pb::GetObjectCountsReply &reply) {
            std::vector<QObjectCountEntry> counts;
            for (const pb::ObjectCount &count : reply.counts())
                counts.push_back({count.object_type(), count.count()});
            return FillObjectCounts(counts, query);
        });
}

[[nodiscard]] uint32_t GetUserStatus(Session &session, const std::string &user,
                                     QUserStatusRecord *record) {
    pb::GetUserStatus request;
    request.set_user(user);
    return Remote<pb::GetUserStatusReply>(session, std::move(request),
                                          [&](const pb::GetUserStatusReply &reply) {
                                              record->blocked = reply.blocked() ? 1 : 0;
                                              record->reserved = 0;
                                          });
}

[[nodiscard]] uint32_t GetUserAuth(Session &session, const std::string &user,
                                   QUserAuthRecord *record) {
    pb::GetUserAuth request;
    request.set_user(user);
    return Remote<pb::GetUserAuthReply>(session, std::move(request),
                                        [&](const pb::GetUserAuthReply &reply) {
                                            record->mofnState = reply.state();
                                            record->permissionMask = reply.permission_mask();
                                        });
}

// The record each GetUserParam code fills.
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

[[nodiscard]] uint32_t GetUserParam(QSessionHandle handle, uint32_t code, void *buffer,
                                    uint32_t *length) {
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
    const std::string user = BoundedText(static_cast<const char *>(buffer), idCapacity);
    switch (code) {
        case Q_USER_PARAM_BLOCK:
            status = GetUserStatus(*session, user, static_cast<QUserStatusRecord *>(buffer));
            break;
        case Q_USER_PARAM_AUTH:
            status = GetUserAuth(*session, user, static_cast<QUserAuthRecord *>(buffer));
            break;
        default:
            status = GetObjectCounts(*session, user, static_cast<QObjectCountQuery *>(buffer));
            break;
    }
    if (status == wire::OK) *length = size;
    return status;
}

// The user record of a code that takes one, or null when `length` cannot hold it.
template <class Record>
const Record *RecordOf(const void *data, uint32_t length) {
    return length < sizeof(Record) ? nullptr : static_cast<const Record *>(data);
}

[[nodiscard]] uint32_t SetUserCertificate(QSessionHandle handle, const QUserCertRecord *record) {
    if (record == nullptr) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    pb::SetUserCertificate request;
    request.set_user(BoundedText(record->userId, kUserIdField));
    switch (record->operation) {
        case Q_CERT_OP_ASSIGN:
            if (record->certificate == nullptr || record->certificateLength == 0)
                return Refuse(handle, wire::ERR_INVALID_PARAMETER);
            request.set_certificate(record->certificate, record->certificateLength);
            break;
        case Q_CERT_OP_RESET:
            request.set_reset(true);
            break;
        default:
            return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    }
    return Remote<pb::SetUserCertificateReply>(handle, std::move(request));
}

[[nodiscard]] uint32_t SetUserParam(QSessionHandle handle, uint32_t code, const void *data,
                                    uint32_t length) {
    if (data == nullptr) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    switch (code) {
        case Q_USER_PARAM_OWN_PASSWORD: {
            if (length == 0 || length > Q_MAX_PASSWORD)
                return Refuse(handle, wire::ERR_INVALID_PARAMETER);
            pb::SetOwnPassword request;
            request.set_password(data, length);
            return Remote<pb::SetOwnPasswordReply>(handle, std::move(request));
        }
        case Q_USER_PARAM_BLOCK:
        case Q_USER_PARAM_UNBLOCK: {
            if (length == 0 || length > kUserIdField)
                return Refuse(handle, wire::ERR_INVALID_PARAMETER);
            pb::SetUserBlocked request;
            request.set_user(BoundedText(static_cast<const char *>(data), length));
            request.set_blocked(code == Q_USER_PARAM_BLOCK);
            return Remote<pb::SetUserBlockedReply>(handle, std::move(request));
        }
        case Q_USER_PARAM_ACL: {
            const auto *record = RecordOf<QUserRecord>(data, length);
            if (record == nullptr) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
            pb::SetUserAcl request;
            request.set_user(BoundedText(record->userId, kUserIdField));
            request.set_acl(record->acl);
            return Remote<pb::SetUserAclReply>(handle, std::move(request));
        }
        case Q_USER_PARAM_PASSWORD: {
            const auto *record = RecordOf<QUserRecord>(data, length);
            if (record == nullptr) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
            pb::SetUserPassword request;
            request.set_user(BoundedText(record->userId, kUserIdField));
            SetPassword(request, record->password);
            return Remote<pb::SetUserPasswordReply>(handle, std::move(request));
        }
        case Q_USER_PARAM_CERT:
            return SetUserCertificate(handle, RecordOf<QUserCertRecord>(data, length));
        default:
            return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    }
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
                       uint32_t) {
    return Guarded([&] { return qelvoarc::SetUserParam(session, code, data, length); });
}

uint32_t QListUserTrusts(QSessionHandle session, const char *userId, uint32_t direction,
                         QNameCallback callback, void *context, uint32_t) {
    return Guarded(
        [&] { return qelvoarc::ListUserTrusts(session, userId, direction, callback, context); });
}

}  // extern "C"
