// Custodian sets: a new SVMK onto N cards, or the SVMK of one set onto another.
#include <cstdio>

#include "apps/custodian_cards.h"
#include "apps/smart_card_actions.h"
#include "console/prompts.h"
#include "console/terminal.h"

namespace {

struct Quorum {
    int32_t m;
    int32_t n;
};

bool ReadCount(const char *label, int32_t max, int32_t *value) {
    if (ReadIntInRange(label, value, 2, max, true) == kPromptOk) return true;
    PrintCancelled();
    return false;
}

// N, then M (at most N), then whether N blank cards are at hand.
bool AskQuorum(Quorum *quorum) {
    if (!ReadCount("N", static_cast<int32_t>(Q_SVMK_MAX_SHADOWS), &quorum->n)) return false;
    if (!ReadCount("M", quorum->n, &quorum->m)) return false;
    char question[64];
    snprintf(question, sizeof question, "You will need %d formatted cards. Continue?", quorum->n);
    if (AskYesNoWithDefault(question, 0) == 0) {
        PrintCancelled();
        return false;
    }
    return true;
}

// Splits the SVMK (a new one when `svmk` is null) and hands the shadows to the custodians.
uint32_t SplitOntoCards(QSessionHandle session, const CeremonyScreen &screen, uint32_t version,
                        const uint8_t *svmk, const Quorum &quorum, const char *caption) {
    Secret<QSmartCardShadow[Q_SVMK_MAX_SHADOWS]> shadows;
    uint32_t rc = QGenerateSVMK(session, version, svmk, static_cast<uint8_t>(quorum.m),
                                static_cast<uint8_t>(quorum.n), shadows.value, 0);
    if (rc != 0) {
        PrintError("Error generating SVMK.", rc);
        return rc;
    }
    return WriteCustodianCards(screen, shadows.value, caption);
}

}  // namespace

int32_t CreateCardSet(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    OutPrintf("%s\n\n", "An 'M of N' scheme will be generated.");
    Quorum quorum{};
    if (!AskQuorum(&quorum)) return 1;
    OutPrintf("\n");
    const uint32_t version = AskYesNoWithDefault("Generate SVMK v1?", 0) != 0 ? 1 : 2;
    const CeremonyScreen screen{&item, nullptr, item.label};
    const uint32_t rc = SplitOntoCards(session, screen, version, nullptr, quorum, nullptr);
    if (rc != 0) return static_cast<int32_t>(rc);
    OutPrintf("\n%s\n\n", "Cards generation operation completed successfully.");
    return 0;
}

int32_t CopyCardSet(QSessionHandle session, const MenuItem &item) {
    const CeremonyScreen screen{&item, nullptr, item.label};
    Secret<ShadowSet> source;
    uint32_t rc = ReadCustodianCards(screen, "Reading the source set\n", &source);
    if (rc != 0) return static_cast<int32_t>(rc);
    Secret<uint8_t[Q_SVMK_SIZE]> svmk;
    rc = QRecoverSVMK(session, source.value.cards, static_cast<uint8_t>(source.value.count),
                      svmk.value, 0);
    if (rc != 0) {
        PrintError("Error recovering SVMK.", rc);
        return static_cast<int32_t>(rc);
    }
    ClearScreenTitle(item.header);
    OutPrintf("%s\n", "Writing the target set\n");
    OutPrintf("%s\n\n", "Choose the values for N and M of the set.");
    Quorum quorum{};
    if (!AskQuorum(&quorum)) return 1;
    rc = SplitOntoCards(session, screen, source.value.cards[0].version, svmk.value, quorum,
                        "Writing the target set\n");
    if (rc != 0) return static_cast<int32_t>(rc);
    OutPrintf("\n%s\n\n", "Copy set operation completed successfully.");
    return 0;
}
