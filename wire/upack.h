#pragma once
// Firmware update packages, read the same way by the device library (to describe one
// locally) and by the HSM (to check one before it is accepted). The layout is written down
// in qelvoarc.h, beside QUPackInfo.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace wire {

inline constexpr size_t kUpackSignerBytes = 32;     // SHA-256 of the signer's public key
inline constexpr size_t kUpackSignatureBytes = 64;  // Ed25519
inline constexpr size_t kUpackMaxDescription = 255;

// A.B.C.D, compared part by part.
using FirmwareVersion = std::array<uint16_t, 4>;

struct UpackContents {
    FirmwareVersion version{};
    std::string description;
    std::string signer;           // kUpackSignerBytes
    std::string_view signedPart;  // the bytes the signature covers, inside the package
    std::string_view signature;   // kUpackSignatureBytes, inside the package
};

// The parts of a package; nullopt when the bytes are not one (wrong magic or format, sizes
// that do not add up, an empty description). The signature is not checked here.
std::optional<UpackContents> ParseUpack(std::string_view package);

// The bytes a signer signs; the package is these followed by the signature.
// REQUIRES: 1 to kUpackMaxDescription bytes of description, kUpackSignerBytes of signer.
std::string UpackSignedPart(const FirmwareVersion &version, std::string_view description,
                            std::string_view signer);

// "A.B.C.D" with each part of 1 to 3 digits; nullopt otherwise.
std::optional<FirmwareVersion> ParseFirmwareVersion(std::string_view text);
std::string FormatFirmwareVersion(const FirmwareVersion &version);

}  // namespace wire
