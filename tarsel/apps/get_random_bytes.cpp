// "RNG" of "HSM - Tests".
#include <climits>

#include "apps/test_actions.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "device/secret.h"

namespace {

constexpr int32_t kMaxRandomBytes = 1024;

}  // namespace

int32_t GetRandomBytes(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    int32_t count = 0;
    do {
        if (ReadIntInRange("Buffer size (bytes, max 1024) : ", &count, INT32_MIN, INT32_MAX,
                           false) != kPromptOk) {
            PrintCancelled();
            return kPromptCancelled;
        }
    } while (count <= 0 || count > kMaxRandomBytes);
    // Random bytes may become key material, so they are wiped once shown.
    Secret<uint8_t[kMaxRandomBytes]> buffer;
    const uint32_t status = QGetRandom(session, buffer.value, static_cast<uint32_t>(count));
    if (status != 0) {
        PrintError("Error retrieving random bytes.", status);
        return static_cast<int32_t>(status);
    }
    OutPrintf("\n");
    PrintHex(buffer.value, static_cast<size_t>(count), true);
    return 0;
}
