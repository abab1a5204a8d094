#include "kernel/storage/PageWalker.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "kernel/common/ByteOrder.h"
#include "kernel/common/Ids.h"
#include "kernel/storage/Environment.h"
#include "kernel/storage/MetaPage.h"
#include "kernel/storage/PageFormat.h"

namespace wdb {

namespace {

using namespace page_format;

using Tree = TreeRecord;

struct Node {
    uint16_t flags = 0;
    Slice key;
    Slice value;         // of a leaf; of a large value the number of its first page
    uint64_t size = 0;   // of the value
    uint64_t below = 0;  // of a branch
};

// Where a tree's keys are to lie: from `low`, and below `high` unless that is null.
struct Bounds {
    Slice low;
    const std::string* high = nullptr;
};

class Walker {
public:
    // `free` takes the pages that transactions before the last one gave back.
    Walker(int file, WalkDepth depth, std::string& reason, std::vector<PageRun>* free = nullptr)
        : file_(file), depth_(depth), reason_(reason), free_(free) {}

    Status run(std::optional<uint64_t> txn) {
        std::array<MetaPage, 2> metas;
        struct stat info {};
        if (::fstat(file_, &info) != 0) return WDB_E_STORAGE;
        fileSize_ = static_cast<uint64_t>(info.st_size);
        if (!readMetas(file_, metas)) return wrong("The meta pages are damaged");
        const auto& [first, second] = metas;
        meta_ = first.txn < second.txn ? second : first;
        if (txn && *txn != meta_.txn) {
            if (first.txn != *txn && second.txn != *txn) return WDB_FAIL;
            meta_ = first.txn == *txn ? first : second;
        }
        // Pages at the end may be missing that were given back before they were ever written, no others.
        if (meta_.lastPage > fileSize_ / meta_.pageSize + (uint64_t{1} << 20))
            return wrong("The file is much shorter than it says");
        seen_.assign(meta_.lastPage + 1, false);
        seen_[0] = seen_[1] = true;
        WDB_TRY(tree(meta_.free, TreeKind::Free));
        return tree(meta_.main, TreeKind::Main);
    }

private:
    enum class TreeKind { Free, Main, Table };

    Status wrong(const std::string& what) {
        reason_ = what;
        return WDB_E_CORRUPT;
    }
    Status wrongPage(uint64_t page, const char* what) {
        return wrong("Page " + std::to_string(page) + ": " + what);
    }

    Status claim(uint64_t page) {
        if (page > meta_.lastPage) return wrongPage(page, "lies behind the last page");
        if (seen_[page]) return wrongPage(page, "is used twice");
        seen_[page] = true;
        return WDB_OK;
    }

    Status load(uint64_t page, std::vector<char>& bytes) {
        bytes.resize(meta_.pageSize);
        if ((page + 1) * meta_.pageSize > fileSize_) return wrongPage(page, "lies behind the file's end");
        if (!readAt(file_, page * meta_.pageSize, bytes.data(), bytes.size())) return WDB_E_STORAGE;
        if (loadLittle<uint64_t>(bytes.data()) != page) return wrongPage(page, "has another number");
        return WDB_OK;
    }

    Status tree(const Tree& wanted, TreeKind kind) {
        Tree found;
        found.flags = wanted.flags;
        found.depth = wanted.depth;
        found.root = wanted.root;
        if (wanted.root == kNoPage) {
            found.depth = 0;
            return wanted == found ? WDB_OK : wrong("A tree without a root has pages");
        }
        constexpr uint16_t kDeepest = 32;
        if (wanted.depth == 0 || wanted.depth > kDeepest) return wrong("A tree has no possible depth");
        const size_t outer = std::exchange(keySize_, 0);
        const bool shallow = depth_ == WalkDepth::Tables && kind == TreeKind::Table;
        WDB_TRY(page(wanted.root, wanted.depth, {}, kind, shallow, found));
        keySize_ = outer;
        if (!shallow && !(wanted == found)) return wrong("A tree has other counts than it says");
        return WDB_OK;
    }

    static uint64_t nodeSize(const Node& node, bool leaf) {
        const uint64_t size = kNodeHeader + node.key.size() + (leaf ? node.value.size() : 0);
        return (size + 1) & ~uint64_t{1};
    }

    // The nodes of a page, each within it, without gaps or overlaps.
    Status nodesOf(uint64_t number, const std::vector<char>& bytes, bool leaf, std::vector<Node>& nodes) {
        const size_t lower = loadLittle<uint16_t>(bytes.data() + kLowerAt);
        const size_t upper = loadLittle<uint16_t>(bytes.data() + kUpperAt);
        if (lower < kPageHeader || lower % 2 != 0 || lower > upper || upper > bytes.size())
            return wrongPage(number, "its bounds do not fit");
        std::vector<std::pair<size_t, size_t>> places;
        for (size_t at = kPageHeader; at < lower; at += 2) {
            const size_t place = loadLittle<uint16_t>(bytes.data() + at);
            Node node;
            if (place < upper || place % 2 != 0 || !readNode(bytes, place, leaf, node))
                return wrongPage(number, "a node lies outside");
            places.emplace_back(place, nodeSize(node, leaf));
            nodes.push_back(node);
        }
        std::sort(places.begin(), places.end());
        size_t end = upper;
        for (const auto& [place, size] : places) {
            if (place != end) return wrongPage(number, "its nodes overlap or leave a gap");
            end = place + size;
        }
        return end == bytes.size() ? WDB_OK : wrongPage(number, "its nodes do not fill it");
    }

    static bool readNode(const std::vector<char>& bytes, size_t place, bool leaf, Node& node) {
        if (place + kNodeHeader > bytes.size()) return false;
        const char* at = bytes.data() + place;
        const uint64_t low = loadLittle<uint16_t>(at), high = loadLittle<uint16_t>(at + 2);
        node.flags = loadLittle<uint16_t>(at + 4);
        const size_t keySize = loadLittle<uint16_t>(at + 6);
        const size_t left = bytes.size() - place - kNodeHeader;
        if (keySize > left || keySize > kMaxKey) return false;
        node.key = Slice(at + kNodeHeader, keySize);
        if (!leaf) {
            node.below = low | high << 16 | uint64_t{node.flags} << 32;
            return true;
        }
        node.size = low | high << 16;
        const uint64_t here = (node.flags & kBigData) != 0 ? sizeof(uint64_t) : node.size;
        if (here > left - keySize) return false;
        node.value = Slice(at + kNodeHeader + keySize, here);
        return true;
    }

    // Below 0, 0, above 0; integer keys are native numbers.
    int compare(Slice left, Slice right) const {
        if (!integerKeys_ || left.size() != right.size()) return left.compare(right);
        for (size_t i = left.size(); i-- > 0;) {
            const auto a = static_cast<unsigned char>(left[i]), b = static_cast<unsigned char>(right[i]);
            if (a != b) return a < b ? -1 : 1;
        }
        return 0;
    }

    Status keysOf(uint64_t number, const std::vector<Node>& nodes, bool leaf, const Bounds& bounds) {
        for (size_t i = leaf ? 0 : 1; i < nodes.size(); ++i) {
            const Slice key = nodes[i].key;
            if (key.empty()) return wrongPage(number, "a key is empty");
            if (integerKeys_) {
                if (keySize_ == 0) keySize_ = key.size();
                if (key.size() != keySize_ || (keySize_ != 4 && keySize_ != 8))
                    return wrongPage(number, "a key has another size");
            }
            const bool first = i == (leaf ? 0 : 1);
            const Slice before = first ? bounds.low : nodes[i - 1].key;
            const int order = before.empty() ? 1 : compare(key, before);
            if (order < 0 || (order == 0 && !(first && leaf)))
                return wrongPage(number, "its keys are not in order");
        }
        if (bounds.high == nullptr || nodes.empty() || nodes.back().key.empty()) return WDB_OK;
        return compare(nodes.back().key, *bounds.high) < 0
                   ? WDB_OK
                   : wrongPage(number, "a key lies behind its branch");
    }

    Status page(uint64_t number, unsigned depth, const Bounds& bounds, TreeKind kind, bool rootOnly,
                Tree& found) {
        WDB_TRY(claim(number));
        std::vector<char> bytes;
        WDB_TRY(load(number, bytes));
        const bool leaf = depth == 1;
        if (loadLittle<uint16_t>(bytes.data() + kFlagsAt) != (leaf ? kLeaf : kBranch))
            return wrongPage(number, "is of another kind");
        ++(leaf ? found.leaves : found.branches);
        integerKeys_ = (found.flags & kIntegerKey) != 0;
        std::vector<Node> nodes;
        WDB_TRY(nodesOf(number, bytes, leaf, nodes));
        if (nodes.size() < (leaf || kind == TreeKind::Free ? 1u : 2u))
            return wrongPage(number, "has too few nodes");
        WDB_TRY(keysOf(number, nodes, leaf, bounds));
        if (leaf) return leafValues(number, nodes, kind, found);
        if (rootOnly) return WDB_OK;
        for (size_t i = 0; i < nodes.size(); ++i) {
            const bool last = i + 1 == nodes.size();
            const std::string high = last ? std::string() : std::string(nodes[i + 1].key);
            const Bounds inside{i == 0 ? bounds.low : nodes[i].key, last ? bounds.high : &high};
            WDB_TRY(page(nodes[i].below, depth - 1, inside, kind, false, found));
        }
        return WDB_OK;
    }

    Status leafValues(uint64_t number, const std::vector<Node>& nodes, TreeKind kind, Tree& found) {
        for (const Node& node : nodes) {
            ++found.entries;
            const bool table = kind == TreeKind::Main;
            if ((node.flags & ~kBigData) != (table ? kSubTree : 0))
                return wrongPage(number, "a value is of another kind");
            if ((node.flags & kBigData) != 0) WDB_TRY(largeValue(node, found));
            if (kind == TreeKind::Free) WDB_TRY(freeList(number, node));
            if (!table) continue;
            if (node.value.size() != kTreeRecord) return wrongPage(number, "a table has no record");
            const Tree below = treeAt(node.value.data());
            if ((below.flags & ~kIntegerKey) != 0) return wrongPage(number, "a table has unknown flags");
            WDB_TRY(tree(below, TreeKind::Table));
            integerKeys_ = (found.flags & kIntegerKey) != 0;
        }
        return WDB_OK;
    }

    Status largeValue(const Node& node, Tree& found) {
        const auto first = loadLittle<uint64_t>(node.value.data());
        char header[kPageHeader];
        const uint64_t needed = (kPageHeader - 1 + node.size) / meta_.pageSize + 1;
        if (first > meta_.lastPage || (first + needed) * meta_.pageSize > fileSize_)
            return wrongPage(first, "a large value lies behind the end");
        if (!readAt(file_, first * meta_.pageSize, header, sizeof header)) return WDB_E_STORAGE;
        const auto pages = loadLittle<uint32_t>(header + kOverflowPagesAt);
        if (loadLittle<uint64_t>(header) != first || loadLittle<uint16_t>(header + kFlagsAt) != kOverflow ||
            pages < needed)
            return wrongPage(first, "begins no large value of this size");
        for (uint64_t page = first; page < first + pages; ++page) WDB_TRY(claim(page));
        found.overflows += pages;
        return WDB_OK;
    }

    // A list of pages that a transaction gave back: their count, then their numbers, falling.
    Status freeList(uint64_t number, const Node& node) {
        std::string whole;
        Slice list = node.value;
        if ((node.flags & kBigData) != 0) {
            whole.resize(node.size);
            const uint64_t at = loadLittle<uint64_t>(node.value.data()) * meta_.pageSize + kPageHeader;
            if (!readAt(file_, at, whole.data(), whole.size())) return WDB_E_STORAGE;
            list = whole;
        }
        if (node.key.size() != sizeof(uint64_t) || list.size() < sizeof(uint64_t))
            return wrongPage(number, "a list of free pages is cut");
        const auto count = loadLittle<uint64_t>(list.data());
        if (count > list.size() / sizeof(uint64_t) - 1)
            return wrongPage(number, "a list of free pages is too long");
        const bool unused = free_ != nullptr && loadLittle<uint64_t>(node.key.data()) < meta_.txn;
        uint64_t before = kNoPage;
        for (uint64_t i = 1; i <= count; ++i) {
            const auto page = loadLittle<uint64_t>(list.data() + i * sizeof(uint64_t));
            if (page >= before) return wrongPage(number, "free pages are not in order");
            before = page;
            WDB_TRY(claim(page));
            if (unused) noteFree(page);
        }
        return WDB_OK;
    }

    // The numbers of a list fall.
    void noteFree(uint64_t page) {
        if (!free_->empty() && free_->back().first == page + 1) {
            --free_->back().first;
            ++free_->back().count;
        } else {
            free_->push_back({page, 1});
        }
    }

    const int file_;
    const WalkDepth depth_;
    std::string& reason_;
    std::vector<PageRun>* const free_;
    uint64_t fileSize_ = 0;
    MetaPage meta_;
    std::vector<bool> seen_;
    bool integerKeys_ = false;
    size_t keySize_ = 0;  // of the tree that is walked, when its keys are integers
};

}  // namespace

Status walkPages(int file, WalkDepth depth, std::optional<uint64_t> txn, std::string& reason) {
    return Walker(file, depth, reason).run(txn);
}

bool freePages(int file, std::vector<PageRun>& runs) {
    std::string reason;
    return ok(Walker(file, WalkDepth::Tables, reason, &runs).run(std::nullopt));
}

std::optional<uint64_t> lastTransaction(int file) {
    std::array<MetaPage, 2> metas;
    if (!readMetas(file, metas)) return std::nullopt;
    return std::max(metas[0].txn, metas[1].txn);
}

}  // namespace wdb
