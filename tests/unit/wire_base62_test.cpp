// Base62 text of byte strings: what goes in comes back, whatever the carries between digits.

#include <gtest/gtest.h>

#include <string>

#include "base62.h"

namespace {

TEST(Base62, BytesComeBackAndOnlyDigitsAreRead) {
    const std::string samples[] = {std::string("\x01", 1), std::string("\x01\x00\x00\x00", 4),
                                   std::string("\xff\xff\xff\xff\xff\xff\xff\xff\xff", 9),
                                   std::string("\x3d"), std::string("\x3e")};
    for (const std::string &bytes : samples) {
        const std::string text = wire::EncodeBase62(bytes);
        std::string decoded;
        ASSERT_TRUE(wire::DecodeBase62(text, &decoded)) << text;
        EXPECT_EQ(decoded, bytes) << text;
    }
    EXPECT_EQ(wire::EncodeBase62("\x3d"), "z");
    EXPECT_EQ(wire::EncodeBase62("\x3e"), "10");

    std::string decoded = "kept";
    EXPECT_FALSE(wire::DecodeBase62("", &decoded));
    EXPECT_FALSE(wire::DecodeBase62("ab-c", &decoded));
    EXPECT_EQ(decoded, "kept");
}

}  // namespace
