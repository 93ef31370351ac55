// The exported calls of the progress tree: a few field writes each, so that stages complete steps freely.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include <kyfocus/progress.h>

namespace {

constexpr std::int32_t kFullPercent = 100;

/// Sums and products of percents come from hosts' numbers too: they wrap.
std::int32_t Sum(std::int32_t left, std::int32_t right) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(left) + static_cast<std::uint32_t>(right));
}

std::int32_t Product(std::int32_t left, std::int32_t right) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(left) * static_cast<std::uint32_t>(right));
}

KyfProgress NewNode(KyfProgressCallback callback, void* args) {
    KyfProgress node{};
    node.Weight = kFullPercent;
    node.Callback = callback;
    node.Args = args;
    return node;
}

std::span<KyfProgress* const> Children(const KyfProgress& node) {
    if (node.SubList == nullptr || node.SubCount <= 0) return {};
    return {node.SubList, static_cast<std::size_t>(node.SubCount)};
}

bool IsRoot(const KyfProgress& node) { return node.Parent == nullptr || node.Parent == &node; }

void Report(KyfProgress& node) {
    if (node.Callback != nullptr) node.Callback(&node);
}

/// Equal weights. Their sum ends up one above 100, since a weight still grows when the sum stands at 100.
void ShareEqually(std::span<const std::unique_ptr<KyfProgress>> nodes) {
    const auto count = static_cast<std::int32_t>(nodes.size());
    std::int32_t sum = 0;
    for (const auto& node : nodes) {
        node->Weight = kFullPercent / count;
        sum += node->Weight;
    }
    for (const auto& node : nodes) {
        if (sum > kFullPercent) break;
        ++sum;
        ++node->Weight;
    }
}

} // namespace

KyfProgress* KyfAllocProgress(KyfProgressCallback callback, void* args) {
    return new KyfProgress(NewNode(callback, args));
}

void KyfFreeProgress(KyfProgress* progress) { // NOLINT(misc-no-recursion): a tree is as deep as stages nest
    if (progress == nullptr) return;
    for (KyfProgress* child : Children(*progress)) KyfFreeProgress(child);
    delete[] progress->SubList;
    delete progress;
}

void KyfProgressCompleteProc(KyfProgress* progress) {
    if (progress == nullptr || progress->Completed != 0) return;
    progress->Completed = 1;
    if (IsRoot(*progress)) {
        KyfProgressSetPersent(progress, kFullPercent);
        return;
    }
    progress->Percent = kFullPercent;
    if (progress->Weight == 0) return;
    KyfProgress& parent = *progress->Parent;
    parent.Percent = Sum(parent.Percent, progress->Weight);
    Report(parent);
}

void* KyfProgressGetArgs(const KyfProgress* progress) { return progress->Args; }

int32_t KyfProgressGetPersent(const KyfProgress* progress) { // NOLINT(misc-no-recursion)
    std::int32_t percent = progress->Percent;
    for (const KyfProgress* child : Children(*progress)) {
        if (child->Completed != 0) continue; // its weight already stands in the parent's percent
        percent = Sum(percent, Product(child->Weight, KyfProgressGetPersent(child)) / kFullPercent);
    }
    return percent;
}

void KyfProgressSetPersent(KyfProgress* progress, int32_t percent) {
    if (progress == nullptr || progress->Percent == percent) return;
    progress->Percent = percent;
    Report(*progress);
}

KyfProgress** KyfProgressCreateSubList(int32_t count, KyiBool equal) {
    if (count < 1) return nullptr;
    const auto size = static_cast<std::size_t>(count);
    // Owned here until the whole list stands, so that running out of memory half way leaves nothing behind.
    const auto nodes = std::make_unique<std::unique_ptr<KyfProgress>[]>(size);
    for (std::size_t i = 0; i < size; ++i) nodes[i] = std::make_unique<KyfProgress>(NewNode(nullptr, nullptr));
    if (equal != 0) ShareEqually({nodes.get(), size});
    auto list = std::make_unique<KyfProgress*[]>(size);
    for (std::size_t i = 0; i < size; ++i) list[i] = nodes[i].release();
    return list.release();
}

void KyfAppendProgress(KyfProgress* progress, KyfProgress** list, int32_t count) {
    if (progress == nullptr) return;
    const bool isEmpty = list == nullptr || count < 1;
    progress->SubList = isEmpty ? nullptr : list;
    progress->SubCount = isEmpty ? 0 : count;
    for (KyfProgress* child : Children(*progress)) {
        child->Parent = progress;
        child->Callback = progress->Callback;
        child->Args = progress->Args;
    }
}

KyfProgress* KyfProgressGetParent(KyfProgress* progress) {
    if (progress == nullptr) return nullptr;
    while (!IsRoot(*progress)) progress = progress->Parent;
    return progress;
}
