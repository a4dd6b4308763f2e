#include "app/password_verifier.h"

#include <cstring>

#include "device/library_handles.h"
#include "device/secret.h"

uint32_t ComputePasswordVerifier(QSessionHandle session, const char *password,
                                 const uint8_t salt[kVerifierSize],
                                 uint8_t verifier[kVerifierSize]) {
    constexpr size_t kPasswordBytes = 16;
    Secret<uint8_t[kPasswordBytes + kVerifierSize + 1]> input;
    memcpy(input.value, password, strnlen(password, kPasswordBytes));
    memcpy(input.value + kPasswordBytes, salt, kVerifierSize);
    const uint32_t inputLength = uint32_t(strlen(reinterpret_cast<const char *>(input.value)) + 1);

    OwnedHash hash;
    uint32_t rc = QCreateHash(session, Q_HASH_SHA512, 0, 0, hash.Out());
    if (rc == Q_OK) rc = QHashData(hash.Get(), input.value, inputLength, 0);
    uint32_t digestSize = 0;
    uint32_t sizeLength = sizeof digestSize;
    if (rc == Q_OK) {
        rc = QGetHashParam(hash.Get(), Q_HASH_PARAM_SIZE, reinterpret_cast<uint8_t *>(&digestSize),
                           &sizeLength, 0);
    }
    if (rc != Q_OK) return rc;

    LibraryMemory<uint8_t> digest(static_cast<uint8_t *>(QAlloc(digestSize)));
    if (!digest) return Q_ERR_NO_MEMORY;
    rc = QGetHashParam(hash.Get(), Q_HASH_PARAM_VALUE, digest.Get(), &digestSize, 0);
    if (rc != Q_OK) return rc;
    memset(verifier, 0, kVerifierSize);
    memcpy(verifier, digest.Get(), digestSize < kVerifierSize ? digestSize : kVerifierSize);
    return Q_OK;
}
