// Generation actions of the "Symmetric keys" column.
#include "console/pickers.h"
#include "keys/key_actions.h"
#include "keys/key_generation.h"

int32_t GenerateDesAction(QSessionHandle session, const MenuItem &item) {
    return GenerateKey(session, item, FixedSize(Q_ALG_DES, 56));
}

int32_t GenerateTripleDesAction(QSessionHandle session, const MenuItem &item) {
    return GenerateKey(session, item, [](uint32_t *algorithm) {
        return AskNumberedSize(kTripleDesSizes, algorithm);
    });
}

int32_t GenerateDesxAction(QSessionHandle session, const MenuItem &item) {
    return GenerateKey(session, item, FixedSize(Q_ALG_DESX, 184));
}

int32_t GenerateAesAction(QSessionHandle session, const MenuItem &item) {
    return GenerateKey(session, item,
                       [](uint32_t *algorithm) { return AskNumberedSize(kAesSizes, algorithm); });
}

int32_t GenerateArc4Action(QSessionHandle session, const MenuItem &item) {
    return GenerateKey(session, item, FixedSize(Q_ALG_ARC4, 128));
}

int32_t GenerateArc5Action(QSessionHandle session, const MenuItem &item) {
    return GenerateKey(session, item, FixedSize(Q_ALG_ARC5, 128));
}

int32_t GenerateHmacAction(QSessionHandle session, const MenuItem &item) {
    return GenerateKey(session, item, PickedBy(PickHmacType));
}
