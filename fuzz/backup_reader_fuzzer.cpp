// The HSM's reader of backup files on any bytes: a restore takes a file from the operator's
// disk, and the reader must refuse a damaged one without crashing or writing past a chunk.
// The password is fixed, so past the header the fuzzer mostly meets authentication
// failures; the header parsing and the record framing are what it explores.

#include <fcntl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "store/backup_format.h"

namespace {

uint32_t BigEndianAt(const uint8_t *data, size_t at) {
    return (uint32_t{data[at]} << 24) | (uint32_t{data[at + 1]} << 16) |
           (uint32_t{data[at + 2]} << 8) | uint32_t{data[at + 3]};
}

// The reader accepts key-derivation costs up to a quarter of a GiB; a fuzzer that paid them
// would measure Argon2, not the reader.
bool CheapToDerive(const uint8_t *data, size_t size) {
    return size < 24 || (BigEndianAt(data, 12) <= 2 && BigEndianAt(data, 16) <= 64);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (!CheapToDerive(data, size)) return -1;
    static const int sink = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    sim::BackupDecoder decoder("Fuzz#Passw0rd", sink);
    const std::string_view bytes(reinterpret_cast<const char *>(data), size);
    // Two pieces, as the network delivers a file in parts of any size.
    const size_t half = size / 2;
    if (decoder.Feed(bytes.substr(0, half)) == sim::Result::kOk &&
        decoder.Feed(bytes.substr(half)) == sim::Result::kOk) {
        sim::SecretBytes masterKey;
        (void)decoder.Finish(&masterKey);
    }
    return 0;
}
