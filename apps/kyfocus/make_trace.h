/// What the library's results do not tell of a make, read in its trace.
#ifndef KYFOCUS_APP_MAKE_TRACE_H
#define KYFOCUS_APP_MAKE_TRACE_H

#include <filesystem>
#include <optional>
#include <string>

namespace app {

/// Keeps the trace of a make of the 3D pipeline, from its construction on, in a folder of its own.
class MakeTrace {
  public:
    /// @param parent  Gets the folder. Throws Failure when it cannot be made there.
    explicit MakeTrace(const std::filesystem::path& parent);
    ~MakeTrace();
    MakeTrace(const MakeTrace&) = delete;
    MakeTrace& operator=(const MakeTrace&) = delete;

    /// Why the first frame that was lost could not be read back; nothing where all could. The composite breaks off
    /// there, and the make's result is that of a good one.
    std::optional<std::string> LostFrame() const;

    /// Throws std::bad_alloc when memory ran out among the heights, which are 0 then, and Failure when they ended
    /// otherwise, or when the trace does not tell how: then it does not tell of lost frames either.
    void RequireHeights() const;

  private:
    std::filesystem::path m_folder;
};

} // namespace app

#endif
