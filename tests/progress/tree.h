/// A progress tree that is freed at its end and keeps what its callback was told.
#ifndef KYFOCUS_TESTS_PROGRESS_TREE_H
#define KYFOCUS_TESTS_PROGRESS_TREE_H

#include <cstdint>
#include <vector>

#include <kyfocus/progress.h>

namespace test {

class Tree {
  public:
    struct Event {
        KyfProgress* Node;
        std::int32_t NodePercent;
        std::int32_t RootPercent;
    };

    Tree() : Root(KyfAllocProgress(&Tree::Hear, this)) {}
    ~Tree() { KyfFreeProgress(Root); }
    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;

    KyfProgress** Append(KyfProgress* node, std::int32_t count, KyiBool equal = 1) const {
        KyfProgress** const list = KyfProgressCreateSubList(count, equal);
        KyfAppendProgress(node, list, count);
        return list;
    }

    KyfProgress* Root;
    std::vector<Event> Events;

  private:
    static void Hear(KyfProgress* node) {
        auto& tree = *static_cast<Tree*>(KyfProgressGetArgs(node));
        KyfProgress* const root = KyfProgressGetParent(node);
        tree.Events.push_back({node, node->Percent, KyfProgressGetPersent(root)});
    }
};

} // namespace test

#endif
