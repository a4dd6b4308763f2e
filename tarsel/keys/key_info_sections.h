#pragma once
// Sections of the key information screen ("Attributes") that depend on the kind of object.
// Each prints its lines in the screen's 35-column label field and returns 0, or reports a
// failed library call as "Error accessing key." and returns its code.

#include <cstdint>
#include <string>

#include "console/terminal.h"
#include "qelvoarc.h"

// One line of the screen: the label right-aligned in 35 columns, then the value; with
// `blankAfter` an empty line follows.
inline void PrintInfoLine(const char *label, const std::string &value, bool blankAfter = false) {
    OutPrintf(blankAfter ? "%35s%s\n\n" : "%35s%s\n", label, value.c_str());
}

// Map objects point at keys; they are not keys themselves.
inline bool IsMapObject(uint32_t algorithm) {
    return algorithm == Q_ALG_OBJ_MAP || algorithm == Q_ALG_OBJ_PKCS11_MAP;
}

// Keys and certificates are what a PKCS#11 map can point at.
inline bool CanBeMapTarget(uint32_t algorithm) {
    return !IsMapObject(algorithm) && algorithm != Q_ALG_OBJ_SECRET;
}

// The general attributes of the key `name`, then those of its kind, as "Attributes" shows
// them. A key that cannot be opened is reported as "Error accessing key.".
uint32_t ShowKeyAttributes(QSessionHandle session, const char *name);

// The attributes of the PKCS#11 map `mapName` ("Target : " ... "CKA_KEY_GEN_MECHANISM : ").
uint32_t ShowPkcs11MapSection(QSessionHandle session, const char *mapName);

// For a key or certificate that a PKCS#11 map points at: the map's name and its section;
// nothing when no map points at it.
uint32_t ShowMapOfObject(QSessionHandle session, QKeyHandle key);

// The two slots of a map object in the older form, after "OLD MAP!".
uint32_t ShowMapSlotsSection(QKeyHandle map);

// Subject, issuer, serial number and validity of a certificate object.
uint32_t ShowCertificateSection(QKeyHandle certificate);
