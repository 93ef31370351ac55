/// Scoped progress steps for stages that do not know whether they have a node.
///
/// progress/ uses no other folder.
#ifndef KYFOCUS_PROGRESS_PROGRESS_PROC_MANAGER_H
#define KYFOCUS_PROGRESS_PROGRESS_PROC_MANAGER_H

#include <cstdint>

#include <kyfocus/progress.h>

namespace kyf {

/// Hangs `count` equal steps below a node. Without a node, or with a count below 1, every step is null. The nodes
/// belong to the tree: the destructor leaves them alone.
class CProgressProcManager {
  public:
    CProgressProcManager(KyfProgress* progress, std::int32_t count);
    virtual ~CProgressProcManager() = default;

    CProgressProcManager(const CProgressProcManager&) = delete;
    CProgressProcManager& operator=(const CProgressProcManager&) = delete;

    /// The node of the step in hand, or null.
    KyfProgress* GetCurrent() const;
    /// Completes the step in hand and goes on to the next. At most `count` calls.
    void Next();

  private:
    std::int32_t Count;
    std::int32_t Index = 0;
    KyfProgress** List = nullptr;
};

} // namespace kyf

#endif
