/// Decodes the frames of a stack ahead of the thread that uses them.
#ifndef KYFOCUS_APP_FRAME_LOADER_H
#define KYFOCUS_APP_FRAME_LOADER_H

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <filesystem>
#include <map>
#include <mutex>
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
    bool MayStartFrame() const;
    void Store(std::size_t index, Decoded decoded, double seconds);

    const std::vector<std::filesystem::path> m_files;
    mutable std::mutex m_mutex; // guards all below but the threads
    std::condition_variable m_changed;
    std::map<std::size_t, Decoded> m_decoded; // by frame
    std::size_t m_started = 0;                // frames that a decoder has begun
    std::size_t m_taken = 0;                  // frames handed out
    std::size_t m_heldBytes = 0;              // pixel blocks in m_decoded
    bool m_isStopping = false;
    LoaderStatistics m_statistics;
    std::vector<std::thread> m_decoders;
};

} // namespace app

#endif
