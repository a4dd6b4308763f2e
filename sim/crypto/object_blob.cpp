#include "crypto/object_blob.h"

namespace sim {

namespace {

constexpr std::string_view kMagic = "QOBK";
constexpr char kFormat = 1;
constexpr size_t kKeyIdBytes = 16;
// The magic, the format and the key id, authenticated with the sealed part.
constexpr size_t kHeaderBytes = 4 + 1 + kKeyIdBytes;

}  // namespace

std::string SealObjectBlob(const MasterKey &masterKey, std::string_view plain) {
    std::string blob(kMagic);
    blob.push_back(kFormat);
    blob.append(masterKey.Id());
    blob.append(masterKey.Seal(plain, blob));
    return blob;
}

Result OpenObjectBlob(const MasterKey &masterKey, std::string_view blob, SecretBytes *plain) {
    if (blob.size() <= kHeaderBytes || blob.substr(0, kMagic.size()) != kMagic ||
        blob[kMagic.size()] != kFormat)
        return Result::kBlobDamaged;
    if (blob.substr(kMagic.size() + 1, kKeyIdBytes) != masterKey.Id())
        return Result::kBlobForeignHsm;
    std::optional<SecretBytes> opened =
        masterKey.Open(blob.substr(kHeaderBytes), blob.substr(0, kHeaderBytes));
    if (!opened) return Result::kBlobDamaged;
    *plain = std::move(*opened);
    return Result::kOk;
}

}  // namespace sim
