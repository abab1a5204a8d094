#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/index/Delta.h"
#include "kernel/index/OrderWalk.h"
#include "kernel/index/RankCache.h"
#include "kernel/index/RecordSet.h"
#include "kernel/index/Spellings.h"
#include "kernel/record/RecordImage.h"
#include "kernel/record/Schema.h"
#include "kernel/storage/Environment.h"
#include "kernel/text/Pattern.h"

namespace wdb {

// Delivers records as the snapshot has them (the unit's writes included). WDB_E_DELETED, WDB_FAIL for numbers
// without a record. The view must stay valid until the snapshot ends or the session writes.
class RecordSource {
public:
    virtual ~RecordSource() = default;
    virtual Result<RecordView> record(RecordNumber number) = 0;
};

// One end of a range.
struct Bound {
    std::string value;  // canonical (Value.h); of words: the folded word (Analyzer::fold)
    bool inclusive = true;
};

// What a snapshot of a base hands over; everything pointed to outlives the view and the sets that it gives.
struct IndexSources {
    std::shared_ptr<const Schema> schema;
    const Txn* words = nullptr;  // word file, with the position it contains
    Position wordPosition = 0;
    const Txn* values = nullptr;  // value file
    Position valuePosition = 0;
    std::shared_ptr<const Delta> delta;  // start() not above either position, caught up to `position`
    Position position = 0;               // of the base file's snapshot; not below the two above
    const UnitDelta* unit = nullptr;     // of the session's open unit, or null
    RecordSource* records = nullptr;     // for what the index cannot tell alone (cut keys, first items)
    RankCache* ranks = nullptr;          // may be null
};

// A record with its place in the order of a field.
struct OrderedRecord {
    uint64_t place = 0;  // 0: the first item is empty; equal for equal values, else ordered as they are
    RecordNumber record = 0;
};

// The records of one group.
struct Tally {
    __extension__ __int128 sum = 0;
    uint32_t rows = 0;
    uint32_t values = 0;     // in the sum
    RecordNumber first = 0;  // the smallest
};

// One state of a base's indexes: what search asks. Sets are exact and hold live records only; they may borrow
// from the map: own() those that outlive the snapshot. A criterion holds when some item of the field (head or
// part) satisfies it; for TEXT when some paragraph does. Not safe for several threads at once. Fields must
// exist and have a type that fits, else WDB_E_TYPE.
class IndexView {
public:
    explicit IndexView(IndexSources sources);
    ~IndexView();
    IndexView(IndexView&&) noexcept;
    IndexView& operator=(IndexView&&) noexcept;

    // All records.
    Result<RecordSet> live();
    // Number of records, without making the set.
    Result<uint64_t> liveCount();
    // Records in which the field has a value (some item that is not empty); every type.
    Result<RecordSet> present(FieldNumber field);
    // Records in which the field has more than one item, empty ones before the last counted.
    Result<RecordSet> multi(FieldNumber field);

    // TEXT: records with a word that the pattern matches (made by Analyzer::wordPatterns).
    Result<RecordSet> word(FieldNumber field, const Pattern& pattern);
    // TEXT: records in which words that match the patterns stand next to each other, in order, in one
    // paragraph. No pattern: no record.
    Result<RecordSet> phrase(FieldNumber field, std::span<const Pattern> patterns);
    // TEXT: records with a word within the bounds (bytes of folded words).
    Result<RecordSet> wordRange(FieldNumber field, const std::optional<Bound>& low,
                                const std::optional<Bound>& high);

    // Item types: records with an item equal to the canonical value; with one and the same item within the
    // bounds.
    Result<RecordSet> equal(FieldNumber field, Slice canonical);
    Result<RecordSet> range(FieldNumber field, const std::optional<Bound>& low,
                            const std::optional<Bound>& high);
    // Item types but PHRASE: records with an item that passes a test, asked once for each value of the field
    // that lies in the index. (Equal NUMBERs come in one spelling.)
    Result<RecordSet> where(FieldNumber field, const std::function<bool(Slice canonical)>& test);
    // PHRASE: records with an item that the pattern matches (made by phrasePattern).
    Result<RecordSet> match(FieldNumber field, const Pattern& pattern);

    // Item types: a walk by first items.
    Result<OrderWalk> order(FieldNumber field, bool descending);
    // Item types: the ranks of the value file (not of the deltas), from the cache or by one walk.
    Result<std::shared_ptr<const Ranks>> ranks(FieldNumber field);
    // Item types: for each record of a set its place in the order of first items, deltas included; in the
    // set's order. Sorting by (place, record) is SORT; equal places are GROUP BY. The cost is one array
    // access per indexed record, plus one look-up per record of the deltas, plus the ranks when they are not
    // cached.
    Status places(FieldNumber field, const RecordSet& records, std::vector<OrderedRecord>& out);
    // The same for records in any order, repeated ones included: out[i] is the place of the i-th. 0 stands
    // for no record and has the place 0, as a record that is gone has.
    Status places(FieldNumber field, std::span<const RecordNumber> records, std::vector<uint64_t>& out);

    // The place of a value that the file has, by its rank; the rank of such a place, or 0 for a value between
    // two.
    static uint64_t placeOf(uint32_t rank);
    static uint32_t rankOfPlace(uint64_t place);
    // The records whose place these ranks do not tell: changed since the merge, with several items, with cut
    // keys.
    Result<RecordSet> unranked(FieldNumber field, const Ranks& ranks);
    // From the order of a field to that of a field with the same type in another view; from the cache or by
    // one walk through both. otherBase: what tells the other view's base from others.
    Result<std::shared_ptr<const RankMap>> rankMap(FieldNumber field, IndexView& other,
                                                   FieldNumber otherField, uint64_t otherBase);
    // Item types: the forms of the values of each rank, from the cache or by reading every record once.
    Result<std::shared_ptr<const Spellings>> spellings(FieldNumber field);
    // INTEGER: the values of records in any order (0 stands for no record) and whether there is one.
    // WDB_FAIL when the columns cannot tell: some record has several items.
    Status integers(FieldNumber field, std::span<const RecordNumber> records, std::vector<int64_t>& values,
                    std::vector<char>& present);

    // Groups records by the first items of a field (0: one group of all, if there are any) and adds up the
    // values of an INTEGER field (0: none). Groups come in the order of their first records. WDB_FAIL when
    // the ranks and columns cannot tell: some record has several items in one of the fields.
    Status tally(FieldNumber group, FieldNumber values, const RecordSet& records,
                 std::vector<Tally>& tallies);

    // Numbers of the entries a walk through the field would at most have to see: for choosing between ways to
    // sort.
    Result<uint64_t> orderCost(FieldNumber field);

    // Walks the terms of a field (words of TEXT, value keys of item types) upwards: the first one above
    // `after` with the number of its records. WDB_FAIL at the end.
    Status nextTerm(FieldNumber field, std::string& term, uint64_t& records);

    struct Impl;  // what the parts of kernel/index share, see IndexViewImpl.h

private:
    std::unique_ptr<Impl> impl_;
};

}  // namespace wdb
