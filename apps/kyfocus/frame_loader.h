/// Decodes the frames of a stack ahead of the thread that uses them.
#ifndef KYFOCUS_APP_FRAME_LOADER_H
#define KYFOCUS_APP_FRAME_LOADER_H

#include <array>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <filesystem>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "images.h"

namespace app {

/// What the loader did so far.
struct LoaderStatistics {
    double DecodeSeconds = 0;   // sum over the frames, decoded side by side or not
    double WaitSeconds = 0;     // that Next() waited for a frame
    std::size_t PeakFrames = 0; // most frames that were decoded and not taken
    std::size_t PeakBytes = 0;  // their pixel blocks at most
};

/// Hands out the frames in order. At most kFramesAhead frames beyond those taken are decoded or being decoded, so that
/// memory does not grow with the stack. One thread uses it; the decoders are its own.
class FrameLoader {
  public:
    static constexpr std::size_t kFramesAhead = 2;

    /// Takes fewer threads where the system refuses some. Throws Failure when it refuses all.
    FrameLoader(std::vector<std::filesystem::path> files, int threads);
    ~FrameLoader(); // waits for the frames that are being decoded
    FrameLoader(const FrameLoader&) = delete;
    FrameLoader& operator=(const FrameLoader&) = delete;

    /// The next frame, as soon as it is there. Throws what its decoding threw; not to be called beyond the last frame.
    Image Next();

    LoaderStatistics Statistics() const;

  private:
    struct Decoded {
        Image Pixels;
        std::exception_ptr Error;
    };

    void RunDecoder();
    void Stop() noexcept;
    bool MayStartFrame() const;
    std::optional<Decoded>& PlaceOf(std::size_t index);
    void Store(std::size_t index, Decoded decoded, double seconds) noexcept;

    const std::vector<std::filesystem::path> m_files;
    mutable std::mutex m_mutex; // guards all below but the threads
    std::condition_variable m_changed;
    std::array<std::optional<Decoded>, kFramesAhead> m_decoded; // in turn
    std::size_t m_started = 0;                                  // frames that a decoder has begun
    std::size_t m_taken = 0;                                    // frames handed out
    std::size_t m_heldFrames = 0;                               // of m_decoded
    std::size_t m_heldBytes = 0;                                // their pixel blocks
    bool m_isStopping = false;
    LoaderStatistics m_statistics;
    std::vector<std::thread> m_decoders;
};

} // namespace app

#endif
