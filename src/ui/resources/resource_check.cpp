#include "ui/resources/resource_check.h"

#include <algorithm>
#include <array>
#include <vector>

namespace kyfui {

namespace {

constexpr std::array<std::uint8_t, 4> kSignature = {'q', 'r', 'e', 's'};
constexpr std::uint32_t kLatestVersion = 3;
constexpr std::uint32_t kCompressed = 1;
constexpr std::uint32_t kFolder = 2;

/// Numbers in a file, most significant byte first. Reading beyond its end gives 0 and is remembered.
class Reader {
  public:
    explicit Reader(std::span<const std::uint8_t> file) : m_file(file) {}

    std::uint32_t Number(std::size_t at, std::size_t bytes) {
        if (!Holds(at, bytes)) return 0;
        std::uint32_t number = 0;
        for (const std::uint8_t byte : m_file.subspan(at, bytes)) number = number << 8 | byte;
        return number;
    }
    std::uint32_t Short(std::size_t at) { return Number(at, 2); }
    std::uint32_t Long(std::size_t at) { return Number(at, 4); }
    bool Holds(std::size_t at, std::size_t bytes) {
        const bool isInside = at <= m_file.size() && bytes <= m_file.size() - at;
        m_isSound = m_isSound && isInside;
        return isInside;
    }
    bool IsSound() const { return m_isSound; }

  private:
    std::span<const std::uint8_t> m_file;
    bool m_isSound = true;
};

struct Layout {
    std::size_t Tree;
    std::size_t Data;
    std::size_t Names;
    std::size_t NodeBytes;
};

/// One node of the tree: a folder with its range of nodes, or a file.
struct Node {
    bool IsFolder;
    std::size_t First;
    std::size_t Count;
};

bool ReadContent(Reader& file, std::size_t at, bool isCompressed, std::uint64_t& total) {
    const std::size_t bytes = file.Long(at);
    if (!file.Holds(at + 4, bytes) || (isCompressed && bytes < 4)) return false;
    total += isCompressed ? file.Long(at + 4) : bytes;
    return true;
}

/// Tests name and content of a node; its folder, if it is one, is left to the caller.
/// @param total  Grows by the bytes of both, unpacked: nodes may share them, and their reader makes copies.
bool ReadNode(Reader& file, const Layout& layout, std::size_t index, Node& node, std::uint64_t& total) {
    const std::size_t at = layout.Tree + index * layout.NodeBytes;
    if (!file.Holds(at, layout.NodeBytes)) return false;
    const std::size_t name = layout.Names + file.Long(at);
    // The root has no name. Characters stand behind their count and their hash.
    const std::size_t nameBytes = index > 0 ? std::size_t{2} * file.Short(name) : 0;
    if (index > 0 && !file.Holds(name + 6, nameBytes)) return false;
    total += nameBytes;
    const std::uint32_t flags = file.Short(at + 4);
    if ((flags & ~(kCompressed | kFolder)) != 0) return false;
    node = {(flags & kFolder) != 0, file.Long(at + 10), file.Long(at + 6)};
    return node.IsFolder || ReadContent(file, layout.Data + file.Long(at + 10), (flags & kCompressed) != 0, total);
}

/// Every node is taken by one folder at most, so that the walk ends.
bool IsSoundTree(Reader& file, const Layout& layout, std::size_t mostNodes) {
    if (mostNodes == 0) return false;
    std::vector<bool> isTaken(mostNodes);
    isTaken[0] = true;
    std::vector<std::size_t> waiting = {0};
    std::uint64_t total = 0;
    while (!waiting.empty()) {
        const std::size_t index = waiting.back();
        waiting.pop_back();
        Node node{};
        if (!ReadNode(file, layout, index, node, total) || (index == 0 && !node.IsFolder)) return false;
        if (total > kLargestResource) return false;
        if (!node.IsFolder) continue;
        if (node.First > mostNodes || node.Count > mostNodes - node.First) return false;
        for (std::size_t child = node.First; child < node.First + node.Count; ++child) {
            if (isTaken[child]) return false;
            isTaken[child] = true;
            waiting.push_back(child);
        }
    }
    return file.IsSound();
}

} // namespace

bool IsSoundResource(std::span<const std::uint8_t> file) {
    if (file.size() > kLargestResource || file.size() < kSignature.size()) return false;
    if (!std::equal(kSignature.begin(), kSignature.end(), file.begin())) return false;
    Reader reader(file);
    const std::uint32_t version = reader.Long(4);
    if (version < 1 || version > kLatestVersion) return false;
    if (version == kLatestVersion && (reader.Long(20) & ~kCompressed) != 0) return false;
    // From the second version on, a node ends with a time.
    const Layout layout{reader.Long(8), reader.Long(12), reader.Long(16), version == 1 ? 14U : 22U};
    if (!reader.IsSound() || layout.Tree > file.size()) return false;
    return IsSoundTree(reader, layout, (file.size() - layout.Tree) / layout.NodeBytes);
}

} // namespace kyfui
