// The slot lines of a map object in the older form.
#include <string>

#include "console/prompts.h"
#include "keys/key_info_sections.h"
#include "keys/key_info_text.h"

uint32_t ShowMapSlotsSection(QKeyHandle map) {
    QMapSlots slots{};
    uint32_t length = sizeof slots;
    const uint32_t status = QGetKeyParam(map, Q_KEY_PARAM_MAP_SLOTS, &slots, &length, 0);
    if (status != 0) {
        PrintError("Error accessing key.", status);
        return status;
    }
    OutPrintf("%35s\n", "OLD MAP!");
    PrintInfoLine("Slot1 Id : ", FieldText(slots.slot1Name, sizeof slots.slot1Name));
    PrintInfoLine("Slot1 Type : ", std::to_string(slots.slot1Type));
    PrintInfoLine("Slot2 Id : ", FieldText(slots.slot2Name, sizeof slots.slot2Name));
    PrintInfoLine("Slot2 Type : ", std::to_string(slots.slot2Type), true);
    return 0;
}
