#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "kernel/common/Ids.h"
#include "kernel/index/IndexFormat.h"
#include "kernel/index/RecordInverter.h"
#include "kernel/index/RecordSet.h"
#include "kernel/index/TermTable.h"

namespace wdb {

// The inverted form of changed records, kept by Delta and UnitDelta. Not synchronised: see Delta for the
// lock.
//
// An entry is one change of one record; entries are numbered from 0 in the order of their positions. A view
// of a delta at positions (after, upTo] sees an entry when its position lies within and the record's next
// entry, if there is one, lies behind upTo.
class DeltaEntries {
public:
    static constexpr uint32_t kNone = UINT32_MAX;
    static constexpr uint32_t kParagraphMark = UINT32_MAX;  // in token sequences

    // Keys are those of the index files without the chunk; each has the entries that hold it.
    class Dictionary {
    public:
        Dictionary() : ordered_(Less{&table_}) {}
        Dictionary(const Dictionary&) = delete;
        Dictionary& operator=(const Dictionary&) = delete;

        uint32_t add(Slice key);  // the key's number
        void addEntry(uint32_t number, uint32_t tag);
        uint32_t find(Slice key) const { return table_.find(key); }  // TermTable::kNone
        Slice key(uint32_t number) const { return table_.term(number); }
        const std::vector<uint32_t>& entries(uint32_t number) const { return entries_[number]; }
        size_t bytes() const { return table_.bytes() + entries_.size() * 64 + tags_ * 4; }

        // Calls visit(number) for each key that begins with `prefix`, ascending.
        template <typename Visit>
        void forPrefix(Slice prefix, Visit&& visit) const {
            for (auto at = ordered_.lower_bound(prefix);
                 at != ordered_.end() && table_.term(*at).starts_with(prefix); ++at)
                visit(*at);
        }
        // From the first key not below `low` while visit(number) answers true.
        template <typename Visit>
        void forEachFrom(Slice low, Visit&& visit) const {
            for (auto at = ordered_.lower_bound(low); at != ordered_.end() && visit(*at); ++at) {
            }
        }
        // From the last key below `high` downwards while visit(number) answers true.
        template <typename Visit>
        void forEachBelow(Slice high, Visit&& visit) const {
            for (auto at = ordered_.lower_bound(high); at != ordered_.begin();) {
                if (!visit(*--at)) return;
            }
        }

    private:
        struct Less {
            using is_transparent = void;
            const TermTable* table;
            bool operator()(uint32_t a, uint32_t b) const { return table->term(a) < table->term(b); }
            bool operator()(uint32_t a, Slice b) const { return table->term(a) < b; }
            bool operator()(Slice a, uint32_t b) const { return a < table->term(b); }
        };
        TermTable table_;
        std::vector<std::vector<uint32_t>> entries_;  // by key number, ascending
        std::set<uint32_t, Less> ordered_;  // the words that recur cost no work here: only new keys do
        size_t tags_ = 0;
    };

    struct Entry {
        Position position = 0;
        RecordNumber record = 0;  // 0: the entry could not be made; no view sees it
        uint32_t next = kNone;    // the record's next entry
        bool deleted = false;
        uint32_t valuesBegin = 0;  // in the pool: key number * 2 + (1: first item)
        uint32_t valuesEnd = 0;
        uint32_t textsBegin =
            0;  // in the pool: sequences of field, length, tokens (word numbers and kParagraphMark)
        uint32_t textsEnd = 0;
        uint32_t setsBegin = 0;  // in the pool: field * 2 + (1: multi, 0: present)
        uint32_t setsEnd = 0;
    };

    explicit DeltaEntries(std::shared_ptr<const Schema> schema) : schema_(std::move(schema)) {}

    // Both: as if it had never been asked for when memory runs out (std::bad_alloc); addAll keeps the entries
    // that it had taken over by then.
    void add(Position position, RecordNumber record, const RecordView* image);
    // Takes over entries of another one (with `after` < position), in their order.
    void addAll(const DeltaEntries& other, Position after);

    uint32_t count() const { return static_cast<uint32_t>(entries_.size()); }
    bool empty() const { return entries_.empty(); }
    const Entry& entry(uint32_t number) const { return entries_[number]; }
    Position firstPosition() const { return entries_.empty() ? 0 : entries_.front().position; }
    Position lastPosition() const { return entries_.empty() ? 0 : entries_.back().position; }
    // Position of the record's newest entry, 0 when it has none.
    Position newest(RecordNumber record) const {
        const auto found = latest_.find(record);
        return found == latest_.end() ? 0 : entries_[found->second].position;
    }
    size_t bytes() const;

    bool visible(const Entry& entry, Position after, Position upTo) const {
        return entry.position > after && entry.position <= upTo &&
               (entry.next == kNone || entries_[entry.next].position > upTo);
    }
    // Records with an entry in (after, upTo].
    RecordSet touched(Position after, Position upTo) const;

    const Dictionary& words() const { return words_; }    // entries: entry numbers
    const Dictionary& values() const { return values_; }  // entries: entry number * 2 + (1: first item)
    // Entries in which the field has a value, more than one item.
    std::span<const uint32_t> present(FieldNumber field) const { return list(present_, field); }
    std::span<const uint32_t> multi(FieldNumber field) const { return list(multi_, field); }
    // The tokens of an entry's text, empty when it has none. Tokens are numbers of words().
    std::span<const uint32_t> tokens(const Entry& entry, FieldNumber field) const;
    // The numbers of an entry's values, tagged as in values().entries.
    std::span<const uint32_t> valuesOf(const Entry& entry) const {
        return std::span(pool_).subspan(entry.valuesBegin, entry.valuesEnd - entry.valuesBegin);
    }

private:
    using Lists = std::unordered_map<FieldNumber, std::vector<uint32_t>>;
    struct Sink;
    class Maker;
    static std::span<const uint32_t> list(const Lists& lists, FieldNumber field);
    void noteSet(uint32_t tag, uint32_t entry);

    std::shared_ptr<const Schema> schema_;
    std::vector<Entry> entries_;
    std::unordered_map<RecordNumber, uint32_t> latest_;  // record -> its newest entry
    RecordSet allTouched_;
    Dictionary words_;
    Dictionary values_;
    Lists present_;
    Lists multi_;
    std::vector<uint32_t> pool_;  // values, texts and sets of the entries, one behind the other
    RecordInverter inverter_;
};

}  // namespace wdb
