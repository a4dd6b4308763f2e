// "Details": the expiration, owner and key value of one typed access token.
#include <cstring>

#include "admin/access_token_actions.h"
#include "admin/access_token_text.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "device/secret.h"

namespace {

struct Search {
    bool found;
    QAccessTokenInfo match;
};

uint32_t KeepDetails(const QAccessTokenInfo *info, void *context, int isFinal) {
    auto *search = static_cast<Search *>(context);
    if (isFinal) return Q_OK;
    search->found = true;
    search->match = *info;
    return Q_OK;
}

}  // namespace

int32_t ShowTokenDetails(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    Secret<char[kTokenTextChars + 1]> text;
    if (ReadLine("Access Token: ", text.value, kTokenTextChars) != kPromptOk) {
        PrintCancelled();
        return kPromptCancelled;
    }
    // The HSM keeps only a digest of each token's secret, so it is the HSM that finds the
    // token typed (as issued, or as listed by owner and key value).
    Secret<QAccessTokenRecord> record;
    Search search{};
    uint32_t rc = DecodeToken(text.value, record.value.token);
    if (rc == Q_OK) {
        rc = QManageAToken(session, Q_ATOKEN_LOOKUP, &record.value, KeepDetails, &search, 0);
    }
    if (rc != Q_OK && rc != Q_ERR_NOT_FOUND) {
        PrintError("Error retrieving details of Access Token.", rc);
        return int32_t(rc);
    }
    if (!search.found) {
        ErrPrintf("\n%s\n", "Error retrieving details of Access Token. Not Found!");
        return int32_t(Q_ERR_NOT_FOUND);
    }
    const QAccessTokenInfo &info = search.match;
    char expiration[kExpirationTextSize];
    FormatTokenExpiration(info.expiration, expiration);
    char owner[sizeof info.owner + 1] = {};
    memcpy(owner, info.owner, sizeof info.owner);
    OutPrintf("%21s%s\n", "Expiration date: ", expiration);
    OutPrintf("%21s%s\n", "Owner: ", owner);
    OutPrintf("%21s", "Key: ");
    PrintHex(info.key, sizeof info.key, true);
    return 0;
}
