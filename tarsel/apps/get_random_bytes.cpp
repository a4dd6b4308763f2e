// "RNG" of "HSM - Tests".
#include <climits>
#include <vector>

#include "apps/test_actions.h"
#include "console/prompts.h"
#include "console/terminal.h"

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
    std::vector<uint8_t> buffer(static_cast<size_t>(count));
    if (uint32_t status = QGetRandom(session, buffer.data(), static_cast<uint32_t>(count));
        status != 0) {
        PrintError("Error retrieving random bytes.", status);
        return static_cast<int32_t>(status);
    }
    OutPrintf("\n");
    PrintHex(buffer.data(), buffer.size(), true);
    return 0;
}
