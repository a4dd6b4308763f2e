/*
 * qelvoarc.h - the device client library of Orvena network HSMs.
 *
 * Conventions (they hold for every function below unless its comment says otherwise):
 *  - Every function returns a uint32_t status: Q_OK (0) or one of the Q_ERR_* codes at the end
 *    of this file. QGetErrorString gives the text of a code.
 *  - Handles are opaque 64-bit values. 0 is never a valid handle. A handle is never reused
 *    after it was released; a released, unknown or wrong-kind handle gives
 *    Q_ERR_INVALID_HANDLE. Each kind is released by its own function.
 *  - The session (or the object handle) comes first, `flags` last. Arguments named `flags`
 *    or `reserved` must be 0 unless documented.
 *  - `[out]` pointers are written only on success. `[in,out]` lengths carry the capacity of
 *    the buffer in and the bytes written (or needed, with Q_ERR_BUFFER_TOO_SMALL) out.
 *  - Memory the library returns (`**` out parameters, lists, blobs, texts) is freed by the
 *    caller with QFree and nothing else. Memory that the library is to own is obtained with
 *    QAlloc. Never mix allocators.
 *  - Texts are NUL-terminated unless a record field says otherwise. Fixed text fields of
 *    records are NUL-padded and are not terminated when full.
 *  - Records are little-endian with the exact byte layouts given; pointers inside records
 *    are 8 bytes (64-bit platforms only).
 *  - Secrets given to the library (passwords, OTPs, PINs, key material) are copied as needed
 *    and the library's copies are wiped after use; the caller wipes its own.
 *  - Thread safety: different sessions may be used from different threads at the same time.
 *    One session serves one request at a time (calls on one session are serialised).
 *    QInitialize and QFinalize must not race with any other call.
 *  - Functions the connected HSM or this build does not provide return
 *    Q_ERR_NOT_SUPPORTED; they never pretend success.
 */
#ifndef QELVOARC_H
#define QELVOARC_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#define QELVOARC_STATIC_ASSERT(cond, msg) static_assert(cond, msg)
#else
#define QELVOARC_STATIC_ASSERT(cond, msg) _Static_assert(cond, msg)
#endif

#if defined(__GNUC__)
#define QELVOARC_API __attribute__((visibility("default")))
#else
#define QELVOARC_API
#endif

/* ======================================================================================= */
/* Handles and callbacks                                                                    */
/* ======================================================================================= */

typedef uint64_t QSessionHandle;     /* QOpenSession .. QCloseSession */
typedef uint64_t QKeyHandle;         /* QGenerateKey, QImportKey, QGetUserKey .. QDestroyKey */
typedef uint64_t QHashHandle;        /* QCreateHash .. QDestroyHash */
typedef uint64_t QObjMetadataHandle; /* QCreateObjMetadata, QManageObjMetadata .. QDestroy.. */
typedef uint64_t QP11InfoHandle;     /* QGetHSMP11Info .. QDestroyHSMP11Info */
typedef uint64_t QLogHandle;         /* QGetHSMLogInit .. QGetHSMLogEnd */
typedef uint64_t QSPBHandle;         /* QSPBEncodeInit/QSPBDecodeInit .. *End */

/* Called once per item and once more with isFinal non-zero (name NULL) to mark the end.
 * Runs on the calling thread, inside the library call: it must not call the library on the
 * same session. A non-zero return stops the enumeration; the calling function then returns
 * that value. */
typedef uint32_t (*QNameCallback)(const char *name, void *context, int isFinal);

/* ======================================================================================= */
/* Library and sessions                                                                     */
/* ======================================================================================= */

/* QInitialize flags. */
#define Q_INIT_DEFAULT 0u
#define Q_INIT_INTERACTIVE 128u /* the caller is an interactive console; no effect on behaviour */

/* Prepares the library (OpenSSL, tables). Idempotent: a second call is counted and needs a
 * matching QFinalize. Must precede every call except QAlloc, QFree, QGetErrorString,
 * QGetReturnCodeString, QVersion, QFindHSM, QGetHSMTLSCert, QBase642ByteArray,
 * QByteArray2Base64 and QSCIsLibLoaded. */
QELVOARC_API uint32_t QInitialize(uint32_t flags);

/* Releases the library: closes every session still open and releases every handle.
 * Q_ERR_NOT_INITIALIZED when the library is not initialised. */
QELVOARC_API uint32_t QFinalize(void);

/* The library's own version. reserved: 0. [out] each part (any may be NULL). */
QELVOARC_API uint32_t QVersion(uint32_t reserved, uint32_t *major, uint32_t *minor, uint32_t *build,
                               uint32_t *revision);

/* Login methods (QOpenSession `method`) and the record each takes. */
#define Q_LOGIN_ANONYMOUS 1u            /* QAnonymousLoginRecord, 164 bytes */
#define Q_LOGIN_PASSWORD 16u            /* QPasswordLoginRecord, 180 bytes */
#define Q_LOGIN_ACCESS_TOKEN 32u        /* QAccessTokenLoginRecord, 164 bytes */
#define Q_LOGIN_CREDENTIAL_MANAGER 128u /* QCredentialManagerLoginRecord, 132 bytes */

/* Authentication modes of the password record. */
#define Q_AUTH_PASSWORD 0u   /* password only */
#define Q_AUTH_OTP 1u        /* password and OATH one-time password: otp points at the text */
#define Q_AUTH_MUTUAL_TLS 2u /* password and TLS client certificate: otp -> QMutualTlsRecord */

#define Q_DEFAULT_PORT 4433u
#define Q_MAX_ADDRESS 128u
#define Q_MAX_USER_ID 16u
#define Q_MAX_PASSWORD 16u
#define Q_MAX_OBJ_NAME 49u /* object names: at most 49 characters (50-byte buffers) */

/* Session flags (QOpenSession `flags`): exactly one of Q_SESSION_TLS and Q_SESSION_CLEAR.
 * TLS sessions negotiate TLS 1.2 or later. Without mutual TLS the server certificate is not
 * verified: pin it out of band (export it with QGetHSMTLSCert and log in with
 * Q_AUTH_MUTUAL_TLS, which checks it). */
#define Q_SESSION_TLS 0x1u
#define Q_SESSION_CLEAR 0x4u
#define Q_SESSION_KEEPALIVE 0x8u     /* TCP keep-alive probes on the connection */
#define Q_SESSION_FAST_CONNECT 0x10u /* give up connecting after 3 s instead of 30 s */
#define Q_SESSION_RESERVED_20 0x20u  /* accepted; reserved, no effect */

#pragma pack(push, 1)

/* Password login record (method 16). */
typedef struct QPasswordLoginRecord {
    char address[128];  /* 0: HSM address, text, NUL-filled */
    uint32_t port;      /* 128: TCP port (Q_DEFAULT_PORT) */
    char userId[16];    /* 132: not terminated when 16 characters long */
    char password[16];  /* 148: not terminated when 16 characters long */
    uint32_t authMode;  /* 164: Q_AUTH_* */
    const void *otp;    /* 168: OTP text (mode 1) or QMutualTlsRecord (mode 2), else NULL */
    uint32_t otpLength; /* 176: OTP length, or 56 (sizeof(QMutualTlsRecord)) */
} QPasswordLoginRecord;
QELVOARC_STATIC_ASSERT(sizeof(QPasswordLoginRecord) == 180, "password login record");

/* Mutual-TLS record (designated by a password record in mode 2). Each key/certificate is
 * the whole content of its file; certificates may be PEM or DER. The HSM's certificate pins
 * the server: a server presenting another certificate is refused with Q_ERR_TLS. */
typedef struct QMutualTlsRecord {
    const uint8_t *privateKey; /* 0: client private key, PEM (may be encrypted) */
    uint64_t privateKeyLength; /* 8: its length (32-bit value) */
    const char *keyPassword;   /* 16: NUL-terminated password of the key, or NULL */
    const uint8_t *clientCert; /* 24: client certificate, PEM or DER */
    uint64_t clientCertLength; /* 32 */
    const uint8_t *hsmCert;    /* 40: expected HSM certificate, PEM or DER */
    uint64_t hsmCertLength;    /* 48 */
} QMutualTlsRecord;
QELVOARC_STATIC_ASSERT(sizeof(QMutualTlsRecord) == 56, "mutual TLS record");

/* Access-token login record (method 32). */
typedef struct QAccessTokenLoginRecord {
    char address[128]; /* 0 */
    uint32_t port;     /* 128 */
    uint8_t token[32]; /* 132: user id (16, NUL-padded) then the token secret (16) */
} QAccessTokenLoginRecord;
QELVOARC_STATIC_ASSERT(sizeof(QAccessTokenLoginRecord) == 164, "access token login record");

/* Anonymous login record (method 1): address and port, the rest zero. */
typedef struct QAnonymousLoginRecord {
    char address[128];
    uint32_t port;
    uint8_t reserved[32];
} QAnonymousLoginRecord;
QELVOARC_STATIC_ASSERT(sizeof(QAnonymousLoginRecord) == 164, "anonymous login record");

/* Credential-manager login record (method 128). No credential store exists on this
 * platform: QOpenSession answers Q_ERR_PLATFORM. */
typedef struct QCredentialManagerLoginRecord {
    char target[128];
    uint32_t port;
} QCredentialManagerLoginRecord;
QELVOARC_STATIC_ASSERT(sizeof(QCredentialManagerLoginRecord) == 132, "credential manager");

#pragma pack(pop)

/* Connects to the HSM and authenticates.
 * session [out]: the new session. method: Q_LOGIN_*. record/recordSize: the record of the
 * method, size exact. flags: Q_SESSION_*.
 * Returns Q_OK; or Q_ERR_PASSWORD_EXPIRED (5178) *with* a valid session in which only
 * QSetUserParam(Q_USER_PARAM_OWN_PASSWORD) and QCloseSession work; or an error (no session).
 * The password and OTP are wiped from the library's copies after the login. */
QELVOARC_API uint32_t QOpenSession(QSessionHandle *session, uint32_t method, const void *record,
                                   uint32_t recordSize, uint32_t flags);

/* Logs out and closes the connection. session [in,out]: set to 0 on success and on
 * Q_ERR_INVALID_HANDLE, so a second close reports Q_ERR_INVALID_HANDLE harmlessly. */
QELVOARC_API uint32_t QCloseSession(QSessionHandle *session, uint32_t flags);

/* Session parameters. */
#define Q_SESSION_PARAM_PROTOCOL 64u /* uint32_t: one of Q_PROTOCOL_* */
#define Q_SESSION_PARAM_CIPHER 128u  /* text: the TLS cipher suite, "" when clear */

/* Protocol codes of Q_SESSION_PARAM_PROTOCOL. */
#define Q_PROTOCOL_UNKNOWN 0u
#define Q_PROTOCOL_CLEAR 1u
#define Q_PROTOCOL_SSL2 2u
#define Q_PROTOCOL_SSL3 3u
#define Q_PROTOCOL_TLS1_0 4u
#define Q_PROTOCOL_TLS1_1 5u
#define Q_PROTOCOL_TLS1_2 6u
#define Q_PROTOCOL_TLS1_3 7u

/* Reads a session parameter into buffer. length [in,out]: capacity / bytes written (for
 * text, including the terminator). */
QELVOARC_API uint32_t QGetSessionParam(QSessionHandle session, uint32_t param, void *buffer,
                                       uint32_t *length, uint32_t flags);

/* Administrative operations (QAdmOperation `operation`). */
#define Q_ADM_LIVENESS 4u             /* no data; flags Q_ADM_LIVENESS_FLAGS; Q_OK when alive */
#define Q_ADM_SET_PASSWORD_POLICY 25u /* data: QPasswordPolicy (7) */
#define Q_ADM_GET_PASSWORD_POLICY 32u /* data [out]: QPasswordPolicy (7) */
#define Q_ADM_REPLICATION_REFRESH 33u /* no data */
#define Q_ADM_REPLICATION_NODE 34u    /* data: QReplicationNodeOp (5) */
#define Q_ADM_EFTD_AUTHORIZE 39u      /* no data; partition eftd0's own user only */
#define Q_ADM_EFTD_DEAUTHORIZE 40u    /* no data; partition eftd0's own user only */
#define Q_ADM_EFTD_RESET 41u          /* no data; operators */
#define Q_ADM_EFTD_GET_CONFIG 42u     /* data [out]: QEftdConfig (3) */
#define Q_ADM_EFTD_SET_HEADER_LEN 43u /* data: uint8_t 1..255; operators */
#define Q_ADM_EFTD_SET_PIN_LEN 44u    /* data: uint8_t 5..13; operators */
#define Q_ADM_GET_POLICY 46u          /* data [out]: uint32_t policy word (Q_POLICY_*) */
#define Q_ADM_SET_POLICY 47u          /* data: uint32_t policy word (Q_POLICY_*) */
#define Q_ADM_LIVENESS_FLAGS 0xFFFFF6BDu

/* The HSM's security policy word. It persists; a new HSM holds Q_POLICY_AUTHORIZED_ONLINE.
 * Q_POLICY_TFA_HTTPS_CERT is kept and reported only: the HSM has no HTTPS management
 * interface for it to bind. Q_POLICY_AUTHORIZED_ONLINE lets M of N authorization operations 3
 * and 4 arrive over the network; without it they answer Q_ERR_AUTHORIZED_STATE_OFFLINE. */
#define Q_POLICY_TFA_HTTPS_CERT 0x1u
#define Q_POLICY_AUTHORIZED_ONLINE 0x2u

/* Runs an administrative operation. data: in or out as the operation says (may be NULL
 * with length 0); an operation that answers data writes it to data, which must hold it
 * (Q_ERR_BUFFER_TOO_SMALL otherwise). Served so far: Q_ADM_LIVENESS, the password policy
 * (Q_ADM_GET_PASSWORD_POLICY for every user, Q_ADM_SET_PASSWORD_POLICY for operators; a
 * policy out of its ranges gives Q_ERR_INVALID_PARAMETER), the security policy
 * (Q_ADM_GET_POLICY and Q_ADM_SET_POLICY, operators only, length 4; a word with bits other
 * than Q_POLICY_* gives Q_ERR_INVALID_PARAMETER) and the EFT daemon's configuration
 * (Q_ADM_EFTD_*: a length out of its range gives Q_ERR_INVALID_PARAMETER, authorizing as
 * another user than eftd0 Q_ERR_NOT_EFTD_PARTITION), and for operators the replication
 * operations: Q_ADM_REPLICATION_REFRESH, and Q_ADM_REPLICATION_NODE test (a node that cannot
 * be reached: Q_ERR_REPL_NODE_TEST_FAILED; one with another master key:
 * Q_ERR_REPL_FOREIGN_NODE), notify down (the node stops blocking changes until it is back in
 * step), add (Q_ERR_REPL_NODE_EXISTS, Q_ERR_REPL_NODE_LIST_FULL beyond Q_REPL_MAX_NODES) and
 * delete (Q_ERR_REPL_NODE_UNKNOWN). Nodes share the HSM's port, each on its own address.
 * While a node of the list does not answer, changes fail with Q_ERR_REPL_NODE_UNREACHABLE. */
QELVOARC_API uint32_t QAdmOperation(QSessionHandle session, uint32_t operation, void *data,
                                    uint32_t length, uint32_t flags);

/* Library memory: QAlloc returns zero-filled memory of `size` bytes or NULL; QFree releases
 * memory from QAlloc or from any library function (NULL is ignored). Freed memory is wiped
 * first, so secrets returned by the library do not linger. */
QELVOARC_API void *QAlloc(uint32_t size);
QELVOARC_API void QFree(void *pointer);

#define Q_ERROR_TEXT_SIZE 256u
#define Q_ERROR_NAME_SIZE 64u

/* The text of a status code. name [out] (may be NULL): the code's symbolic name, at least
 * Q_ERROR_NAME_SIZE bytes. text [out]: the message, at least Q_ERROR_TEXT_SIZE bytes.
 * Unknown codes give a generic text. Needs no initialisation; returns
 * Q_ERR_INVALID_PARAMETER only when text is NULL. */
QELVOARC_API uint32_t QGetErrorString(uint32_t code, char *name, char *text);

#define Q_RC_STRING_NAME 1u /* the symbolic name, e.g. "ERR_AUTH_FAILED" */
#define Q_RC_STRING_TEXT 2u /* the message text, as QGetErrorString */

/* The text of a status code in the given form into buffer (capacity `length`, truncated and
 * terminated when too small). */
QELVOARC_API uint32_t QGetReturnCodeString(uint32_t code, uint32_t form, char *buffer,
                                           uint32_t length);

/* Fills buffer with `length` random bytes from the HSM (at most 1 MiB per call). */
QELVOARC_API uint32_t QGetRandom(QSessionHandle session, void *buffer, uint32_t length);

#pragma pack(push, 1)
/* One HSM found by QFindHSM. */
typedef struct QHsmDiscoveryEntry {
    uint32_t port;    /* 0: the port sessions are opened on */
    char address[16]; /* 4: dotted IPv4 text, NUL-terminated */
    char model[32];   /* 20 */
    char serial[36];  /* 52 */
} QHsmDiscoveryEntry;
QELVOARC_STATIC_ASSERT(sizeof(QHsmDiscoveryEntry) == 88, "discovery entry");
#pragma pack(pop)

#define Q_FIND_HSM_UDP 2u                   /* searchType: UDP probe on the local network */
#define Q_FIND_HSM_DEFAULT_WAIT 0x80000000u /* waitMs: the default (about 300 ms) */

/* Looks for HSMs: a UDP probe to 127.0.0.1 and the broadcast address, on the port in the
 * environment variable QELVOARC_DISCOVERY_PORT (default 4433), answers collected for waitMs
 * milliseconds. list [out]: count entries (QFree; NULL when count is 0). Duplicates are
 * dropped. Needs no session. */
QELVOARC_API uint32_t QFindHSM(uint32_t searchType, uint32_t waitMs, QHsmDiscoveryEntry **list,
                               uint32_t *count, uint32_t flags);

#define Q_CERT_FORMAT_DER 1u
#define Q_CERT_FORMAT_PEM 2u

/* Fetches the HSM's TLS server certificate from a TLS handshake; no login.
 * data [out]: the certificate in the format (QFree); length [out]: its size (PEM includes
 * no terminator). */
QELVOARC_API uint32_t QGetHSMTLSCert(const char *address, uint32_t port, uint32_t format,
                                     uint8_t **data, uint32_t *length, uint32_t flags);

/* Called once per open session of the HSM: startTime in seconds since 1970 (UTC) and a
 * description "<address>, id: <n>, tls: <y|n>, <user>"; then once with isFinal set. */
typedef uint32_t (*QUserSessionCallback)(uint64_t startTime, const char *description, void *context,
                                         int isFinal);

/* Lists the HSM's sessions, the caller's included, in the order they were opened; the
 * user of an anonymous session is "". Needs ACL 0x20. */
QELVOARC_API uint32_t QListUserSessions(QSessionHandle session, QUserSessionCallback callback,
                                        void *context, uint32_t flags);

/* ======================================================================================= */
/* Users and authentication                                                                 */
/* ======================================================================================= */

/* ACL bits. */
#define Q_ACL_CREATE_USERS 0x10u
#define Q_ACL_REMOTE_INFO 0x20u
#define Q_ACL_LIST_USERS 0x40u
#define Q_ACL_OPERATOR 0x80u
#define Q_ACL_BACKUP 0x100u
#define Q_ACL_FIRMWARE 0x200u
#define Q_ACL_MOFN_LOCAL 0x400u
#define Q_ACL_LOCAL_CRYPTO 0x800u
#define Q_ACL_X509_2FA 0x10000000u
#define Q_ACL_OATH_2FA 0x20000000u
#define Q_ACL_CHANGE_PASSWORD 0x40000000u

/* QSetUserParam / QGetUserParam codes. */
#define Q_USER_PARAM_ACL 2u             /* set: QUserRecord (38) */
#define Q_USER_PARAM_CERT 8u            /* set: QUserCertRecord (40) */
#define Q_USER_PARAM_OWN_PASSWORD 16u   /* set: the new password, its length (<= 16) */
#define Q_USER_PARAM_BLOCK 64u          /* set: user id, its length; get: QUserStatusRecord */
#define Q_USER_PARAM_UNBLOCK 128u       /* set: user id, its length */
#define Q_USER_PARAM_PASSWORD 256u      /* set: QUserRecord with id and new password (38) */
#define Q_USER_PARAM_AUTH 512u          /* get: QUserAuthRecord (25) */
#define Q_USER_PARAM_OBJECT_COUNT 1024u /* get: QObjectCountQuery (72) */

#define Q_CERT_OP_ASSIGN 1u
#define Q_CERT_OP_RESET 2u

#define Q_TOKEN_OATH_EVENT 2u /* HOTP: QOathTokenRecord, 131 bytes */
#define Q_TOKEN_OATH_TIME 3u  /* TOTP: QOathTokenRecord, 141 bytes */

#pragma pack(push, 1)
typedef struct QUserRecord {
    char userId[17];   /* at most 16 characters, NUL-padded */
    char password[17]; /* at most 16 characters, NUL-padded; zero when only the ACL is set */
    uint32_t acl;
} QUserRecord;
QELVOARC_STATIC_ASSERT(sizeof(QUserRecord) == 38, "user record");

typedef struct QUserStatusRecord {
    char userId[17];  /* filled by the caller */
    uint32_t blocked; /* non-zero = blocked */
    uint32_t reserved;
} QUserStatusRecord;
QELVOARC_STATIC_ASSERT(sizeof(QUserStatusRecord) == 25, "user status record");

typedef struct QUserAuthRecord {
    char userId[17];         /* filled by the caller */
    uint32_t mofnState;      /* M of N state */
    uint32_t permissionMask; /* M of N object-permission mask */
} QUserAuthRecord;
QELVOARC_STATIC_ASSERT(sizeof(QUserAuthRecord) == 25, "user auth record");

typedef struct QOathTokenRecord {
    uint8_t one;          /* 0: always 1 */
    uint8_t seedLength;   /* 1: hexadecimal characters as entered; seed holds half as many */
    uint8_t seed[128];    /* 2: raw seed bytes */
    uint8_t digits;       /* 130: always 16 (the OTP field width) */
    uint16_t timeStep;    /* 131: TOTP only: seconds, default 30 */
    uint64_t initialTime; /* 133: TOTP only: seconds, default 0 */
} QOathTokenRecord;
QELVOARC_STATIC_ASSERT(sizeof(QOathTokenRecord) == 141, "OATH token record (TOTP form)");
#define Q_OATH_HOTP_RECORD_SIZE 131u
#define Q_OATH_TOTP_RECORD_SIZE 141u

typedef struct QPasswordPolicy {
    uint8_t maxInvalidLogins; /* 0 = never block */
    uint8_t expiryDays;       /* 0 = never */
    uint8_t reserved;         /* 0 */
    uint8_t minLength;        /* 8..16 */
    uint8_t minSpecial;       /* 0..16 */
    uint8_t minUpper;         /* 0..16 */
    uint8_t minLower;         /* 0..16 */
} QPasswordPolicy;
QELVOARC_STATIC_ASSERT(sizeof(QPasswordPolicy) == 7, "password policy");

/* The EFT daemon's configuration (Q_ADM_EFTD_GET_CONFIG). The daemon serves host commands
 * on the keys of partition eftd0 when orvena-sim runs with --eftd-listen; their format is
 * sim/eftd/HOST_COMMANDS.md. A reset gives header length 4, PIN length 6, unauthorized. */
typedef struct QEftdConfig {
    uint8_t headerLength; /* message header bytes each host command starts with, echoed */
    uint8_t pinLength;    /* digits of the PINs host commands verify */
    uint8_t authorized;   /* non-zero: partition eftd0 lets host commands run */
} QEftdConfig;
QELVOARC_STATIC_ASSERT(sizeof(QEftdConfig) == 3, "EFTd configuration");

#pragma pack(pop)

/* The two records below use natural alignment (no packing). */
typedef struct QUserCertRecord {
    char userId[17];            /* 0 */
    uint8_t operation;          /* 17: Q_CERT_OP_* */
    const uint8_t *certificate; /* 24: PEM or DER; NULL for a reset */
    uint32_t certificateLength; /* 32: 0 for a reset */
} QUserCertRecord;
QELVOARC_STATIC_ASSERT(sizeof(QUserCertRecord) == 40, "user cert record");

typedef struct QObjectCountEntry {
    uint32_t objectType; /* 0 */
    uint64_t count;      /* 8 */
} QObjectCountEntry;
QELVOARC_STATIC_ASSERT(sizeof(QObjectCountEntry) == 16, "object count entry");

typedef struct QObjectCountQuery {
    char userId[50];            /* 0: filled by the caller */
    uint64_t entryCount;        /* 56 [out] */
    QObjectCountEntry *entries; /* 64 [out]: entryCount entries (QFree) */
} QObjectCountQuery;
QELVOARC_STATIC_ASSERT(sizeof(QObjectCountQuery) == 72, "object count query");

/* Rights, checked by the HSM: creating, removing and changing another account (block,
 * password, second factors, ACL) needs an operator or ACL 0x10, and an operator's account
 * only an operator; only an operator creates operators or changes an account's type; no one
 * grants a permission (0x10, 0x20, 0x40, 0x100, 0x200) it does not hold. The second-factor
 * bits follow QAssignToken/QUnassignToken and Q_USER_PARAM_CERT: a record may clear them
 * but never sets them. Refusals give Q_ERR_ACCESS_DENIED; a password outside the password
 * policy gives Q_ERR_PASSWORD_POLICY. */

/* Creates a user and its partition. Needs ACL 0x10. */
QELVOARC_API uint32_t QCreateUser(QSessionHandle session, const QUserRecord *record);
/* Removes a user and everything in its partition, its tokens and its open sessions (they
 * answer Q_ERR_SESSION_EXPIRED). Needs ACL 0x10; no user removes itself (Q_ERR_BAD_STATE). */
QELVOARC_API uint32_t QRemoveUser(QSessionHandle session, const char *userId);
/* Enumerates user ids in the order of creation (callback once per user, then once with
 * isFinal). Needs ACL 0x40. The callbacks run after the HSM answered, so unlike the general
 * rule they may call the library, on the same session too. The answer brings every user's
 * ACL and object counts: QGetUserAcl and QGetUserParam(Q_USER_PARAM_OBJECT_COUNT) for a
 * listed user are answered from it, without an exchange, until the session exchanges
 * anything else. */
QELVOARC_API uint32_t QListUsers(QSessionHandle session, QNameCallback callback, void *context);
/* acl [out]: the user's ACL word (Q_ACL_*). userId: at most 16 characters. */
QELVOARC_API uint32_t QGetUserAcl(QSessionHandle session, const char *userId, uint32_t *acl);
/* Reads a user record selected by code (Q_USER_PARAM_BLOCK, _AUTH, _OBJECT_COUNT) into
 * buffer, whose user id the caller fills. length [in,out]: capacity / record size. Another
 * user's records need an operator or ACL 0x10 or 0x40. */
QELVOARC_API uint32_t QGetUserParam(QSessionHandle session, uint32_t code, void *buffer,
                                    uint32_t *length, uint32_t flags);
/* Changes a user parameter (Q_USER_PARAM_*). The library wipes its copies of passwords.
 * Q_USER_PARAM_OWN_PASSWORD also works in a password-change-only session, but not in a
 * session opened with an access token. */
QELVOARC_API uint32_t QSetUserParam(QSessionHandle session, uint32_t code, const void *data,
                                    uint32_t length, uint32_t flags);
/* Gives a user an OATH second factor. tokenType: Q_TOKEN_OATH_*; record: 131 or 141 bytes. */
QELVOARC_API uint32_t QAssignToken(QSessionHandle session, const char *userId, uint32_t tokenType,
                                   const QOathTokenRecord *record, uint32_t recordLength);
/* Removes a user's OATH second factor. tokenType: Q_TOKEN_OATH_EVENT (2) for any OATH token. */
QELVOARC_API uint32_t QUnassignToken(QSessionHandle session, uint32_t tokenType,
                                     const char *userId);
/* Enumerates the certificates a user trusts (direction 1) or the users that trust it (2).
 * Callbacks as in QListUsers. */
QELVOARC_API uint32_t QListUserTrusts(QSessionHandle session, const char *userId,
                                      uint32_t direction, QNameCallback callback, void *context,
                                      uint32_t flags);
/* Checks an OTP of a user's OATH token without logging in; the OTP is used up as by a login.
 * Q_ERR_OTP_INVALID when it does not match. */
QELVOARC_API uint32_t QOATHCheckHOTP(QSessionHandle session, const char *userId, const char *otp,
                                     uint32_t flags);
/* Resynchronises a user's OATH token with two consecutive OTPs. */
QELVOARC_API uint32_t QOATHResync(QSessionHandle session, const char *userId, const char *firstOtp,
                                  const char *nextOtp, uint32_t flags);

/* One token of a PSKC file, as delivered by QOATHPskcTranslate. */
typedef uint32_t (*QPskcTokenCallback)(const char *serial, const QOathTokenRecord *record,
                                       uint32_t recordLength, void *context, int isFinal);
/* Decrypts a PSKC document (key: the pre-shared key, may be NULL) and delivers each token as
 * an OATH token record. Local; needs no session. */
QELVOARC_API uint32_t QOATHPskcTranslate(const uint8_t *pskc, uint32_t pskcLength,
                                         const uint8_t *key, uint32_t keyLength,
                                         QPskcTokenCallback callback, void *context,
                                         uint32_t flags);

/* ======================================================================================= */
/* Access tokens                                                                            */
/* ======================================================================================= */

#define Q_ATOKEN_ISSUE 1u     /* record [in,out]: expiration in, token out */
#define Q_ATOKEN_REVOKE 2u    /* record: the token */
#define Q_ATOKEN_ENUMERATE 3u /* no record; callback per token of the HSM */
#define Q_ATOKEN_LOOKUP 4u    /* record: the token; callback once with its details */
#define Q_ATOKEN_NO_EXPIRATION UINT64_MAX

#define Q_ATOKEN_CACHE_COUNT 0u /* value [out]: number of tokens the HSM holds */
#define Q_ATOKEN_CACHE_GC 1u    /* removes expired tokens; value [out]: number removed */

#pragma pack(push, 1)
typedef struct QAccessTokenRecord {
    uint8_t token[32];   /* user id (16, NUL-padded) then the secret (16) */
    uint64_t expiration; /* seconds since 1970 UTC; Q_ATOKEN_NO_EXPIRATION */
} QAccessTokenRecord;
QELVOARC_STATIC_ASSERT(sizeof(QAccessTokenRecord) == 40, "access token record");

typedef struct QAccessTokenInfo {
    uint64_t expiration; /* seconds since 1970 UTC; Q_ATOKEN_NO_EXPIRATION */
    char owner[16];      /* user id, NUL-padded */
    uint8_t key[16];     /* the token's key: the start of the SHA-256 of its secret (the HSM
                          * keeps no secret). Owner and key name the token in Q_ATOKEN_REVOKE
                          * and Q_ATOKEN_LOOKUP as the token itself does, but open no session. */
} QAccessTokenInfo;
QELVOARC_STATIC_ASSERT(sizeof(QAccessTokenInfo) == 40, "access token info");
#pragma pack(pop)

/* Called once per token (info) and once more with isFinal set (info NULL). */
typedef uint32_t (*QAccessTokenCallback)(const QAccessTokenInfo *info, void *context, int isFinal);

/* Issues, revokes, enumerates or looks up access tokens (Q_ATOKEN_*). Issuing is for the
 * session's user; an expiration not in the future gives Q_ERR_INVALID_PARAMETER. A user sees,
 * revokes and looks up only its own tokens, unless it holds ACL 0x20 (another user's token
 * is answered Q_ERR_NOT_FOUND). A look-up of an unknown token gives Q_ERR_NOT_FOUND. The
 * callbacks run after the HSM answered and may call the library. */
QELVOARC_API uint32_t QManageAToken(QSessionHandle session, uint32_t operation,
                                    QAccessTokenRecord *record, QAccessTokenCallback callback,
                                    void *context, uint32_t flags);
/* Reads the token count or runs the collector of expired (and revoked) tokens
 * (Q_ATOKEN_CACHE_*). Needs ACL 0x20. */
QELVOARC_API uint32_t QManageATokenCache(QSessionHandle session, uint32_t operation,
                                         uint32_t *value, uint32_t flags);

/* ======================================================================================= */
/* Keys and objects                                                                         */
/* ======================================================================================= */

/* Algorithm identifiers (keys; QGenerateKey, QImportKey, key parameter 1). */
#define Q_ALG_DES 1u
#define Q_ALG_3DES_112 2u
#define Q_ALG_3DES_168 3u
#define Q_ALG_RSA_512 4u
#define Q_ALG_RSA_1024 5u
#define Q_ALG_RSA_2048 6u
#define Q_ALG_AES_128 7u
#define Q_ALG_AES_192 8u
#define Q_ALG_AES_256 9u
#define Q_ALG_ARC4 10u
#define Q_ALG_RSA_4096 11u
#define Q_ALG_ECC_FIRST 18u /* curves 18..51: SecG, NIST, X9.62, Brainpool */
#define Q_ALG_ECC_LAST 51u
#define Q_ALG_ARC5 89u
#define Q_ALG_DESX 91u
#define Q_ALG_HMAC_MD5 92u
#define Q_ALG_HMAC_SHA1 93u
#define Q_ALG_HMAC_SHA256 94u
#define Q_ALG_HMAC_SHA384 95u
#define Q_ALG_HMAC_SHA512 96u
#define Q_ALG_HMAC_SHA224 97u
#define Q_ALG_HMAC_SHA3_224 98u
#define Q_ALG_HMAC_SHA3_256 99u
#define Q_ALG_HMAC_SHA3_384 100u
#define Q_ALG_HMAC_SHA3_512 101u
#define Q_ALG_RSA_1152 121u
#define Q_ALG_RSA_1408 122u
#define Q_ALG_RSA_1984 123u
#define Q_ALG_RSA_8192 124u
#define Q_ALG_RSA_2304 126u
#define Q_ALG_RSA_2560 127u
#define Q_ALG_RSA_2816 128u
#define Q_ALG_RSA_3072 129u
#define Q_ALG_RSA_1976 130u
#define Q_ALG_RSA_1536 131u
#define Q_ALG_OBJ_SECRET 193u     /* safe-keeping secret object */
#define Q_ALG_OBJ_MAP 194u        /* map object (QGenerateMapObj) */
#define Q_ALG_OBJ_PKCS11_MAP 195u /* PKCS#11 map (QGeneratePkcs11Map) */
#define Q_ALG_OBJ_X509_CERT 196u  /* X.509 certificate (QImportKey, Q_BLOB_X509_CERT) */
#define Q_ALG_ED25519 201u
#define Q_ALG_ED448 202u
#define Q_ALG_X25519 203u
#define Q_ALG_X448 204u

/* Key attribute word (QGenerateKey flags, import attributes). */
#define Q_KEY_EXPORTABLE 0x1u
#define Q_KEY_RSA_EXPONENT_3 0x800u
#define Q_KEY_BLOCKCHAIN 0x4000u
#define Q_KEY_USAGE_PROFILE(n) ((uint32_t)(n) << 24) /* 0 = any usage, 1..25 */

/* Key parameters (QGetKeyParam / QSetKeyParam). */
#define Q_KEY_PARAM_ALGORITHM 1u     /* uint32_t */
#define Q_KEY_PARAM_EXPORT 7u        /* uint32_t: 1 = not exportable, 0 = exportable */
#define Q_KEY_PARAM_ATTRIBUTE 8u     /* uint32_t: 1 = material held encrypted (keys) */
#define Q_KEY_PARAM_LENGTH 9u        /* uint32_t key length in bytes (type name when non-zero) */
#define Q_KEY_PARAM_TEMPORARY 10u    /* uint32_t: 0 = temporary, 1 = persistent */
#define Q_KEY_PARAM_BLOCKED 12u      /* uint32_t: 1 = blocked */
#define Q_KEY_PARAM_RSA_EXPONENT 16u /* buffer is uint8_t **: library memory (QFree) */
#define Q_KEY_PARAM_LIFE_CYCLE 17u   /* QKeyLifeCycle (89) */
#define Q_KEY_PARAM_RECORD 18u       /* QKeyRecord (80) */
#define Q_KEY_PARAM_MAP_SLOTS 19u    /* QMapSlots (108): map objects only */
#define Q_KEY_PARAM_PKCS11_MAP 20u   /* char[50]: the PKCS#11 map whose target is the key ("") */

/* Life-cycle states (QKeyLifeCycle.state). */
#define Q_KEY_STATE_UNKNOWN 0u
#define Q_KEY_STATE_PRE_ACTIVE 1u
#define Q_KEY_STATE_ACTIVE 2u
#define Q_KEY_STATE_DEACTIVATED 3u
#define Q_KEY_STATE_COMPROMISED 4u
#define Q_KEY_STATE_DESTROYED 5u
#define Q_KEY_STATE_DESTROYED_C 6u

#pragma pack(push, 1)
/* Dates are seconds since 1970 UTC, 0 when unset. usageMask: bit 0x1 SIGN .. 0x80000
 * TRANSLATE_UNWRAP. */
typedef struct QKeyLifeCycle {
    uint64_t initialDate;
    uint64_t activationDate;
    uint64_t processStartDate;
    uint64_t protectStopDate;
    uint64_t deactivationDate;
    uint64_t compromiseOccurrenceDate;
    uint64_t compromiseDate;
    uint64_t archiveDate;
    uint64_t lastChangeDate;
    uint64_t originalCreationDate;
    uint64_t usageMask;
    uint8_t state; /* Q_KEY_STATE_* */
} QKeyLifeCycle;
QELVOARC_STATIC_ASSERT(sizeof(QKeyLifeCycle) == 89, "key life cycle");

/* The attributes a key was created with. */
typedef struct QKeyRecord {
    uint32_t algorithm;  /* Q_ALG_* */
    uint32_t attributes; /* key attribute word: Q_KEY_* bits and the usage profile */
    uint32_t length;     /* key length in bytes */
    uint8_t reserved[68];
} QKeyRecord;
QELVOARC_STATIC_ASSERT(sizeof(QKeyRecord) == 80, "key record");
#pragma pack(pop)

/* Blob types of QImportKey / QExportKey. */
#define Q_BLOB_CLEAR_SYMMETRIC 4u /* the clear key bytes of a symmetric key */
#define Q_BLOB_X509_CERT 9u       /* a certificate: DER or PEM in, DER out */

#pragma pack(push, 1)
/* The two slots of a map object (QGenerateMapObj). */
typedef struct QMapSlots {
    char slot1Name[50];
    uint32_t slot1Type; /* 0 = key by name */
    char slot2Name[50];
    uint32_t slot2Type;
} QMapSlots;
QELVOARC_STATIC_ASSERT(sizeof(QMapSlots) == 108, "map slots");
#pragma pack(pop)

/* QGetUserKey options. */
#define Q_KEY_OPEN_DEFAULT 0u
#define Q_KEY_OPEN_MOFN 2u /* open under the session's M of N authorisation */

/* Generates a key in the session's partition. name: at most 49 characters. algorithm:
 * Q_ALG_*. flags: the key attribute word. key [out]: release with QDestroyKey. */
QELVOARC_API uint32_t QGenerateKey(QSessionHandle session, const char *name, uint32_t algorithm,
                                   uint32_t flags, QKeyHandle *key);
/* Imports a key. kek: the key-encryption key, or 0 for clear blobs. blobType: Q_BLOB_*.
 * blob: the key material (wiped from library copies). key [out]: QDestroyKey.
 * Q_BLOB_X509_CERT: algorithm Q_ALG_OBJ_X509_CERT, attributes 0; anything but one whole
 * certificate gives Q_ERR_BAD_CERTIFICATE. */
QELVOARC_API uint32_t QImportKey(QSessionHandle session, const char *name, QKeyHandle kek,
                                 uint32_t blobType, uint32_t algorithm, uint32_t attributes,
                                 const uint8_t *blob, uint32_t blobLength, QKeyHandle *key);
/* Exports a key wrapped by kek (0: clear). Q_BLOB_CLEAR_SYMMETRIC: a symmetric key that is
 * exportable and not blocked (else Q_ERR_NOT_EXPORTABLE / Q_ERR_KEY_BLOCKED); the library
 * copy is the caller's to wipe. Q_BLOB_X509_CERT: a certificate object, as DER. Any other
 * pairing of object and blob type: Q_ERR_WRONG_OBJECT_TYPE. blob [out]: QFree. */
QELVOARC_API uint32_t QExportKey(QKeyHandle key, QKeyHandle kek, uint32_t blobType, uint8_t **blob,
                                 uint32_t *blobLength, uint32_t flags);
/* Opens an existing object by name. options: Q_KEY_OPEN_*. key [out]: QDestroyKey. */
QELVOARC_API uint32_t QGetUserKey(QSessionHandle session, const char *name, uint32_t options,
                                  QKeyHandle *key);
/* Releases a key handle (the object stays in the HSM). */
QELVOARC_API uint32_t QDestroyKey(QKeyHandle key, uint32_t flags);
/* Reads a key parameter (Q_KEY_PARAM_*). length [in,out]. */
QELVOARC_API uint32_t QGetKeyParam(QKeyHandle key, uint32_t param, void *buffer, uint32_t *length,
                                   uint32_t flags);
/* Changes a key parameter. Only Q_KEY_PARAM_BLOCKED (uint32_t 0 or 1) can change; any other
 * parameter gives Q_ERR_INVALID_PARAMETER. A blocked key keeps its attributes and check
 * values readable but cannot be exported or used. A length other than 4:
 * Q_ERR_INVALID_LENGTH; an object that is not a key: Q_ERR_WRONG_OBJECT_TYPE. */
QELVOARC_API uint32_t QSetKeyParam(QKeyHandle key, uint32_t param, const void *data,
                                   uint32_t length, uint32_t flags);
/* Removes an object by name from the session's partition. */
QELVOARC_API uint32_t QRemoveObj(QSessionHandle session, const char *name);
/* Enumerates the names of the partition's objects (keys, maps, PKCS#11 maps) in name order.
 * The callback may call the library on the same session: while the names are delivered
 * (the final call included), QGetUserKey, QGetObjInfo and QManageObjMetadata(Q_METADATA_OPEN)
 * of a listed name answer from the attributes fetched with the list, without a round trip. */
QELVOARC_API uint32_t QListObjs(QSessionHandle session, QNameCallback callback, void *context);

#pragma pack(push, 1)
typedef struct QObjInfo {
    char name[50];
    uint32_t algorithm; /* Q_ALG_* or object type */
    uint32_t attributes;
    uint32_t size;    /* bytes */
    uint64_t created; /* seconds since 1970 UTC */
} QObjInfo;
QELVOARC_STATIC_ASSERT(sizeof(QObjInfo) == 70, "object info");
#pragma pack(pop)

/* info [out]: a description of the object. */
QELVOARC_API uint32_t QGetObjInfo(QSessionHandle session, const char *name, QObjInfo *info,
                                  uint32_t flags);
/* Creates a map object of two named slots; slotType 0 = key by name. */
QELVOARC_API uint32_t QGenerateMapObj(QSessionHandle session, const char *mapName,
                                      const char *slot1Name, uint32_t slot1Type,
                                      const char *slot2Name, uint32_t slot2Type);
/* Exports a private key as PKCS#8 encrypted under password. blob [out]: DER (QFree). */
QELVOARC_API uint32_t QPKCS8ExportKey(QKeyHandle key, const char *password, uint8_t **blob,
                                      uint32_t *blobLength, uint32_t flags);
/* Imports a PKCS#8 private key (DER or PEM, encrypted when password is not NULL). */
QELVOARC_API uint32_t QPKCS8ImportKey(QSessionHandle session, const char *name,
                                      const char *password, const uint8_t *pkcs8,
                                      uint32_t pkcs8Length, uint32_t attributes, QKeyHandle *key);
/* Builds a PKCS#12 of a key and its certificate, encrypted under password. pkcs12 [out]:
 * QFree. */
QELVOARC_API uint32_t QExportPKCS12(QSessionHandle session, const char *password,
                                    const char *keyName, const char *certName, uint8_t **pkcs12,
                                    uint32_t *pkcs12Length, uint32_t flags);
/* Imports the key and certificate of a PKCS#12 under keyName and certName. */
QELVOARC_API uint32_t QImportPKCS12Buffer(QSessionHandle session, const uint8_t *pkcs12,
                                          uint32_t pkcs12Length, const char *password,
                                          const char *keyName, const char *certName,
                                          uint32_t attributes, uint32_t flags);

#define Q_BACKUP_OBJECT_EXPORT 1u /* *blob [out]: the object's backup blob (QFree) */
#define Q_BACKUP_OBJECT_IMPORT 2u /* *blob [in]: a blob from an export */

/* Backs up one object of the session's partition (Q_BACKUP_OBJECT_EXPORT: name is the object)
 * or brings a blob back into the partition (Q_BACKUP_OBJECT_IMPORT: name is the name it takes,
 * which must be free, else Q_ERR_ALREADY_EXISTS). Needs ACL 0x100; the HSM logs both.
 * The blob, sealed by the HSM and opened only by an HSM holding the same master key:
 *   offset 0  4 bytes  "QOBK"
 *          4  1 byte   format, 1
 *          5  16 bytes the id of the sealing master key (an HMAC of a fixed text under it)
 *         21  12 bytes AES-256-GCM nonce, then the sealed object, then the 16-byte tag; the
 *                      first 21 bytes are authenticated with it.
 * A blob of another master key gives Q_ERR_BLOB_FOREIGN_HSM; a damaged or altered one
 * Q_ERR_BLOB_DAMAGED. A key keeps its attributes, check value and blocked state. */
QELVOARC_API uint32_t QBackupObject(QSessionHandle session, const char *name, uint32_t operation,
                                    uint8_t **blob, uint32_t *blobLength, uint32_t flags);
/* Exports a key wrapped for a cloud key-transfer file (BYOK). padding: 3 OAEP SHA-1, 8 OAEP
 * SHA-256. blob [out]: QFree. */
QELVOARC_API uint32_t QByokExport(QSessionHandle session, const char *keyName, const char *kekName,
                                  uint32_t padding, uint8_t **blob, uint32_t *blobLength,
                                  uint32_t flags);

/* ======================================================================================= */
/* Hashes, encryption, signatures                                                           */
/* ======================================================================================= */

#define Q_HASH_MD5 1u
#define Q_HASH_SHA1 2u
#define Q_HASH_SHA256 4u
#define Q_HASH_SHA384 5u
#define Q_HASH_SHA512 6u
#define Q_HASH_SHA224 7u
#define Q_HASH_SHA3_224 8u
#define Q_HASH_SHA3_256 9u
#define Q_HASH_SHA3_384 10u
#define Q_HASH_SHA3_512 11u
/* 92..101 (Q_ALG_HMAC_*): keyed HMAC; the key comes from a key handle or Q_HASH_PARAM_KEY. */

#define Q_HASH_PARAM_KEY 1u   /* set: the raw HMAC key bytes (before any data) */
#define Q_HASH_PARAM_VALUE 2u /* get: the digest; finishes the hash */
#define Q_HASH_PARAM_SIZE 4u  /* get: uint32_t digest size */

/* Starts a hash on the HSM. key: for an HMAC algorithm, a handle of this session on an
 * unblocked key of that same algorithm (else Q_ERR_WRONG_OBJECT_TYPE, Q_ERR_KEY_BLOCKED),
 * whose material never leaves the HSM; or 0, and the key bytes follow with
 * QSetHashParam(Q_HASH_PARAM_KEY). hash [out]: QDestroyHash. */
QELVOARC_API uint32_t QCreateHash(QSessionHandle session, uint32_t algorithm, QKeyHandle key,
                                  uint32_t flags, QHashHandle *hash);
/* Adds data to a hash. */
QELVOARC_API uint32_t QHashData(QHashHandle hash, const uint8_t *data, uint32_t length,
                                uint32_t flags);
/* Reads a hash parameter (Q_HASH_PARAM_*). length [in,out]. After the value has been read,
 * further data gives Q_ERR_BAD_STATE. */
QELVOARC_API uint32_t QGetHashParam(QHashHandle hash, uint32_t param, uint8_t *buffer,
                                    uint32_t *length, uint32_t flags);
/* Sets a hash parameter (Q_HASH_PARAM_KEY). The library wipes its copy of the key. */
QELVOARC_API uint32_t QSetHashParam(QHashHandle hash, uint32_t param, const uint8_t *value,
                                    uint32_t length, uint32_t flags);
/* Releases a hash (also on the HSM). */
QELVOARC_API uint32_t QDestroyHash(QHashHandle hash);

/* Symmetric modes and paddings (QEncrypt, QDecrypt, key export). */
#define Q_MODE_ECB 1u
#define Q_MODE_CBC 2u
#define Q_MODE_KWP 4u
#define Q_MODE_KW 64u
#define Q_PAD_PKCS5 1u
#define Q_PAD_ZERO 2u
#define Q_PAD_RSA_OAEP_SHA1 3u
#define Q_PAD_RSA_PKCS1 4u
#define Q_PAD_RSA_OAEP_SHA256 8u

/* Encrypts with a key. iv: the IV for CBC (block size) or NULL. out/outLength [in,out]. */
QELVOARC_API uint32_t QEncrypt(QKeyHandle key, uint32_t mode, uint32_t padding, const uint8_t *iv,
                               const uint8_t *in, uint32_t inLength, uint8_t *out,
                               uint32_t *outLength, uint32_t flags);
/* Decrypts with a key; as QEncrypt. */
QELVOARC_API uint32_t QDecrypt(QKeyHandle key, uint32_t mode, uint32_t padding, const uint8_t *iv,
                               const uint8_t *in, uint32_t inLength, uint8_t *out,
                               uint32_t *outLength, uint32_t flags);
/* Signs the value of a hash with a private key. signature/length [in,out]. */
QELVOARC_API uint32_t QSignHash(QHashHandle hash, QKeyHandle key, uint32_t padding,
                                uint8_t *signature, uint32_t *signatureLength, uint32_t flags);
/* Verifies a signature over the value of a hash. Q_OK when it verifies. */
QELVOARC_API uint32_t QVerifySignature(QHashHandle hash, QKeyHandle key, uint32_t padding,
                                       const uint8_t *signature, uint32_t signatureLength,
                                       uint32_t flags);
/* Signs a digest computed elsewhere (hashAlgorithm: Q_HASH_*). */
QELVOARC_API uint32_t QSignHashedData(QKeyHandle key, uint32_t hashAlgorithm, const uint8_t *digest,
                                      uint32_t digestLength, uint32_t padding, uint8_t *signature,
                                      uint32_t *signatureLength, uint32_t flags);
/* Signs an XML document (enveloped signature). signedXml [out]: QFree. */
QELVOARC_API uint32_t QSignXml(QSessionHandle session, const char *keyName, const char *certName,
                               uint32_t hashAlgorithm, const uint8_t *xml, uint32_t xmlLength,
                               uint8_t **signedXml, uint32_t *signedXmlLength, uint32_t flags);
/* Verifies a signed XML document against a certificate (or chain) and an optional CRL, both
 * objects of the partition. */
QELVOARC_API uint32_t QVerifySignedXmlEx(QSessionHandle session, const char *certName,
                                         const char *crlName, const uint8_t *xml,
                                         uint32_t xmlLength, uint32_t flags);
/* Builds a PKCS#7 signed-data of content. pkcs7 [out]: DER (QFree). */
QELVOARC_API uint32_t QPKCS7Sign(QSessionHandle session, const char *keyName, const char *certName,
                                 const uint8_t *content, uint32_t contentLength, uint8_t **pkcs7,
                                 uint32_t *pkcs7Length, uint32_t flags);
/* Builds a PKCS#10 request for a key. dn: "/CN=.../O=...". csr [out]: PEM (QFree). */
QELVOARC_API uint32_t QGeneratePKCS10CSR(QSessionHandle session, const char *keyName,
                                         const char *dn, uint32_t hashAlgorithm, uint8_t **csr,
                                         uint32_t *csrLength, uint32_t flags);

#define Q_CERT_INFO_SUBJECT 1u    /* text */
#define Q_CERT_INFO_ISSUER 2u     /* text */
#define Q_CERT_INFO_SERIAL 3u     /* hexadecimal text */
#define Q_CERT_INFO_NOT_BEFORE 4u /* uint64_t seconds since 1970 UTC */
#define Q_CERT_INFO_NOT_AFTER 5u  /* uint64_t seconds since 1970 UTC */

/* Reads one field of a certificate (PEM or DER). Local. out/outLength [in,out]. */
QELVOARC_API uint32_t QCert2CertInfo(const uint8_t *cert, uint32_t certLength, uint32_t info,
                                     void *out, uint32_t *outLength, uint32_t flags);

/* ======================================================================================= */
/* Object metadata and PKCS#11                                                              */
/* ======================================================================================= */

#define Q_METADATA_LABEL 27u /* text, up to 1024 bytes */

#define Q_METADATA_OPEN 1u  /* metadata [out]: the object's metadata */
#define Q_METADATA_WRITE 2u /* metadata [in]: written to the object */

#pragma pack(push, 1)
typedef struct QTypeInfo {
    uint32_t code;
    uint32_t valueType; /* 1 integer, 2 text, 3 bytes */
    char name[64];
} QTypeInfo;
QELVOARC_STATIC_ASSERT(sizeof(QTypeInfo) == 72, "type info");
#pragma pack(pop)

/* Creates an empty metadata set. metadata [out]: QDestroyObjMetadata. */
QELVOARC_API uint32_t QCreateObjMetadata(QObjMetadataHandle *metadata, uint32_t flags);
/* Reads one metadata item. length [in,out]. */
QELVOARC_API uint32_t QGetObjMetadata(QObjMetadataHandle metadata, uint32_t item, void *buffer,
                                      uint32_t *length, uint32_t flags);
/* Sets one metadata item. */
QELVOARC_API uint32_t QSetObjMetadata(QObjMetadataHandle metadata, uint32_t item, const void *value,
                                      uint32_t length, uint32_t flags);
/* Opens (Q_METADATA_OPEN) or writes (Q_METADATA_WRITE) the metadata of an object. */
QELVOARC_API uint32_t QManageObjMetadata(QSessionHandle session, uint32_t operation,
                                         const char *objectName, QObjMetadataHandle *metadata,
                                         uint32_t flags);
/* Releases a metadata handle. */
QELVOARC_API uint32_t QDestroyObjMetadata(QObjMetadataHandle metadata, uint32_t flags);
/* The metadata items known to the library. list [out]: count entries (QFree). */
QELVOARC_API uint32_t QGetObjMetadataTypeInfoList(QTypeInfo **list, uint32_t *count,
                                                  uint32_t flags);
/* The metadata of an object as a JSON text. json [out]: QFree. */
QELVOARC_API uint32_t QGetJsonObjMetadata(QSessionHandle session, const char *objectName,
                                          char **json, uint32_t *jsonLength, uint32_t flags);
/* Replaces the metadata of an object from a JSON text. */
QELVOARC_API uint32_t QSetJsonObjMetadata(QSessionHandle session, const char *objectName,
                                          const char *json, uint32_t jsonLength, uint32_t flags);

#pragma pack(push, 1)
typedef struct QPkcs11MapInfo {
    char target[256]; /* the object the map points at */
    char label[129];  /* CKA_LABEL */
} QPkcs11MapInfo;
QELVOARC_STATIC_ASSERT(sizeof(QPkcs11MapInfo) == 385, "PKCS#11 map info");
#pragma pack(pop)

#define Q_PKCS11_MAP_LEVEL_BASIC 1u /* info: QPkcs11MapInfo */
#define Q_PKCS11_MAP_LEVEL_FULL 2u  /* info: the .info member of a QPkcs11MapDetails */

#define Q_CKO_CERTIFICATE 1u /* CKA_CLASS values */
#define Q_CKO_PUBLIC_KEY 2u
#define Q_CKO_PRIVATE_KEY 3u
#define Q_CKO_SECRET_KEY 4u
#define Q_CK_UNAVAILABLE 0xFFFFFFFFu /* CKA_KEY_GEN_MECHANISM of an imported key */

#pragma pack(push, 1)
/* What a PKCS#11 client sees through a map: the attributes derive from the target. */
typedef struct QPkcs11MapDetails {
    QPkcs11MapInfo info;
    char associate[50];              /* the certificate tied to the target, "" when none */
    uint32_t objectClass;            /* CKA_CLASS: Q_CKO_* */
    char application[64];            /* CKA_APPLICATION, "" when unset */
    uint8_t id[32];                  /* CKA_ID */
    uint32_t idLength;               /* bytes of id in use */
    uint8_t trusted;                 /* CKA_TRUSTED */
    uint8_t wrapWithTrusted;         /* CKA_WRAP_WITH_TRUSTED */
    uint8_t local;                   /* CKA_LOCAL: generated inside the HSM */
    uint32_t certificateCategory;    /* CKA_CERTIFICATE_CATEGORY: 0 unspecified */
    uint32_t javaMidpSecurityDomain; /* CKA_JAVA_MIDP_SECURITY_DOMAIN: 0 unspecified */
    uint32_t keyGenMechanism;        /* CKA_KEY_GEN_MECHANISM: CKM_* or Q_CK_UNAVAILABLE */
} QPkcs11MapDetails;
QELVOARC_STATIC_ASSERT(sizeof(QPkcs11MapDetails) == 554, "PKCS#11 map details");
#pragma pack(pop)

/* Creates a PKCS#11 map of a key (and its certificate object, may be NULL) with a label. */
QELVOARC_API uint32_t QGeneratePkcs11Map(QSessionHandle session, const char *mapName,
                                         const char *keyName, const char *certName,
                                         const char *label, uint32_t flags);
/* Reads a PKCS#11 map. level: Q_PKCS11_MAP_LEVEL_*. reserved: 0. info [out]. The full level
 * reads the target on the HSM: Q_ERR_NOT_FOUND once the target is gone. */
QELVOARC_API uint32_t QGetPkcs11Map(QSessionHandle session, const char *mapName, uint32_t level,
                                    uint32_t reserved, QPkcs11MapInfo *info);
/* Enumerates the names of the partition's PKCS#11 maps, as QListObjs. */
QELVOARC_API uint32_t QListPkcs11Maps(QSessionHandle session, QNameCallback callback,
                                      void *context);
/* Ties a private key, its public key and its certificate together for PKCS#11 clients. */
QELVOARC_API uint32_t QAssociatePKCS11Key(QSessionHandle session, const char *privateKeyName,
                                          const char *publicKeyName, const char *certName,
                                          uint32_t flags);

/* PKCS#11 information attributes. */
#define Q_P11_ATTR_TAMPERED 22u          /* uint8_t */
#define Q_P11_ATTR_CLOUD_STATUS 24u      /* 8 bytes, 1 = telemetry enabled */
#define Q_P11_ATTR_HSM_ID 25u            /* text (2048-byte buffer) */
#define Q_P11_ATTR_CLOUD_ACCOUNT 26u     /* text */
#define Q_P11_ATTR_TELEMETRY_URL 27u     /* text */
#define Q_P11_ATTR_REMOTE_MANAGEMENT 30u /* 8 bytes */

/* Reads the HSM's PKCS#11 information in one exchange, for every session (anonymous ones
 * too): what it holds needs no right. info [out]: QDestroyHSMP11Info. An HSM bound to no
 * cloud account answers 0 for Q_P11_ATTR_CLOUD_STATUS and Q_P11_ATTR_REMOTE_MANAGEMENT and ""
 * for Q_P11_ATTR_CLOUD_ACCOUNT and Q_P11_ATTR_TELEMETRY_URL; Q_P11_ATTR_HSM_ID is its
 * serial number. */
QELVOARC_API uint32_t QGetHSMP11Info(QSessionHandle session, QP11InfoHandle *info, uint32_t flags);
/* One attribute of the information, read from the handle without an exchange. length
 * [in,out]: texts are written with their terminator, which length out counts; the numbers
 * take exactly their size. Q_ERR_INVALID_PARAMETER for an attribute not listed. */
QELVOARC_API uint32_t QGetHSMP11InfoAttr(QP11InfoHandle info, uint32_t attribute, void *buffer,
                                         uint32_t *length, uint32_t flags);
/* The attributes known to the library. list [out]: count entries (QFree). */
QELVOARC_API uint32_t QGetHSMP11TypeInfoList(QTypeInfo **list, uint32_t *count, uint32_t flags);
/* Releases an information handle. */
QELVOARC_API uint32_t QDestroyHSMP11Info(QP11InfoHandle info, uint32_t flags);

/* ======================================================================================= */
/* Files on the HSM                                                                         */
/* ======================================================================================= */

/* Copies a file of the HSM to a local path. */
QELVOARC_API uint32_t QReadFile(QSessionHandle session, const char *remoteName,
                                const char *localPath, uint32_t flags);
/* Copies a local file to the HSM. */
QELVOARC_API uint32_t QWriteFile(QSessionHandle session, const char *localPath,
                                 const char *remoteName, uint32_t flags);
/* Writes a buffer as a file of the HSM. */
QELVOARC_API uint32_t QWriteFileBuffer(QSessionHandle session, const char *remoteName,
                                       const uint8_t *data, uint32_t length, uint32_t flags);

/* ======================================================================================= */
/* HSM administration                                                                       */
/* ======================================================================================= */

/* QGetHsmInfo kinds. */
/* Q_INFO_VERSION: the HSM's version line, "... Core Crypto Engine a.b.c.d-...". */
#define Q_INFO_VERSION 8u       /* text; flag word in: 1 */
#define Q_INFO_UPTIME 32u       /* 8 bytes: uptime s (u32), battery (u32); ~0 = n/a */
#define Q_INFO_MODE 64u         /* uint32_t HSM mode */
#define Q_INFO_REPLICATION 256u /* QReplicationNodes */
#define Q_INFO_CLOCK 512u       /* uint64_t HSM time, seconds since 1970 UTC */
#define Q_INFO_STATUS 0x10000u  /* QHsmInfoRecord, the 10,947-byte HSM information record */
#define Q_HSM_INFO_RECORD_SIZE 10947u
#define Q_HSM_INFO_RECORD_VERSION 10u    /* the newest record version */
#define Q_INFO_NOT_AVAILABLE 0xFFFFFFFFu /* Q_INFO_UPTIME: a value the HSM cannot tell */

/* Operation modes (Q_INFO_MODE, QHsmInfoRecord.operationMode). Every mode but the first is
 * a FIPS mode. */
#define Q_OPMODE_STANDARD 0u
#define Q_OPMODE_FIPS_140_2 1u
#define Q_OPMODE_FIPS_140_3 2u
#define Q_OPMODE_FIPS_PCI 3u

/* Replication states (QHsmInfoRecord.replication.state). */
#define Q_REPL_STATE_ZEROED 0u
#define Q_REPL_STATE_UNDEFINED 1u
#define Q_REPL_STATE_PHASE1_PARTICIPANT 2u
#define Q_REPL_STATE_PHASE2_PARTICIPANT 3u
#define Q_REPL_STATE_PHASE2_COORDINATOR 4u
#define Q_REPL_STATE_INVALID 5u
#define Q_REPL_STATE_LIVE_SYNC 6u

#define Q_REPL_MAX_BINDS 4u
#define Q_REPL_MAX_NODES 255u

#pragma pack(push, 1)
/* One interface the replication service is bound to. */
typedef struct QReplicationBind {
    char interfaceName[16];
    char address[16]; /* dotted IPv4 */
} QReplicationBind;
QELVOARC_STATIC_ASSERT(sizeof(QReplicationBind) == 32, "replication bind");

/* The replication service's own state, inside the information record. */
typedef struct QReplicationStatus {
    uint8_t pendingTransactions[8]; /* 2048: a counter, most significant byte first */
    uint64_t when;                  /* 2056: last change of state, seconds since 1970 UTC */
    uint32_t state;                 /* 2064: Q_REPL_STATE_* */
    uint8_t joinedDomain;           /* 2068: 1 when the HSM joined a replication domain */
    uint8_t syncPoint[8];           /* 2069: the last transaction applied */
    uint16_t syncCounter;           /* 2077: transactions since the sync point */
    uint8_t managerPulsing;         /* 2079: 1 when the manager's heartbeat runs */
    uint32_t managerInterval;       /* 2080: its period, seconds */
    uint8_t recoveryPulsing;        /* 2084: 1 when the recovery heartbeat runs */
    uint32_t recoveryInterval;      /* 2085: its period, seconds */
    uint32_t bindCount;             /* 2089: entries of binds in use */
    QReplicationBind binds[Q_REPL_MAX_BINDS]; /* 2093 */
} QReplicationStatus;
QELVOARC_STATIC_ASSERT(sizeof(QReplicationStatus) == 173, "replication status");

/* The HSM information record of Q_INFO_STATUS. `version` (1 to Q_HSM_INFO_RECORD_VERSION)
 * tells which fields the HSM filled: a field newer than the record's version (the number
 * after the offset) is zero. Texts are NUL-padded. The hardware and replication parts
 * exist from version 1. */
typedef struct QHsmInfoRecord {
    uint32_t version;               /*    0  1 */
    uint32_t sessions;              /*    4  1: open sessions */
    uint32_t cpuPercent;            /*    8  1: the machine's CPU use */
    uint32_t memoryTotal;           /*   12  1: KiB */
    uint32_t memoryUsed;            /*   16  1: KiB */
    uint32_t operationMode;         /*   20  2: Q_OPMODE_* */
    uint32_t storageTotal;          /*   24  3: MiB of the file system holding the HSM's data */
    uint32_t storageFree;           /*   28  3: MiB */
    uint64_t clock;                 /*   32  5: seconds since 1970 UTC */
    uint64_t userCount;             /*   40  8 */
    uint64_t objectCount;           /*   48  8: objects of every partition */
    uint64_t databaseSize;          /*   56  8: bytes */
    uint8_t backupPending;          /*   64 10: 1 when a backup is due */
    char pendingUpdate[256];        /*   65 10: the update package applied at the next start, "" */
    uint8_t reserved1[703];         /*  321 */
    char manufacturer[64];          /* 1024 */
    char model[64];                 /* 1088 */
    char hardwareProfile[64];       /* 1152: how the HSM runs: platform, processors */
    char engineDescription[256];    /* 1216: "<maker> <line> Engine <firmware> Serial: <serial>" */
    char tpKey[128];                /* 1472: id of the transport (TLS) key, hexadecimal */
    char svmkFingerprint[128];      /* 1600: "" when the HSM holds no server master key */
    char machineAlias[64];          /* 1728: the host's name */
    uint8_t reserved2[256];         /* 1792 */
    QReplicationStatus replication; /* 2048 */
    uint8_t reserved3[8726];        /* 2221 */
} QHsmInfoRecord;
QELVOARC_STATIC_ASSERT(sizeof(QHsmInfoRecord) == Q_HSM_INFO_RECORD_SIZE, "HSM info record");

/* Q_INFO_REPLICATION: the other nodes of the replication domain. */
typedef struct QReplicationNodes {
    uint32_t count;
    char nodes[Q_REPL_MAX_NODES][16]; /* dotted IPv4, count entries in use */
} QReplicationNodes;
QELVOARC_STATIC_ASSERT(sizeof(QReplicationNodes) == 4084, "replication nodes");
#pragma pack(pop)

/* Reads information of a kind (Q_INFO_*). flagWord [in,out]: request flags in, the HSM's
 * answer flags out. length [in,out]: capacity in; bytes written out. Text kinds are written
 * with a terminator that the capacity must include and the length out does not count.
 * Q_INFO_VERSION and Q_INFO_MODE are served to every session; Q_INFO_UPTIME,
 * Q_INFO_REPLICATION, Q_INFO_CLOCK and Q_INFO_STATUS need ACL 0x20 (Q_ERR_ACCESS_DENIED,
 * logged by the HSM). Other kinds give Q_ERR_NOT_SUPPORTED. */
QELVOARC_API uint32_t QGetHsmInfo(QSessionHandle session, uint32_t *flagWord, uint32_t kind,
                                  void *buffer, uint32_t *length, uint32_t flags);

#pragma pack(push, 1)
typedef struct QStatInfo {
    uint32_t sessions;
    uint32_t cpuPercent;  /* the machine's, since the previous query (first: since boot) */
    uint32_t loadAverage; /* one-minute load average x 100 */
    uint32_t memoryTotal; /* KiB, as the swap figures */
    uint32_t memoryUsed;
    uint32_t swapTotal; /* 0 when the machine has no swap */
    uint32_t swapUsed;
} QStatInfo;
QELVOARC_STATIC_ASSERT(sizeof(QStatInfo) == 28, "stat info");

typedef struct QReplicationNodeOp {
    uint8_t operation;  /* 1 test, 2 notify down, 3 add, 4 delete */
    uint8_t address[4]; /* IPv4, network order */
} QReplicationNodeOp;
QELVOARC_STATIC_ASSERT(sizeof(QReplicationNodeOp) == 5, "replication node operation");

typedef struct QNetInterface {
    char address[16]; /* dotted IPv4, "" for a bond member */
    char mask[16];
    uint32_t linkUp;
    uint32_t speedMbps; /* 0 when the link does not tell */
    uint32_t bondMember;
} QNetInterface;
QELVOARC_STATIC_ASSERT(sizeof(QNetInterface) == 44, "network interface");

typedef struct QNetInfo {
    uint32_t interfaceCount;
    QNetInterface interfaces[8];
    char gateway[16];     /* the default route's gateway, "" when none */
    char gatewayMask[16]; /* "255.255.255.255" when there is no default route */
    char bond[32];        /* the bond interface, "" when not defined */
    char bondMode[32];    /* its mode, e.g. "active-backup" */
    char sysContact[128];
    char sysLocation[128];
    char community[64];
    char trapTargets[512]; /* ';'-separated, whole entries only */
    char routes[512];      /* ';'-separated "<net>/<prefix> via <gateway> dev <name>" */
} QNetInfo;
QELVOARC_STATIC_ASSERT(sizeof(QNetInfo) == 1796, "network info");
#pragma pack(pop)

/* stats [out]: the HSM's resource figures. Needs ACL 0x20. */
QELVOARC_API uint32_t QGetStatInfo(QSessionHandle session, QStatInfo *stats, uint32_t flags);

#define Q_BACKUP_CREATE 0u
#define Q_BACKUP_RESTORE 1u            /* including the network settings and IP filter */
#define Q_BACKUP_RESTORE_NO_NETWORK 2u /* keeps the HSM's network settings and IP filter */

/* Creates a backup of the HSM into a local file, or restores one (flags: Q_BACKUP_*).
 * Needs ACL 0x100. The file is streamed in parts: neither end holds the whole database.
 * Create writes the file whole or removes it (Q_ERR_FILE when it cannot be written); an
 * existing file is replaced. Restore checks the whole file before anything changes: a
 * wrong password, a damaged, newer or foreign file (Q_ERR_BACKUP_*, Q_ERR_NOT_A_BACKUP)
 * leave the HSM as it was. A restore that succeeds ends every other session and leaves the
 * HSM answering Q_ERR_RESTART_REQUIRED to all but liveness, login, logout and information
 * requests until it is restarted; the calling session stays open under that rule. The top
 * bit of flags (0x80000000) is accepted and has no effect. */
QELVOARC_API uint32_t QBackupData(QSessionHandle session, const char *localPath,
                                  const char *password, uint32_t flags);
/* A firmware update package ("upack"), every number big-endian:
 *   offset 0   4 bytes  "QUPK"
 *          4   1 byte   format, 1
 *          5   1 byte   signature algorithm, 1 = Ed25519
 *          6   8 bytes  the firmware version A.B.C.D, four 16-bit parts
 *          14  1 byte   n, the description's length, 1 to 255
 *          15  32 bytes the signer: SHA-256 of its public key's DER SubjectPublicKeyInfo
 *          47  n bytes  the description (UTF-8, no terminator)
 *          47+n 64 bytes Ed25519 signature of bytes 0 to 46+n
 * Nothing follows. orvena-simctl make-upack builds them. */

/* Describes a firmware package from its header. Local; the signature is not checked.
 * description [out]: its text; version [out] (may be NULL): "A.B.C.D"; both terminated,
 * freed with QFree. Bytes that are not a package: Q_ERR_UPACK_MALFORMED. */
QELVOARC_API uint32_t QUPackInfo(uint32_t length, const uint8_t *package, char **description,
                                 char **version, uint32_t flags);
/* Sends a firmware package, applied at the next restart (until then the information record's
 * pendingUpdate names its description; a later package replaces it). Needs ACL 0x200. The
 * HSM refuses, and logs, a package that is not one (Q_ERR_UPACK_MALFORMED), one of a signer it
 * does not trust (Q_ERR_UPACK_UNKNOWN_SIGNER), one whose signature does not verify
 * (Q_ERR_UPACK_BAD_SIGNATURE) and one older than the running firmware (Q_ERR_UPACK_ROLLBACK). */
QELVOARC_API uint32_t QUPackPush(QSessionHandle session, uint32_t length, const uint8_t *package);
/* info [out]: the HSM's network configuration: its IPv4 interfaces but the loopback (at
 * most 8), routes and SNMP settings. Needs ACL 0x20. */
QELVOARC_API uint32_t QGetNetInfo(QSessionHandle session, QNetInfo *info, uint32_t flags);
/* Enumerates the modules loaded in the HSM ("name version"). Needs ACL 0x20. */
QELVOARC_API uint32_t QListLoadedModules(QSessionHandle session, QNameCallback callback,
                                         void *context, uint32_t flags);

#define Q_IPF_ENABLE 1u
#define Q_IPF_DISABLE 2u
#define Q_IPF_STATUS 33u /* status [out]: 1 enabled, 0 disabled; callback per entry if given */
#define Q_IPF_ADD 44u
#define Q_IPF_REMOVE 55u

/* Called once per IP filter entry (user id "" when the host is open to every user), then
 * once with isFinal set (both texts ""). A non-zero return stops the calls and is the result. */
typedef uint32_t (*QIPFilterCallback)(const char *hostIp, const char *userId, void *context,
                                      int isFinal);

/* IP filter operation (Q_IPF_*). While the filter is enabled the HSM closes, and logs, every
 * connection from a host no entry names, before anything is read from it; an entry with a
 * user admits only that user's logins from its host (others: Q_ERR_IPF_REFUSED, logged).
 * Q_IPF_STATUS needs ACL 0x20; the changes need an operator. hostIp: dotted IPv4 (else
 * Q_ERR_INVALID_PARAMETER); userId: the user the entry is tied to, or NULL or "" for any.
 * Adding an entry that exists: Q_ERR_ALREADY_EXISTS; removing one that does not:
 * Q_ERR_NOT_FOUND. Enabling the filter, or removing an entry of an enabled one, so that the
 * caller's own address and user would no longer be admitted: Q_ERR_IPF_LOCKOUT. The list and
 * the state persist; a restore with flag 2 keeps the HSM's own. status: may be NULL. */
QELVOARC_API uint32_t QIPFilterOperation(QSessionHandle session, uint32_t operation,
                                         const char *userId, const char *hostIp,
                                         QIPFilterCallback callback, void *context,
                                         uint32_t *status, uint32_t flags);

#define Q_TOOL_PING 1u
#define Q_TOOL_TRACEROUTE 2u
#define Q_TOOL_NODE_LIST 100u /* result: QNodeRecord records */

#define Q_NODE_RECORD_LISTED 68u

#pragma pack(push, 1)
/* One node of the replication domain as the HSM found it when it asked the node. The counts
 * are in host order. A node that could not be asked has only its address and status. */
typedef struct QNodeRecord {
    char address[16];    /*  0: dotted IPv4, NUL-padded */
    uint32_t status;     /* 16: Q_OK, or why the node could not be asked */
    uint8_t self;        /* 20: 1 for the HSM that answered */
    uint8_t reserved[3]; /* 21: zero */
    uint32_t nodeCount;  /* 24: entries of the node's own list */
    char version[32];    /* 28: the last change the node's database holds, decimal text; the
                          *     nodes of a domain in step show the same */
    uint8_t nodes[Q_NODE_RECORD_LISTED][4]; /* 60: the first entries of its list, IPv4 in
                                             *     network order */
} QNodeRecord;
QELVOARC_STATIC_ASSERT(sizeof(QNodeRecord) == 332, "node record");
#pragma pack(pop)

/* Runs a network tool on the HSM against target, a host name or an IPv4 or IPv6 address
 * (else Q_ERR_TOOL_TARGET). Needs ACL 0x20. result [out]: what the tool printed, ended by a
 * NUL that resultLength does not count (QFree); bounded to 30 seconds and 64 KiB. A tool the
 * HSM lacks: Q_ERR_TOOL_UNAVAILABLE. Q_TOOL_NODE_LIST takes no target (it may be NULL): the
 * HSM asks every node of its list, each within the replication pulse, and result holds one
 * QNodeRecord for itself, then one per node of its list; resultLength counts their bytes. */
QELVOARC_API uint32_t QHSMTool(QSessionHandle session, uint32_t tool, const char *target,
                               uint8_t **result, uint32_t *resultLength, uint32_t flags);
/* Binds the HSM to the cloud services with a bind key: one line of at most 1023 bytes,
 * "<payload>.<signature>" in standard base64, made by `orvena-simctl make-bind-key`. The
 * payload is "orvena-bind-1\n<account>\n<hsm id>\n<telemetry url>" (https only); the signature
 * is over the payload bytes by the key of the cloud certificate the HSM trusts (Ed25519, or
 * ECDSA/RSA with SHA-256). Operators only. Refusals: Q_ERR_NO_CLOUD_CERT, Q_ERR_BIND_KEY_INVALID,
 * Q_ERR_BIND_KEY_FOREIGN (another HSM id than the HSM's serial number), Q_ERR_ALREADY_BOUND.
 * Once bound, the HSM information attributes Q_P11_ATTR_CLOUD_STATUS (1), Q_P11_ATTR_HSM_ID,
 * Q_P11_ATTR_CLOUD_ACCOUNT and Q_P11_ATTR_TELEMETRY_URL tell the binding, and the HSM posts a
 * JSON status document to the telemetry URL at its telemetry interval. flags: 0. */
QELVOARC_API uint32_t QOSBindHSM(QSessionHandle session, const char *bindKey, uint32_t flags);
/* Removes the binding and stops the telemetry. Operators only; Q_ERR_NOT_BOUND when unbound. */
QELVOARC_API uint32_t QOSUnbindHSM(QSessionHandle session, uint32_t flags);

/* ======================================================================================= */
/* Logs                                                                                     */
/* ======================================================================================= */

/* The log is a text of raw lines, each ended by "\n": the hash of the line's link in the
 * HSM's hash chain (64 uppercase hexadecimal digits), a space, and
 * "seq|boot|YYYY-MM-DDTHH:MM:SSZ|user|operation|outcome" (time in UTC; "\", "|" and control
 * bytes inside the texts escaped as "\\", "\|" and "\xHH"). The first line is the anchor the
 * chain continues from (operation "Log start"). The full description, and how the chain is
 * checked ("orvena-simctl verify-log" accepts a downloaded log), is
 * sim/store/event_log_format.md of the HSM simulator's sources.
 * Every remote function below needs Q_ACL_REMOTE_INFO (or the operator bit); a refusal gives
 * Q_ERR_ACCESS_DENIED and is recorded in the log. */

#define Q_LOG_LINE_SIZE 3072u
#define Q_LOG_CHUNK_SIZE 1048576u
#define Q_LOG_STAT_MAX 16384u
/* QGetHSMLogInit selectors. */
#define Q_LOG_ZIPPED (-1) /* a ZIP with one member, "vlx_appliance.log": the text */
#define Q_LOG_PLAIN 0     /* the text */
/* A ZIP with the text as "vlx_appliance.log" and the hardware log as "vlx_hardware.log": one
 * line per hardware event (start, stop, battery, fan, temperature readings),
 * "YYYY-MM-DDTHH:MM:SSZ|event|detail". */
#define Q_LOG_ZIPPED_PACKAGE (-2)

/* Called with each new raw line (with its "\n") until it returns non-zero. Runs on the
 * calling thread, inside QGetLogEvents: it must not call the library on the same session. */
typedef uint32_t (*QLogEventCallback)(const char *rawLine, void *context);

/* Follows the log: blocks, handing each line written from now on to callback as it is
 * written, until callback returns non-zero (the result is then that value, and the session
 * stays usable) or the session ends (its status: Q_ERR_SESSION_EXPIRED, a lost connection). */
QELVOARC_API uint32_t QGetLogEvents(QSessionHandle session, QLogEventCallback callback,
                                    void *context, uint32_t flags);
/* Formats one raw line (with or without its "\n") as "YYYY-MM-DD HH:MM:SS GMT #seq [HASH8]
 * user: operation - outcome", HASH8 the first 8 digits of the hash, user "HSM" when empty.
 * Local. formatted [out]: text, at most formattedSize bytes (Q_LOG_LINE_SIZE is enough for
 * any line of 2048 bytes). A line of another shape: Q_ERR_INVALID_PARAMETER; too small a
 * buffer: Q_ERR_BUFFER_TOO_SMALL. */
QELVOARC_API uint32_t QLogLineFormat(const char *rawLine, char *formatted, uint32_t formattedSize,
                                     uint32_t flags);
/* Clears the log. The log then holds its anchor, standing for the last line removed so the
 * chain stays checkable, and the line recording the clear. */
QELVOARC_API uint32_t QTruncateLog(QSessionHandle session, uint32_t flags);
/* Reads up to length (1 to Q_LOG_STAT_MAX, else Q_ERR_INVALID_LENGTH) bytes of the text at
 * offset; fewer at its end, none at offset == size. An offset beyond the text:
 * Q_ERR_INVALID_PARAMETER. data [out]: QFree; dataLength [out]: the bytes read. */
QELVOARC_API uint32_t QGetStatLog(QSessionHandle session, uint32_t offset, uint32_t length,
                                  uint8_t **data, uint32_t *dataLength, uint32_t flags);
/* size [out]: the text's size in bytes. */
QELVOARC_API uint32_t QGetStatLogSize(QSessionHandle session, uint32_t *size, uint32_t flags);
/* Starts a download of one snapshot of the log. reserved: 0. selector: Q_LOG_* (another:
 * Q_ERR_INVALID_PARAMETER). A session holds at most 4 downloads. log [out]: QGetHSMLogEnd. */
QELVOARC_API uint32_t QGetHSMLogInit(QSessionHandle session, uint32_t reserved, int32_t selector,
                                     QLogHandle *log, uint32_t flags);
/* Next chunk. length [in,out]: capacity (at most Q_LOG_CHUNK_SIZE is used) / bytes written; 0
 * at the end. A plain download of a log cleared meanwhile: Q_ERR_BAD_STATE. */
QELVOARC_API uint32_t QGetHSMLogCont(QLogHandle log, uint8_t *buffer, uint32_t *length);
/* Ends a download and releases the handle (also when its session is gone). */
QELVOARC_API uint32_t QGetHSMLogEnd(QLogHandle log);

/* ======================================================================================= */
/* EFT and EMV                                                                              */
/* ======================================================================================= */

#define Q_KCV_FORMAT_KCV 0u
#define Q_KCV_FORMAT_CMAC 1u

#pragma pack(push, 1)
/* Components of a DES-family key (QEFTImportKey with algorithms 1..3). */
typedef struct QEftComponentRecord {
    uint8_t component1[24];
    uint8_t kcv1[3];
    uint8_t component2[24];
    uint8_t kcv2[3];
    uint8_t component3[24];
    uint8_t kcv3[3];
    uint8_t keyKcv[3];
} QEftComponentRecord;
QELVOARC_STATIC_ASSERT(sizeof(QEftComponentRecord) == 84, "EFT component record");

/* Components of an AES key (QEFTImportKey with algorithms 7..9). */
typedef struct QEftAesComponentRecord {
    uint32_t attributes; /* key attribute word */
    uint8_t component1[32];
    uint8_t component2[32];
    uint8_t component3[32];
    uint8_t keyKcv[3];
} QEftAesComponentRecord;
QELVOARC_STATIC_ASSERT(sizeof(QEftAesComponentRecord) == 103, "EFT AES component record");
#pragma pack(pop)

/* Imports a key from clear components. record: QEftComponentRecord or QEftAesComponentRecord
 * by algorithm (wiped from library copies). format: Q_KCV_FORMAT_* of the AES record's final
 * check value (DES-family records carry KCVs). The HSM joins the components (XOR), checks every
 * check value the record holds and refuses a mismatch with Q_ERR_KCV_MISMATCH, storing
 * nothing. DES-family keys are never exportable; AES keys take the record's attribute word. */
QELVOARC_API uint32_t QEFTImportKey(QSessionHandle session, const char *keyName, uint32_t algorithm,
                                    const void *record, uint32_t format);
/* Exports an exportable DES-family key as `parts` (2 or 3) random clear components whose XOR
 * is the key, into a QEftComponentRecord: each component in the first key-length bytes of its
 * slot with its KCV, and the whole key's KCV. A 2-part export leaves component 3 all zero
 * with its KCV (8C A6 4D), so the record imports back as it is with QEFTImportKey.
 * record/length [in,out]: at least 84 bytes. Q_ERR_NOT_EXPORTABLE, Q_ERR_KEY_BLOCKED;
 * Q_ERR_BAD_ALGORITHM for a key of another family. flags: 0. */
QELVOARC_API uint32_t QEFTExportKey(QSessionHandle session, const char *keyName, uint32_t parts,
                                    void *record, uint32_t *length, uint32_t flags);
/* Exports an exportable DES-family key (a zone PIN key, or any other) encrypted in ECB mode
 * under the DES-family key-encryption key kekName of the partition. out/outLength [in,out]:
 * the encrypted key (the key's length), then the classic 3-byte KCV of the clear key.
 * Q_ERR_NOT_EXPORTABLE; Q_ERR_KEK_TOO_WEAK when the KEK is shorter than the key;
 * Q_ERR_BAD_ALGORITHM when either is not DES or 3DES; Q_ERR_KEY_BLOCKED. flags: 0. */
QELVOARC_API uint32_t QEFTExportZPK(QSessionHandle session, const char *kekName,
                                    const char *zpkName, uint8_t *out, uint32_t *outLength,
                                    uint32_t flags);
/* Imports a DES-family key of `algorithm` (1..3) encrypted in ECB mode under the DES-family
 * key-encryption key kekName of the partition. wrapped: the encrypted key (the algorithm's key
 * length), then the classic 3-byte KCV of the clear key, as QEFTExportZPK writes them;
 * wrappedLength: key length + 3. The HSM refuses a KCV that does not match the decrypted key
 * with Q_ERR_KCV_MISMATCH, storing nothing; Q_ERR_KEK_TOO_WEAK when the KEK is shorter than
 * the key. The new key is never exportable. flags: 0. */
QELVOARC_API uint32_t QEFTKeKImport(QSessionHandle session, const char *kekName,
                                    const char *keyName, uint32_t algorithm, const uint8_t *wrapped,
                                    uint32_t wrappedLength, uint32_t flags);
/* Imports a TR-31 key block under a key-block protection key. */
QELVOARC_API uint32_t QEFTImportTR31(QSessionHandle session, const char *kbpkName,
                                     const char *keyName, const char *keyBlock, uint32_t attributes,
                                     uint32_t flags);
/* Exports a key as a TR-31 key block. header: usage (2 characters), mode of use (1),
 * exportability (1). keyBlock [out]: text (QFree). */
QELVOARC_API uint32_t QEFTExportTR31(QSessionHandle session, const char *kbpkName,
                                     const char *keyName, const char *header, char **keyBlock,
                                     uint32_t *keyBlockLength, uint32_t flags);
/* Exports an exportable AES key as `parts` (2 or 3) random clear components whose XOR is the
 * key. record [out]: the key's attribute word, the components in the first key-length bytes
 * of their slots (component 3 all zero for 2 parts) and the whole key's check value in
 * `format` (Q_KCV_FORMAT_*); the components' own check values are computed offline
 * (QEFTGenKCVOffline). Refusals as QEFTExportKey. flags: 0. */
QELVOARC_API uint32_t QEFTExportAESKeyParts(QSessionHandle session, const char *keyName,
                                            uint32_t parts, uint32_t format,
                                            QEftAesComponentRecord *record, uint32_t flags);
#define Q_KCV_OFFLINE_KCV 1u  /* QEFTGenKCVOffline: classic 3-byte check value */
#define Q_KCV_OFFLINE_CMAC 2u /* QEFTGenKCVOffline: CMAC check value */

/* Computes a check value of clear key material without an HSM. format: Q_KCV_OFFLINE_*
 * (not Q_KCV_FORMAT_*). algorithm: DES, 3DES (112/168) or AES, with keyLength the algorithm's
 * key length. reserved: 0. kcv/kcvLength [in,out] (at least 3 bytes). Q_ERR_KCV_RETRY (1052):
 * the entry was well formed but the value could not be computed (the crypto back end failed):
 * ask for the component again. Q_ERR_INVALID_LENGTH, Q_ERR_BAD_ALGORITHM and
 * Q_ERR_INVALID_PARAMETER mean the entry itself is wrong. */
QELVOARC_API uint32_t QEFTGenKCVOffline(uint32_t format, uint32_t algorithm, const uint8_t *key,
                                        uint32_t keyLength, uint32_t reserved, uint8_t *kcv,
                                        uint32_t *kcvLength, uint32_t flags);
/* The check value of a key of the partition. format: Q_KCV_FORMAT_*. kcv/kcvLength [in,out]. */
QELVOARC_API uint32_t QEFTGetKcv(QSessionHandle session, const char *keyName, uint32_t format,
                                 uint8_t *kcv, uint32_t *kcvLength, uint32_t flags);
/* Computes a Visa CVV (also CVC, CSC) with the double-length DES key (3DES 112) keyName.
 * pan: 12 to 19 digits; expirationDate: YYMM; serviceCode: 3 digits; the HSM checks them and
 * refuses with Q_ERR_BAD_PAN, Q_ERR_BAD_EXPIRATION_DATE or Q_ERR_BAD_SERVICE_CODE. Another
 * kind of key gives Q_ERR_BAD_ALGORITHM. cvv [out]: 3 digits and the terminator (4 bytes).
 * flags: 0. */
QELVOARC_API uint32_t QGenerateCVV(QSessionHandle session, const char *keyName, const char *pan,
                                   const char *expirationDate, const char *serviceCode, char *cvv,
                                   uint32_t flags);

#define Q_EMV_VISA 1u
#define Q_EMV_MASTERCARD 2u
#define Q_EMV_ELO 3u
#define Q_EMV_JCB 4u

/* A library-owned block (data: QFree). */
typedef struct QLibBuffer {
    uint8_t *data;
    uint32_t length;
} QLibBuffer;

/* Builds an EMV issuer public key certification request for a card scheme (Q_EMV_*) from the
 * RSA key keyName of the partition, self-signed inside the HSM with that key.
 *
 * Arguments: firstField: 3 bytes, the tracking number (Visa), certificate serial number
 * (MasterCard, JCB) or key id (ELO). typeField: 4 bytes, the Visa service id, the MasterCard
 * or JCB issuer public key file index in its first 3 bytes (the 4th zero), zeros for ELO.
 * bin: 4 bytes, the issuer identification: 3 to 8 BCD digits left-justified, padded with F
 * nibbles (Q_ERR_EMV_BAD_BIN otherwise). expiry: "MMYY", month 01-12 (Q_ERR_EMV_BAD_EXPIRY
 * otherwise). result [out]: the request (data: QFree). hash [out]: 28 bytes, zero-filled past
 * the scheme's hash: 20 bytes for Visa, 28 for MasterCard, none for ELO and JCB. flags: 0.
 *
 * The key must be RSA with exponent 3 or 65537 (Q_ERR_BAD_ALGORITHM otherwise) and of the
 * scheme's length (Q_ERR_EMV_KEY_LENGTH otherwise): 1024 to 1984 bits, 1152 to 1984 for ELO.
 *
 * The certificate data, the input of the hash (N = modulus bytes, E = exponent bytes):
 *   0      1  certificate format, 0x02
 *   1      4  issuer identification (bin)
 *   5      2  expiry MMYY in BCD
 *   7      3  firstField
 *   10     1  hash algorithm indicator, 0x01 (SHA-1)
 *   11     1  public key algorithm indicator, 0x01 (RSA)
 *   12     1  N
 *   13     1  E
 *   14     N  modulus, big-endian
 *   14+N   E  public exponent, big-endian
 * The request, the same layout for every scheme (L = 14 + N + E):
 *   0      1  scheme (Q_EMV_*)
 *   1      1  layout version, 0x01
 *   2      4  typeField
 *   6      2  L, big-endian
 *   8      L  the certificate data
 *   8+L    N  the self-signature: RSASSA-PKCS1-v1_5 with SHA-1 over bytes 0 to 8+L-1
 * The hash: Visa, SHA-1 of the certificate data (20 bytes). MasterCard, 28 bytes: the issuer
 * identification (4), firstField (3), the hash algorithm indicator 0x01 (1), then the SHA-1
 * of the certificate data (20). */
QELVOARC_API uint32_t QGenerateEMV_CSREx(QSessionHandle session, uint32_t scheme,
                                         const char *keyName, const uint8_t *firstField,
                                         const uint8_t *typeField, const uint8_t *bin,
                                         const char *expiry, QLibBuffer *result, uint8_t *hash,
                                         uint32_t flags);

/* ======================================================================================= */
/* SPB (Brazilian payment system)                                                           */
/* ======================================================================================= */

/* Starts encoding a message from sender to receiver (certificate ids). handle [out]. */
QELVOARC_API uint32_t QSPBEncodeInit(QSessionHandle session, const char *senderCert,
                                     const char *receiverCert, uint32_t totalLength, uint32_t flags,
                                     QSPBHandle *handle);
/* Encodes the next part. out/outLength [in,out]. */
QELVOARC_API uint32_t QSPBEncodeCont(QSPBHandle handle, const uint8_t *in, uint32_t inLength,
                                     uint8_t *out, uint32_t *outLength);
/* Finishes and releases the handle. out/outLength [in,out]: the trailer. */
QELVOARC_API uint32_t QSPBEncodeEnd(QSPBHandle handle, uint8_t *out, uint32_t *outLength);
/* Starts decoding a message. handle [out]. */
QELVOARC_API uint32_t QSPBDecodeInit(QSessionHandle session, const char *senderCert,
                                     const char *receiverCert, uint32_t totalLength, uint32_t flags,
                                     QSPBHandle *handle);
/* Decodes the next part. */
QELVOARC_API uint32_t QSPBDecodeCont(QSPBHandle handle, const uint8_t *in, uint32_t inLength,
                                     uint8_t *out, uint32_t *outLength);
/* Finishes decoding, verifies the signature, releases the handle. */
QELVOARC_API uint32_t QSPBDecodeEnd(QSPBHandle handle, uint8_t *out, uint32_t *outLength);
/* Generates an SPB key for an ISPB and domain. keyName [out]: 50 bytes. */
QELVOARC_API uint32_t QSPBGenerateKey(QSessionHandle session, const char *ispb, const char *domain,
                                      uint32_t algorithm, char *keyName, uint32_t flags);
/* Reads an SPB certificate. cert [out]: DER (QFree). */
QELVOARC_API uint32_t QSPBGetCertificate(QSessionHandle session, const char *certId, uint8_t **cert,
                                         uint32_t *certLength, uint32_t flags);
/* Imports an SPB certificate (activate: non-zero to make it current). */
QELVOARC_API uint32_t QSPBImportCertificate(QSessionHandle session, uint32_t activate,
                                            const uint8_t *cert, uint32_t certLength,
                                            const char *domain, uint32_t flags);
/* Imports an SPB key and certificate from a PKCS#12. */
QELVOARC_API uint32_t QSPBImportPKCS12(QSessionHandle session, uint32_t activate,
                                       const uint8_t *pkcs12, uint32_t pkcs12Length,
                                       const char *password, const char *domain, uint32_t flags);
/* Makes an imported certificate the current one of its ISPB. */
QELVOARC_API uint32_t QSPBActivateCertificate(QSessionHandle session, const char *certId,
                                              const char *domain, uint32_t flags);

#pragma pack(push, 1)
typedef struct QSPBMapInfoRecord {
    char currentKey[50];
    char currentCert[50];
    char nextKey[50];
    char nextCert[50];
} QSPBMapInfoRecord;
QELVOARC_STATIC_ASSERT(sizeof(QSPBMapInfoRecord) == 200, "SPB map info");
#pragma pack(pop)

/* info [out]: the keys and certificates of an ISPB. */
QELVOARC_API uint32_t QSPBMapInfo(QSessionHandle session, const char *ispb, const char *domain,
                                  QSPBMapInfoRecord *info, uint32_t flags);
/* The object name an SPB item gets. Local. objectId [out]: 50 bytes. */
QELVOARC_API uint32_t QSPBCalculateObjectId(const char *ispb, const char *domain, uint32_t type,
                                            char *objectId, uint32_t flags);
/* Exports the current key and certificate of an ISPB as PKCS#12. pkcs12 [out]: QFree. */
QELVOARC_API uint32_t QSPBExportPKCS12(QSessionHandle session, const char *password,
                                       const char *ispb, const char *domain, uint8_t **pkcs12,
                                       uint32_t *pkcs12Length, uint32_t flags);

/* ======================================================================================= */
/* M of N and smart cards                                                                   */
/* ======================================================================================= */

#define Q_SVMK_SHADOW_SIZE 63u
#define Q_SVMK_MAX_SHADOWS 16u
#define Q_SVMK_SIZE 48u
#define Q_SC_LABEL_SIZE 33u
#define Q_SC_PIN_LENGTH 8u

/* Operations of QNSAuthSetState. */
#define Q_MOFN_ASSOCIATE 1u
#define Q_MOFN_RESET 2u
#define Q_MOFN_AUTHORIZE 3u
#define Q_MOFN_SESSION_AUTHORIZE 4u
#define Q_MOFN_CHECK 5u

/* M of N state of a partition (QUserAuthRecord.mofnState). */
#define Q_MOFN_STATE_NOT_ENABLED 1u /* the user does not hold Q_ACL_MOFN_LOCAL */
#define Q_MOFN_STATE_INITIAL 2u
#define Q_MOFN_STATE_ASSOCIATED 3u
#define Q_MOFN_STATE_AUTHORIZED 4u

/* M of N permissions (QUserAuthRecord.permissionMask, QNSAuthSetState). */
#define Q_MOFN_PERM_DESTROY 0x01u          /* QRemoveObj */
#define Q_MOFN_PERM_READ 0x02u             /* always granted with the others */
#define Q_MOFN_PERM_EXPORT 0x04u           /* QExportKey, QEFTExportZPK, QEFTExportKey, ... */
#define Q_MOFN_PERM_BLOCK 0x08u            /* blocking or unblocking a key */
#define Q_MOFN_PERM_PARTITION_REMOVE 0x10u /* QRemoveUser of the partition's user */

/* A partition is under M of N when its user holds Q_ACL_MOFN_LOCAL. Its custodians move it
 * with QNSAuthSetState, presenting the shadows of one set (all n cards may be given; at least
 * m are needed). What each state allows the partition's sessions to do under the permissions
 * above (export, destroy, block, partition remove; reading is never restricted):
 *
 *   state               | grants                                | reached by
 *   --------------------+---------------------------------------+------------------------------
 *   Initial             | nothing                               | start; Reset
 *   Associated          | nothing                               | Associate
 *   Authorized          | the mask, to every session            | Authorize
 *   session-authorized  | the mask, to that session only, while | Session Authorize from
 *   (Associated or      | the partition keeps its set; ends     | Associated or Authorized
 *    Authorized)        | with Associate, Authorize or Reset    |
 *                       | in that session, or any Reset         |
 *
 * A refused operation answers Q_ERR_MOFN_NOT_AUTHORIZED. Removing a partition's user is
 * asked by another user's session, so only the state Authorized can allow it. A user without
 * Q_ACL_MOFN_LOCAL is never restricted.
 *
 * QNSAuthSetState transitions (anything else: Q_ERR_MOFN_STATE; shadows of another set than
 * the associated one: Q_ERR_MOFN_WRONG_SET; a user without Q_ACL_MOFN_LOCAL:
 * Q_ERR_MOFN_NOT_ENABLED; a mask on Reset, Session Authorize or Check, or bits above 0x10:
 * Q_ERR_INVALID_PARAMETER):
 *   Q_MOFN_ASSOCIATE          Initial (any set of this HSM), Associated, Authorized -> Associated
 *   Q_MOFN_AUTHORIZE          Associated, Authorized -> Authorized
 *   Q_MOFN_SESSION_AUTHORIZE  Associated, Authorized -> unchanged; the session is authorized
 *   Q_MOFN_RESET              Associated, Authorized -> Initial (no set, mask 0)
 *   Q_MOFN_CHECK              any state -> unchanged, once the shadows prove a good set
 * Associate and Authorize store the mask given, with Q_MOFN_PERM_READ added. */

#pragma pack(push, 1)
/* One smart-card shadow of an SVMK. The HSM makes and checks it; its share data is
 *   7   8 bytes   the set's id, random for each QGenerateSVMK
 *   15  32 bytes  the Shamir share (GF(256)) of the 32-byte SVMK at this position
 *   47  16 bytes  tag binding the whole shadow (head included) to its set, made under a key of
 *                 the HSM's master key
 * version is in the platform's byte order (little-endian); position runs from 1 to n. */
typedef struct QSmartCardShadow {
    uint32_t version;  /* 0: SVMK scheme, 1 or 2 */
    uint8_t position;  /* 4 */
    uint8_t m;         /* 5 */
    uint8_t n;         /* 6 */
    uint8_t share[56]; /* 7: opaque */
} QSmartCardShadow;
QELVOARC_STATIC_ASSERT(sizeof(QSmartCardShadow) == 63, "smart card shadow");

typedef struct QSmartCardInfo {
    uint8_t atr[256];      /* 0 */
    uint32_t atrLength;    /* 256 */
    uint8_t csn[12];       /* 260: three groups of 4 bytes */
    char family[128];      /* 272 */
    char cardName[128];    /* 400 */
    char cardOs[64];       /* 528 */
    uint8_t progVersion;   /* 592 */
    uint8_t chipVersion;   /* 593 */
    uint8_t lock1;         /* 594 */
    uint8_t lock2;         /* 595 */
    uint32_t large;        /* 596: non-zero "Lg" */
    uint32_t profileOe;    /* 600: non-zero "Oe" */
    uint32_t formatted;    /* 604 */
    uint32_t pinLocked;    /* 608 */
    uint32_t pinCounters;  /* 612: non-zero when the counters are present */
    uint32_t reserved;     /* 616 */
    uint8_t pinCounterScr; /* 620 */
    uint8_t pinCounterMm;  /* 621 */
    uint8_t reserved2[2];  /* 622 */
} QSmartCardInfo;
QELVOARC_STATIC_ASSERT(sizeof(QSmartCardInfo) == 624, "smart card info");
#pragma pack(pop)

/* Splits a secret (1 to 256 bytes) into n shares, any m of which recover it (2 <= m <= n
 * <= 16). shares [out]: n shares of shareLength bytes each (the secret's length plus 31),
 * back to back (QFree). Shares are laid out as shadows, with version 0. */
QELVOARC_API uint32_t QMofNSplit(QSessionHandle session, const uint8_t *secret,
                                 uint32_t secretLength, uint8_t m, uint8_t n, uint8_t **shares,
                                 uint32_t *shareLength, uint32_t flags);
/* Recovers a secret from count shares of shareLength bytes. secret [out]: QFree. */
QELVOARC_API uint32_t QMofNRecover(QSessionHandle session, const uint8_t *shares, uint8_t count,
                                   uint32_t shareLength, uint8_t **secret, uint32_t *secretLength,
                                   uint32_t flags);
/* Changes the M of N state of the session's user (operation Q_MOFN_*) with a quorum of
 * shadows; see the table above. permissionMask: Q_MOFN_PERM_* bits for Associate and
 * Authorize, else 0. */
QELVOARC_API uint32_t QNSAuthSetState(QSessionHandle session, uint32_t permissionMask,
                                      uint32_t operation, const QSmartCardShadow *shadows,
                                      uint32_t shadowCount, uint32_t flags);
/* Smart cards. The reader is the directory of QELVOARC_SC_READER, its cards are files that
 * orvena-card(1) makes and inserts, one at a time. Every QSC* call but QSCIsLibLoaded needs
 * QInitialize and works on the inserted card; it answers, in this order of checks:
 * Q_ERR_NO_CARD_READER (no reader configured), Q_ERR_NO_CARD (the reader is empty), Q_ERR_FILE
 * (a damaged card file), Q_ERR_CARD_UNFORMATTED (the card has no PIN yet), then for the PIN:
 * Q_ERR_PIN_ABSENT (NULL or empty), Q_ERR_PIN_LENGTH (not 8 characters),
 * Q_ERR_PIN_CHARACTERS (not all digits), none of which costs a try. A card allows 3 wrong PINs
 * in a row: each answers Q_ERR_CARD_PIN_WRONG and takes a try (QSmartCardInfo.pinCounterScr);
 * the right PIN gives them back. The last wrong PIN, and every call after it, answers
 * Q_ERR_PIN_ABSENT: the card is locked until orvena-card's factory reset. The PIN may be
 * changed once (pinCounterMm), then QSmartCardInfo.pinLocked is set. The shadow is kept
 * encrypted under a key derived from the PIN, so a copy of the card file is useless without
 * it. */

/* Reads the shadow of the inserted card. shadow [out]. Q_ERR_CARD_NO_SHADOW when it holds
 * none. */
QELVOARC_API uint32_t QSCReadShadow(const char *pin, QSmartCardShadow *shadow, uint32_t flags);
/* Writes a shadow to the inserted card. overwrite: 1 to replace a recorded shadow, else
 * Q_ERR_CARD_HAS_SHADOW (1092). */
QELVOARC_API uint32_t QSCWriteShadow(const QSmartCardShadow *shadow, const char *pin,
                                     uint32_t overwrite, uint32_t flags);
/* Changes the card PIN (8 digits each; the new one is checked first). Q_ERR_CARD_PIN_CHANGES,
 * without costing a try, when the card allows no more changes. The shadow stays readable
 * under the new PIN only. */
QELVOARC_API uint32_t QSCChangePIN(const char *currentPin, const char *newPin, uint32_t flags);
/* Erases the card's shadow and label; the PIN and its counters stay. */
QELVOARC_API uint32_t QSCErase(const char *pin, uint32_t flags);
/* info [out]: the inserted card's description; no PIN needed. The PIN fields are 0 on an
 * unformatted card. */
QELVOARC_API uint32_t QSCGetInfo(QSmartCardInfo *info, uint32_t flags);
/* label [out]: Q_SC_LABEL_SIZE bytes, NUL-filled after the label. */
QELVOARC_API uint32_t QSCGetLabel(const char *pin, char *label, uint32_t flags);
/* label: at most 32 characters (else Q_ERR_INVALID_LENGTH). */
QELVOARC_API uint32_t QSCSetLabel(const char *pin, const char *label, uint32_t flags);
/* Non-zero when a smart-card reader is configured: QELVOARC_SC_READER names an existing
 * directory. */
QELVOARC_API uint32_t QSCIsLibLoaded(void);
/* Generates (svmk NULL) or re-splits an SVMK into n shadows, any m of which recover it
 * (2 <= m <= n <= 16). version: 1 or 2. svmk: a blob from QRecoverSVMK (Q_ERR_SVMK_BLOB when
 * it is not this HSM's). shadows [out]: n entries of a Q_SVMK_MAX_SHADOWS array. The SVMK
 * becomes the HSM's current one, whose fingerprint QGetHsmInfo reports. */
QELVOARC_API uint32_t QGenerateSVMK(QSessionHandle session, uint32_t version, const uint8_t *svmk,
                                    uint8_t m, uint8_t n, QSmartCardShadow *shadows,
                                    uint32_t flags);
/* Rebuilds the SVMK from count shadows of one set. svmk [out]: Q_SVMK_SIZE bytes, the SVMK
 * wrapped under the HSM's master key, usable only by that HSM. Refuses, in this order: a
 * damaged or altered shadow, or one another HSM made (Q_ERR_SHADOW_TAMPERED), shadows of
 * different sets (Q_ERR_SHADOWS_MIXED), a position twice (Q_ERR_SHADOW_DUPLICATE), fewer than
 * m (Q_ERR_SHADOWS_TOO_FEW). The same checks guard QNSAuthSetState and QMofNRecover. */
QELVOARC_API uint32_t QRecoverSVMK(QSessionHandle session, const QSmartCardShadow *shadows,
                                   uint8_t count, uint8_t *svmk, uint32_t flags);

/* ======================================================================================= */
/* Safe keeping                                                                             */
/* ======================================================================================= */

#define Q_SKEEP_SHARE_SIZE 65u  /* base62 text of at most 64 characters and its terminator */
#define Q_SKEEP_SECRET_SIZE 66u /* recovered secret buffer */
#define Q_SKEEP_CKS_SIZE 5u     /* 4 digits and the terminator */
#define Q_SKEEP_CKS_MODE_DIGITS 1u
#define Q_SKEEP_AUTH_MOFN 0x1u /* recovered only while the partition is under M of N */
#define Q_SKEEP_AUTH_OATH 0x2u /* recovered only by a session logged in with its OATH OTP */
#define Q_SKEEP_AUTH_X509 0x4u /* recovered only by a session logged in with mutual TLS */

/* Security levels: 1 (64 bits), 2 (96), 3 (112), 4 (128), 5 (160). A secret is that many
 * random bits made by the HSM, kept as an object of type Q_ALG_OBJ_SECRET under the master
 * key; QRemoveObject refuses it (Q_ERR_WRONG_OBJECT_TYPE), QSKeepRemoveSecret removes it.
 *
 * A share is base62 text (0-9, A-Z, a-z) of at most 64 characters, NUL-padded in its slot.
 * Recovery and match need at least the split's M shares of one split, each once:
 *   no shares, or fewer than M: Q_ERR_SKEEP_TOO_FEW_SHARES;
 *   an empty, malformed or repeated share: Q_ERR_SKEEP_BAD_SHARE;
 *   shares of another secret or split, or altered: Q_ERR_SKEEP_SHARES_MISMATCH.
 * The authentication type is checked at recovery (Q_ERR_SKEEP_MOFN_REQUIRED,
 * Q_ERR_SKEEP_OATH_REQUIRED, Q_ERR_SKEEP_X509_REQUIRED); a match only says whether the
 * shares bring the secret back. Every call is a line of the HSM's event log, never a share. */

typedef struct QSKeepShare {
    char text[Q_SKEEP_SHARE_SIZE];
} QSKeepShare;

/* Creates a secret object. level: 1..5 (else Q_ERR_SKEEP_BAD_LEVEL). authType: Q_SKEEP_AUTH_*
 * bits, OATH and X.509 not together (else Q_ERR_SKEEP_BAD_AUTH_TYPE). */
QELVOARC_API uint32_t QSKeepNewSecret(QSessionHandle session, const char *name, uint8_t level,
                                      uint16_t authType, uint32_t flags);
/* info [out]: authentication type (low 16 bits) and security level (high 16 bits). Another
 * kind of object: Q_ERR_WRONG_OBJECT_TYPE. */
QELVOARC_API uint32_t QSKeepProbeSecret(QSessionHandle session, const char *name, uint32_t *info);
/* Splits a secret into n shares, any m of which recover it. level and authType must be the
 * secret's (else Q_ERR_SKEEP_ATTR_MISMATCH); n 2..16 and m 2..n (else Q_ERR_SKEEP_BAD_COUNTS).
 * shares [out]: n entries, written only on success. Each split makes new shares; those of an
 * earlier split stay valid among themselves. */
QELVOARC_API uint32_t QSKeepSplitSecret(QSessionHandle session, const char *name, uint8_t level,
                                        uint16_t authType, uint8_t m, uint8_t n,
                                        QSKeepShare *shares, uint32_t flags);
/* The 4-digit checksum a custodian keeps beside a share. Local. mode: Q_SKEEP_CKS_MODE_DIGITS,
 * the first four bytes of the SHA-256 of the share's text, read big-endian, modulo 10000,
 * written as four decimal digits with leading zeros. checksum [out]: Q_SKEEP_CKS_SIZE bytes.
 * Another mode, or a share that is empty or not base62: Q_ERR_INVALID_PARAMETER. */
QELVOARC_API uint32_t QSKeepCalcShareCks(uint32_t mode, const QSKeepShare *share, char *checksum);
/* Recovers a secret from count shares. secret [out]: Q_SKEEP_SECRET_SIZE bytes, the secret in
 * upper-case hexadecimal text (16 to 40 digits), NUL-terminated and NUL-padded. */
QELVOARC_API uint32_t QSKeepRecoverSecret(QSessionHandle session, const char *name,
                                          const QSKeepShare *shares, uint32_t count,
                                          uint8_t *secret, uint32_t flags);
/* Checks that count shares recover the secret, without revealing it. */
QELVOARC_API uint32_t QSKeepMatchSecret(QSessionHandle session, const char *name,
                                        const QSKeepShare *shares, uint32_t count, uint32_t flags);
/* Removes a secret; level and authType must be the secret's (else Q_ERR_SKEEP_ATTR_MISMATCH). */
QELVOARC_API uint32_t QSKeepRemoveSecret(QSessionHandle session, const char *name, uint8_t level,
                                         uint16_t authType, uint32_t flags);

/* ======================================================================================= */
/* Secure vault                                                                             */
/* ======================================================================================= */

/* Tokenises a secret under a key. checksum: 0 none, 1 CPF, 2 CNPJ, 3 PAN, 4 voter
 * registration. base: 10 or 62. mask: 0 none, 1 mask token, 2 mask secret.
 * token/tokenLength [in,out]. */
QELVOARC_API uint32_t QSVaultGenToken(QSessionHandle session, const char *keyName,
                                      const char *secret, uint8_t checksum, uint8_t base,
                                      uint8_t mask, char *token, uint32_t *tokenLength,
                                      uint32_t flags);
/* Reads back the secret (output 1) or the token (output 2). data/dataLength [in,out]. */
QELVOARC_API uint32_t QSVaultGetData(QSessionHandle session, const char *keyName, const char *token,
                                     uint8_t mask, uint8_t output, char *data, uint32_t *dataLength,
                                     uint32_t flags);

/* ======================================================================================= */
/* Blockchain                                                                               */
/* ======================================================================================= */

#pragma pack(push, 1)
typedef struct QBchainKeyInfo {
    uint8_t keyType;
    uint8_t version;
    uint8_t depth;
    uint32_t parentFingerprint;
    uint32_t childNumber;
    uint8_t chainCode[32];
} QBchainKeyInfo;
QELVOARC_STATIC_ASSERT(sizeof(QBchainKeyInfo) == 43, "blockchain key info");
#pragma pack(pop)

/* Derives a BIP32 child key from a parent extended key. */
QELVOARC_API uint32_t QBchainCreateBip32Ckd(QSessionHandle session, uint32_t version,
                                            uint32_t index, const char *parentName,
                                            const char *childName, uint32_t attributes,
                                            uint32_t flags);
/* Creates an extended private key (BIP32 master). */
QELVOARC_API uint32_t QBchainCreateXPrv(QSessionHandle session, uint32_t version,
                                        const char *keyName, uint32_t attributes, uint32_t flags);
/* The address of a key. address/addressLength [in,out]. */
QELVOARC_API uint32_t QBchainGetAddress(QSessionHandle session, const char *keyName,
                                        uint32_t addressType, const char *hrp, char *address,
                                        uint32_t *addressLength, uint32_t flags);
/* Signs a hash with a key. signature/length [in,out]. */
QELVOARC_API uint32_t QBchainSignHash(QSessionHandle session, const char *keyName,
                                      uint32_t signatureType, const uint8_t *hash,
                                      uint32_t hashLength, uint8_t *signature,
                                      uint32_t *signatureLength, uint32_t flags);
/* The public key of a key in a format. out/outLength [in,out]. */
QELVOARC_API uint32_t QBchainGetPubKey(QSessionHandle session, const char *keyName, uint32_t format,
                                       uint8_t *out, uint32_t *outLength, uint32_t flags);
/* Exports a private key in a format (exportable keys only). out [out]: QFree. */
QELVOARC_API uint32_t QBchainPkExport(QSessionHandle session, const char *keyName, uint32_t format,
                                      uint8_t **out, uint32_t *outLength, uint32_t flags);
/* Imports a private key given in a format. */
QELVOARC_API uint32_t QBchainPkImport(QSessionHandle session, const char *keyName, uint32_t format,
                                      const uint8_t *data, uint32_t dataLength, uint32_t attributes,
                                      uint32_t flags);
/* info [out]: the extended-key fields of a key. */
QELVOARC_API uint32_t QBchainGetKeyInfo(QSessionHandle session, const char *keyName,
                                        QBchainKeyInfo *info, uint32_t flags);
/* Hashes data with a blockchain hash (e.g. double SHA-256). out/outLength [in,out]. */
QELVOARC_API uint32_t QBchainHashData(QSessionHandle session, uint32_t algorithm,
                                      const uint8_t *data, uint32_t dataLength, uint8_t *out,
                                      uint32_t *outLength, uint32_t flags);
/* Recovers the public key from a recoverable signature. publicKey/length [in,out]. */
QELVOARC_API uint32_t QBchainRecoverPbkFromSignature(QSessionHandle session, uint32_t signatureType,
                                                     const uint8_t *hash, uint32_t hashLength,
                                                     const uint8_t *signature,
                                                     uint32_t signatureLength, uint8_t *publicKey,
                                                     uint32_t *publicKeyLength, uint32_t flags);
/* Verifies a signature with a public key. Q_OK when it verifies. */
QELVOARC_API uint32_t QBchainVerify(QSessionHandle session, uint32_t signatureType,
                                    const uint8_t *publicKey, uint32_t publicKeyLength,
                                    const uint8_t *hash, uint32_t hashLength,
                                    const uint8_t *signature, uint32_t signatureLength,
                                    uint32_t flags);
/* Derives the X25519 key of an Ed25519 key. */
QELVOARC_API uint32_t QBchainEd2X(QSessionHandle session, const char *edKeyName,
                                  const char *xKeyName, uint32_t attributes, uint32_t flags);

/* ======================================================================================= */
/* Conversions (local; need no initialisation)                                              */
/* ======================================================================================= */

/* Decodes standard base64 (padding required; whitespace not allowed).
 * text/textLength: the text (textLength excludes any terminator). out [out]: the bytes.
 * outLength [in,out]: capacity in (at least 3 * textLength / 4), bytes decoded out.
 * Q_ERR_INVALID_PARAMETER for malformed text, Q_ERR_BUFFER_TOO_SMALL (needed size out). */
QELVOARC_API uint32_t QBase642ByteArray(const char *text, uint32_t textLength, uint8_t *out,
                                        uint32_t *outLength);
/* Encodes bytes as standard base64 with padding. text [out]: NUL-terminated.
 * textLength [in,out]: capacity in (at least 4 * ceil(length / 3) + 1), characters written
 * (without the terminator) out. Q_ERR_BUFFER_TOO_SMALL (needed size out). */
QELVOARC_API uint32_t QByteArray2Base64(const uint8_t *data, uint32_t length, char *text,
                                        uint32_t *textLength);

/* ======================================================================================= */
/* Status codes                                                                             */
/* ======================================================================================= */

#define Q_OK 0u
#define Q_ERR_INTERNAL 1000u
#define Q_ERR_PIN_ABSENT 1001u /* also: the card is locked (its PIN retry counter is 0) */
#define Q_ERR_INVALID_PARAMETER 1002u
#define Q_ERR_INVALID_HANDLE 1003u
#define Q_ERR_NOT_SUPPORTED 1004u
#define Q_ERR_BUFFER_TOO_SMALL 1005u
#define Q_ERR_NOT_INITIALIZED 1006u
#define Q_ERR_CONNECT 1007u
#define Q_ERR_CONNECTION_LOST 1008u
#define Q_ERR_TLS 1009u
#define Q_ERR_PROTOCOL 1010u
#define Q_ERR_PIN_LENGTH 1011u
#define Q_ERR_AUTH_FAILED 1012u
#define Q_ERR_ACCESS_DENIED 1013u
#define Q_ERR_NOT_AUTHENTICATED 1014u
#define Q_ERR_USER_BLOCKED 1015u
#define Q_ERR_OTP_INVALID 1016u
#define Q_ERR_OTP_REQUIRED 1017u
#define Q_ERR_CERT_REQUIRED 1018u
#define Q_ERR_CERT_MISMATCH 1019u
#define Q_ERR_TOKEN_INVALID 1020u
#define Q_ERR_TOKEN_EXPIRED 1021u
#define Q_ERR_SESSION_LIMIT 1022u
#define Q_ERR_SESSION_EXPIRED 1023u
#define Q_ERR_NOT_FOUND 1024u
#define Q_ERR_ALREADY_EXISTS 1025u
#define Q_ERR_PASSWORD_CHANGE_ONLY 1026u
#define Q_ERR_PLATFORM 1027u
#define Q_ERR_TIMEOUT 1028u
#define Q_ERR_FRAME_TOO_LARGE 1029u
#define Q_ERR_BAD_ALGORITHM 1030u
#define Q_ERR_PASSWORD_POLICY 1031u
#define Q_ERR_INVALID_LENGTH 1032u
#define Q_ERR_BAD_STATE 1033u
#define Q_ERR_FILE 1034u
#define Q_ERR_NOT_FOUND_HSM 1035u
#define Q_ERR_SKEEP_BAD_LEVEL 1040u
#define Q_ERR_SKEEP_BAD_AUTH_TYPE 1041u
#define Q_ERR_SKEEP_BAD_COUNTS 1042u
#define Q_ERR_SKEEP_TOO_FEW_SHARES 1043u
#define Q_ERR_SKEEP_BAD_SHARE 1044u
#define Q_ERR_SKEEP_SHARES_MISMATCH 1045u
#define Q_ERR_SKEEP_MOFN_REQUIRED 1046u
#define Q_ERR_SKEEP_OATH_REQUIRED 1047u
#define Q_ERR_SKEEP_X509_REQUIRED 1048u
#define Q_ERR_SKEEP_ATTR_MISMATCH 1049u
#define Q_ERR_KCV_RETRY 1052u
#define Q_ERR_MOFN_NOT_ENABLED 1060u
#define Q_ERR_MOFN_STATE 1061u
#define Q_ERR_MOFN_NOT_AUTHORIZED 1062u
#define Q_ERR_SHADOWS_TOO_FEW 1063u
#define Q_ERR_SHADOWS_MIXED 1064u
#define Q_ERR_SHADOW_DUPLICATE 1065u
#define Q_ERR_SHADOW_TAMPERED 1066u
#define Q_ERR_MOFN_WRONG_SET 1067u
#define Q_ERR_SVMK_BLOB 1068u
#define Q_ERR_PIN_CHARACTERS 1089u
#define Q_ERR_NO_CARD 1090u /* no card inserted in the reader */
#define Q_ERR_CARD_UNFORMATTED 1091u
#define Q_ERR_CARD_HAS_SHADOW 1092u
#define Q_ERR_CARD_PIN_WRONG 1093u   /* a retry less; the last one answers Q_ERR_PIN_ABSENT */
#define Q_ERR_CARD_PIN_CHANGES 1094u /* the card's PIN is locked against changes */
#define Q_ERR_NO_CARD_READER 1095u   /* QELVOARC_SC_READER unset or not a directory */
#define Q_ERR_CARD_NO_SHADOW 1096u
#define Q_ERR_KCV_MISMATCH 1100u
#define Q_ERR_NOT_EXPORTABLE 1101u
#define Q_ERR_WRONG_OBJECT_TYPE 1102u
#define Q_ERR_KEY_BLOCKED 1103u
#define Q_ERR_BAD_CERTIFICATE 1104u /* QImportKey: not an X.509 certificate */
/* QIPFilterOperation would keep out the caller's own address; a login the filter refuses;
 * QHSMTool: a target that is no host name or address, a tool the HSM cannot run. */
#define Q_ERR_IPF_LOCKOUT 1125u
#define Q_ERR_IPF_REFUSED 1126u
#define Q_ERR_TOOL_TARGET 1127u
#define Q_ERR_TOOL_UNAVAILABLE 1128u
#define Q_ERR_BAD_CERTIFICATE 1104u       /* QImportKey: not an X.509 certificate */
#define Q_ERR_REPL_NODE_UNREACHABLE 1110u /* a node did not answer within the pulse interval */
#define Q_ERR_REPL_CONFLICT 1111u         /* lost to a concurrent change on another node */
#define Q_ERR_REPL_FOREIGN_NODE 1112u     /* the node holds another master key */
#define Q_ERR_REPL_NODE_TEST_FAILED 1113u
#define Q_ERR_REPL_NODE_LIST_FULL 1114u
#define Q_ERR_REPL_NODE_UNKNOWN 1115u
#define Q_ERR_REPL_NODE_EXISTS 1116u
#define Q_ERR_REPL_OUT_OF_SYNC 1117u
#define Q_ERR_REPL_UNCONFIRMED 1118u /* made here, not confirmed by every node: no retry */
#define Q_ERR_REPL_NOT_HERE 1119u    /* made on the other nodes, comes here: no retry */
#define Q_ERR_UPACK_MALFORMED 1130u
#define Q_ERR_UPACK_BAD_SIGNATURE 1131u
#define Q_ERR_UPACK_UNKNOWN_SIGNER 1132u
#define Q_ERR_UPACK_ROLLBACK 1133u
#define Q_ERR_BLOB_FOREIGN_HSM 1134u
#define Q_ERR_BLOB_DAMAGED 1135u
#define Q_ERR_STORAGE_FULL 1140u /* the HSM's disk is full; the operation changed nothing */
#define Q_ERR_RESTART_REQUIRED                                                                 \
    1150u                              /* a restore finished: only liveness, login, logout and \
                                        * information are served until the HSM restarts */
#define Q_ERR_BACKUP_PASSWORD 1151u    /* QBackupData restore: wrong password */
#define Q_ERR_BACKUP_DAMAGED 1152u     /* QBackupData restore: truncated or altered file */
#define Q_ERR_BACKUP_VERSION 1153u     /* QBackupData restore: a newer format than the HSM's */
#define Q_ERR_NOT_A_BACKUP 1154u       /* QBackupData restore: not a backup file */
#define Q_ERR_NOT_EFTD_PARTITION 1155u /* Q_ADM_EFTD_AUTHORIZE/DEAUTHORIZE by another user */
/* QGenerateCVV refuses the card data; QEFTExportZPK and QEFTKeKImport a short KEK. */
#define Q_ERR_BAD_PAN 1170u
#define Q_ERR_BAD_EXPIRATION_DATE 1171u
#define Q_ERR_BAD_SERVICE_CODE 1172u
#define Q_ERR_KEK_TOO_WEAK 1173u
/* QGenerateEMV_CSREx refuses the key's length for the scheme, the BIN or the expiry. */
#define Q_ERR_EMV_KEY_LENGTH 1174u
#define Q_ERR_EMV_BAD_BIN 1175u
#define Q_ERR_EMV_BAD_EXPIRY 1176u
/* QOSBindHSM and QOSUnbindHSM. */
#define Q_ERR_NO_CLOUD_CERT 1177u    /* the HSM trusts no cloud certificate */
#define Q_ERR_BIND_KEY_INVALID 1178u /* malformed, or not signed by the trusted certificate */
#define Q_ERR_BIND_KEY_FOREIGN 1179u /* made for another HSM id */
#define Q_ERR_ALREADY_BOUND 1180u
#define Q_ERR_NOT_BOUND 1181u
/* M of N authorization over the network while the policy lacks Q_POLICY_AUTHORIZED_ONLINE. */
#define Q_ERR_AUTHORIZED_STATE_OFFLINE 1182u
#define Q_ERR_NO_MEMORY 2002u
#define Q_ERR_PASSWORD_EXPIRED 5178u

#ifdef __cplusplus
}
#endif

#endif /* QELVOARC_H */
