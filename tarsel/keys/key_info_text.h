#pragma once
// Texts of the key information screen that do not depend on the HSM.

#include <cstddef>
#include <cstdint>
#include <string>

// "%02X" per byte.
std::string HexText(const uint8_t *data, size_t length);

// A fixed-size text field of a library record, which is not terminated when full.
std::string FieldText(const char *field, size_t size);

// A certificate's validity bound in UTC as "%Y-%b-%d %X UTC %z" ("2026-Nov-22 23:05:00 UTC
// +0000"). Month and time are the C locale's.
std::string CertificateDate(uint64_t secondsSince1970);
