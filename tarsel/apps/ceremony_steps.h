#pragma once
// Steps the EFT key dialogues share: the key family, the pause between custodians and the
// report of a key the HSM took in.

#include <cstdint>

#include "keys/key_generation.h"
#include "qelvoarc.h"

inline constexpr int32_t kFamilyDes = 0;
inline constexpr int32_t kFamilyTripleDes = 1;
inline constexpr int32_t kFamilyAes = 2;
inline constexpr uint32_t kCancelledChoice = 5;

// Offers "DES", "3DES" and, when `withAes`, "AES" under the title "Option". False when no
// family was chosen.
bool ChooseKeyFamily(bool withAes, int32_t *family);

// Between custodians: a pause, then a keep-alive, since a ceremony can outlast the session's
// idle time.
void NextCustodian(QSessionHandle session, bool pause = true);

// Reports the status of an import of `name`; on success describes the new key. The key
// opened for the summary stays open. Returns `status`.
uint32_t ReportImportedKey(QSessionHandle session, const char *name, uint32_t status);
