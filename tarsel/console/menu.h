#pragma once
// The menu engine: screens of up to three columns of numbered items, read a number, check
// the session is alive, dispatch to an action or a nested menu. Item numbers are fixed by
// position: 1-16 in column 1, 18-33 in column 2, 35-50 in column 3.

#include <cstddef>
#include <cstdint>

#include "qelvoarc.h"

struct MenuItem;
struct MenuDefinition;

// Every action has this signature. A negative status ends the process with status -1.
using MenuHandler = int32_t (*)(QSessionHandle session, const MenuItem &item);

inline constexpr int32_t kMenuColumnTitle = -1;
inline constexpr int32_t kMenuEmptySlot = 0;
inline constexpr int32_t kMenuAction = 1;
inline constexpr int32_t kMenuNested = 2;

inline constexpr int kMenuColumns = 3;
inline constexpr int kMenuSlots = 18;  // slot 0 is the column title

struct MenuItem {
    uint32_t acl;  // the user's ACL, passed on to nested menus
    char label[129];
    int32_t type;
    MenuHandler handler;
    const char *header;           // banner and session line; not owned, lives for the whole run
    char subtitle[129];           // title of the screen the item opens or belongs to
    const MenuDefinition *opens;  // the menu the item opens, built afresh on each visit
};

struct Menu {
    MenuItem slots[kMenuColumns][kMenuSlots];
    int count[kMenuColumns];
};

// True when nothing is required, the ACL shares a bit with `requiredAcl`, or `adminSees`
// and the user is an operator.
bool IsItemVisible(uint32_t acl, uint32_t requiredAcl, bool adminSees);

// Appends an item to `column` (0-2) when visible and the column has a free slot; `*count`
// is that column's count. Returns true when it was added.
bool AddMenuItem(MenuItem *column, int *count, uint32_t acl, uint32_t requiredAcl,
                 const char *label, const char *header, const char *subtitle, int32_t type,
                 MenuHandler handler, bool adminSees, const MenuDefinition *opens = nullptr);

// One row of a menu's table: the whole tree is written as these, one table per menu, so
// that binding an item to its action is a one-line change.
struct MenuEntry {
    int column;  // 0-2
    int32_t type;
    const char *label;
    uint32_t requiredAcl;
    MenuHandler handler;          // the action, or RunNestedMenu for an item opening a menu
    const MenuDefinition *opens;  // the menu it opens, or nullptr
    bool (*condition)();          // feature flag that must be set, or nullptr
    bool hiddenFromAdmin;         // the operator bit does not override requiredAcl
};

// A menu as data, so that one builder serves every menu. Items of a menu without a title
// (the main menu) belong to their column's title instead.
struct MenuDefinition {
    const char *title;
    const MenuEntry *entries;
    size_t count;
};

// Zeroes `menu` and adds the visible entries of `definition` for the user's ACL and the
// screen header. Returns the number of items added (column titles not counted).
int BuildMenu(Menu *menu, const MenuDefinition &definition, uint32_t acl, const char *header);

// Clears the screen, prints header, title, the columns and the option prompt. `isMain`
// selects the footer "Exit" rather than "Main Menu".
void PrintMenu(const Menu &menu, const char *title, const char *header, bool isMain);

// Reads a menu reply. Returns the choice 0-51, or -1 for an invalid one. An empty line (or
// end of input) is 0; non-digits are invalid in the main menu and leave a nested one.
int ParseMenuChoice(const char *line, bool isMain);

// The item that `choice` (1-51) addresses, or null for an empty slot or a title.
const MenuItem *MenuItemForChoice(const Menu &menu, int choice);

// The menu loop; returns when 0 is chosen. Ends the process with -1 when the session has
// expired or a handler returns a negative status.
void RunMenu(QSessionHandle session, const Menu &menu, const char *title, const char *header,
             bool isMain);

// Handler of every item that opens a menu: builds item.opens and runs it under the item's
// subtitle.
int32_t RunNestedMenu(QSessionHandle session, const MenuItem &item);

// Single-column chooser for dialogues: " %2d - %s" per entry, optionally " 0 - Exit", then
// "Option : ". Returns ReadMenuNumber's status.
uint32_t ChooseFromList(const char *const *entries, size_t count, bool withExit, int32_t *choice);

// Clears the screen, prints the header and "<subtitle> - <label>".
void PrintActionHeading(const MenuItem &item);

// Handler of every action not built yet: heading and one line saying so. Returns 0.
int32_t NotAvailableAction(QSessionHandle session, const MenuItem &item);
