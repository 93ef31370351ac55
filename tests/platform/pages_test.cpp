#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

#include "platform/pages.h"

namespace {

TEST(Pages, AreZeroFilledAndAligned) {
    for (const std::size_t bytes : {std::size_t{1}, std::size_t{4096}, std::size_t{1000001}}) {
        auto* const block = static_cast<std::uint8_t*>(platform::AllocatePages(bytes));
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 4096, 0u);
        for (std::size_t i = 0; i < bytes; ++i) {
            ASSERT_EQ(block[i], 0);
            block[i] = 0xFF;
        }
        platform::FreePages(block);
    }
}

TEST(Pages, AreRefusedForNoBytesAndForMoreThanThereCanBe) {
    EXPECT_EQ(platform::AllocatePages(0), nullptr);
    EXPECT_EQ(platform::AllocatePages(std::numeric_limits<std::size_t>::max()), nullptr);
    EXPECT_EQ(platform::AllocatePages(std::numeric_limits<std::size_t>::max() / 2), nullptr);
}

TEST(Pages, FreeNull) { platform::FreePages(nullptr); }

} // namespace
