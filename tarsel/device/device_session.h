#pragma once
// A session to one HSM as the utility layer opens it: a password or access-token login
// record, the session flags from two switches, and the library initialised once per
// process. (No credential store exists on this platform, so no credential-manager login.)
// Not thread-safe. The records (which hold the password) are wiped on destruction.

#include <cstdint>

#include "device/library_handles.h"
#include "qelvoarc.h"

class DeviceSession {
  public:
    DeviceSession();
    ~DeviceSession();
    DeviceSession(const DeviceSession &) = delete;
    DeviceSession &operator=(const DeviceSession &) = delete;

    // 1 when encrypted, else 4; keepAlive turns them into 9 and 12; fastConnect adds 16.
    static uint32_t ComputeFlags(bool encrypted, bool keepAlive, bool fastConnect);

    void SetFlags(bool encrypted, bool keepAlive, bool fastConnect);
    void SetPort(uint32_t port);

    // Password login: copies address (128), user (16) and password (16), each cut to its
    // field and not terminated when full.
    void UsePassword(const char *address, const char *userId, const char *password);
    // Anonymous login to the address of the password record, without user or password.
    void UseAnonymous();
    // Access-token login with a decoded 32-byte token.
    void UseAccessToken(const char *address, const uint8_t token[32]);

    // Initialises the library when this process has not yet, then opens the session with
    // the record of the chosen method, closing any session this object held before.
    uint32_t Open();
    void Close() { session_.Reset(); }

    QSessionHandle handle() const { return session_.Get(); }
    bool holdsAccessToken() const { return holdsAccessToken_; }

  private:
    uint32_t method_ = Q_LOGIN_PASSWORD;
    QPasswordLoginRecord password_{};
    QAccessTokenLoginRecord accessToken_{};
    bool holdsAccessToken_ = false;
    uint32_t flags_;
    OwnedSession session_;
};
