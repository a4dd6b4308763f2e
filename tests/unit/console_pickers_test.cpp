// Option pickers: every list's labels, order and values, and the cancelling replies.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "app/process_state.h"
#include "console/pickers.h"
#include "typed_terminal.h"

namespace {

using Picker = std::function<bool(int64_t *)>;

template <typename T>
Picker Wrap(bool (*pick)(T *)) {
    return [pick](int64_t *out) {
        T value{};
        bool ok = pick(&value);
        *out = static_cast<int64_t>(value);
        return ok;
    };
}

struct PickerCase {
    const char *name;
    Picker pick;
    const char *title;
    std::vector<const char *> labels;
    std::vector<int64_t> values;
};

std::string ListingOf(const PickerCase &picker) {
    std::string text = picker.title[0] != '\0' ? std::string(picker.title) + " :\n" : "";
    for (size_t i = 0; i < picker.labels.size(); ++i) {
        char line[160];
        snprintf(line, sizeof line, "%2d - %s\n", static_cast<int>(i + 1), picker.labels[i]);
        text += line;
    }
    return text + "Option : ";
}

class FirmwareFlags : public ::testing::Test {
  protected:
    void SetUp() override { saved_ = gState; }
    void TearDown() override { gState = saved_; }
    ProcessState saved_;
};

using ConsolePickers = FirmwareFlags;

TEST_F(ConsolePickers, EveryListHasItsLabelsValuesAndOrder) {
    gState.fwAtLeast_4_0_0_0 = true;
    const PickerCase pickers[] = {
        {"hash",
         Wrap(PickHash),
         "Hash",
         {"MD5", "SHA-1", "SHA-224", "SHA-256", "SHA-384", "SHA-512", "SHA3-224", "SHA3-256",
          "SHA3-384", "SHA3-512"},
         {1, 2, 7, 4, 5, 6, 8, 9, 10, 11}},
        {"hmac",
         Wrap(PickHmacType),
         "HMAC Key type",
         {"HMAC MD5", "HMAC SHA-1", "HMAC SHA-224", "HMAC SHA-256", "HMAC SHA-384", "HMAC SHA-512",
          "HMAC SHA3-224", "HMAC SHA3-256", "HMAC SHA3-384", "HMAC SHA3-512"},
         {92, 93, 97, 94, 95, 96, 98, 99, 100, 101}},
        {"ed",
         Wrap(PickEdCurve),
         "Curve",
         {"EdDSA25519", "EdDSA448", "X25519", "X448"},
         {201, 202, 203, 204}},
        {"sym family",
         Wrap(PickSymKeyFamily),
         "Symmetric keys",
         {"DES", "3DES", "DESX", "AES", "ARC4", "HMAC"},
         {1, 2, 3, 4, 5, 6}},
        {"3des", Wrap(Pick3desSize), "Size (bits)", {"112", "168"}, {2, 3}},
        {"aes", Wrap(PickAesSize), "Size (bits)", {"128", "192", "256"}, {7, 8, 9}},
        {"asym family",
         Wrap(PickAsymKeyFamily),
         "Asymmetric keys",
         {"RSA", "ECC", "ECX"},
         {1, 2, 3}},
        {"rsa",
         Wrap(PickRsaKeySize),
         "RSA key size (bits)",
         {"512", "1024", "1152", "1408", "1536", "1976", "1984", "2048", "2304", "2560", "2816",
          "3072", "4096", "8192"},
         {4, 5, 121, 122, 131, 130, 123, 6, 126, 127, 128, 129, 11, 124}},
        {"sym padding", Wrap(PickSymPadding), "Padding", {"Zero padding", "PKCS #5"}, {2, 1}},
        {"sym mode", Wrap(PickSymMode), "Mode", {"ECB", "CBC", "KW", "KWP"}, {1, 2, 64, 4}},
        {"rsa padding",
         Wrap(PickRsaPadding),
         "Padding",
         {"PKCS#1 v1.5", "OAEP SHA-1", "OEAP SHA-256"},
         {4, 3, 8}},
        {"oaep", Wrap(PickOaepPadding), "Padding", {"OAEP SHA-1", "OEAP SHA-256"}, {3, 8}},
        {"security",
         Wrap(PickSecurityLevel),
         "Security level (bits)",
         {"64 bits", "96 bits", "112 bits", "128 bits", "160 bits"},
         {1, 2, 3, 4, 5}},
        {"kcv", Wrap(PickCheckValueFormat), "Check value format", {"KCV", "CMAC"}, {0, 1}},
        {"svault op",
         Wrap(PickSVaultOperation),
         "SVault option",
         {"Generate token", "Get data"},
         {1, 2}},
        {"mask",
         Wrap(PickMaskOption),
         "Mask option",
         {"No mask", "Mask secret", "Mask token"},
         {0, 2, 1}},
        {"checksum",
         Wrap(PickChecksumOption),
         "Checksum option",
         {"None", "CPF", "CNPJ", "PAN", "Voter Registration"},
         {0, 1, 2, 3, 4}},
        {"base",
         [](int64_t *out) {
             char base = 0;
             bool ok = PickTokenBase("Token base", &base);
             *out = base;
             return ok;
         },
         "Token base",
         {"Base 10", "Base 62"},
         {10, 62}},
        {"svault output", Wrap(PickSVaultOutput), "Output", {"Secret", "Token"}, {1, 2}},
        {"tr31 export",
         Wrap(PickTr31Export),
         "Export",
         {"[E] KEK X9.24 Parts 1 or 2", "[N] Non-exportable", "[S] Sensitive"},
         {'E', 'N', 'S'}},
    };
    for (const PickerCase &picker : pickers) {
        ASSERT_EQ(picker.labels.size(), picker.values.size()) << picker.name;
        for (size_t k = 1; k <= picker.values.size(); ++k) {
            TypedTerminal terminal(std::to_string(k) + "\n");
            int64_t value = -1;
            ASSERT_TRUE(picker.pick(&value)) << picker.name << " " << k;
            EXPECT_EQ(value, picker.values[k - 1]) << picker.name << " " << k;
            EXPECT_EQ(terminal->out, ListingOf(picker) + "\n") << picker.name;
        }
    }
}

TEST_F(ConsolePickers, CancellingRepliesLeaveTheOutputUntouched) {
    for (const char *reply : {"0\n", "\n", "2 \n", "+2\n", "7\n", ""}) {
        TypedTerminal terminal(reply);
        int32_t value = -5;
        EXPECT_FALSE(PickAesSize(&value)) << reply;
        EXPECT_EQ(value, -5) << reply;
        EXPECT_EQ(terminal->err, "\nOperation cancelled!\n") << reply;
    }
    TypedTerminal terminal("02\n");
    int32_t value = 0;
    EXPECT_TRUE(PickAesSize(&value));
    EXPECT_EQ(value, 8);
}

TEST_F(ConsolePickers, Sha3IsOfferedOnlyFromFirmwareFour) {
    gState.fwAtLeast_4_0_0_0 = false;
    TypedTerminal terminal("7\n");
    int32_t value = -5;
    EXPECT_FALSE(PickHmacType(&value));
    EXPECT_EQ(terminal->out.find("SHA3"), std::string::npos);
}

TEST_F(ConsolePickers, SymmetricAndAsymmetricAlgorithmsByFamily) {
    struct Case {
        const char *typed;
        bool ok;
        int32_t result;  // from a preset of -1
    };
    const Case symmetric[] = {
        {"1\n", true, -1},     // DES leaves the caller's value
        {"3\n", true, -1},     // DESX too
        {"5\n", true, -1},     // ARC4 too
        {"2\n2\n", true, 3},   // 3DES 168
        {"4\n3\n", true, 9},   // AES 256
        {"6\n4\n", true, 94},  // HMAC SHA-256
        {"4\n\n", false, -1},
    };
    for (const Case &c : symmetric) {
        TypedTerminal terminal(c.typed);
        int32_t algorithm = -1;
        EXPECT_EQ(GetSymKeyAlg(&algorithm), c.ok) << c.typed;
        EXPECT_EQ(algorithm, c.result) << c.typed;
    }
    const Case asymmetric[] = {{"1\n8\n", true, 6}, {"2\n2\n4\n", true, 29}, {"3\n2\n", true, 202}};
    for (const Case &c : asymmetric) {
        TypedTerminal terminal(c.typed);
        int32_t algorithm = -1;
        EXPECT_EQ(PickAsymKeyAlg(&algorithm), c.ok) << c.typed;
        EXPECT_EQ(algorithm, c.result) << c.typed;
    }
}

TEST_F(ConsolePickers, EcCurveByFamilySizeAndTwist) {
    struct Case {
        const char *typed;
        bool ok;
        int32_t curve;
    };
    const Case cases[] = {
        {"1\n1\n", true, 18},    {"1\n8\n", true, 32},   {"2\n1\n", true, 22},
        {"3\n1\n", true, 31},    {"4\n2\n", true, 35},   {"4\n3\n", true, 30},
        {"5\n4\ny\n", true, 45}, {"5\n4\n\n", true, 44}, {"5\n7\nn\n", true, 50},
        {"6\n", false, -1},      {"3\n3\n", false, -1},  {"\n", false, -1},
    };
    for (const Case &c : cases) {
        TypedTerminal terminal(c.typed);
        int32_t curve = -1;
        EXPECT_EQ(PickEcCurve(&curve), c.ok) << c.typed;
        EXPECT_EQ(curve, c.curve) << c.typed;
        if (!c.ok) {
            EXPECT_EQ(terminal->err, "\nOperation cancelled!\n") << c.typed;
        }
    }

    TypedTerminal terminal("4\n1\n");
    int32_t curve = 0;
    PickEcCurve(&curve);
    EXPECT_EQ(terminal->out,
              "\nCurve : \n"
              " 1 - SecG Random           2 - SecG Koblitz             3 - NIST Random       \n"
              " 4 - ISO X9.62             5 - Brainpool               \n"
              "Option : \nSize (bits) :\n"
              " 1 - 192                   2 - 239                      3 - 256               \n"
              "Option : \n");
}

TEST_F(ConsolePickers, UsageProfilesAreNarrowedByAlgorithm) {
    EXPECT_EQ(UsageProfilesFor(9), (std::vector<uint32_t>{2, 3, 7, 18, 23}));
    EXPECT_EQ(UsageProfilesFor(2).size(), 18u);
    const std::vector<uint32_t> rsa = {1, 2, 3, 4, 5, 6, 7, 8, 22, 24, 25};
    EXPECT_EQ(UsageProfilesFor(6), rsa);
    EXPECT_EQ(UsageProfilesFor(static_cast<int32_t>(0x80000000u | 124)), rsa);
    EXPECT_EQ(UsageProfilesFor(353), rsa);
    EXPECT_EQ(UsageProfilesFor(30).size(), 25u);

    TypedTerminal terminal("5\n");
    uint32_t attributes = 0x1;
    EXPECT_TRUE(PickUsageProfile(7, &attributes));
    EXPECT_EQ(attributes, 0x1u | 23u << 24);
    EXPECT_EQ(terminal->out.substr(0, 5), " 1 - ") << "no title line";
    EXPECT_NE(terminal->out.find(" 5 - EFT_TR31_KBPK  - TR31 key-block protection key\n"),
              std::string::npos);

    EXPECT_STREQ(UsageProfileDescription(0), "any usage");
    EXPECT_STREQ(UsageProfileDescription(1), "signature generation/verification");
    EXPECT_STREQ(UsageProfileDescription(16), "ICC data encryption - PinBlock");
    EXPECT_STREQ(UsageProfileDescription(26), "unknown");
}

TEST_F(ConsolePickers, Tr31ModesFollowTheUsage) {
    struct Case {
        const char *usage;
        std::string modes;
    };
    const Case cases[] = {{"B1", "X"},   {"B2", "Y"},      {"M8", "CGV"}, {"V4", "CGV"},
                          {"P0", "BDE"}, {"K3", "BDEX"},   {"E6", "X"},   {"I0", "N"},
                          {"S1", "SV"},  {"S2", "SVUBDE"}, {"M9", ""},    {"Z0", ""}};
    for (const Case &c : cases) {
        uint16_t usage = static_cast<uint16_t>(c.usage[0] | c.usage[1] << 8);
        auto modes = Tr31AllowedModes(usage);
        EXPECT_EQ(std::string(modes.begin(), modes.end()), c.modes) << c.usage;
    }
    EXPECT_EQ(Tr31Usage("B0"), 0x3042);

    TypedTerminal terminal("3\n");
    char mode = 0;
    EXPECT_TRUE(PickTr31Mode(Tr31Usage("S2"), &mode));
    EXPECT_EQ(mode, 'U');
    EXPECT_NE(terminal->out.find(" 3 - [T] Both Sign & Decrypt \n"), std::string::npos);
}

TEST_F(ConsolePickers, Tr31OptionsDefaultToZerosOrAskAllThree) {
    uint16_t usage = 1;
    char mode = 1, exportability = 1;
    {
        TypedTerminal terminal("\n");
        EXPECT_EQ(PickTr31Options(9, &usage, &mode, &exportability), 0);
        EXPECT_EQ(usage, 0);
        EXPECT_EQ(mode, 0);
        EXPECT_EQ(exportability, 0);
        EXPECT_NE(terminal->out.find("[D0] Symmetric"), std::string::npos);
    }
    {
        TypedTerminal terminal("n\n1\n3\n2\n");
        EXPECT_EQ(PickTr31Options(6, &usage, &mode, &exportability), 0);
        EXPECT_EQ(usage, Tr31Usage("D1"));
        EXPECT_EQ(mode, 'E');
        EXPECT_EQ(exportability, 'N');
    }
    {
        TypedTerminal terminal("n\n5\n\n");
        EXPECT_EQ(PickTr31Options(9, &usage, &mode, &exportability), 1);
        EXPECT_EQ(terminal->Remaining(), "") << "export is not asked after a failed mode";
    }
}

}  // namespace
