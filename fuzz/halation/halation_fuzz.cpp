// Calls in any order on one record of halation removal and on one progress tree, with any settings and frames.
//
// What a host must not do, and this does not: use a record that was never initialized or is freed; change a record's
// fields or free its image; hang a list of another length than it was made with, or a second one, below a node; ask a
// null node for its figure; give a node to two calls. Every list that is made is hung or its nodes are freed.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include <kyfocus/halation.h>
#include <omp.h>

#include "support/frames.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using fuzz::Choices;
using fuzz::Require;

bool IsResult(KyfResult result) {
    return result == KyfResultOk || result == KyfResultInvalidParameter || result == KyfResultFailAlloc;
}

class Series {
  public:
    explicit Series(Choices& choices)
        : m_choices(choices),
          m_record(KyfAllocHalationRemoval()), m_size{choices.Between(1, 48), choices.Between(1, 24)},
          m_format(fuzz::AnyFormat(choices)) {
        Require(m_record != nullptr, "a record can be made");
    }
    ~Series() { KyfFreeHalationRemoval(m_record); }
    Series(const Series&) = delete;
    Series& operator=(const Series&) = delete;

    void Call() {
        switch (m_choices.Byte() % 8) {
        case 0: Start(); break;
        case 1: Initialize(); break;
        case 2: Lend(); break;
        case 3: Extract(); break;
        default: Add();
        }
    }

  private:
    KyfHalationRemoval* Record() { return m_choices.Byte() % 32 == 31 ? nullptr : m_record; }

    void Start() {
        const KyfHalationParameter parameter{m_choices.Field(1, 255), m_choices.Field(1, 100), m_choices.Field(1, 100)};
        KyfHalationRemoval before;
        std::memcpy(&before, m_record, sizeof before);
        const KyfResult result = KyfHalationStart(Record(), m_choices.Byte() % 32 == 31 ? nullptr : &parameter);
        Require(IsResult(result), "a start gives a known result");
        if (result != KyfResultOk)
            Require(std::memcmp(&before, m_record, sizeof before) == 0,
                    "a start that fails leaves the record as it was");
    }

    /// Also over a record that was cleared.
    void Initialize() {
        if (m_choices.Flag()) Require(KyfHalationTerminate(m_record) == KyfResultOk, "a record can be cleared");
        if (m_choices.Byte() % 4 == 3) return; // cleared: everything else refuses it
        Require(KyfHalationInitialize(m_record) == KyfResultOk, "a record can be made fresh");
    }

    void Add() {
        const bool isMisfit = m_choices.Byte() % 16 == 15;
        const fuzz::Size size = isMisfit ? fuzz::Size{m_choices.Between(1, 9), 3} : m_size;
        const fuzz::Image frame = fuzz::MakeFrame(m_choices, size, isMisfit ? fuzz::AnyFormat(m_choices) : m_format);
        const fuzz::Progress progress = fuzz::AnyProgress(m_choices);
        const std::int32_t count = m_record->ImageCount;
        const KyfResult result = KyfHalationAddImage(Record(), frame.get(), m_choices.Flag(), progress.get());
        Require(IsResult(result), "an add gives a known result");
        if (result == KyfResultOk) {
            Require(m_record->ImageCount == count + 1, "a frame that is added counts");
            Require(!progress || progress->Completed != 0, "the node of an add that succeeds is complete");
        }
    }

    void Lend() {
        KyiImageData* image = nullptr;
        const KyfResult result = KyfHalationGetRemovalImage(Record(), m_choices.Byte() % 32 == 31 ? nullptr : &image);
        if (result == KyfResultOk) Require(image == m_record->RemovalImage, "the image that is lent is the record's");
    }

    void Extract() {
        KyiImageData* image = nullptr;
        const KyfResult result = KyfHalationExtractRemovalImage(Record(), &image);
        const fuzz::Image owned(image);
        if (result == KyfResultOk) Require(m_record->RemovalImage == nullptr, "an image that is handed over is gone");
    }

    Choices& m_choices;
    KyfHalationRemoval* m_record;
    fuzz::Size m_size;
    std::int32_t m_format;
};

class Tree {
  public:
    explicit Tree(Choices& choices) : m_choices(choices), m_root(KyfAllocProgress(fuzz::ReadFigure, &m_root)) {
        m_nodes.push_back(m_root.get());
    }

    void Call() {
        KyfProgress* const node = m_nodes[m_choices.Byte() % m_nodes.size()];
        switch (m_choices.Byte() % 5) {
        case 0: Hang(*node); break;
        case 1: KyfProgressCompleteProc(m_choices.Byte() % 32 == 31 ? nullptr : node); break;
        case 2: KyfProgressSetPersent(node, m_choices.Field(0, 100)); break;
        case 3: Require(KyfProgressGetParent(node) == m_root.get(), "every node's root is the tree's"); break;
        default:
            KyfProgressGetPersent(node);
            Require(KyfProgressGetArgs(node) == &m_root, "every node has the host's value");
        }
    }

  private:
    void Hang(KyfProgress& node) {
        constexpr std::size_t kMostNodes = 60;
        if (node.SubList != nullptr || m_nodes.size() > kMostNodes) return;
        const std::int32_t count = m_choices.Between(-1, 7);
        KyfProgress** const list = KyfProgressCreateSubList(count, m_choices.Flag());
        Require((list != nullptr) == (count > 0), "a list has nodes");
        KyfAppendProgress(&node, list, count);
        for (std::int32_t i = 0; i < count; ++i) m_nodes.push_back(list[i]);
    }

    Choices& m_choices;
    fuzz::Progress m_root;
    std::vector<KyfProgress*> m_nodes;
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr int kMostCalls = 40;
    Choices choices({data, size});
    omp_set_num_threads(choices.Byte() % 8 == 7 ? 3 : 1); // threads cost more than the work on small frames
    Series series(choices);
    Tree tree(choices);
    for (int call = 0; call < kMostCalls && !choices.AtEnd(); ++call) {
        if (choices.Flag())
            series.Call();
        else
            tree.Call();
    }
    return 0;
}
