#include "kernel/storage/NewPages.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <string>

#include "kernel/common/ByteOrder.h"
#include "kernel/storage/PageFormat.h"

namespace wdb {

namespace {

using namespace page_format;
using Pages = std::vector<uint64_t>;

// What the pages of one state hold at one height of a tree, as far as the other state does not share them.
struct Level {
    Pages pages;  // rising
    Pages large;  // first pages of large values
    std::map<std::string, TreeRecord> tables;
};

// All leaves of a tree have one depth, and below a page that two states share they share everything. So the
// pages of one height that only one state has lie below pages that only that state has, and of the children
// of those they are the ones that the other state's list of children lacks.
class Difference {
public:
    Difference(int file, const MetaPage& before, const MetaPage& now, std::vector<PageRun>& runs)
        : file_(file), lastPage_(std::max(before.lastPage, now.lastPage)), runs_(runs) {
        page_.resize(now.pageSize);
    }

    bool tree(const TreeRecord& before, const TreeRecord& now, bool tables) {
        constexpr uint16_t kDeepest = 32;
        if (before.depth > kDeepest || now.depth > kDeepest) return false;
        Level old, young;
        for (uint16_t height = std::max(before.depth, now.depth); height > 0; --height) {
            enter(before, height, old);
            enter(now, height, young);
            if (!keepOwn(old.pages, young.pages)) return false;
            if (!add(young.pages)) return false;
            if (!descend(old, height, tables) || !descend(young, height, tables)) return false;
        }
        if (!keepOwn(old.large, young.large) || !addLarge(young.large)) return false;
        for (const auto& [name, record] : young.tables) {
            const auto earlier = old.tables.find(name);
            if (!tree(earlier == old.tables.end() ? TreeRecord{} : earlier->second, record, false))
                return false;
        }
        return true;
    }

private:
    static void enter(const TreeRecord& tree, uint16_t height, Level& level) {
        if (tree.depth == height && tree.root != kNoPage) level.pages.push_back(tree.root);
    }

    // No page is in one tree twice.
    static bool sorted(Pages& pages) {
        std::sort(pages.begin(), pages.end());
        return std::adjacent_find(pages.begin(), pages.end()) == pages.end();
    }

    static bool keepOwn(Pages& old, Pages& young) {
        if (!sorted(old) || !sorted(young)) return false;
        Pages onlyOld, onlyYoung;
        std::set_difference(old.begin(), old.end(), young.begin(), young.end(), std::back_inserter(onlyOld));
        std::set_difference(young.begin(), young.end(), old.begin(), old.end(),
                            std::back_inserter(onlyYoung));
        old = std::move(onlyOld);
        young = std::move(onlyYoung);
        return true;
    }

    bool add(const Pages& pages) {
        for (const uint64_t page : pages) runs_.push_back({page, 1});
        found_ += pages.size();
        return found_ <= lastPage_;
    }

    bool addLarge(const Pages& firsts) {
        for (const uint64_t first : firsts) {
            if (!load(first) || loadLittle<uint16_t>(page_.data() + kFlagsAt) != kOverflow) return false;
            const uint64_t count = loadLittle<uint32_t>(page_.data() + kOverflowPagesAt);
            found_ += count;
            if (count == 0 || found_ > lastPage_) return false;
            runs_.push_back({first, count});
        }
        return true;
    }

    bool load(uint64_t page) {
        return page > 1 && page <= lastPage_ &&
               readAt(file_, page * page_.size(), page_.data(), page_.size()) &&
               loadLittle<uint64_t>(page_.data()) == page;
    }

    // From the pages of one height to what they name.
    bool descend(Level& level, uint16_t height, bool tables) {
        Pages below;
        for (const uint64_t page : level.pages)
            if (!load(page) || !nodes(height == 1, tables, level, below)) return false;
        level.pages = std::move(below);
        return true;
    }

    bool nodes(bool leaf, bool tables, Level& level, Pages& below) const {
        const char* bytes = page_.data();
        if (loadLittle<uint16_t>(bytes + kFlagsAt) != (leaf ? kLeaf : kBranch)) return false;
        const size_t lower = loadLittle<uint16_t>(bytes + kLowerAt);
        if (lower < kPageHeader || lower % 2 != 0 || lower > page_.size()) return false;
        for (size_t at = kPageHeader; at < lower; at += 2) {
            const size_t place = loadLittle<uint16_t>(bytes + at);
            if (place + kNodeHeader > page_.size()) return false;
            if (!node(place, leaf, tables, level, below)) return false;
        }
        return true;
    }

    bool node(size_t place, bool leaf, bool tables, Level& level, Pages& below) const {
        const char* at = page_.data() + place;
        const auto flags = loadLittle<uint16_t>(at + 4);
        if (!leaf) {
            below.push_back(loadLittle<uint32_t>(at) | uint64_t{flags} << 32);
            return true;
        }
        const size_t keySize = loadLittle<uint16_t>(at + 6);
        const size_t value = place + kNodeHeader + keySize;
        if ((flags & kBigData) != 0) {
            if (value + sizeof(uint64_t) > page_.size()) return false;
            level.large.push_back(loadLittle<uint64_t>(page_.data() + value));
        } else if (tables) {
            if (value + kTreeRecord > page_.size()) return false;
            level.tables[std::string(at + kNodeHeader, keySize)] = treeAt(page_.data() + value);
        }
        return true;
    }

    const int file_;
    const uint64_t lastPage_;
    std::vector<PageRun>& runs_;
    std::vector<char> page_;
    uint64_t found_ = 0;
};

}  // namespace

bool newPages(int file, const MetaPage& before, const MetaPage& now, std::vector<PageRun>& runs) {
    if (before.pageSize != now.pageSize) return false;
    Difference difference(file, before, now, runs);
    return difference.tree(before.free, now.free, false) && difference.tree(before.main, now.main, true);
}

}  // namespace wdb
