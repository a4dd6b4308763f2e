// "Issue": a new access token for the logged-in user.
#include "admin/access_token_actions.h"
#include "admin/access_token_text.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "device/secret.h"

int32_t IssueToken(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    static constexpr const char *kNote[] = {
        "\n",
        "Please note: the HSM operator may revoke Access Tokens at any time!",
        "",
    };
    PrintBoxedBanner('*', kNote);

    char dateText[16] = {};
    (void)ReadLine("Expiration date (GMT): (YYYYMMDD [hhmmss] or ENTER for no expiration) : ",
                   dateText, sizeof dateText - 1);
    Secret<QAccessTokenRecord> record;
    if (!ParseTokenExpiration(dateText, &record.value.expiration)) {
        ErrPrintf("\n%s\n", "Invalid date time format.");
        return kPromptCancelled;
    }

    uint32_t rc = QManageAToken(session, Q_ATOKEN_ISSUE, &record.value, nullptr, nullptr, 0);
    Secret<char[kTokenBase64Size]> text;
    if (rc == Q_OK) rc = EncodeToken(record.value.token, text.value);
    if (rc != Q_OK) {
        PrintError("Error issuing Access Token.", rc);
        return int32_t(rc);
    }
    char expiration[kExpirationTextSize];
    FormatTokenExpiration(record.value.expiration, expiration);
    OutPrintf("\n%s\n", text.value);
    ErrPrintf("\n%s\n\n", "Access Token issued successfully.");
    OutPrintf("%s%s\n", "Expiration date: ", expiration);
    return 0;
}
