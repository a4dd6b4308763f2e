#include "upack.h"

namespace wire {

namespace {

constexpr std::string_view kMagic = "QUPK";
constexpr uint8_t kFormat = 1;
constexpr uint8_t kEd25519 = 1;
// magic, format, algorithm, four version parts, description length, signer.
constexpr size_t kFixedBytes = 4 + 1 + 1 + 8 + 1 + kUpackSignerBytes;

uint16_t Read16(std::string_view bytes, size_t at) {
    return static_cast<uint16_t>(static_cast<uint8_t>(bytes[at]) << 8 |
                                 static_cast<uint8_t>(bytes[at + 1]));
}

}  // namespace

std::optional<UpackContents> ParseUpack(std::string_view package) {
    if (package.size() < kFixedBytes + 1 + kUpackSignatureBytes ||
        package.substr(0, kMagic.size()) != kMagic || static_cast<uint8_t>(package[4]) != kFormat ||
        static_cast<uint8_t>(package[5]) != kEd25519)
        return std::nullopt;
    const size_t descriptionBytes = static_cast<uint8_t>(package[14]);
    if (descriptionBytes == 0 ||
        package.size() != kFixedBytes + descriptionBytes + kUpackSignatureBytes)
        return std::nullopt;
    UpackContents contents;
    for (size_t i = 0; i < 4; ++i)
        contents.version[i] = Read16(package, 6 + 2 * i);
    contents.signer = std::string(package.substr(15, kUpackSignerBytes));
    contents.description = std::string(package.substr(kFixedBytes, descriptionBytes));
    contents.signedPart = package.substr(0, kFixedBytes + descriptionBytes);
    contents.signature = package.substr(kFixedBytes + descriptionBytes);
    return contents;
}

std::string UpackSignedPart(const FirmwareVersion &version, std::string_view description,
                            std::string_view signer) {
    std::string out(kMagic);
    out.push_back(static_cast<char>(kFormat));
    out.push_back(static_cast<char>(kEd25519));
    for (uint16_t part : version) {
        out.push_back(static_cast<char>(part >> 8));
        out.push_back(static_cast<char>(part & 0xFF));
    }
    out.push_back(static_cast<char>(description.size()));
    out.append(signer);
    out.append(description);
    return out;
}

std::optional<FirmwareVersion> ParseFirmwareVersion(std::string_view text) {
    FirmwareVersion version{};
    size_t part = 0;
    size_t digits = 0;
    for (char c : text) {
        if (c >= '0' && c <= '9' && digits < 3) {
            version[part] = static_cast<uint16_t>(version[part] * 10 + (c - '0'));
            ++digits;
        } else if (c == '.' && digits > 0 && part < 3) {
            ++part;
            digits = 0;
        } else {
            return std::nullopt;
        }
    }
    if (part != 3 || digits == 0) return std::nullopt;
    return version;
}

std::string FormatFirmwareVersion(const FirmwareVersion &version) {
    return std::to_string(version[0]) + "." + std::to_string(version[1]) + "." +
           std::to_string(version[2]) + "." + std::to_string(version[3]);
}

}  // namespace wire
