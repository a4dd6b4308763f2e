#pragma once
// The actions of the "Users" column of the main menu. Each has the menu handler's
// signature: it prints its heading, asks, calls the HSM and returns 0 or the failing code.

#include <cstdint>

#include "console/menu.h"

int32_t ListUsers(QSessionHandle session, const MenuItem &item);
int32_t CreateUser(QSessionHandle session, const MenuItem &item);
int32_t RemoveUser(QSessionHandle session, const MenuItem &item);
// "Attributes": the account's summary, and for an operator the changes to another account.
int32_t ChangeUser(QSessionHandle session, const MenuItem &item);
int32_t ShowTrustRelations(QSessionHandle session, const MenuItem &item);
int32_t PasswordPolicy(QSessionHandle session, const MenuItem &item);
// "My Password".
int32_t ChangeMyPassword(QSessionHandle session, const MenuItem &item);
