// "List": the access tokens the user may see, with their expirations.
#include <string>

#include "admin/access_token_actions.h"
#include "admin/access_token_text.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "device/secret.h"

namespace {

struct Listing {
    uint32_t count;
    uint32_t rc;
};

uint32_t PrintToken(const QAccessTokenInfo *info, void *context, int isFinal) {
    auto *listing = static_cast<Listing *>(context);
    if (isFinal) return Q_OK;
    if (listing->count++ == 0) {
        OutPrintf("%-21s %-20s\n", "Expiration Date", "Access Token");
        OutPrintf("%s\n", std::string(79, '=').c_str());
    }
    Secret<uint8_t[32]> token;
    Secret<char[kTokenBase64Size]> text;
    TokenOfInfo(*info, token.value);
    listing->rc = EncodeToken(token.value, text.value);
    if (listing->rc != Q_OK) return listing->rc;
    char expiration[kExpirationTextSize];
    FormatTokenExpiration(info->expiration, expiration);
    OutPrintf("%-21s %-20s\n", expiration, text.value);
    return Q_OK;
}

}  // namespace

int32_t ListTokens(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    Listing listing{0, Q_OK};
    uint32_t rc = QManageAToken(session, Q_ATOKEN_ENUMERATE, nullptr, PrintToken, &listing, 0);
    if (rc == Q_OK) rc = listing.rc;
    if (rc != Q_OK) {
        PrintError("Error listing Access Token.", rc);
        return int32_t(rc);
    }
    OutPrintf("\n%s%u\n\n", "Total of Access Tokens: ", listing.count);
    return 0;
}
