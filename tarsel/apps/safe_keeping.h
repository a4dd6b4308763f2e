#pragma once
// "HSM - Safe Keeping": secrets kept by the HSM and handed to custodians as shares, one
// custodian per screen. Each action returns 0 on success, else the prompt's or the library's
// status.

#include <cstdint>

#include "console/menu.h"
#include "qelvoarc.h"

int32_t SecretInfoAction(QSessionHandle session, const MenuItem &item);
int32_t NewSecret(QSessionHandle session, const MenuItem &item);
int32_t SplitSecret(QSessionHandle session, const MenuItem &item);
int32_t RecoverSecret(QSessionHandle session, const MenuItem &item);
int32_t MatchSecret(QSessionHandle session, const MenuItem &item);
int32_t RemoveSecret(QSessionHandle session, const MenuItem &item);
