/// What a progress tree reports, for tests of the order and the figures.
#ifndef KYFOCUS_TESTS_SAFE3D_PROGRESS_REPORTS_H
#define KYFOCUS_TESTS_SAFE3D_PROGRESS_REPORTS_H

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <kyfocus/progress.h>

namespace test {

/// Places of a node and of those above it, each after a stroke; empty for the root.
inline std::string PathOf(const KyfProgress* node) { // NOLINT(misc-no-recursion): as deep as stages nest
    if (!node->Parent || node->Parent == node) return "";
    const KyfProgress* const parent = node->Parent;
    const auto place = std::find(parent->SubList, parent->SubList + parent->SubCount, node) - parent->SubList;
    return PathOf(parent) + "/" + std::to_string(place);
}

/// A tree that notes "path percent" of each report.
class ProgressReports {
  public:
    ProgressReports() : m_root(KyfAllocProgress(Note, &m_lines)) {}

    KyfProgress* Root() const { return m_root.get(); }
    const std::vector<std::string>& Lines() const { return m_lines; }

  private:
    struct Free {
        void operator()(KyfProgress* root) const { KyfFreeProgress(root); }
    };
    static void Note(KyfProgress* node) {
        auto* const lines = static_cast<std::vector<std::string>*>(KyfProgressGetArgs(node));
        lines->push_back(PathOf(node) + " " + std::to_string(node->Percent));
    }

    std::vector<std::string> m_lines;
    std::unique_ptr<KyfProgress, Free> m_root;
};

} // namespace test

#endif
