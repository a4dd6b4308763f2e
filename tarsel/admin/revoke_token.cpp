// "Revoke": ends an access token.
#include "admin/access_token_actions.h"
#include "admin/access_token_text.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "device/secret.h"

int32_t RevokeToken(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    Secret<char[kTokenTextChars + 1]> text;
    if (ReadLine("Access Token: ", text.value, kTokenTextChars) != kPromptOk) {
        PrintCancelled();
        return kPromptCancelled;
    }
    Secret<QAccessTokenRecord> record;
    uint32_t rc = DecodeToken(text.value, record.value.token);
    if (rc == Q_OK)
        rc = QManageAToken(session, Q_ATOKEN_REVOKE, &record.value, nullptr, nullptr, 0);
    if (rc != Q_OK) {
        PrintError("Error revoking Access Token.", rc);
        return int32_t(rc);
    }
    ErrPrintf("\n%s\n\n", "Access Token revoked successfully.");
    return 0;
}
