#include "device/device_session.h"

#include <cstring>

#include "device/secret.h"

namespace {

bool gLibraryInitialized = false;

template <size_t N>
void CopyField(char (&field)[N], const char *text) {
    memset(field, 0, N);
    memcpy(field, text, strnlen(text, N));
}

}  // namespace

DeviceSession::DeviceSession() : flags_(ComputeFlags(true, false, false)) {
    password_.port = Q_DEFAULT_PORT;
    accessToken_.port = Q_DEFAULT_PORT;
}

DeviceSession::~DeviceSession() {
    WipeSecret(&password_, sizeof password_);
    WipeSecret(&accessToken_, sizeof accessToken_);
}

uint32_t DeviceSession::ComputeFlags(bool encrypted, bool keepAlive, bool fastConnect) {
    uint32_t flags = encrypted ? Q_SESSION_TLS : Q_SESSION_CLEAR;
    if (keepAlive) flags |= Q_SESSION_KEEPALIVE;
    if (fastConnect) flags |= Q_SESSION_FAST_CONNECT;
    return flags;
}

void DeviceSession::SetFlags(bool encrypted, bool keepAlive, bool fastConnect) {
    flags_ = ComputeFlags(encrypted, keepAlive, fastConnect);
}

void DeviceSession::SetPort(uint32_t port) {
    password_.port = port;
    accessToken_.port = port;
}

void DeviceSession::UsePassword(const char *address, const char *userId, const char *password) {
    CopyField(password_.address, address);
    CopyField(password_.userId, userId);
    CopyField(password_.password, password);
    method_ = Q_LOGIN_PASSWORD;
}

void DeviceSession::UseAnonymous() {
    WipeSecret(password_.userId, sizeof password_.userId);
    WipeSecret(password_.password, sizeof password_.password);
    method_ = Q_LOGIN_ANONYMOUS;
}

void DeviceSession::UseAccessToken(const char *address, const uint8_t token[32]) {
    CopyField(accessToken_.address, address);
    memcpy(accessToken_.token, token, sizeof accessToken_.token);
    holdsAccessToken_ = true;
    method_ = Q_LOGIN_ACCESS_TOKEN;
}

uint32_t DeviceSession::Open() {
    if (!gLibraryInitialized) {
        const uint32_t rc = QInitialize(Q_INIT_DEFAULT);
        if (rc != Q_OK) return rc;
        gLibraryInitialized = true;
    }
    const void *record = &password_;
    uint32_t size = sizeof password_;
    switch (method_) {
        case Q_LOGIN_ANONYMOUS:
            // The anonymous record is the password record's address and port, the rest zero.
            size = sizeof(QAnonymousLoginRecord);
            break;
        case Q_LOGIN_ACCESS_TOKEN:
            record = &accessToken_;
            size = sizeof accessToken_;
            break;
        default:
            break;
    }
    return QOpenSession(session_.Out(), method_, record, size, flags_);
}
