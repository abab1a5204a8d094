#include "kernel/search/RowPlaces.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <unordered_map>

#include "kernel/common/ByteOrder.h"
#include "kernel/record/ValueKey.h"
#include "kernel/search/TupleReader.h"
#include "kernel/text/Normalize.h"

namespace wdb {

namespace {

using Kind = OutputColumn::Kind;

// A field whose first items the index orders.
bool indexOrders(const OutputColumn& column) {
    const bool first = column.first == 0 || column.first == 1 || column.first != column.last;
    return column.kind == Kind::Field && holdsItems(column.type) && !column.ofParts && first;
}

std::string keyOf(FieldType type, Slice value) {
    return holdsItems(type) ? wholeValueKey(type, value) : normalize(value, kNormalizeValue);
}

Status readKeys(const OutputColumn& column, const SourceRows& source, std::vector<std::string>& keys) {
    const DateForm form = source.tables.context().dateForm();
    keys.resize(source.rows.size());
    return forEachRow(source, [&](size_t row, const RowView& view) {
        const std::string value = firstValue(column, view, form);
        if (!value.empty()) keys[row] = keyOf(column.type, value);
    });
}

// Equal values have equal ranks; NULL is 0. Records that the order does not know get theirs, or numbers
// behind all ranks. WDB_FAIL where first items are not all there is to a value, or for few rows.
Status numbersByRank(const OutputColumn& column, const SourceRows& source, std::vector<uint32_t>& numbers,
                     uint32_t& count) {
    constexpr size_t kFewRows = 64;
    if (!indexOrders(column) || column.first > 1 || source.rows.size() <= kFewRows) return WDB_FAIL;
    IndexView& index = source.tables[column.table].state->index;
    if (column.first == 0 || column.first != column.last) {
        const Result<RecordSet> multi = index.multi(column.field);
        if (!multi) return multi.status();
        if (!multi->empty()) return WDB_FAIL;
    }
    const auto ranks = index.ranks(column.field);
    if (!ranks) return ranks.status();
    const Result<RecordSet> loose = index.unranked(column.field, **ranks);
    if (!loose) return loose.status();
    const std::vector<RecordNumber>& records = source.rows.records(column.table);
    numbers.resize(records.size());
    count = (*ranks)->count + 1;
    for (size_t row = 0; row < records.size(); ++row) numbers[row] = (*ranks)->of(records[row]);
    if (loose->empty()) return WDB_OK;
    std::vector<uint32_t> rows;
    std::vector<RecordNumber> unknown;
    for (uint32_t row = 0; row < records.size(); ++row) {
        if (!loose->contains(records[row])) continue;
        rows.push_back(row);
        unknown.push_back(records[row]);
    }
    std::vector<uint64_t> places;
    WDB_TRY(index.places(column.field, unknown, places));
    std::unordered_map<uint64_t, uint32_t> added;
    for (size_t i = 0; i < rows.size(); ++i) {
        const uint32_t rank = IndexView::rankOfPlace(places[i]);
        const bool known = rank != 0 || places[i] == 0;
        numbers[rows[i]] =
            known ? rank
                  : added.try_emplace(places[i], count + static_cast<uint32_t>(added.size())).first->second;
    }
    count += static_cast<uint32_t>(added.size());
    return WDB_OK;
}

}  // namespace

Status forEachRow(const SourceRows& source, const std::function<void(size_t, const RowView&)>& visit) {
    std::vector<const BaseSnapshot*> snapshots;
    for (uint32_t table = 0; table < source.tables.size(); ++table)
        snapshots.push_back(&source.tables[table].state->snapshot);
    TupleReader reader(std::move(snapshots), source.rows);
    for (size_t row = 0; row < source.rows.size(); ++row) {
        WDB_TRY(reader.read(row));
        visit(row, {reader.records(), source.computed, row});
    }
    return WDB_OK;
}

Status sortPlaces(const OutputColumn& column, const SourceRows& source, std::vector<uint64_t>& places) {
    if (column.type == FieldType::String && column.kind == Kind::Field) return WDB_E_TYPE;
    if (column.kind == Kind::Record) {
        const std::vector<RecordNumber>& records = source.rows.records(column.table);
        places.assign(records.begin(), records.end());
        return WDB_OK;
    }
    if (indexOrders(column)) {
        return source.tables[column.table].state->index.places(column.field,
                                                               source.rows.records(column.table), places);
    }
    std::vector<std::string> keys;
    WDB_TRY(readKeys(column, source, keys));
    std::vector<uint32_t> order(keys.size());
    std::iota(order.begin(), order.end(), 0u);
    std::sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) { return keys[a] < keys[b]; });
    places.assign(keys.size(), 0);
    uint64_t place = 0;
    for (size_t i = 0; i < order.size(); ++i) {
        const std::string& key = keys[order[i]];
        if (key.empty()) continue;
        if (i == 0 || key != keys[order[i - 1]]) ++place;
        places[order[i]] = place;
    }
    return WDB_OK;
}

uint32_t combineNumbers(std::vector<uint32_t>& numbers, const std::vector<uint32_t>& others) {
    std::unordered_map<uint64_t, uint32_t> known;
    for (size_t row = 0; row < numbers.size(); ++row) {
        const uint64_t pair = uint64_t{numbers[row]} << 32 | others[row];
        numbers[row] = known.try_emplace(pair, static_cast<uint32_t>(known.size())).first->second;
    }
    return static_cast<uint32_t>(known.size());
}

// The numbers of groups, those of rows with another form than the rest of their rank's replaced.
Status distinctNumbers(const OutputColumn& column, const SourceRows& source, std::vector<uint32_t>& numbers,
                       uint32_t& count) {
    if (column.first != 0) return WDB_FAIL;
    WDB_TRY(numbersByRank(column, source, numbers, count));
    if (Spellings::fixed(column.type)) return WDB_OK;
    IndexView& index = source.tables[column.table].state->index;
    const auto spellings = index.spellings(column.field);
    if (!spellings) return spellings.status();
    const auto ranks = index.ranks(column.field);
    if (!ranks) return ranks.status();
    const Result<RecordSet> loose = index.unranked(column.field, **ranks);
    if (!loose) return loose.status();
    const std::vector<uint64_t>& forms = (*spellings)->formOf;
    const std::vector<RecordNumber>& records = source.rows.records(column.table);
    std::map<std::pair<uint32_t, uint64_t>, uint32_t> added;  // number and form
    for (size_t row = 0; row < records.size(); ++row) {
        uint32_t& number = numbers[row];
        const uint64_t form = number < forms.size() ? forms[number] : Spellings::kMixed;
        const bool alike = form != Spellings::kMixed && (loose->empty() || !loose->contains(records[row]));
        if (number == 0 || alike) continue;
        const Result<RecordView> record = source.tables[column.table].state->snapshot.record(records[row]);
        if (!record) return record.status();
        const uint64_t own = Spellings::form(column.type, record->items(column.field).first());
        if (own != form) number = added.try_emplace({number, own}, count + added.size()).first->second;
    }
    count += static_cast<uint32_t>(added.size());
    return WDB_OK;
}

Status groupNumbers(const OutputColumn& column, const SourceRows& source, std::vector<uint32_t>& numbers,
                    uint32_t& count) {
    const Status ranked = numbersByRank(column, source, numbers, count);
    if (ranked != WDB_FAIL) return ranked;
    numbers.assign(source.rows.size(), 0);
    std::unordered_map<std::string, uint32_t> known;
    const DateForm form = source.tables.context().dateForm();
    std::string all;
    WDB_TRY(forEachRow(source, [&](size_t row, const RowView& view) {
        all.clear();
        columnValues(column, view, form, [&](Slice value) {
            const std::string key = keyOf(column.type, value);
            appendBig(all, static_cast<uint32_t>(key.size()));
            all += key;
        });
        numbers[row] = known.try_emplace(all, static_cast<uint32_t>(known.size())).first->second;
    }));
    count = static_cast<uint32_t>(known.size());
    return WDB_OK;
}

}  // namespace wdb
