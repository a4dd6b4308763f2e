#include "admin/second_factor.h"

#include <climits>
#include <cstring>

#include "admin/user_dialogs.h"
#include "console/prompts.h"
#include "console/terminal.h"

namespace {

// Room for the longest seed the record holds (128 bytes as hexadecimal) and a few more
// characters, so that an overlong entry is counted rather than cut.
constexpr size_t kSeedTextBuffer = 2 * sizeof(QOathTokenRecord{}.seed) + 8;
constexpr uint8_t kOathRecordMarker = 1;
constexpr uint8_t kOathFieldWidth = 16;

// Reads an integer over the whole signed 32-bit range; ENTER keeps `fallback`.
int32_t ReadIntOr(const char *prompt, int32_t fallback) {
    int32_t value = fallback;
    if (ReadIntInRange(prompt, &value, INT32_MIN, INT32_MAX, false) != kPromptOk) value = fallback;
    return value;
}

}  // namespace

bool ReadOathSeed(bool timeBased, QOathTokenRecord *record) {
    OutPrintf("%s\n", timeBased ? "Enter OATH TOTP Seed (hexadecimal characters) "
                                : "Enter OATH HOTP Seed (hexadecimal characters) ");
    const int32_t enteredLength = ReadIntOr("Seed Length (characters) [40]:", kOathSeedChars);

    Secret<char[kSeedTextBuffer]> text;
    OutPrintf("%s", "Seed Data : ");
    CurrentTerminal().FlushOut();
    ReadHexMasked(text.value, sizeof text.value);
    const size_t typed = strlen(text.value);
    if (typed != kOathSeedChars) {
        ErrPrintf("\nError! the Seed Data informed has %u characters, %d are expected.\n",
                  unsigned(typed), int(kOathSeedChars));
        return false;
    }
    std::vector<uint8_t> seed;
    if (!HexToBytes(text.value, &seed)) return false;
    record->one = kOathRecordMarker;
    record->seedLength = static_cast<uint8_t>(enteredLength);
    memcpy(record->seed, seed.data(), seed.size());
    record->digits = kOathFieldWidth;
    WipeSecret(seed.data(), seed.size());
    return true;
}

bool ReadOathToken(QSessionHandle session, uint32_t tokenType, QOathTokenRecord *record,
                   uint32_t *length) {
    // The HSM expects this operation before a seed is entered; its answer carries nothing.
    (void)QAdmOperation(session, Q_ADM_LIVENESS, nullptr, 0, Q_ADM_LIVENESS_FLAGS);
    const bool timeBased = tokenType == Q_TOKEN_OATH_TIME;
    if (!ReadOathSeed(timeBased, record)) return false;
    *length = Q_OATH_HOTP_RECORD_SIZE;
    if (timeBased) {
        record->initialTime = static_cast<uint64_t>(ReadIntOr("Initial Time (seconds) [0]: ", 0));
        record->timeStep = static_cast<uint16_t>(ReadIntOr("Time Step (seconds) [30]: ", 30));
        *length = Q_OATH_TOTP_RECORD_SIZE;
    }
    return true;
}

bool ChooseSecondFactor(QSessionHandle session, SecondFactor *factor) {
    OutPrintf("%s:\n", "Type");
    OutPrintf(" 1 - %s\n 2 - %s\n 3 - %s\n", "OATH OTP Event", "OATH OTP Time", "X.509");
    int32_t choice = 0;
    if (!ReadOption(1, 3, &choice)) return false;
    if (choice == 3) {
        factor->kind = SecondFactorKind::kX509;
        return ReadFilePrompt("X.509 input file (local) : ", &factor->certificate) == kPromptOk;
    }
    factor->kind = choice == 1 ? SecondFactorKind::kOathEvent : SecondFactorKind::kOathTime;
    const uint32_t tokenType = choice == 1 ? Q_TOKEN_OATH_EVENT : Q_TOKEN_OATH_TIME;
    if (!ReadOathToken(session, tokenType, &factor->oath.value, &factor->oathLength)) {
        PrintCancelled();
        return false;
    }
    return true;
}

uint32_t AssignSecondFactor(QSessionHandle session, const char *userId, const SecondFactor &factor,
                            const char *oathFailure) {
    if (factor.kind == SecondFactorKind::kX509) {
        QUserCertRecord record{};
        strncpy(record.userId, userId, sizeof record.userId - 1);
        record.operation = Q_CERT_OP_ASSIGN;
        record.certificate = factor.certificate.data();
        record.certificateLength = static_cast<uint32_t>(factor.certificate.size());
        const uint32_t rc = QSetUserParam(session, Q_USER_PARAM_CERT, &record, sizeof record, 0);
        if (rc != Q_OK) PrintError("Error assigning X.509 certificate to user.", rc);
        return rc;
    }
    const uint32_t tokenType =
        factor.kind == SecondFactorKind::kOathEvent ? Q_TOKEN_OATH_EVENT : Q_TOKEN_OATH_TIME;
    const uint32_t rc =
        QAssignToken(session, userId, tokenType, &factor.oath.value, factor.oathLength);
    if (rc != Q_OK) PrintError(oathFailure, rc);
    return rc;
}
