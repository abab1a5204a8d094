#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"

namespace wdb {

// What a look at the pages came to. Damaged: something does not look as a file of the library does. It is not
// asked then: it would follow the same pages without doubting them.
enum class Look { Found, Missing, Damaged };

// One table in one committed state, read straight from the mapped pages of its file, in a fifth of the
// library's instructions. Valid as long as a read transaction holds the state. It never reads outside of the
// pages, whatever they contain.
class PageTree {
public:
    static constexpr size_t kPage = 4096;     // the size of a page; files with others are the library's
    static constexpr unsigned kDeepest = 12;  // levels; deeper trees are the library's

    PageTree() = default;
    // `map` is where page 0 lies, `pages` how many may be read. `record` describes the tree.
    PageTree(const char* map, uint64_t pages, Slice record);
    bool known() const { return map_ != nullptr; }

    Look find(Slice key, Slice& value) const;
    // As find() with integer keys of 4 bytes, kSome at most. What is not found, for whatever reason, stays as
    // it is. All are on their way from memory before the first is waited for.
    void findSome(std::span<const uint32_t> keys, std::span<Slice> values) const;
    static constexpr size_t kSome = 32;

private:
    friend class PageCursor;
    // A node of a page, and how many the page has.
    struct Place {
        const char* page;
        uint32_t count;
        uint32_t at;
    };
    bool open(uint64_t number, unsigned level, Place& place) const;
    bool below(const Place& place, uint64_t& number) const;
    // To the first node of a leaf whose key is not below the given one (or behind the last node), to the last
    // one of a branch whose key is not above it.
    bool search(Place& place, bool leaf, Slice key, bool& exact) const;
    bool keyOf(const Place& place, Slice& key) const;
    bool valueOf(const Place& place, Slice& value) const;
    const char* page(uint64_t number, uint16_t kind) const;
    template <typename Integer>
    bool searchIntegers(Place& place, bool leaf, Slice key, bool& exact) const;

    struct LeafOf {
        uint64_t number;
        uint32_t least;  // not above its keys
    };
    bool leafOf(uint32_t key, LeafOf& leaf) const;
    Look findIn(const LeafOf& leaf, uint32_t key, Slice& value) const;
    Look findInteger(uint32_t key, Slice& value) const;

    const char* map_ = nullptr;
    uint64_t pages_ = 0;
    uint64_t root_ = 0;
    unsigned depth_ = 0;  // levels, the leaves' included
    bool integers_ = false;
};

// A walk through such a table. A step that finds nothing leaves the place as it is; seek() then stands behind
// the last entry.
class PageCursor {
public:
    explicit PageCursor(const PageTree* tree = nullptr) : tree_(tree) {}

    Look first() { return end(false); }
    Look last() { return end(true); }
    Look seek(Slice key);  // the first entry whose key is not below
    Look next();
    Look previous();
    // Of the place where the last step that found something led.
    bool entry(Slice& key, Slice& value) const;

private:
    Look end(bool last);
    Look sibling(bool forward);

    const PageTree* tree_;
    bool placed_ = false;
    std::array<PageTree::Place, PageTree::kDeepest> places_;  // from the root to the leaf
};

}  // namespace wdb
