#include "crypto/bind_key.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <vector>

namespace sim {

namespace {

using Pkey = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using MdCtx = std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)>;

constexpr std::string_view kMagic = "orvena-bind-1";

// Ed25519 hashes internally; the other key types sign a SHA-256 digest.
const EVP_MD *DigestFor(EVP_PKEY *key) {
    return EVP_PKEY_get_base_id(key) == EVP_PKEY_ED25519 ? nullptr : EVP_sha256();
}

std::string Base64(std::string_view bytes) {
    std::string out(4 * ((bytes.size() + 2) / 3) + 1, '\0');
    const int length = EVP_EncodeBlock(reinterpret_cast<unsigned char *>(out.data()),
                                       reinterpret_cast<const unsigned char *>(bytes.data()),
                                       static_cast<int>(bytes.size()));
    out.resize(static_cast<size_t>(length));
    return out;
}

bool FromBase64(std::string_view text, std::string *out) {
    if (text.empty() || text.size() % 4 != 0) return false;
    std::string bytes(3 * text.size() / 4, '\0');
    const int length = EVP_DecodeBlock(reinterpret_cast<unsigned char *>(bytes.data()),
                                       reinterpret_cast<const unsigned char *>(text.data()),
                                       static_cast<int>(text.size()));
    if (length < 0) return false;
    // EVP_DecodeBlock counts the padding as zero bytes.
    size_t padding = 0;
    for (size_t i = text.size(); i > 0 && text[i - 1] == '='; --i)
        ++padding;
    bytes.resize(static_cast<size_t>(length) - padding);
    *out = std::move(bytes);
    return true;
}

std::vector<std::string> SplitLines(std::string_view text) {
    std::vector<std::string> parts;
    size_t start = 0;
    for (size_t end; (end = text.find('\n', start)) != std::string_view::npos; start = end + 1)
        parts.emplace_back(text.substr(start, end - start));
    parts.emplace_back(text.substr(start));
    return parts;
}

bool ValidField(const std::string &field) {
    return !field.empty() && field.find_first_of("\r\n") == std::string::npos;
}

bool HttpsUrl(const std::string &url) {
    return url.rfind("https://", 0) == 0 && url.size() > 8;
}

Pkey ReadCertificateKey(const std::string &certPath) {
    Pkey none(nullptr, &EVP_PKEY_free);
    std::FILE *file = std::fopen(certPath.c_str(), "r");
    if (file == nullptr) return none;
    X509 *cert = PEM_read_X509(file, nullptr, nullptr, nullptr);
    std::fclose(file);
    if (cert == nullptr) return none;
    Pkey key(X509_get_pubkey(cert), &EVP_PKEY_free);
    X509_free(cert);
    return key;
}

}  // namespace

std::string MakeBindKey(const CloudBinding &binding, const std::string &keyPath) {
    for (const std::string *field : {&binding.account, &binding.hsmId, &binding.telemetryUrl})
        if (!ValidField(*field)) throw std::runtime_error("empty field or field with a line break");
    if (!HttpsUrl(binding.telemetryUrl))
        throw std::runtime_error("the telemetry URL must be https://");
    std::FILE *file = std::fopen(keyPath.c_str(), "r");
    if (file == nullptr) throw std::runtime_error("cannot read " + keyPath);
    Pkey key(PEM_read_PrivateKey(file, nullptr, nullptr, nullptr), &EVP_PKEY_free);
    std::fclose(file);
    if (!key) throw std::runtime_error(keyPath + " holds no private key");

    const std::string payload = std::string(kMagic) + "\n" + binding.account + "\n" +
                                binding.hsmId + "\n" + binding.telemetryUrl;
    MdCtx ctx(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    size_t length = 0;
    const auto *data = reinterpret_cast<const unsigned char *>(payload.data());
    if (!ctx ||
        EVP_DigestSignInit(ctx.get(), nullptr, DigestFor(key.get()), nullptr, key.get()) != 1 ||
        EVP_DigestSign(ctx.get(), nullptr, &length, data, payload.size()) != 1)
        throw std::runtime_error("the key cannot sign");
    std::string signature(length, '\0');
    if (EVP_DigestSign(ctx.get(), reinterpret_cast<unsigned char *>(signature.data()), &length,
                       data, payload.size()) != 1)
        throw std::runtime_error("signing failed");
    signature.resize(length);
    std::string text = Base64(payload) + "." + Base64(signature);
    if (text.size() > kMaxBindKeyBytes)
        throw std::runtime_error("the bind key would exceed " + std::to_string(kMaxBindKeyBytes) +
                                 " bytes");
    return text;
}

Result ReadBindKey(std::string_view text, const std::string &certPath, CloudBinding *binding) {
    Pkey key = ReadCertificateKey(certPath);
    if (!key) return Result::kNoCloudCert;
    const size_t dot = text.find('.');
    std::string payload, signature;
    if (dot == std::string_view::npos || !FromBase64(text.substr(0, dot), &payload) ||
        !FromBase64(text.substr(dot + 1), &signature))
        return Result::kBindKeyInvalid;
    MdCtx ctx(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    if (!ctx ||
        EVP_DigestVerifyInit(ctx.get(), nullptr, DigestFor(key.get()), nullptr, key.get()) != 1 ||
        EVP_DigestVerify(ctx.get(), reinterpret_cast<const unsigned char *>(signature.data()),
                         signature.size(), reinterpret_cast<const unsigned char *>(payload.data()),
                         payload.size()) != 1)
        return Result::kBindKeyInvalid;
    const std::vector<std::string> lines = SplitLines(payload);
    if (lines.size() != 4 || lines[0] != kMagic || !ValidField(lines[1]) || !ValidField(lines[2]) ||
        !HttpsUrl(lines[3]))
        return Result::kBindKeyInvalid;
    *binding = CloudBinding{lines[1], lines[2], lines[3]};
    return Result::kOk;
}

}  // namespace sim
