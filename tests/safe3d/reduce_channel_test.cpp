#include "safe3d/reduce_channel.h"

#include <gtest/gtest.h>

#include "filters/filters.h"
#include "filters/image_layout.h"
#include "safe3d/extract_channel.h"
#include "safe3d/maps.h"
#include "safe3d/threads.h"

namespace {

using test::MapShape;

std::vector<double> ReduceThenExtract(const KyiImageData& source, const MapShape& to, KyiBool parallel) {
    const test::Image reduced(KyiAllocImageData(to.Width, to.Height, source.Format));
    kyf::ReduceImage(&source, reduced.get(), parallel);
    const kyf::DoubleImagePtr channel(kyf::AllocDoubleImage(to.Width, to.Height));
    kyf::ExtractChannel(*reduced, *channel, parallel);
    return test::ToList(*channel);
}

TEST(ReduceChannel, EqualsReducingAllAndExtractingWhateverTheThreads) {
    std::uint32_t seed = 0;
    for (const std::int32_t format : test::AllFormats()) {
        for (const MapShape& to : {MapShape{1, 1}, MapShape{7, 3}, MapShape{64, 5}}) {
            for (const MapShape& from : {MapShape{to.Width, to.Height}, MapShape{2 * to.Width, 3 * to.Height},
                                         MapShape{5 * to.Width + 3, 2 * to.Height + 1}, MapShape{to.Width, 300}}) {
                const test::Image source = test::RandomImage(from.Width, from.Height, format, ++seed);
                for (const int threads : test::kThreadCounts) {
                    SCOPED_TRACE(test::Describe(from, threads, seed) + ", format " + std::to_string(format));
                    const test::ThreadScope scope(threads);
                    const kyf::DoubleImagePtr channel(kyf::AllocDoubleImage(to.Width, to.Height));
                    kyf::ReduceChannel(*source, *channel, threads != 0);
                    EXPECT_TRUE(test::SameValues(ReduceThenExtract(*source, to, threads != 0), test::ToList(*channel)));
                }
            }
        }
    }
}

// Sums of 16 bits hold 257 rows of bytes.
TEST(ReduceChannel, AddsUpManyWhiteRows) {
    for (const std::int32_t rows : {257, 258, 1000}) {
        const test::Image white = test::FromPlanes(2, rows, KyiFormatGray8,
                                                   std::vector<std::int32_t>(static_cast<std::size_t>(2 * rows), 255));
        const kyf::DoubleImagePtr channel(kyf::AllocDoubleImage(1, 1));
        kyf::ReduceChannel(*white, *channel, 0);
        EXPECT_EQ(255.0, channel->Rows[0][0]) << rows << " rows";
    }
}

TEST(ReduceChannel, CapsDeepSamplesAt255BelowTheSizeOfParallelWork) {
    const test::Image deep = test::FromPlanes(40, 30, KyiFormatGray16, std::vector<std::int32_t>(1200, 60000));
    for (const std::uint32_t limit : {0U, 1201U}) {
        kyf::g_parallelProcImageSize = limit;
        const kyf::DoubleImagePtr channel(kyf::AllocDoubleImage(20, 15));
        kyf::ReduceChannel(*deep, *channel, 1);
        EXPECT_EQ(kyf::UseParallelProcess(deep.get(), 1) ? 60000.0 : 255.0, channel->Rows[3][3]);
    }
    kyf::g_parallelProcImageSize = 0;
}

} // namespace
