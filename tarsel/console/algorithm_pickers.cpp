// Pickers of key algorithms and sizes.
#include <array>
#include <functional>

#include "app/process_state.h"
#include "console/pickers.h"
#include "qelvoarc.h"

namespace {

// Firmware before 4.0 knows no SHA-3, so those entries are offered only from 4.0 on; they
// come last, so the numbers of the others do not move.
template <typename T, size_t N>
bool ChooseWithoutSha3OnOldFirmware(const char *title, const OptionItem<T> (&items)[N],
                                    size_t sha3Count, T *out) {
    size_t shown = gState.fwAtLeast_4_0_0_0 ? N : N - sha3Count;
    return ChooseOption<T>(title, std::span<const OptionItem<T>>(items, shown), out, false, "Exit");
}

constexpr OptionItem<int32_t> kHashes[] = {
    {"MD5", Q_HASH_MD5},           {"SHA-1", Q_HASH_SHA1},        {"SHA-224", Q_HASH_SHA224},
    {"SHA-256", Q_HASH_SHA256},    {"SHA-384", Q_HASH_SHA384},    {"SHA-512", Q_HASH_SHA512},
    {"SHA3-224", Q_HASH_SHA3_224}, {"SHA3-256", Q_HASH_SHA3_256}, {"SHA3-384", Q_HASH_SHA3_384},
    {"SHA3-512", Q_HASH_SHA3_512},
};

constexpr OptionItem<int32_t> kHmacTypes[] = {
    {"HMAC MD5", Q_ALG_HMAC_MD5},           {"HMAC SHA-1", Q_ALG_HMAC_SHA1},
    {"HMAC SHA-224", Q_ALG_HMAC_SHA224},    {"HMAC SHA-256", Q_ALG_HMAC_SHA256},
    {"HMAC SHA-384", Q_ALG_HMAC_SHA384},    {"HMAC SHA-512", Q_ALG_HMAC_SHA512},
    {"HMAC SHA3-224", Q_ALG_HMAC_SHA3_224}, {"HMAC SHA3-256", Q_ALG_HMAC_SHA3_256},
    {"HMAC SHA3-384", Q_ALG_HMAC_SHA3_384}, {"HMAC SHA3-512", Q_ALG_HMAC_SHA3_512},
};
constexpr size_t kSha3Entries = 4;

constexpr OptionItem<int32_t> kEdCurves[] = {{"EdDSA25519", Q_ALG_ED25519},
                                             {"EdDSA448", Q_ALG_ED448},
                                             {"X25519", Q_ALG_X25519},
                                             {"X448", Q_ALG_X448}};

constexpr OptionItem<int32_t> kSymFamilies[] = {{"DES", 1}, {"3DES", 2}, {"DESX", 3},
                                                {"AES", 4}, {"ARC4", 5}, {"HMAC", 6}};
constexpr OptionItem<int32_t> k3desSizes[] = {{"112", Q_ALG_3DES_112}, {"168", Q_ALG_3DES_168}};
constexpr OptionItem<int32_t> kAesSizes[] = {
    {"128", Q_ALG_AES_128}, {"192", Q_ALG_AES_192}, {"256", Q_ALG_AES_256}};

constexpr OptionItem<int32_t> kAsymFamilies[] = {{"RSA", 1}, {"ECC", 2}, {"ECX", 3}};
constexpr OptionItem<int32_t> kRsaSizes[] = {
    {"512", Q_ALG_RSA_512},   {"1024", Q_ALG_RSA_1024}, {"1152", Q_ALG_RSA_1152},
    {"1408", Q_ALG_RSA_1408}, {"1536", Q_ALG_RSA_1536}, {"1976", Q_ALG_RSA_1976},
    {"1984", Q_ALG_RSA_1984}, {"2048", Q_ALG_RSA_2048}, {"2304", Q_ALG_RSA_2304},
    {"2560", Q_ALG_RSA_2560}, {"2816", Q_ALG_RSA_2816}, {"3072", Q_ALG_RSA_3072},
    {"4096", Q_ALG_RSA_4096}, {"8192", Q_ALG_RSA_8192},
};

// The library marks some RSA identifiers with the top bit.
constexpr uint32_t kRsaMarkBit = 0x80000000u;
constexpr int32_t kRsaExtraIds[] = {351, 353};

// A family's handler asks what the family needs and returns non-zero on success.
using FamilyHandler = std::function<int32_t(int32_t &)>;

// Runs the handler of the family chosen from `families`; handlers are indexed by family
// number minus one.
template <size_t N>
bool DispatchFamily(const char *title, const OptionItem<int32_t> (&families)[N],
                    const std::array<FamilyHandler, N> &handlers, int32_t *algorithm) {
    int32_t family = 0;
    if (!ChooseFromTable(title, families, &family)) return false;
    return handlers[static_cast<size_t>(family - 1)](*algorithm) != 0;
}

}  // namespace

bool PickHash(int32_t *algorithm) {
    return ChooseWithoutSha3OnOldFirmware("Hash", kHashes, kSha3Entries, algorithm);
}

bool PickHmacType(int32_t *algorithm) {
    return ChooseWithoutSha3OnOldFirmware("HMAC Key type", kHmacTypes, kSha3Entries, algorithm);
}

bool PickEdCurve(int32_t *algorithm) {
    return ChooseFromTable("Curve", kEdCurves, algorithm);
}
bool PickSymKeyFamily(int32_t *family) {
    return ChooseFromTable("Symmetric keys", kSymFamilies, family);
}
bool Pick3desSize(int32_t *algorithm) {
    return ChooseFromTable("Size (bits)", k3desSizes, algorithm);
}
bool PickAesSize(int32_t *algorithm) {
    return ChooseFromTable("Size (bits)", kAesSizes, algorithm);
}
bool PickAsymKeyFamily(int32_t *family) {
    return ChooseFromTable("Asymmetric keys", kAsymFamilies, family);
}
bool PickRsaKeySize(int32_t *algorithm) {
    return ChooseFromTable("RSA key size (bits)", kRsaSizes, algorithm);
}

bool GetSymKeyAlg(int32_t *algorithm) {
    // DES, DESX and ARC4 have a single identifier each, which their handlers return
    // without writing the output: callers that accept them preset their variable. Callers
    // rely on this, so it stays.
    const std::array<FamilyHandler, 6> handlers = {
        [](int32_t &) -> int32_t { return Q_ALG_DES; },
        [](int32_t &out) -> int32_t { return Pick3desSize(&out); },
        [](int32_t &) -> int32_t { return Q_ALG_DESX; },
        [](int32_t &out) -> int32_t { return PickAesSize(&out); },
        [](int32_t &) -> int32_t { return Q_ALG_ARC4; },
        [](int32_t &out) -> int32_t { return PickHmacType(&out); },
    };
    return DispatchFamily("Symmetric keys", kSymFamilies, handlers, algorithm);
}

bool PickAsymKeyAlg(int32_t *algorithm) {
    const std::array<FamilyHandler, 3> handlers = {
        [](int32_t &out) -> int32_t { return PickRsaKeySize(&out); },
        [](int32_t &out) -> int32_t { return PickEcCurve(&out); },
        [](int32_t &out) -> int32_t { return PickEdCurve(&out); },
    };
    return DispatchFamily("Asymmetric keys", kAsymFamilies, handlers, algorithm);
}

bool IsRsaAlgorithm(int32_t algorithm) {
    int32_t plain = static_cast<int32_t>(static_cast<uint32_t>(algorithm) & ~kRsaMarkBit);
    for (const OptionItem<int32_t> &size : kRsaSizes) {
        if (size.value == plain) return true;
    }
    for (int32_t id : kRsaExtraIds) {
        if (id == algorithm) return true;
    }
    return false;
}

bool IsAsymmetricAlgorithm(int32_t algorithm) {
    if (algorithm >= int32_t{Q_ALG_ECC_FIRST} && algorithm <= int32_t{Q_ALG_ECC_LAST}) return true;
    for (const OptionItem<int32_t> &curve : kEdCurves) {
        if (curve.value == algorithm) return true;
    }
    return IsRsaAlgorithm(algorithm);
}
