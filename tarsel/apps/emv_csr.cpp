#include "apps/emv_csr.h"

#include <cstdio>
#include <string>

#include "console/prompts.h"
#include "console/terminal.h"
#include "keys/key_info_sections.h"
#include "keys/key_material_entry.h"

namespace {

constexpr size_t kKeyNameSize = 34;
constexpr size_t kPathSize = 256;
constexpr size_t kHashSize = 28;

struct CsrScheme {
    const char *name;
    const char *firstPrompt;
    const char *typePrompt;  // null: the type-specific field stays zero
    size_t typeBytes;
    const char *requestExtension;
    const char *hashExtension;  // null: no hash file
    size_t hashLength;
};

// In the order of their numbers, Q_EMV_VISA first.
constexpr CsrScheme kSchemes[] = {
    {"Visa", "Tracking Number(6) : ", "Service ID(8) : ", 4, ".INP", ".hash", 20},
    {"MasterCard", "Cert. Serial Number(6) : ", "Issuer Public Key File Index(6) : ", 3, ".SIP",
     ".HIP", 28},
    {"ELO", "Key ID(6) : ", nullptr, 0, ".CSR", nullptr, 0},
    {"JCB", "Cert. Serial Number(6) : ", "Issuer Public Key File Index(6) : ", 3, "", nullptr, 0},
};

struct CsrFields {
    uint8_t first[3] = {};
    uint8_t type[4] = {};
    uint8_t bin[4] = {};
    char expiry[5] = {};
};

int32_t Cancelled() {
    PrintCancelled();
    return static_cast<int32_t>(kPromptCancelled);
}

bool ReadScheme(int32_t *number) {
    OutPrintf("\n%s \n", "CSR type : ");
    OutPrintf(" 1 - %s\n 2 - %s\n 3 - %s\n 4 - %s\n", kSchemes[0].name, kSchemes[1].name,
              kSchemes[2].name, kSchemes[3].name);
    OutPrintf("%s : ", "Option");
    return ReadMenuNumber(1, 4, number) == kPromptOk;
}

bool ReadFields(const CsrScheme &scheme, CsrFields *fields) {
    if (ReadHexField(scheme.firstPrompt, fields->first, sizeof fields->first) != kPromptOk)
        return false;
    if (scheme.typePrompt != nullptr &&
        ReadHexField(scheme.typePrompt, fields->type, scheme.typeBytes) != kPromptOk)
        return false;
    return ReadHexField("Issuer ID(BIN)(8) : ", fields->bin, sizeof fields->bin) == kPromptOk &&
           ReadLine("Cert. Exp. Date(MMYY) : ", fields->expiry, sizeof fields->expiry - 1) ==
               kPromptOk;
}

// The Visa hash file is text: "0x%02X " per byte, no line break.
std::string HashFileContents(const CsrScheme &scheme, const uint8_t *hash) {
    if (scheme.hashLength != 20)
        return std::string(reinterpret_cast<const char *>(hash), scheme.hashLength);
    std::string text;
    char group[8];
    for (size_t i = 0; i < scheme.hashLength; ++i) {
        std::snprintf(group, sizeof group, "0x%02X ", hash[i]);
        text += group;
    }
    return text;
}

int32_t WriteCsrFiles(const CsrScheme &scheme, const QLibBuffer &request, const uint8_t *hash) {
    char path[kPathSize] = {};
    if (!ReadLineOrCancel("File (local) : ", path, sizeof path)) return kPromptCancelled;
    const std::string base = path;
    if (WriteFile((base + scheme.requestExtension).c_str(), request.data, request.length) !=
        kPromptOk) {
        ErrPrintf("\n%s\n", "Error opening the file.");
        return kPromptCancelled;
    }
    if (scheme.hashExtension != nullptr) {
        const std::string contents = HashFileContents(scheme, hash);
        if (WriteFile((base + scheme.hashExtension).c_str(), contents.data(), contents.size()) !=
            kPromptOk) {
            ErrPrintf("\n%s\n", "Error opening the file.");
            return kPromptCancelled;
        }
    }
    return 0;
}

}  // namespace

int32_t EmvCsrAction(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    char keyName[kKeyNameSize] = {};
    if (!ReadLineOrCancel("RSA Key Name (HSM) : ", keyName, sizeof keyName))
        return kPromptCancelled;
    OutPrintf("\n");
    if (uint32_t status = ShowKeyAttributes(session, keyName); status != 0)
        return static_cast<int32_t>(status);
    int32_t number = 0;
    if (!ReadScheme(&number)) return Cancelled();
    const CsrScheme &scheme = kSchemes[number - 1];
    CsrFields fields;
    if (!ReadFields(scheme, &fields)) return Cancelled();

    QLibBuffer request{};
    uint8_t hash[kHashSize] = {};
    const uint32_t status =
        QGenerateEMV_CSREx(session, static_cast<uint32_t>(number), keyName, fields.first,
                           fields.type, fields.bin, fields.expiry, &request, hash, 0);
    if (status != 0) {
        PrintError("Error exporting key.", status);
        return static_cast<int32_t>(status);
    }
    const int32_t written = WriteCsrFiles(scheme, request, hash);
    QFree(request.data);
    if (written != 0) return written;
    OutPrintf("\n%s\n", "File exported successfully.");
    return 0;
}
