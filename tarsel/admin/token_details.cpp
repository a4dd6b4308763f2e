// "Details": the expiration, owner and key value of one typed access token.
#include <cstring>

#include "admin/access_token_actions.h"
#include "admin/access_token_text.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "device/secret.h"

namespace {

struct Search {
    uint8_t wanted[32];
    bool found;
    QAccessTokenInfo match;
};

uint32_t MatchToken(const QAccessTokenInfo *info, void *context, int isFinal) {
    auto *search = static_cast<Search *>(context);
    if (isFinal) return Q_OK;
    Secret<uint8_t[32]> token;
    TokenOfInfo(*info, token.value);
    if (memcmp(token.value, search->wanted, sizeof token.value) == 0) {
        search->found = true;
        search->match = *info;
    }
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
    Secret<Search> search;
    uint32_t rc = DecodeToken(text.value, search.value.wanted);
    if (rc == Q_OK) {
        rc = QManageAToken(session, Q_ATOKEN_ENUMERATE, nullptr, MatchToken, &search.value, 0);
    }
    if (rc != Q_OK) {
        PrintError("Error retrieving details of Access Token.", rc);
        return int32_t(rc);
    }
    if (!search.value.found) {
        ErrPrintf("\n%s\n", "Error retrieving details of Access Token. Not Found!");
        return int32_t(Q_ERR_NOT_FOUND);
    }
    const QAccessTokenInfo &info = search.value.match;
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
