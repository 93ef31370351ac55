#include "progress/progress_proc_manager.h"

namespace kyf {

CProgressProcManager::CProgressProcManager(KyfProgress* progress, std::int32_t count) : Count(count) {
    if (progress == nullptr || count < 1) return;
    List = KyfProgressCreateSubList(count, /*equal=*/1);
    KyfAppendProgress(progress, List, count);
}

KyfProgress* CProgressProcManager::GetCurrent() const {
    return List != nullptr && Index < Count ? List[Index] : nullptr;
}

void CProgressProcManager::Next() {
    if (List != nullptr) KyfProgressCompleteProc(List[Index]);
    ++Index;
}

} // namespace kyf
