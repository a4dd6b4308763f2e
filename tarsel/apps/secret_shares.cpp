// "Split", "Recover" and "Match" of the safe-keeping menu: shares handed out and taken back
// one custodian per screen, each with the checksum the library computes.
#include <cstring>
#include <vector>

#include "apps/ceremony_steps.h"
#include "apps/safe_keeping.h"
#include "apps/secret_lookup.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "device/secret.h"

namespace {

constexpr int32_t kMinShares = 2;
constexpr int32_t kMaxShares = 16;
constexpr int kChecksumTries = 3;
constexpr size_t kChecksumDigits = Q_SKEEP_CKS_SIZE - 1;

using ShareSet = Secret<QSKeepShare[kMaxShares]>;

// A share count between 2 and 16; a cancelled prompt says so, a refused one has already.
uint32_t AskShareCount(const char *prompt, int32_t *count) {
    uint32_t status = ReadIntInRange(prompt, count, kMinShares, kMaxShares, false);
    if (status == kPromptCancelled) PrintCancelled();
    return status;
}

void PrintWarningBox(const char *const *lines) {
    PrintBoxedBanner('*', lines);
    OutPrintf("\n\n");
}

// Custodian `number` first sees a cover screen, and the share only after ENTER.
uint32_t ShowShare(const MenuItem &item, const char *name, int number, const QSKeepShare &share) {
    PrintActionHeading(item);
    PrintSecretNameLine(name);
    OutPrintf("\n%s %d %s\n\n", "Share", number, "successfully split.");
    OutPrintf("\n%s\n\n", "This share will be shown on the next screen.");
    OutPrintf("\n\n");
    WaitForEnter();
    Secret<char[Q_SKEEP_CKS_SIZE]> checksum;
    if (uint32_t status = QSKeepCalcShareCks(Q_SKEEP_CKS_MODE_DIGITS, &share, checksum.value);
        status != 0) {
        PrintError("Error generating secret's cks.", status);
        return status;
    }
    PrintActionHeading(item);
    PrintSecretNameLine(name);
    OutPrintf("%s %d:\n\n", "Share", number);
    OutPrintf("%s", share.text);
    OutPrintf("\n\n%s:\n\n", "Checksum");
    OutPrintf("%s\n\n", checksum.value);
    WaitForEnter();
    return 0;
}

void PrintShareAccepted(int number) {
    OutPrintf("\n\n%s %d %s.\n", "Share", number, "entered ok");
}

// One custodian's share, checked against the checksum when one is typed. Three wrong
// checksums give an empty share and status 0: the collection goes on and the HSM refuses it.
uint32_t EnterSecretShare(const MenuItem &item, const char *name, int number, QSKeepShare *share) {
    PrintActionHeading(item);
    PrintSecretNameLine(name);
    for (int attempt = 0; attempt < kChecksumTries; ++attempt) {
        std::memset(share->text, 0, sizeof share->text);
        OutPrintf("%s %d (%s) :\n\n", "Share", number, "base62 characters");
        if (ReadLine("", share->text, sizeof share->text - 1) != kPromptOk) {
            PrintCancelled();
            return kPromptCancelled;
        }
        OutPrintf("\n%s (%d %s) (%s) :\n\n", "Checksum", static_cast<int>(kChecksumDigits),
                  "numbers", "Optional, press ENTER to skip checksum");
        char typed[Q_SKEEP_CKS_SIZE] = {};
        if (ReadLine("", typed, kChecksumDigits) != kPromptOk) {
            PrintShareAccepted(number);
            return 0;
        }
        char computed[Q_SKEEP_CKS_SIZE] = {};
        if (uint32_t status = QSKeepCalcShareCks(Q_SKEEP_CKS_MODE_DIGITS, share, computed);
            status != 0) {
            WipeSecret(share, sizeof *share);
            PrintError("Error generating secret's cks.", status);
            return status;
        }
        if (std::strcmp(computed, typed) == 0) {
            PrintShareAccepted(number);
            return 0;
        }
        ErrPrintf("\n%s\n\n\n", "Secret and Checksum doesn't match. Please try again...");
    }
    WipeSecret(share, sizeof *share);
    return 0;
}

// What the custodians brought back: the secret's name and M shares.
struct CollectedShares {
    char name[kSecretNameSize] = {};
    ShareSet shares;
    int32_t count = 0;
};

// The secret's name and M shares, one custodian per screen. On any failure no share is kept.
uint32_t CollectSecretShares(QSessionHandle session, const MenuItem &item,
                             CollectedShares *collected) {
    SecretInfo info;
    if (uint32_t status = OpenSecretAction(session, item, collected->name, &info); status != 0)
        return status;
    if (uint32_t status = AskShareCount("Quorum to recover the secret (M) : ", &collected->count);
        status != 0)
        return status;
    PrintActionHeading(item);
    const char *const warning[] = {"Warning",
                                   "\n",
                                   "This import procedure will receive N shares of the secret and",
                                   "the checksums. It is strongly recommended that each custodian",
                                   "enter the respective share and checksum separately and",
                                   "isolated of the others.",
                                   "The screen will reset after each share in order to not show",
                                   "the entered material to the next custodian.",
                                   ""};
    PrintWarningBox(warning);
    WaitForEnter();
    QSKeepShare *const shares = collected->shares.value;
    for (int32_t i = 0; i < collected->count; ++i) {
        NextCustodian(session, false);
        if (uint32_t status = EnterSecretShare(item, collected->name, i + 1, &shares[i]);
            status != 0) {
            WipeSecret(shares, sizeof collected->shares.value);
            return status;
        }
        WaitForEnter();
    }
    return 0;
}

}  // namespace

int32_t SplitSecret(QSessionHandle session, const MenuItem &item) {
    char name[kSecretNameSize] = {};
    SecretInfo info;
    if (uint32_t status = OpenSecretAction(session, item, name, &info); status != 0)
        return static_cast<int32_t>(status);
    int32_t n = 0;
    int32_t m = 0;
    if (uint32_t status = AskShareCount("Total number of parts (N) : ", &n); status != 0)
        return static_cast<int32_t>(status);
    if (uint32_t status = AskShareCount("Quorum to recover the secret (M) : ", &m); status != 0)
        return static_cast<int32_t>(status);
    ShareSet shares;
    uint32_t status =
        QSKeepSplitSecret(session, name, static_cast<uint8_t>(info.level), info.authType,
                          static_cast<uint8_t>(m), static_cast<uint8_t>(n), shares.value, 0);
    if (status != 0) {
        PrintError("Error splitting secret.", status);
        return static_cast<int32_t>(status);
    }
    // "N" stays a letter here: the box is the same for every count.
    const char *const warning[] = {
        "Warning",
        "\n",
        "This split procedure will generate N shares of the secret and it's",
        "corresponding checksums (not actually N shares of the clear text secret).",
        "It is strongly recommended to designate N different custodians",
        "to hold the secret shares and allow each custodian know only",
        "the proper share.",
        ""};
    PrintWarningBox(warning);
    WaitForEnter();
    for (int32_t i = 0; i < n; ++i)
        if ((status = ShowShare(item, name, i + 1, shares.value[i])) != 0)
            return static_cast<int32_t>(status);
    return 0;
}

int32_t RecoverSecret(QSessionHandle session, const MenuItem &item) {
    CollectedShares collected;
    if (uint32_t status = CollectSecretShares(session, item, &collected); status != 0)
        return static_cast<int32_t>(status);
    Secret<uint8_t[Q_SKEEP_SECRET_SIZE]> secret;
    uint32_t status = QSKeepRecoverSecret(session, collected.name, collected.shares.value,
                                          static_cast<uint32_t>(collected.count), secret.value, 0);
    if (status != 0) {
        PrintError("Error recovering secret.", status);
        return static_cast<int32_t>(status);
    }
    ErrPrintf("\n%s\n\n", "Secret recovered successfully.");
    PrintActionHeading(item);
    OutPrintf("\n");
    const char *const warning[] = {"Warning", "\n", "The secret will be shown in the next screen.",
                                   ""};
    PrintWarningBox(warning);
    WaitForEnter();
    PrintActionHeading(item);
    OutPrintf("\n%s\n", reinterpret_cast<const char *>(secret.value));
    return 0;
}

int32_t MatchSecret(QSessionHandle session, const MenuItem &item) {
    CollectedShares collected;
    if (uint32_t status = CollectSecretShares(session, item, &collected); status != 0)
        return static_cast<int32_t>(status);
    uint32_t status = QSKeepMatchSecret(session, collected.name, collected.shares.value,
                                        static_cast<uint32_t>(collected.count), 0);
    if (status != 0) {
        PrintError("Error match secret.", status);
        return static_cast<int32_t>(status);
    }
    PrintActionHeading(item);
    ErrPrintf("\n%s\n\n", "Secret matched successfully.");
    return 0;
}
