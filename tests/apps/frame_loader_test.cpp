#include "frame_loader.h"

#include <chrono>
#include <fstream>

#include <gtest/gtest.h>

#include "errors.h"
#include "support/case_files.h"
#include "support/images.h"

namespace {

namespace fs = std::filesystem;
constexpr int kSide = 16;

/// Frames of which frame n is filled with n.
class FrameLoader : public testing::Test {
  protected:
    std::vector<fs::path> MakeFrames(int count) const {
        std::vector<fs::path> files;
        for (int frame = 0; frame < count; ++frame) {
            files.push_back(m_folder.Path() / (std::to_string(frame) + ".bmp"));
            const test::Image image(KyiAllocImageData(kSide, kSide, KyiFormatGray8));
            KyiFill(image.get(), frame, 0, 0);
            app::SaveImage(files.back(), *image);
        }
        return files;
    }

    static int ValueOf(const app::Image& image) {
        std::int32_t value = -1;
        KyiGetPixelData(image.get(), 0, 0, &value);
        return value;
    }

  private:
    test::TemporaryFolder m_folder;
};

TEST_F(FrameLoader, HandsOutTheFramesInOrderWhateverTheThreads) {
    const std::vector<fs::path> files = MakeFrames(20);
    for (const int threads : {1, 2, 5}) {
        app::FrameLoader loader(files, threads);
        for (int frame = 0; frame < 20; ++frame) EXPECT_EQ(ValueOf(loader.Next()), frame);
    }
}

TEST_F(FrameLoader, StaysTwoFramesAhead) {
    const std::vector<fs::path> files = MakeFrames(6);
    app::FrameLoader loader(files, 4);
    loader.Next();
    // Two more are decoded now, and then nothing: frames 3 and later are gone before they are asked for.
    for (int wait = 0; wait < 2000 && loader.Statistics().PeakFrames < 2; ++wait)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    for (std::size_t frame = 3; frame < files.size(); ++frame) fs::remove(files[frame]);
    EXPECT_EQ(ValueOf(loader.Next()), 1);
    EXPECT_EQ(ValueOf(loader.Next()), 2);
    EXPECT_THROW(loader.Next(), app::Failure);
    EXPECT_EQ(loader.Statistics().PeakFrames, 2U);
    EXPECT_EQ(loader.Statistics().PeakBytes, 2U * kSide * kSide);
}

TEST_F(FrameLoader, ThrowsForABadFrameWhenItsTurnComes) {
    const std::vector<fs::path> files = MakeFrames(4);
    std::ofstream(files[2]) << "no image";
    app::FrameLoader loader(files, 2);
    EXPECT_EQ(ValueOf(loader.Next()), 0);
    EXPECT_EQ(ValueOf(loader.Next()), 1);
    try {
        loader.Next();
        ADD_FAILURE() << "a bad frame came through";
    } catch (const app::Failure& failure) {
        EXPECT_TRUE(std::string(failure.what()).starts_with(files[2].native() + ": ")) << failure.what();
    }
    EXPECT_EQ(ValueOf(loader.Next()), 3);
}

TEST_F(FrameLoader, CanBeLeftAtAnyTime) {
    const std::vector<fs::path> files = MakeFrames(5);
    { const app::FrameLoader loader(files, 2); }
    {
        app::FrameLoader loader(files, 2);
        loader.Next();
    }
    EXPECT_NO_THROW(app::FrameLoader({}, 2));
}

} // namespace
