// Generation actions of the "Asymmetric keys" column.
#include "console/pickers.h"
#include "keys/key_actions.h"
#include "keys/key_generation.h"

int32_t GenerateRsaAction(QSessionHandle session, const MenuItem &item) {
    return GenerateKey(session, item, PickedBy(PickRsaKeySize), true);
}

int32_t GenerateEccAction(QSessionHandle session, const MenuItem &item) {
    return GenerateKey(session, item, PickedBy(PickEcCurve));
}

int32_t GenerateEcxAction(QSessionHandle session, const MenuItem &item) {
    return GenerateKey(session, item, PickedBy(PickEdCurve));
}
