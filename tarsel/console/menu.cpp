// The menu engine: building, printing and running numbered menus.
#include "console/menu.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "console/prompts.h"
#include "console/terminal.h"

namespace {

// Choice n of column c addresses slot n - kColumnBase[c]; 17, 34 and 51 reach an 18th slot
// that is never printed.
constexpr int kColumnBase[kMenuColumns] = {0, 17, 34};
constexpr int kHighestChoice = 51;

// Printed widths of the three columns (a number, " - " and a label fill the same width).
constexpr int kTitleWidth[kMenuColumns] = {26, 29, 23};
constexpr int kLabelWidth[kMenuColumns] = {21, 24, 18};

void PrintSlot(const MenuItem &slot, int column, int row) {
    switch (slot.type) {
        case kMenuColumnTitle:
            OutPrintf("%-*s", kTitleWidth[column], slot.label);
            break;
        case kMenuAction:
        case kMenuNested:
            OutPrintf("%2d - %-*s", row + kColumnBase[column], kLabelWidth[column], slot.label);
            break;
        default:
            OutPrintf("%*s", kTitleWidth[column], "");
            break;
    }
}

[[noreturn]] void EndProcess() {
    CurrentTerminal().FlushOut();
    std::exit(-1);
}

}  // namespace

bool IsItemVisible(uint32_t acl, uint32_t requiredAcl, bool adminSees) {
    return requiredAcl == 0 || (acl & requiredAcl) != 0 || (adminSees && (acl & Q_ACL_OPERATOR));
}

bool AddMenuItem(MenuItem *column, int *count, uint32_t acl, uint32_t requiredAcl,
                 const char *label, const char *header, const char *subtitle, int32_t type,
                 MenuHandler handler, bool adminSees, const MenuDefinition *opens) {
    if (!IsItemVisible(acl, requiredAcl, adminSees) || *count >= kMenuSlots) return false;
    MenuItem &item = column[(*count)++];
    item = {};
    item.acl = acl;
    snprintf(item.label, sizeof item.label, "%s", label);
    item.type = type;
    item.handler = handler;
    item.header = header;
    snprintf(item.subtitle, sizeof item.subtitle, "%s", subtitle);
    item.opens = opens;
    return true;
}

int BuildMenu(Menu *menu, const MenuDefinition &definition, uint32_t acl, const char *header) {
    *menu = {};
    const char *columnTitle[kMenuColumns] = {"", "", ""};
    int added = 0;
    for (size_t i = 0; i < definition.count; ++i) {
        const MenuEntry &entry = definition.entries[i];
        if (entry.condition != nullptr && !entry.condition()) continue;
        int column = entry.column;
        if (entry.type == kMenuColumnTitle) columnTitle[column] = entry.label;
        const char *subtitle = entry.opens != nullptr        ? entry.opens->title
                               : definition.title != nullptr ? definition.title
                                                             : columnTitle[column];
        bool shown = AddMenuItem(menu->slots[column], &menu->count[column], acl, entry.requiredAcl,
                                 entry.label, header, subtitle, entry.type, entry.handler,
                                 !entry.hiddenFromAdmin, entry.opens);
        if (shown && entry.type != kMenuColumnTitle) ++added;
    }
    return added;
}

void PrintMenu(const Menu &menu, const char *title, const char *header, bool isMain) {
    ClearScreenTitle(header);
    OutPrintf("%s\n\n", title);
    for (int row = 0; row < kMenuSlots - 1; ++row) {
        bool hasTitle = false;
        for (int column = 0; column < kMenuColumns; ++column) {
            const MenuItem &slot = menu.slots[column][row];
            PrintSlot(slot, column, row);
            hasTitle = hasTitle || slot.type == kMenuColumnTitle;
        }
        OutPrintf(hasTitle ? "\n\n" : "\n");
    }
    OutPrintf("\n 0 - %s\n\n", isMain ? "Exit" : "Main Menu");
    OutPrintf("%s : ", "Option");
    CurrentTerminal().FlushOut();
}

int ParseMenuChoice(const char *line, bool isMain) {
    size_t length = strlen(line);
    for (size_t i = 0; i + 1 < length; ++i) {
        if (!isdigit(static_cast<unsigned char>(line[i]))) return isMain ? -1 : 0;
    }
    long value = strtol(line, nullptr, 10);
    return value >= 0 && value <= kHighestChoice ? static_cast<int>(value) : -1;
}

const MenuItem *MenuItemForChoice(const Menu &menu, int choice) {
    for (int column = kMenuColumns - 1; column >= 0; --column) {
        int slot = choice - kColumnBase[column];
        if (slot < 1) continue;
        if (slot >= menu.count[column]) return nullptr;
        const MenuItem &item = menu.slots[column][slot];
        return item.type == kMenuAction || item.type == kMenuNested ? &item : nullptr;
    }
    return nullptr;
}

void RunMenu(QSessionHandle session, const Menu &menu, const char *title, const char *header,
             bool isMain) {
    Terminal &terminal = CurrentTerminal();
    for (;;) {
        terminal.DiscardPendingInput();
        PrintMenu(menu, title, header, isMain);
        char line[64] = {};
        // End of input leaves the menu as an empty line does.
        int choice = terminal.ReadLine(line, sizeof line) ? ParseMenuChoice(line, isMain) : 0;
        if (choice == 0) return;

        const MenuItem *item = nullptr;
        if (choice > 0) {
            uint32_t alive =
                QAdmOperation(session, Q_ADM_LIVENESS, nullptr, 0, Q_ADM_LIVENESS_FLAGS);
            if (alive != 0) {
                PrintError("Error session expired.", alive);
                EndProcess();
            }
            item = MenuItemForChoice(menu, choice);
        }
        if (item == nullptr) {
            OutPrintf("\n\n%s\n", "Invalid option.");
        } else if (item->handler(session, *item) < 0) {
            EndProcess();
        }
        if (item == nullptr || item->type != kMenuNested) WaitForEnter();
    }
}

int32_t RunNestedMenu(QSessionHandle session, const MenuItem &item) {
    Menu menu;
    BuildMenu(&menu, *item.opens, item.acl, item.header);
    RunMenu(session, menu, item.subtitle, item.header, false);
    return 0;
}

uint32_t ChooseFromList(const char *const *entries, size_t count, bool withExit, int32_t *choice) {
    for (size_t i = 0; i < count; ++i)
        OutPrintf(" %2d - %s\n", static_cast<int>(i + 1), entries[i]);
    if (withExit) OutPrintf("\n %2d - %s\n", 0, "Exit");
    OutPrintf("%s : ", "Option");
    CurrentTerminal().FlushOut();
    return ReadMenuNumber(withExit ? 0 : 1, static_cast<int32_t>(count), choice);
}

void PrintActionHeading(const MenuItem &item) {
    ClearScreenTitle(item.header);
    OutPrintf("%s - %s\n\n", item.subtitle, item.label);
}

int32_t NotAvailableAction(QSessionHandle, const MenuItem &item) {
    PrintActionHeading(item);
    OutPrintf("%s\n", "This function is not available in this version.");
    return 0;
}
