#include <gtest/gtest.h>

#include <cstring>

#include "manybody/hash.h"

TEST(Hash, PublishedLookup3Values) {
    EXPECT_EQ(hashlittle("", 0, 0), 0xdeadbeefu);
    EXPECT_EQ(hashlittle("", 0, 0xdeadbeef), 0xbd5b7ddeu);
    EXPECT_EQ(hashlittle("Four score and seven years ago", 30, 0), 0x17770551u);
    EXPECT_EQ(hashlittle("Four score and seven years ago", 30, 1), 0xcd628161u);
}

TEST(Hash, IndependentOfAlignmentAndMasked) {
    const char* text = "Four score and seven years ago";
    alignas(8) char buffer[64];
    uint32_t reference = hashlittle(text, 30, 0);
    for (int offset = 0; offset < 8; offset++) {
        memcpy(buffer + offset, text, 30);
        EXPECT_EQ(hashlittle(buffer + offset, 30, 0), reference) << "offset " << offset;
        for (unsigned bits : {1u, 7u, 16u, 31u}) {
            EXPECT_EQ(hash(buffer + offset, 30, bits), reference & ((1u << bits) - 1u));
        }
    }
    EXPECT_EQ(hash(text, 30, 32), reference & 0u);  // the width is taken modulo 32
}
