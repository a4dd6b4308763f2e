#pragma once
// The encrypted backup file of a database (BACKUP_FORMAT.md): written by BackupEncoder from a
// snapshot file, read back by BackupDecoder into a file. Both work a chunk at a time, so a
// database of any size needs only about one chunk of memory. Neither is thread-safe.

#include <openssl/evp.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "core/result.h"
#include "core/secret.h"
#include "crypto/master_key.h"
#include "store/write_behind.h"

namespace sim {

// The keys of one file, derived from its password and salt.
struct BackupKeys {
    SecretBytes wrap;  // seals the master key
    SecretBytes data;  // seals the chunks
    SecretBytes mac;   // the tag over the whole file
};

using MacCtx = std::unique_ptr<EVP_MAC_CTX, decltype(&EVP_MAC_CTX_free)>;

class BackupEncoder {
  public:
    // Encrypts the database read from `snapshotFd` (from its current offset) under
    // `password`, carrying `masterKey` wrapped. The caller keeps the descriptor open while
    // this lives. Throws std::runtime_error when the key derivation fails.
    BackupEncoder(std::string_view password, const MasterKey &masterKey, int snapshotFd);

    // Appends up to `length` next bytes of the file to *out: none once the file is whole.
    // Throws std::runtime_error when the snapshot cannot be read.
    void Next(size_t length, std::string *out);
    // True once every byte of the file was handed out.
    bool Whole() const { return done_ && taken_ == pending_.size(); }

  private:
    void Produce();  // the next record, or the trailer, into pending_

    int fd_;
    BackupKeys keys_;
    std::string headerDigest_;
    MacCtx mac_;
    SecretBytes chunk_;  // the plaintext of the chunk being sealed
    std::string pending_;
    size_t taken_ = 0;  // bytes of pending_ already handed out
    uint64_t index_ = 0;
    bool finalWritten_ = false;
    bool done_ = false;
};

class BackupDecoder {
  public:
    // Writes the database it decrypts to `sinkFd`, which the caller keeps open while this
    // lives, on a thread of its own (WriteBehind).
    BackupDecoder(std::string_view password, int sinkFd);

    // Takes the next bytes of the file. kOk, or the fault of the file: kNotABackup,
    // kBackupVersion, kBackupPassword or kBackupDamaged, which every later call repeats.
    // Throws what writing the sink threw (StorageFull when there was no room), a few chunks
    // after the write that failed.
    Result Feed(std::string_view bytes);
    // kOk when the file ended right after its trailer, every byte checked and the whole
    // database was written; the master key it carried is then in *masterKey. Throws as Feed.
    Result Finish(SecretBytes *masterKey);

  private:
    Result ReadHeader();
    Result ReadRecord(std::string_view record);  // one whole record

    int fd_;
    SecretBytes password_;
    BackupKeys keys_;
    SecretBytes masterKey_;
    std::string headerDigest_;
    MacCtx mac_;
    std::unique_ptr<WriteBehind> sink_;  // once the header told the chunk size
    std::string pending_;
    uint32_t chunkBytes_ = 0;
    uint64_t index_ = 0;
    bool headerRead_ = false;
    bool finalRead_ = false;
    bool trailerRead_ = false;
    Result fault_ = Result::kOk;
};

}  // namespace sim
