#pragma once
// One custodian's screen of a key component ceremony, and the check of a typed component
// against its typed check value before anything is sent to the HSM.

#include <cstddef>
#include <cstdint>

#include "console/menu.h"

// Computes the component's check value in the library (`format`: Q_KCV_OFFLINE_*) and
// compares its first `kcvLength` bytes with `kcv`. *status receives the library's status.
bool CheckComponentKcv(uint32_t algorithm, uint32_t format, const uint8_t *component,
                       const uint8_t *kcv, size_t kcvLength, uint32_t *status);

// Clears the screen and takes part `part` of a DES (1), 3DES (2, 3) or AES (7, 8, 9) key and
// its check value (`kcvLength` bytes). A mismatch is shown and, only while the library asks
// for it (Q_ERR_KCV_RETRY) and fewer than three attempts were made, asked again; otherwise
// the ceremony goes on and the HSM decides on the whole key. Returns 1 when the custodian
// cancelled or the algorithm is not one of those, 0 otherwise.
uint32_t EnterKeyComponent(const MenuItem &item, int part, uint32_t algorithm, uint8_t *component,
                           uint8_t *kcv, size_t kcvLength, const char *keyName, bool exportable,
                           bool cmac);

// Clears the screen and takes the 3-byte check value of the whole key. Returns 1 when
// cancelled.
uint32_t EnterFinalCheckValue(const MenuItem &item, uint8_t *kcv, size_t kcvLength,
                              const char *keyName, bool exportable);
