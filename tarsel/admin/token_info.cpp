// "Info": how many access tokens the HSM holds.
#include "admin/access_token_actions.h"
#include "console/prompts.h"
#include "console/terminal.h"

int32_t ShowTokenInfo(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    uint32_t count = 0;
    const uint32_t rc = QManageATokenCache(session, Q_ATOKEN_CACHE_COUNT, &count, 0);
    if (rc != Q_OK) {
        PrintError("Error retrieving Access Token information.", rc);
        return int32_t(rc);
    }
    OutPrintf("%21s%u\n", "HSM Total of Access Tokens: ", count);
    return 0;
}
