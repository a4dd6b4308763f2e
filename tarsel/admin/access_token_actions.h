#pragma once
// The actions of the "Users - Access Tokens" menu, with the menu handler's signature.

#include <cstdint>

#include "console/menu.h"

int32_t ShowTokenInfo(QSessionHandle session, const MenuItem &item);
int32_t IssueToken(QSessionHandle session, const MenuItem &item);
int32_t RevokeToken(QSessionHandle session, const MenuItem &item);
int32_t ShowTokenDetails(QSessionHandle session, const MenuItem &item);
int32_t ListTokens(QSessionHandle session, const MenuItem &item);
int32_t RunTokenGc(QSessionHandle session, const MenuItem &item);
