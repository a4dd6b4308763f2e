// "Password Policy": the HSM-wide rules for passwords, shown and optionally redefined.
#include "admin/password_policy.h"
#include "admin/user_actions.h"
#include "console/prompts.h"
#include "console/terminal.h"

namespace {

struct PolicyField {
    const char *label;         // as shown
    const char *compactLabel;  // as the information screen shows it
    const char *prompt;        // as asked when editing
    uint8_t QPasswordPolicy::*value;
    int32_t min;
    int32_t max;
};

// In the order they are shown and asked.
constexpr PolicyField kFields[] = {
    {"Minimal length : ", "Minimal Lenght", "Minimal length (8-16): ", &QPasswordPolicy::minLength,
     8, 16},
    {"Number of special characters : ", "Special Chars",
     "Number of special characters : ", &QPasswordPolicy::minSpecial, 0, 16},
    {"Number of uppercase characters : ", "Uppercase Chars",
     "Number of uppercase characters : ", &QPasswordPolicy::minUpper, 0, 16},
    {"Number of lowercase characters : ", "Lowercase Chars",
     "Number of lowercase characters : ", &QPasswordPolicy::minLower, 0, 16},
    {"Number of invalid logins before block (0 for disabled): ", "Invalid Logins",
     "Number of invalid logins before block (0 for disabled): ", &QPasswordPolicy::maxInvalidLogins,
     0, 255},
    {"Number of days for expiration (0 for disabled) : ", "Days to expire",
     "Number of days for expiration (0 for disabled) : ", &QPasswordPolicy::expiryDays, 0, 255},
};

void ShowPasswordPolicy(const QPasswordPolicy &policy) {
    for (const PolicyField &field : kFields)
        OutPrintf("%s%u\n", field.label, unsigned(policy.*field.value));
}

// Asks every field; false when one was cancelled or refused.
bool AskPasswordPolicy(QPasswordPolicy *policy) {
    for (const PolicyField &field : kFields) {
        int32_t value = 0;
        if (ReadIntInRange(field.prompt, &value, field.min, field.max, false) != kPromptOk) {
            return false;
        }
        policy->*field.value = static_cast<uint8_t>(value);
    }
    return true;
}

}  // namespace

uint32_t ShowCompactPasswordPolicy(QSessionHandle session, int width) {
    QPasswordPolicy policy{};
    const uint32_t rc =
        QAdmOperation(session, Q_ADM_GET_PASSWORD_POLICY, &policy, sizeof policy, 0);
    if (rc != Q_OK) {
        PrintError("Error recovering Password Policy.", rc);
        return rc;
    }
    for (const PolicyField &field : kFields)
        OutPrintf("%*s : %u\n", width, field.compactLabel, unsigned(policy.*field.value));
    return 0;
}

int32_t PasswordPolicy(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    QPasswordPolicy policy{};
    uint32_t rc = QAdmOperation(session, Q_ADM_GET_PASSWORD_POLICY, &policy, sizeof policy, 0);
    if (rc != Q_OK) {
        PrintError("Error recovering Password Policy.", rc);
        return int32_t(rc);
    }
    ShowPasswordPolicy(policy);
    if (AskYesNo("Do you want to edit it (y/[n]): ", 0) != 1) return 0;
    if (!AskPasswordPolicy(&policy)) {
        PrintCancelled();
        return kPromptCancelled;
    }
    policy.reserved = 0;
    rc = QAdmOperation(session, Q_ADM_SET_PASSWORD_POLICY, &policy, sizeof policy, 0);
    if (rc != Q_OK) {
        PrintError("Error defining Password Policy.", rc);
        return int32_t(rc);
    }
    ErrPrintf("\n%s\n", "Policy changed successfully.");
    return 0;
}
