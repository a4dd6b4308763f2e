#include "crypto/upack_signature.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

#include "crypto/certificate_der.h"
#include "crypto/sha256.h"

namespace sim {

namespace {

using KeyPtr = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using MdCtxPtr = std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)>;

const unsigned char *Bytes(std::string_view s) {
    return reinterpret_cast<const unsigned char *>(s.data());
}

std::string PublicKeyDer(EVP_PKEY *key) {
    unsigned char *der = nullptr;
    const int length = i2d_PUBKEY(key, &der);
    if (length <= 0) throw std::runtime_error("cannot encode a public key");
    std::string out(reinterpret_cast<char *>(der), static_cast<size_t>(length));
    OPENSSL_free(der);
    return out;
}

KeyPtr ReadPrivateKey(const std::string &path) {
    std::unique_ptr<FILE, decltype(&std::fclose)> file(std::fopen(path.c_str(), "r"), &std::fclose);
    if (!file) throw std::runtime_error("cannot read " + path);
    KeyPtr key(PEM_read_PrivateKey(file.get(), nullptr, nullptr, nullptr), &EVP_PKEY_free);
    if (!key || EVP_PKEY_get_id(key.get()) != EVP_PKEY_ED25519)
        throw std::runtime_error(path + " holds no Ed25519 private key");
    return key;
}

}  // namespace

std::string SignUpack(const wire::FirmwareVersion &version, std::string_view description,
                      const std::string &keyPath) {
    KeyPtr key = ReadPrivateKey(keyPath);
    std::string package =
        wire::UpackSignedPart(version, description, Sha256(PublicKeyDer(key.get())));
    MdCtxPtr ctx(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    unsigned char signature[wire::kUpackSignatureBytes];
    size_t length = sizeof signature;
    if (!ctx || EVP_DigestSignInit(ctx.get(), nullptr, nullptr, nullptr, key.get()) != 1 ||
        EVP_DigestSign(ctx.get(), signature, &length, Bytes(package), package.size()) != 1 ||
        length != sizeof signature)
        throw std::runtime_error("cannot sign the package");
    package.append(reinterpret_cast<const char *>(signature), length);
    return package;
}

UpackVerifier::UpackVerifier(const std::string &certPath) {
    std::ifstream file(certPath, std::ios::binary);
    const std::string content((std::istreambuf_iterator<char>(file)),
                              std::istreambuf_iterator<char>());
    std::optional<std::string> der = CertificateToDer(content);
    if (!der) throw std::runtime_error("cannot read a certificate from " + certPath);
    const unsigned char *cursor = Bytes(*der);
    std::unique_ptr<X509, decltype(&X509_free)> cert(
        d2i_X509(nullptr, &cursor, static_cast<long>(der->size())), &X509_free);
    EVP_PKEY *key = cert ? X509_get0_pubkey(cert.get()) : nullptr;
    if (key == nullptr || EVP_PKEY_get_id(key) != EVP_PKEY_ED25519)
        throw std::runtime_error("the key of " + certPath + " is not Ed25519");
    publicKey_ = PublicKeyDer(key);
    signerId_ = Sha256(publicKey_);
}

Result UpackVerifier::Verify(std::string_view package, wire::UpackContents *contents) const {
    std::optional<wire::UpackContents> parsed = wire::ParseUpack(package);
    if (!parsed) return Result::kUpackMalformed;
    if (parsed->signer != signerId_) return Result::kUpackUnknownSigner;
    const unsigned char *cursor = Bytes(publicKey_);
    KeyPtr key(d2i_PUBKEY(nullptr, &cursor, static_cast<long>(publicKey_.size())), &EVP_PKEY_free);
    MdCtxPtr ctx(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    if (!key || !ctx || EVP_DigestVerifyInit(ctx.get(), nullptr, nullptr, nullptr, key.get()) != 1)
        return Result::kInternal;
    if (EVP_DigestVerify(ctx.get(), Bytes(parsed->signature), parsed->signature.size(),
                         Bytes(parsed->signedPart), parsed->signedPart.size()) != 1)
        return Result::kUpackBadSignature;
    *contents = std::move(*parsed);
    return Result::kOk;
}

}  // namespace sim
