#pragma once

#include "kernel/record/RecordImage.h"
#include "kernel/search/BaseState.h"
#include "kernel/search/Condition.h"

namespace wdb {

// Decides a condition by looking at a record: what subfields need, and the reference for what the indexes answer.
class ItemTest {
public:
    // Both outlive the test. Not for Test::Records and Test::Numbered.
    ItemTest(const Condition& condition, SearchContext& context);

    // Does the condition hold for the record, its negation and subfields included?
    bool holds(const RecordView& record);
    // Does one item (TEXT: one paragraph or the whole text) pass the test?
    bool passes(Slice item);

private:
    bool anyItem(const RecordView& record, bool (ItemTest::*test)(Slice));
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

}  // namespace wdb
