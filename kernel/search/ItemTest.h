#pragma once

#include "kernel/record/RecordImage.h"
#include "kernel/search/BaseState.h"
#include "kernel/search/Condition.h"

namespace wdb {

// Decides a condition by looking at a record: what subfields need, and the reference for what the indexes
// answer.
class ItemTest {
public:
    // Both outlive the test. Not for Test::Records and Test::Numbered.
    ItemTest(const Condition& condition, SearchContext& context);

    // Does the condition hold for the record, its negation and subfields included?
    bool holds(const RecordView& record) { return holds(record, 0, record.partCount()); }
    // Does it for the row of one part? Head fields are the same in all rows.
    bool holds(const RecordView& record, PartNumber part) {
        return condition_.field->part ? holds(record, part, part) : holds(record, 0, 0);
    }
    // Does one item (TEXT: one paragraph or the whole text) pass the test?
    bool passes(Slice item);

private:
    struct Parts {
        PartNumber first, last;
    };
    bool holds(const RecordView& record, PartNumber firstPart, PartNumber lastPart);
    bool anyItem(const RecordView& record, Parts parts, bool (ItemTest::*test)(Slice));
    bool isPresent(Slice item) { return !item.empty(); }
    bool equalsSome(Slice item);
    bool within(Slice item) const;
    bool hasPhrase(Slice text);
    bool hasWordWithin(Slice text);
    bool delivered(Slice item);

    const Condition& condition_;
    SearchContext& context_;
    std::vector<std::string> keys_;  // of Test::Equal, sorted
    std::string buffer_;
};

// Does a condition on record numbers (Test::Records, Test::Numbered) hold for a live record?
bool holdsNumber(const Condition& condition, RecordNumber record);

}  // namespace wdb
