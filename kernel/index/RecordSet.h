#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/index/Container.h"

namespace wdb {

// A set of record numbers: containers of 65,536 numbers, ascending. A container is owned or borrowed; a
// borrowed one lies in the map of a read transaction (or in another set) and the set is valid as long as that
// lives. Results of the operations borrow what their arguments borrowed where a container passes unchanged;
// own() ends that. Sets move; clone() copies.
class RecordSet {
public:
    RecordSet() = default;
    RecordSet(RecordSet&&) noexcept = default;
    RecordSet& operator=(RecordSet&&) noexcept = default;

    static RecordSet of(std::span<const RecordNumber> ascending);
    static RecordSet single(RecordNumber record);
    // first..last, both inside; empty when last < first.
    static RecordSet range(RecordNumber first, RecordNumber last);

    // Appends a container of stored bytes without copying it; chunks must come in ascending order. Empty
    // containers are ignored. WDB_E_CORRUPT when the bytes are no container.
    Status borrow(uint16_t chunk, Slice stored);
    void borrow(uint16_t chunk, const ContainerView& container);
    // Appends an owned container.
    void adopt(uint16_t chunk, const ContainerView& container, std::unique_ptr<char[]> data);

    bool empty() const { return chunks_.empty(); }
    uint64_t cardinality() const;
    bool contains(RecordNumber record) const;
    // The member with `place` members below it, 0 when there is none.
    RecordNumber select(uint64_t place) const;
    // Members below `record`.
    uint64_t rank(RecordNumber record) const;
    RecordNumber first() const { return select(0); }
    RecordNumber last() const;
    // The smallest member above `record`, 0 at the end.
    RecordNumber after(RecordNumber record) const;

    void add(RecordNumber record);
    void remove(RecordNumber record);
    void clear() { chunks_.clear(); }

    // This set becomes the intersection, union, difference.
    void intersect(const RecordSet& other);
    void unite(const RecordSet& other);
    void unite(RecordSet&& other);
    void subtract(const RecordSet& other);

    static RecordSet intersection(const RecordSet& a, const RecordSet& b);
    static RecordSet difference(const RecordSet& a, const RecordSet& b);
    static uint64_t intersectionCardinality(const RecordSet& a, const RecordSet& b);
    static bool intersects(const RecordSet& a, const RecordSet& b);

    // Calls visit(RecordNumber) for each member, ascending.
    template <typename Visit>
    void forEach(Visit&& visit) const {
        for (const Chunk& chunk : chunks_) {
            const RecordNumber base = RecordNumber{chunk.number} << 16;
            chunk.view.forEach([&](uint16_t low) { visit(base | low); });
        }
    }
    // Replaces `out` by up to `count` members from the place `first` on.
    void copyTo(uint64_t first, size_t count, std::vector<RecordNumber>& out) const;
    std::vector<RecordNumber> toVector() const;

    size_t chunkCount() const { return chunks_.size(); }
    uint16_t chunkNumber(size_t place) const { return chunks_[place].number; }
    const ContainerView& chunk(size_t place) const { return chunks_[place].view; }

    // Copies what is borrowed.
    void own();
    bool ownsAll() const;
    // A set with copies of all containers: it borrows nothing.
    RecordSet clone() const;
    // A set that borrows everything from this one.
    RecordSet view() const;
    // Bytes of owned containers.
    size_t memory() const;

    bool operator==(const RecordSet& other) const;
    // Empty when the set is well formed, else what is wrong.
    std::string validate() const;

private:
    struct Chunk {
        uint16_t number;
        ContainerView view;
        std::unique_ptr<char[]> owned;  // null: borrowed
    };
    size_t findChunk(uint16_t number) const;  // place of the first chunk not below
    std::vector<Chunk> chunks_;               // ascending by number, none empty
};

// Collects the union of many sets or containers: a bitmap per chunk once a chunk holds more than a few
// members.
class RecordSetBuilder {
public:
    void add(RecordNumber record);  // any order
    void add(uint16_t chunk, const ContainerView& container);
    Status add(uint16_t chunk, Slice stored);
    void add(const RecordSet& set);
    // 64 records to a word: bit i of words[w] stands for record (first + w) * 64 + i.
    void addWords(uint32_t first, const uint64_t* words, uint32_t count);
    // The set; the builder is empty again.
    RecordSet finish();

private:
    struct Slot {
        uint16_t number;
        std::unique_ptr<char[]> bits;   // kBitmapBytes, or null while there is
        std::vector<uint16_t> members;  // a short list in any order
    };
    Slot& slot(uint16_t number);
    void promote(Slot& slot);
    std::vector<Slot> slots_;  // ascending by number
    size_t last_ = 0;          // place of the slot used last
};

}  // namespace wdb
