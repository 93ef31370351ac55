/// Working memory of a filter call: what is allocated once before the rows, and how the rows are shared out.
#ifndef KYFOCUS_FILTERS_SCRATCH_H
#define KYFOCUS_FILTERS_SCRATCH_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

#include <omp.h>

namespace kyf {

/// An array of numbers on a cache-line boundary, not initialised. Throws std::bad_alloc.
template <typename T> class Scratch {
  public:
    explicit Scratch(std::size_t count)
        : m_block(static_cast<T*>(::operator new (count * sizeof(T), std::align_val_t{64}))) {}

    T* Get() const noexcept { return m_block.get(); }

  private:
    struct Release {
        void operator()(T* block) const noexcept { ::operator delete (block, std::align_val_t{64}); }
    };
    std::unique_ptr<T, Release> m_block;
};

/// Chunks that are worth having: the threads of this moment. Scratch that outlives one region asks once and keeps the
/// answer, since a host may change the number of threads whenever its callback runs.
inline std::int32_t MostChunks(bool parallel) noexcept { return parallel ? std::max(1, omp_get_max_threads()) : 1; }

/// Blocks of work of one image, shared out to chunks: a chunk runs its blocks one after the other in a slice of scratch
/// of its own, so that memory grows with the threads and not with the image.
struct WorkShare {
    std::int32_t Blocks;
    std::int32_t Chunks;

    WorkShare(std::int32_t blocks, bool parallel) noexcept : WorkShare(Within(blocks, MostChunks(parallel))) {}

    /// For scratch that has slices for `mostChunks` chunks.
    static WorkShare Within(std::int32_t blocks, std::int32_t mostChunks) noexcept {
        return {blocks, std::max(1, std::min(blocks, mostChunks)), Fixed{}};
    }

    std::int32_t First(std::int32_t chunk) const noexcept {
        return static_cast<std::int32_t>(static_cast<std::int64_t>(Blocks) * chunk / Chunks);
    }
    std::int32_t Last(std::int32_t chunk) const noexcept { return First(chunk + 1); }

  private:
    struct Fixed {};
    WorkShare(std::int32_t blocks, std::int32_t chunks, Fixed) noexcept : Blocks(blocks), Chunks(chunks) {}
};

/// Number of blocks of `size` that hold `count` things.
constexpr std::int32_t BlockCount(std::int32_t count, std::int32_t size) noexcept {
    return count / size + (count % size != 0 ? 1 : 0);
}

} // namespace kyf

#endif
