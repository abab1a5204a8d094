#include "kernel/search/ConditionSets.h"

#include <algorithm>

#include "kernel/search/ItemTest.h"

namespace wdb {

namespace {

using Test = Condition::Test;

Result<RecordSet> phrasesOf(const Condition& condition, BaseState& state) {
    if (condition.phrases.size() == 1)
        return state.index.phrase(condition.field->number, condition.phrases.front());
    RecordSetBuilder builder;
    for (const std::vector<Pattern>& phrase : condition.phrases) {
        Result<RecordSet> hits = state.index.phrase(condition.field->number, phrase);
        if (!hits) return hits;
        builder.add(*hits);
    }
    return builder.finish();
}

Result<RecordSet> equalsOf(const Condition& condition, BaseState& state) {
    if (condition.values.size() == 1)
        return state.index.equal(condition.field->number, condition.values.front());
    RecordSetBuilder builder;
    for (const std::string& value : condition.values) {
        Result<RecordSet> hits = state.index.equal(condition.field->number, value);
        if (!hits) return hits;
        builder.add(*hits);
    }
    return builder.finish();
}

// Equal decimal numbers are delivered as they were typed (1.5, 1.50), which only records tell.
bool deliveredByValue(FieldType type) {
    return type != FieldType::Number;
}

// The texts that values are delivered as stand in no index: each value of the field is rendered once.
Result<RecordSet> deliveredAs(const Condition& condition, BaseState& state) {
    ItemTest test(condition, state.context);
    return state.index.where(condition.field->number, [&](Slice item) { return test.passes(item); });
}

// The records with some item that passes the test, subfields aside. (Of decimal numbers as they are
// delivered: all that have one.)
Result<RecordSet> passing(const Condition& condition, BaseState& state) {
    const FieldNumber field = condition.field->number;
    switch (condition.test) {
        case Test::Present:
        case Test::Absent:
            return state.index.present(field);
        case Test::Delivered:
            return deliveredByValue(condition.field->type) ? deliveredAs(condition, state)
                                                           : state.index.present(field);
        case Test::Equal:
            return equalsOf(condition, state);
        case Test::Matching:
            return state.index.match(field, condition.pattern);
        case Test::Words:
            return phrasesOf(condition, state);
        case Test::Within:
            return state.index.range(field, condition.low, condition.high);
        case Test::WordWithin:
            return state.index.wordRange(field, condition.low, condition.high);
        default:
            return RecordSet();
    }
}

Result<RecordSet> recordIfLive(RecordNumber number, BaseState& state) {
    const Result<RecordView> record = state.snapshot.record(number);
    if (record) return RecordSet::single(number);
    if (record.status() == WDB_FAIL || record.status() == WDB_E_DELETED) return RecordSet();
    return record.status();
}

Result<RecordSet> recordsAmong(const Condition& condition, BaseState& state) {
    Result<RecordSet> live = state.index.live();
    if (!live) return live;
    if (condition.negated)
        live->subtract(condition.records);
    else
        live->intersect(condition.records);
    return live;
}

Result<RecordSet> recordsNumbered(const Condition& condition, BaseState& state) {
    const RecordNumber first = condition.firstRecord;
    if (!condition.negated && first == condition.lastRecord) return recordIfLive(first, state);
    if (!condition.negated && first > condition.lastRecord) return RecordSet();
    Result<RecordSet> live = state.index.live();
    if (!live || live->empty()) return live;
    const RecordNumber last = std::min(condition.lastRecord, live->last());
    if (!condition.negated && first == 1 && last == live->last()) return live;
    if (condition.negated)
        live->subtract(RecordSet::range(first, last));
    else
        live->intersect(RecordSet::range(first, last));
    return live;
}

Result<RecordSet> subtractedFrom(Result<RecordSet> whole, Result<RecordSet> part) {
    if (!whole) return whole;
    if (!part) return part;
    whole->subtract(*part);
    return whole;
}

}  // namespace

Result<RecordSet> filterByRecords(const RecordSet& candidates, const Condition& condition, BaseState& state) {
    ItemTest test(condition, state.context);
    RecordSetBuilder builder;
    Status status = WDB_OK;
    candidates.forEach([&](RecordNumber number) {
        if (status != WDB_OK) return;
        const Result<RecordView> record = state.snapshot.record(number);
        if (!record)
            status = record.status();
        else if (test.holds(*record))
            builder.add(number);
    });
    if (status != WDB_OK) return status;
    return builder.finish();
}

Result<RecordSet> recordsWhere(const Condition& condition, BaseState& state) {
    if (condition.test == Test::Records) return recordsAmong(condition, state);
    if (condition.test == Test::Numbered) return recordsNumbered(condition, state);
    const bool byRecords = condition.first > 0 ||
                           (condition.test == Test::Delivered && !deliveredByValue(condition.field->type));
    if (!byRecords) {
        if (condition.test == Test::Absent)
            return subtractedFrom(state.index.live(), passing(condition, state));
        if (!condition.negated) return passing(condition, state);
        return subtractedFrom(state.index.present(condition.field->number), passing(condition, state));
    }
    // The field as a whole narrows down the records that are looked at.
    Result<RecordSet> candidates = condition.test == Test::Absent ? state.index.live()
                                   : condition.negated ? state.index.present(condition.field->number)
                                                       : passing(condition, state);
    if (!candidates) return candidates;
    return filterByRecords(*candidates, condition, state);
}

Result<RecordSet> recordsMaybe(const Condition& condition, BaseState& state) {
    const bool byPart = condition.field != nullptr && condition.field->part;
    if (byPart && condition.test == Test::Absent) return state.index.live();
    if (byPart && condition.negated) return state.index.present(condition.field->number);
    return recordsWhere(condition, state);
}

// A pattern without a beginning, and one for delivered texts, goes through all keys of its field; looking at
// a record costs about eight keys.
bool cheaperByRecords(const Condition& condition, uint64_t candidates, BaseState& state) {
    const bool delivered = condition.test == Test::Delivered;
    if (delivered && !deliveredByValue(condition.field->type)) return true;
    if (!delivered && condition.test != Test::Matching) return condition.first > 0 && candidates <= 2000;
    if (!delivered && !condition.pattern.prefix().empty()) return candidates <= 16;
    const Result<uint64_t> keys = state.index.orderCost(condition.field->number);
    return keys && candidates * 8 <= *keys;
}

}  // namespace wdb
