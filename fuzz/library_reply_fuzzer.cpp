// The device library's reading of what the HSM answers. A clear-text peer in this process
// stands in for the HSM: the library logs in to it once, then every input makes one of the
// calls below and the peer answers each request of that call with the input's next frame.
//
// Input: one byte that picks the call, then the peer's replies as frames (4-byte big-endian
// length, then a serialised wire::pb::Response). Requests beyond the last frame are answered
// with an empty frame (status OK, no body), so every call runs to its end.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <google/protobuf/stubs/logging.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

#include "framing.h"
#include "input_frames.h"
#include "qelvoarc.h"

namespace {

// The HSM's side of one connection at a time, answering from the current script.
class Peer {
  public:
    Peer() {
        listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        if (::bind(listener_, reinterpret_cast<sockaddr *>(&address), length) != 0 ||
            ::listen(listener_, 4) != 0 ||
            ::getsockname(listener_, reinterpret_cast<sockaddr *>(&address), &length) != 0)
            __builtin_trap();
        port_ = ntohs(address.sin_port);
        std::thread([this] { Serve(); }).detach();
    }

    uint16_t port() const { return port_; }

    void SetScript(std::deque<std::string> frames) {
        std::lock_guard lock(mutex_);
        script_ = std::move(frames);
    }

  private:
    void Serve() {
        for (;;) {
            int fd = ::accept(listener_, nullptr, nullptr);
            if (fd < 0) continue;
            wire::Stream stream(fd, nullptr);
            std::string request;
            while (wire::ReadFrame(stream, request) == wire::OK) {
                std::string reply;
                {
                    std::lock_guard lock(mutex_);
                    if (!script_.empty()) {
                        reply = std::move(script_.front());
                        script_.pop_front();
                    }
                }
                if (wire::WriteFrame(stream, reply) != wire::OK) break;
            }
            ::close(fd);
        }
    }

    int listener_ = -1;
    uint16_t port_ = 0;
    std::mutex mutex_;
    std::deque<std::string> script_;
};

uint32_t IgnoreName(const char *, void *, int) {
    return 0;
}

// What the console does with a listing: reads each name's details from the final call.
uint32_t InspectObjects(const char *name, void *context, int isFinal) {
    if (isFinal) return 0;
    auto session = *static_cast<QSessionHandle *>(context);
    QObjInfo info{};
    (void)QGetObjInfo(session, name, &info, 0);
    QKeyHandle key = 0;
    if (QGetUserKey(session, name, Q_KEY_OPEN_DEFAULT, &key) == Q_OK) {
        QKeyRecord record{};
        uint32_t length = sizeof record;
        (void)QGetKeyParam(key, Q_KEY_PARAM_RECORD, &record, &length, 0);
        (void)QDestroyKey(key, 0);
    }
    return 0;
}

uint32_t InspectUsers(const char *name, void *context, int isFinal) {
    if (isFinal) return 0;
    auto session = *static_cast<QSessionHandle *>(context);
    uint32_t acl = 0;
    (void)QGetUserAcl(session, name, &acl);
    QObjectCountQuery query{};
    std::strncpy(query.userId, name, sizeof query.userId - 1);
    uint32_t length = sizeof query;
    (void)QGetUserParam(session, Q_USER_PARAM_OBJECT_COUNT, &query, &length, 0);
    return 0;
}

uint32_t IgnoreToken(const QAccessTokenInfo *, void *, int) {
    return 0;
}

void ReadKeyParams(QKeyHandle key) {
    uint8_t buffer[256];
    for (uint32_t param : {Q_KEY_PARAM_ALGORITHM, Q_KEY_PARAM_EXPORT, Q_KEY_PARAM_LENGTH,
                           Q_KEY_PARAM_BLOCKED, Q_KEY_PARAM_LIFE_CYCLE, Q_KEY_PARAM_RECORD,
                           Q_KEY_PARAM_MAP_SLOTS, Q_KEY_PARAM_PKCS11_MAP}) {
        uint32_t length = sizeof buffer;
        (void)QGetKeyParam(key, param, buffer, &length, 0);
    }
    uint8_t *exponent = nullptr;
    uint32_t length = sizeof exponent;
    if (QGetKeyParam(key, Q_KEY_PARAM_RSA_EXPONENT, &exponent, &length, 0) == Q_OK) QFree(exponent);
    for (uint32_t blobType : {Q_BLOB_CLEAR_SYMMETRIC, Q_BLOB_X509_CERT}) {
        uint8_t *blob = nullptr;
        if (QExportKey(key, 0, blobType, &blob, &length, 0) == Q_OK) QFree(blob);
    }
}

uint32_t RunCall(QSessionHandle session, uint8_t selector) {
    uint8_t buffer[1024];
    uint32_t length = sizeof buffer;
    uint32_t flagWord = 0;
    switch (selector % 16) {
        case 0:
            flagWord = 1;
            return QGetHsmInfo(session, &flagWord, Q_INFO_VERSION, buffer, &length, 0);
        case 1:
            return QGetHsmInfo(session, &flagWord, Q_INFO_MODE, buffer, &length, 0);
        case 2:
            return QListUsers(session, InspectUsers, &session);
        case 3: {
            QUserStatusRecord status{};
            std::strcpy(status.userId, "clerk");
            length = sizeof status;
            (void)QGetUserParam(session, Q_USER_PARAM_BLOCK, &status, &length, 0);
            QUserAuthRecord auth{};
            std::strcpy(auth.userId, "clerk");
            length = sizeof auth;
            return QGetUserParam(session, Q_USER_PARAM_AUTH, &auth, &length, 0);
        }
        case 4:
            (void)QListUserTrusts(session, "clerk", 1, IgnoreName, nullptr, 0);
            return QListUserTrusts(session, "clerk", 2, IgnoreName, nullptr, 0);
        case 5:
            return QListObjs(session, InspectObjects, &session);
        case 6: {
            QKeyHandle key = 0;
            uint32_t status = QGetUserKey(session, "k", Q_KEY_OPEN_DEFAULT, &key);
            if (status != Q_OK) return status;
            ReadKeyParams(key);
            return QDestroyKey(key, 0);
        }
        case 7: {
            QKeyHandle key = 0;
            uint32_t status = QGenerateKey(session, "k", Q_ALG_AES_256, 0, &key);
            if (status != Q_OK) return status;
            ReadKeyParams(key);
            return QDestroyKey(key, 0);
        }
        case 8: {
            (void)QListPkcs11Maps(session, IgnoreName, nullptr);
            QPkcs11MapDetails details{};
            (void)QGetPkcs11Map(session, "m", Q_PKCS11_MAP_LEVEL_BASIC, 0, &details.info);
            return QGetPkcs11Map(session, "m", Q_PKCS11_MAP_LEVEL_FULL, 0, &details.info);
        }
        case 9: {
            (void)QManageAToken(session, Q_ATOKEN_ENUMERATE, nullptr, IgnoreToken, nullptr, 0);
            QAccessTokenRecord record{};
            record.expiration = Q_ATOKEN_NO_EXPIRATION;
            (void)QManageAToken(session, Q_ATOKEN_ISSUE, &record, nullptr, nullptr, 0);
            (void)QManageAToken(session, Q_ATOKEN_LOOKUP, &record, IgnoreToken, nullptr, 0);
            uint32_t count = 0;
            return QManageATokenCache(session, Q_ATOKEN_CACHE_COUNT, &count, 0);
        }
        case 10: {
            QPasswordPolicy policy{};
            return QAdmOperation(session, Q_ADM_GET_PASSWORD_POLICY, &policy, sizeof policy, 0);
        }
        case 11:
            return QGetRandom(session, buffer, 64);
        case 12: {
            QHashHandle hash = 0;
            uint32_t status = QCreateHash(session, Q_HASH_SHA256, 0, 0, &hash);
            if (status != Q_OK) return status;
            (void)QHashData(hash, buffer, 16, 0);
            (void)QGetHashParam(hash, Q_HASH_PARAM_SIZE, buffer, &length, 0);
            length = sizeof buffer;
            (void)QGetHashParam(hash, Q_HASH_PARAM_VALUE, buffer, &length, 0);
            return QDestroyHash(hash);
        }
        case 13:
            (void)QEFTGetKcv(session, "k", Q_KCV_FORMAT_KCV, buffer, &length, 0);
            length = sizeof buffer;
            return QEFTGetKcv(session, "k", Q_KCV_FORMAT_CMAC, buffer, &length, 0);
        case 14: {
            QObjMetadataHandle metadata = 0;
            uint32_t status = QManageObjMetadata(session, Q_METADATA_OPEN, "k", &metadata, 0);
            if (status != Q_OK) return status;
            (void)QGetObjMetadata(metadata, Q_METADATA_LABEL, buffer, &length, 0);
            return QDestroyObjMetadata(metadata, 0);
        }
        default:
            return QAdmOperation(session, Q_ADM_LIVENESS, nullptr, 0, Q_ADM_LIVENESS_FLAGS);
    }
}

QSessionHandle OpenSession(uint16_t port) {
    QPasswordLoginRecord record{};
    std::strcpy(record.address, "127.0.0.1");
    record.port = port;
    std::strcpy(record.userId, "master");
    std::strcpy(record.password, "Operator#12345");
    record.authMode = Q_AUTH_PASSWORD;
    QSessionHandle session = 0;
    if (QOpenSession(&session, Q_LOGIN_PASSWORD, &record, sizeof record, Q_SESSION_CLEAR) != Q_OK)
        __builtin_trap();
    return session;
}

}  // namespace

// Text fields that are not UTF-8 make protobuf log a line per parse; inputs are full of them.
extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    google::protobuf::SetLogHandler(nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static Peer peer;
    static QSessionHandle session = [] {
        (void)QInitialize(0);
        return OpenSession(peer.port());
    }();
    if (size == 0) return 0;

    std::deque<std::string> frames;
    for (std::string_view frame : SplitFrames(data + 1, size - 1))
        frames.emplace_back(frame);
    peer.SetScript(std::move(frames));
    if (RunCall(session, data[0]) == Q_ERR_CONNECTION_LOST) {
        (void)QCloseSession(&session, 0);
        peer.SetScript({});
        session = OpenSession(peer.port());
    }
    return 0;
}
