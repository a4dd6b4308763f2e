#pragma once
// "HSM - Smart-card": one card at a time, or a whole custodian set.

#include <cstdint>

#include "console/menu.h"
#include "qelvoarc.h"

int32_t InspectCard(QSessionHandle session, const MenuItem &item);
int32_t ChangeCardPin(QSessionHandle session, const MenuItem &item);
int32_t EraseCard(QSessionHandle session, const MenuItem &item);
int32_t GetCardLabel(QSessionHandle session, const MenuItem &item);
int32_t CopyCard(QSessionHandle session, const MenuItem &item);
// "Create Server Master Key" and "Create Partition Auth Seth": a new SVMK split M of N onto
// N cards.
int32_t CreateCardSet(QSessionHandle session, const MenuItem &item);
// A set read, its SVMK rebuilt inside the HSM and split anew onto another set.
int32_t CopyCardSet(QSessionHandle session, const MenuItem &item);
