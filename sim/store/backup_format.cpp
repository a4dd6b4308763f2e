#include "store/backup_format.h"

#include <openssl/core_names.h>
#include <openssl/rand.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "aes_gcm.h"
#include "crypto/password_hash.h"
#include "crypto/sha256.h"
#include "store/database.h"

namespace sim {

namespace {

constexpr std::string_view kMagic = "ORVSBKUP";
constexpr uint32_t kVersion = 1;
constexpr size_t kSaltBytes = 16;
constexpr uint32_t kChunkBytes = 256 * 1024;
constexpr size_t kWrappedKeyBytes = wire::kGcmNonceBytes + wire::kGcmKeyBytes + wire::kGcmTagBytes;
constexpr size_t kHeaderBytes = kMagic.size() + 4 * 4 + kSaltBytes + 4 + kWrappedKeyBytes;
constexpr size_t kWrappedKeyAt = kHeaderBytes - kWrappedKeyBytes;
constexpr uint32_t kFinalFlag = 0x80000000u;
constexpr size_t kTrailerBytes = 32;
// What a file may ask of the reader: more is a damaged (or hostile) header.
constexpr uint32_t kMaxChunkBytes = 4u << 20;
constexpr uint32_t kMaxTimeCost = 16;
constexpr uint32_t kMaxMemoryKiB = 256 * 1024;
constexpr uint32_t kMaxParallelism = 4;
// Decrypted chunks that may wait for the disk while the next one is opened.
constexpr size_t kWriteBehindChunks = 4;

void PutU32(std::string *out, uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8)
        out->push_back(static_cast<char>((value >> shift) & 0xff));
}

void PutU64(std::string *out, uint64_t value) {
    PutU32(out, static_cast<uint32_t>(value >> 32));
    PutU32(out, static_cast<uint32_t>(value));
}

uint32_t GetU32(std::string_view bytes, size_t at) {
    uint32_t value = 0;
    for (size_t i = 0; i < 4; ++i)
        value = (value << 8) | static_cast<unsigned char>(bytes[at + i]);
    return value;
}

BackupKeys DeriveKeys(std::string_view password, std::string_view salt,
                      const PasswordKeyParams &params) {
    SecretBytes all = DerivePasswordKey(password, salt, params, 3 * wire::kGcmKeyBytes);
    const std::string &bytes = all.view();
    return {SecretBytes(bytes.substr(0, wire::kGcmKeyBytes)),
            SecretBytes(bytes.substr(wire::kGcmKeyBytes, wire::kGcmKeyBytes)),
            SecretBytes(bytes.substr(2 * wire::kGcmKeyBytes))};
}

MacCtx NewMac(const SecretBytes &key) {
    EVP_MAC *hmac = EVP_MAC_fetch(nullptr, "HMAC", nullptr);
    MacCtx ctx(hmac == nullptr ? nullptr : EVP_MAC_CTX_new(hmac), &EVP_MAC_CTX_free);
    EVP_MAC_free(hmac);
    char digest[] = "SHA256";
    OSSL_PARAM params[] = {OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, digest, 0),
                           OSSL_PARAM_construct_end()};
    if (!ctx || EVP_MAC_init(ctx.get(), reinterpret_cast<const unsigned char *>(key.view().data()),
                             key.size(), params) != 1)
        throw std::runtime_error("HMAC-SHA256 unavailable");
    return ctx;
}

void MacUpdate(const MacCtx &mac, std::string_view bytes) {
    if (EVP_MAC_update(mac.get(), reinterpret_cast<const unsigned char *>(bytes.data()),
                       bytes.size()) != 1)
        throw std::runtime_error("HMAC-SHA256 failed");
}

// A record counts in the trailer by its word and its tag: the tag already binds every byte
// of the chunk, so the trailer need not hash the data a second time.
void MacRecord(const MacCtx &mac, std::string_view record) {
    MacUpdate(mac, record.substr(0, 4));
    MacUpdate(mac, record.substr(record.size() - wire::kGcmTagBytes));
}

std::string MacFinal(const MacCtx &mac) {
    std::string tag(kTrailerBytes, '\0');
    size_t length = 0;
    if (EVP_MAC_final(mac.get(), reinterpret_cast<unsigned char *>(tag.data()), &length,
                      tag.size()) != 1 ||
        length != kTrailerBytes)
        throw std::runtime_error("HMAC-SHA256 failed");
    return tag;
}

// A chunk's nonce is its index: every file has keys of its own, from its random salt.
void ChunkNonce(uint64_t index, unsigned char *nonce) {
    std::memset(nonce, 0, wire::kGcmNonceBytes);
    for (int i = 0; i < 8; ++i)
        nonce[wire::kGcmNonceBytes - 1 - i] = static_cast<unsigned char>(index >> (8 * i));
}

// What a chunk's tag binds: the header, the chunk's place and its length word (with the
// final flag), so chunks cannot be moved, dropped, cut short or declared last.
std::string ChunkAssociated(const std::string &headerDigest, uint64_t index, uint32_t word) {
    std::string associated = headerDigest;
    PutU64(&associated, index);
    PutU32(&associated, word);
    return associated;
}

size_t ReadFull(int fd, char *buffer, size_t length) {
    size_t got = 0;
    while (got < length) {
        ssize_t n = ::read(fd, buffer + got, length - got);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) throw std::runtime_error("cannot read the snapshot");
        if (n == 0) break;
        got += static_cast<size_t>(n);
    }
    return got;
}

}  // namespace

BackupEncoder::BackupEncoder(std::string_view password, const MasterKey &masterKey, int snapshotFd)
    : fd_(snapshotFd), mac_(nullptr, &EVP_MAC_CTX_free) {
    // Two lanes over the same memory: as hard to guess as one, and a restore, which waits for
    // the derivation before it can read a byte, has it from two cores.
    PasswordKeyParams params;
    params.parallelism = 2;
    std::string salt(kSaltBytes, '\0');
    if (RAND_bytes(reinterpret_cast<unsigned char *>(salt.data()), kSaltBytes) != 1)
        throw std::runtime_error("RAND_bytes failed");
    keys_ = DeriveKeys(password, salt, params);
    std::string header(kMagic);
    PutU32(&header, kVersion);
    PutU32(&header, params.timeCost);
    PutU32(&header, params.memoryKiB);
    PutU32(&header, params.parallelism);
    header += salt;
    PutU32(&header, kChunkBytes);
    header += masterKey.WrapUnder(keys_.wrap.view(), header);
    headerDigest_ = Sha256(header);
    mac_ = NewMac(keys_.mac);
    MacUpdate(mac_, header);
    pending_ = std::move(header);
}

void BackupEncoder::Produce() {
    pending_.clear();
    taken_ = 0;
    if (finalWritten_) {
        pending_ = MacFinal(mac_);
        done_ = true;
        return;
    }
    std::string &plain = chunk_.mutable_bytes();
    plain.resize(kChunkBytes);
    const size_t got = ReadFull(fd_, plain.data(), kChunkBytes);
    finalWritten_ = got < kChunkBytes;
    const uint32_t word = static_cast<uint32_t>(got) | (finalWritten_ ? kFinalFlag : 0);
    PutU32(&pending_, word);
    pending_.resize(4 + got + wire::kGcmTagBytes);
    unsigned char nonce[wire::kGcmNonceBytes];
    ChunkNonce(index_, nonce);
    wire::GcmSeal(keys_.data.view(), nonce, std::string_view(plain.data(), got),
                  ChunkAssociated(headerDigest_, index_, word),
                  reinterpret_cast<unsigned char *>(pending_.data()) + 4);
    ++index_;
    MacRecord(mac_, pending_);
}

void BackupEncoder::Next(size_t length, std::string *out) {
    while (length > 0) {
        if (taken_ == pending_.size()) {
            if (done_) return;
            Produce();
        }
        const size_t part = std::min(length, pending_.size() - taken_);
        out->append(pending_, taken_, part);
        taken_ += part;
        length -= part;
    }
}

BackupDecoder::BackupDecoder(std::string_view password, int sinkFd)
    : fd_(sinkFd), password_(std::string(password)), mac_(nullptr, &EVP_MAC_CTX_free) {}

Result BackupDecoder::ReadHeader() {
    const std::string_view header(pending_.data(), kHeaderBytes);
    const uint32_t version = GetU32(header, kMagic.size());
    if (version == 0) return Result::kNotABackup;
    if (version > kVersion) return Result::kBackupVersion;
    const PasswordKeyParams params{GetU32(header, 12), GetU32(header, 16), GetU32(header, 20)};
    chunkBytes_ = GetU32(header, 24 + kSaltBytes);
    if (params.timeCost == 0 || params.timeCost > kMaxTimeCost || params.memoryKiB == 0 ||
        params.memoryKiB > kMaxMemoryKiB || params.parallelism == 0 ||
        params.parallelism > kMaxParallelism || chunkBytes_ == 0 || chunkBytes_ > kMaxChunkBytes)
        return Result::kBackupDamaged;
    sink_ = std::make_unique<WriteBehind>(fd_, chunkBytes_, kWriteBehindChunks);
    try {
        keys_ = DeriveKeys(password_.view(), header.substr(24, kSaltBytes), params);
    } catch (const std::runtime_error &) {
        return Result::kBackupDamaged;  // parameters Argon2 refuses
    }
    password_ = SecretBytes();  // the keys are all it was for
    std::optional<SecretBytes> key = MasterKey::Unwrap(
        keys_.wrap.view(), header.substr(kWrappedKeyAt), header.substr(0, kWrappedKeyAt));
    if (!key) return Result::kBackupPassword;
    masterKey_ = std::move(*key);
    headerDigest_ = Sha256(header);
    mac_ = NewMac(keys_.mac);
    MacUpdate(mac_, header);
    headerRead_ = true;
    return Result::kOk;
}

Result BackupDecoder::ReadRecord(std::string_view record) {
    const uint32_t word = GetU32(record, 0);
    const uint32_t length = word & ~kFinalFlag;
    if (length < chunkBytes_ && (word & kFinalFlag) == 0) return Result::kBackupDamaged;
    unsigned char *plain = sink_->Next();
    unsigned char nonce[wire::kGcmNonceBytes];
    ChunkNonce(index_, nonce);
    if (!wire::GcmOpen(keys_.data.view(), nonce, record.substr(4),
                       ChunkAssociated(headerDigest_, index_, word), plain))
        return Result::kBackupDamaged;
    sink_->Submit(length);
    MacRecord(mac_, record);
    ++index_;
    finalRead_ = (word & kFinalFlag) != 0;
    return Result::kOk;
}

Result BackupDecoder::Feed(std::string_view bytes) {
    if (fault_ != Result::kOk) return fault_;
    if (trailerRead_ && !bytes.empty()) return fault_ = Result::kBackupDamaged;
    pending_.append(bytes);
    size_t used = 0;
    for (;;) {
        const std::string_view rest = std::string_view(pending_).substr(used);
        if (!headerRead_) {
            if (rest.substr(0, kMagic.size()) != kMagic.substr(0, rest.size()))
                return fault_ = Result::kNotABackup;
            if (rest.size() < kHeaderBytes) break;
            if ((fault_ = ReadHeader()) != Result::kOk) return fault_;
            used += kHeaderBytes;
        } else if (!finalRead_) {
            if (rest.size() < 4) break;
            const uint32_t length = GetU32(rest, 0) & ~kFinalFlag;
            if (length > chunkBytes_) return fault_ = Result::kBackupDamaged;
            const size_t recordBytes = 4 + length + wire::kGcmTagBytes;
            if (rest.size() < recordBytes) break;
            if ((fault_ = ReadRecord(rest.substr(0, recordBytes))) != Result::kOk) return fault_;
            used += recordBytes;
        } else if (!trailerRead_) {
            if (rest.size() < kTrailerBytes) break;
            if (CRYPTO_memcmp(MacFinal(mac_).data(), rest.data(), kTrailerBytes) != 0)
                return fault_ = Result::kBackupDamaged;
            trailerRead_ = true;
            used += kTrailerBytes;
        } else {
            if (!rest.empty()) return fault_ = Result::kBackupDamaged;
            break;
        }
    }
    pending_.erase(0, used);
    return Result::kOk;
}

Result BackupDecoder::Finish(SecretBytes *masterKey) {
    if (fault_ != Result::kOk) return fault_;
    if (!headerRead_ && pending_.empty()) return Result::kNotABackup;
    if (!trailerRead_) return Result::kBackupDamaged;
    sink_->Drain();
    *masterKey = std::move(masterKey_);
    return Result::kOk;
}

}  // namespace sim
