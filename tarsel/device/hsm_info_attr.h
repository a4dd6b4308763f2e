#pragma once
// Reading one attribute of the HSM's PKCS#11 information.

#include <cstdint>

#include "qelvoarc.h"

// Opens the information of `session`, reads `attribute` into buffer (length: capacity in,
// bytes written out) and releases the information again. Returns the first failing code,
// or 0.
uint32_t GetHsmInfoAttr(QSessionHandle session, uint32_t attribute, void *buffer, uint32_t *length);
