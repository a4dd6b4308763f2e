// The elliptic-curve picker: a family, then a size, in the menu's column layout.
#include <span>

#include "console/pickers.h"
#include "console/prompts.h"
#include "console/terminal.h"

namespace {

struct CurveSize {
    const char *bits;
    int32_t curve;
};

struct CurveFamily {
    const char *name;
    std::span<const CurveSize> sizes;
};

// The families are views of one set of curves: NIST Random and ISO X9.62 share identifiers
// with SecG Random.
constexpr CurveSize kSecgRandom[] = {{"112", 18}, {"128", 20}, {"160", 23}, {"192", 26},
                                     {"224", 28}, {"256", 30}, {"384", 31}, {"521", 32}};
constexpr CurveSize kSecgKoblitz[] = {{"160", 22}, {"192", 25}, {"224", 27}, {"256", 29}};
constexpr CurveSize kNistRandom[] = {{"384", 31}, {"521", 32}};
constexpr CurveSize kIsoX962[] = {{"192", 33}, {"239", 35}, {"256", 30}};
// Regular curves; the twisted one of each size is the next identifier.
constexpr CurveSize kBrainpool[] = {{"160", 38}, {"192", 40}, {"224", 42}, {"256", 44},
                                    {"320", 46}, {"384", 48}, {"512", 50}};
constexpr int kBrainpoolFamily = 5;

constexpr CurveFamily kFamilies[] = {
    {"SecG Random", kSecgRandom}, {"SecG Koblitz", kSecgKoblitz}, {"NIST Random", kNistRandom},
    {"ISO X9.62", kIsoX962},      {"Brainpool", kBrainpool},
};

constexpr int kColumnsPerLine = 3;

// Prints the labels three per line in the menu's column widths.
template <typename LabelOf>
void PrintInColumns(size_t count, LabelOf labelOf) {
    for (size_t i = 0; i < count; ++i) {
        int number = static_cast<int>(i + 1);
        switch (i % kColumnsPerLine) {
            case 0:
                OutPrintf("%2d - %-21s", number, labelOf(i));
                break;
            case 1:
                OutPrintf("%2d - %-24s", number, labelOf(i));
                break;
            default:
                OutPrintf("%2d - %-18s\n", number, labelOf(i));
                break;
        }
    }
    if (count % kColumnsPerLine != 0) OutPrintf("\n");
}

// Shows "Option : " and reads 1..count; prints the cancellation on failure.
bool ReadOption(int32_t count, int32_t *choice) {
    OutPrintf("%s : ", "Option");
    CurrentTerminal().FlushOut();
    if (ReadMenuNumber(1, count, choice) == kPromptOk) return true;
    PrintCancelled();
    return false;
}

}  // namespace

bool PickEcCurve(int32_t *curve) {
    OutPrintf("\n%s : \n", "Curve");
    PrintInColumns(std::size(kFamilies), [](size_t i) { return kFamilies[i].name; });
    int32_t familyChoice = 0;
    if (!ReadOption(static_cast<int32_t>(std::size(kFamilies)), &familyChoice)) return false;
    const CurveFamily &family = kFamilies[familyChoice - 1];

    OutPrintf("\n%s :\n", "Size (bits)");
    PrintInColumns(family.sizes.size(), [&](size_t i) { return family.sizes[i].bits; });
    int32_t sizeChoice = 0;
    if (!ReadOption(static_cast<int32_t>(family.sizes.size()), &sizeChoice)) return false;
    int32_t chosen = family.sizes[sizeChoice - 1].curve;

    if (familyChoice == kBrainpoolFamily) {
        OutPrintf("\n");
        if (AskYesNo("Twisted (y/[n]):", 0) == 1) ++chosen;
    }
    *curve = chosen;
    OutPrintf("\n");
    return true;
}
