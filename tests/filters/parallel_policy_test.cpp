#include <gtest/gtest.h>
#include <omp.h>

#include "filters/filters.h"

namespace {

class UseParallelProcess : public testing::Test {
  protected:
    void SetUp() override {
        if (omp_get_num_procs() < 2) GTEST_SKIP() << "one processor: nothing runs in parallel";
    }
    void TearDown() override { kyf::g_parallelProcImageSize = 0; }

    static bool Use(std::int32_t width, std::int32_t height, KyiBool flag = 1) {
        KyiImageData image{};
        image.Width = width;
        image.Height = height;
        return kyf::UseParallelProcess(&image, flag);
    }
};

TEST_F(UseParallelProcess, NeedsTheFlagAndReadsNoImageWithoutIt) {
    EXPECT_TRUE(Use(1, 1));
    EXPECT_TRUE(Use(1, 1, -5));
    EXPECT_FALSE(Use(4000, 3000, 0));
    EXPECT_FALSE(kyf::UseParallelProcess(nullptr, 0));
}

TEST_F(UseParallelProcess, ReadsNoImageWithoutAThreshold) { EXPECT_TRUE(kyf::UseParallelProcess(nullptr, 1)); }

TEST_F(UseParallelProcess, TakesAnImageOfExactlyTheThreshold) {
    kyf::g_parallelProcImageSize = 12000;
    EXPECT_TRUE(Use(120, 100));
    EXPECT_TRUE(Use(12001, 1));
    EXPECT_FALSE(Use(11999, 1));
}

TEST_F(UseParallelProcess, CountsPixelsInThirtyTwoBitsWithoutASign) {
    kyf::g_parallelProcImageSize = 1;
    EXPECT_FALSE(Use(65536, 65536)); // 0 in 32 bits
    EXPECT_TRUE(Use(65536, 65537));
    kyf::g_parallelProcImageSize = 0x80000000U;
    EXPECT_TRUE(Use(65536, 32768)); // negative, were it signed
    kyf::g_parallelProcImageSize = 0xFFFFFFFFU;
    EXPECT_FALSE(Use(65536, 32768));
}

TEST_F(UseParallelProcess, CountsTheBorderOfABorderedImage) {
    KyiImageData image{};
    image.Width = 100;
    image.Height = 100;
    kyf::g_parallelProcImageSize = 102 * 102;
    EXPECT_TRUE(kyf::UseBorderedParallel(image, 1, 1));
    EXPECT_FALSE(kyf::UseParallelProcess(&image, 1));
    kyf::g_parallelProcImageSize = 102 * 102 + 1;
    EXPECT_FALSE(kyf::UseBorderedParallel(image, 1, 1));
    EXPECT_TRUE(kyf::UseBorderedParallel(image, 2, 1));
}

} // namespace
