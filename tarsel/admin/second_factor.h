#pragma once
// A user's second factor as chosen at creation or set up later: an OATH token from a
// typed seed, or an X.509 certificate from a local file.

#include <cstdint>
#include <vector>

#include "device/secret.h"
#include "qelvoarc.h"

enum class SecondFactorKind { kOathEvent, kOathTime, kX509 };

// Owns the seed (wiped on destruction) or the certificate bytes.
struct SecondFactor {
    SecondFactorKind kind = SecondFactorKind::kOathEvent;
    Secret<QOathTokenRecord> oath;
    uint32_t oathLength = 0;
    std::vector<uint8_t> certificate;
};

// Seeds are typed as exactly this many hexadecimal characters.
inline constexpr uint32_t kOathSeedChars = 40;

// Reads the seed of an OATH token into `record`: the entered length into byte 1, the seed
// bytes from exactly 40 hexadecimal characters. Returns false after printing why not.
bool ReadOathSeed(bool timeBased, QOathTokenRecord *record);

// Fills an OATH token record of `tokenType` (Q_TOKEN_OATH_EVENT or _TIME): the seed, and
// for a time token its initial time and step. *length gets the record's size to send.
// Returns false when the seed was refused.
bool ReadOathToken(QSessionHandle session, uint32_t tokenType, QOathTokenRecord *record,
                   uint32_t *length);

// Offers "OATH OTP Event", "OATH OTP Time" and "X.509" and reads the chosen factor.
// Returns false when the dialogue ended without one (its reason already printed).
bool ChooseSecondFactor(QSessionHandle session, SecondFactor *factor);

// Gives `userId` the factor. A failure is reported with `oathFailure` for a token or
// "Error assigning X.509 certificate to user." for a certificate. Returns 0 or the code.
uint32_t AssignSecondFactor(QSessionHandle session, const char *userId, const SecondFactor &factor,
                            const char *oathFailure);
