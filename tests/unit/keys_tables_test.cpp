// Pure parts of the key screens: algorithm tables, life-cycle texts and the hexadecimal field.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "keys/algorithm_tables.h"
#include "keys/key_material_entry.h"
#include "keys/life_cycle_text.h"
#include "qelvoarc.h"
#include "typed_terminal.h"

namespace {

// Every identifier that generation or import can produce.
std::vector<uint32_t> OfferedAlgorithms() {
    std::vector<uint32_t> ids = {1, 2, 3, 7, 8, 9, 10, 89, 91, 201, 202, 203, 204};
    for (uint32_t id = 92; id <= 101; ++id)
        ids.push_back(id);
    for (uint32_t id :
         {4u, 5u, 121u, 122u, 131u, 130u, 123u, 6u, 126u, 127u, 128u, 129u, 11u, 124u})
        ids.push_back(id);
    for (uint32_t id = Q_ALG_ECC_FIRST; id <= Q_ALG_ECC_LAST; ++id)
        ids.push_back(id);
    return ids;
}

TEST(KeysTables, EveryOfferedAlgorithmHasANameAndASize) {
    for (uint32_t id : OfferedAlgorithms()) {
        SCOPED_TRACE(id);
        EXPECT_STRNE(AlgorithmName(id), "unknown");
        EXPECT_GT(AlgorithmKeyBits(id), 0u);
    }
    // Clear material is needed for exactly the symmetric families.
    EXPECT_EQ(SymmetricKeyLength(91), 24u);
    EXPECT_EQ(SymmetricKeyLength(101), 64u);
    EXPECT_EQ(SymmetricKeyLength(6), 0u);
    EXPECT_STREQ(AlgorithmName(0), "unknown");
    EXPECT_STREQ(AlgorithmName(354), "unknown");
}

TEST(KeysTables, LifeCycleTexts) {
    EXPECT_STREQ(LifeCycleStateName(2), "ACTIVE");
    EXPECT_STREQ(LifeCycleStateName(6), "DESTROYED_C");
    EXPECT_STREQ(LifeCycleStateName(7), "");
    EXPECT_STREQ(LifeCycleStateName(8), "UNKNOWN");
    EXPECT_STREQ(LifeCycleStateName(0x101), "PRE_ACTIVE");  // only the low byte counts

    // A zero mask shows "none" only until a mask has been shown; then it repeats that text.
    EXPECT_STREQ(LifeCycleMaskText(0), "none");
    EXPECT_STREQ(LifeCycleMaskText(0x5), "SIGN, ENCRYPT");
    EXPECT_STREQ(LifeCycleMaskText(0), "SIGN, ENCRYPT");
    EXPECT_STREQ(LifeCycleMaskText(0x80000 | 0x800), "KEY_AGREEMENT, TRANSLATE_UNWRAP");

    EXPECT_EQ(LifeCycleDate(0), "none");
    EXPECT_EQ(LifeCycleDate(1700000000), "2023-11-14 22:13:20 GMT");
}

TEST(KeysHexField, AcceptsOnlyEvenHexadecimalLines) {
    struct Case {
        const char *typed;
        uint32_t status;
        const char *bytes;
    };
    const Case cases[] = {
        {"0123456789abcdef\n", 0, "\x01\x23\x45\x67\x89\xAB\xCD\xEF"},
        {"0123\n", 0, "\x01\x23\0\0\0\0\0\0"},
        {"\n", 1, ""},
        {"012\n", 1, ""},
        {"01234567 9ABCDEF\n", 1, ""},
        {"0123456789ABCDEF00\n", 1, ""},  // longer than the field: cut to an odd length
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.typed);
        TypedTerminal terminal(c.typed);
        uint8_t out[8] = {};
        EXPECT_EQ(ReadHexField("", out, sizeof out), c.status);
        if (c.status == 0) {
            EXPECT_EQ(memcmp(out, c.bytes, sizeof out), 0);
        }
    }
}

}  // namespace
