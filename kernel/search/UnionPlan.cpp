#include "kernel/search/UnionPlan.h"

#include <algorithm>
#include <numeric>
#include <unordered_set>

#include "kernel/record/Value.h"
#include "kernel/record/ValueKey.h"
#include "kernel/search/CommandFault.h"
#include "kernel/search/Distinct.h"
#include "kernel/search/SetRowReader.h"
#include "kernel/text/Normalize.h"

namespace wdb {

namespace {

// A bare number is a number; NULL has no type.
FieldType typeOf(const OutputColumn& column) {
    return column.kind == OutputColumn::Kind::Null ? FieldType::Phrase : column.type;
}

bool isNumeric(FieldType type) {
    return type == FieldType::Integer || type == FieldType::Number;
}

// What a column is ordered as: the type of the first member that has one, numbers of both kinds as numbers.
FieldType orderType(const UnionRows& joined, size_t column) {
    for (const UnionRows::Member& member : joined.members) {
        const OutputColumn& one = member.columns[column];
        if (one.kind == OutputColumn::Kind::Null) continue;
        if (isNumeric(typeOf(one))) return FieldType::Number;
        return holdsItems(typeOf(one)) ? typeOf(one) : FieldType::Phrase;
    }
    return FieldType::Phrase;
}

// Keys of values that the type reads stand before those that it cannot read, these as texts; NULL is empty.
std::string orderKey(FieldType from, FieldType as, Slice value, SearchContext& context) {
    constexpr char kRead = 1, kUnread = 2;
    if (value.empty() || from == FieldType::String) return {};
    if (from == as && as != FieldType::Number) return kRead + wholeValueKey(as, value);
    const DateForm form = context.dateForm();
    std::string text;
    renderValue(from, value, form, text);
    if (as == FieldType::Phrase) return kRead + normalize(text, kNormalizeValue);
    const Result<std::string> read = parseValue(as, text, form, context.today(), DateUse::Compare);
    if (read && !read->empty()) return kRead + wholeValueKey(as, *read);
    return kUnread + normalize(text, kNormalizeValue);
}

}  // namespace

Result<std::unique_ptr<SearchSet>> UnionPlan::makeSet() {
    auto set = std::make_unique<SearchSet>();
    set->kind = SetKind::Union;
    set->joined = std::make_unique<UnionRows>();
    if (const Status status = addSide(command_.left, command_.leftPosition, *set); status != WDB_OK)
        return status;
    if (const Status status = addSide(command_.right, command_.rightPosition, *set); status != WDB_OK)
        return status;
    for (const ccl::SortItem& item : command_.sort) {
        if (item.item < 1 || static_cast<size_t>(item.item) > set->columns.size()) {
            return fault(error_, WDB_E_CCL_FIELD, item.position, std::to_string(item.item));
        }
        const OutputColumn& column = set->columns[static_cast<size_t>(item.item) - 1];
        if (column.kind == OutputColumn::Kind::Field && column.type == FieldType::String) {
            return fault(error_, WDB_E_TYPE, item.position, column.name);
        }
    }
    for (UnionRows::Member& member : set->joined->members) member.fixed = member.fixed || !command_.all;
    if (!command_.all || !command_.sort.empty()) {
        if (const Status status = sort(*set); status != WDB_OK) return status;
    }
    return set;
}

// A union's members are taken over one by one.
Status UnionPlan::addSide(int32_t number, uint32_t position, SearchSet& set) {
    const std::shared_ptr<SearchSet> side = search_.share(number);
    const bool usable = side != nullptr && (side->kind == SetKind::Rows || side->kind == SetKind::Union ||
                                            side->kind == SetKind::Values);
    if (!usable) return fault(error_, WDB_E_CCL_SET, position, std::to_string(number));
    UnionRows& joined = *set.joined;
    if (joined.members.empty())
        set.columns = side->columns;
    else if (side->columns.size() != set.columns.size())
        return fault(error_, WDB_E_CCL_SET, position, std::to_string(number));
    const uint64_t begin = joined.all;
    if (side->rows() > UINT32_MAX - begin) return WDB_E_MEMORY;
    for (const SetBase& base : side->bases) {
        SetBase& added = set.bases.emplace_back();
        added.base = base.base;
        added.definition = base.definition;
        added.commit = base.commit;
    }
    if (side->joined) {
        const UnionRows& from = *side->joined;
        for (UnionRows::Member member : from.members) {
            member.begin += begin;
            joined.members.push_back(std::move(member));
        }
        joined.all += from.all;
        if (from.picked && !joined.picked) {
            joined.picked = true;
            joined.picks.resize(begin);
            std::iota(joined.picks.begin(), joined.picks.end(), 0u);
        }
        for (uint64_t row = 0; joined.picked && row < from.size(); ++row) {
            joined.picks.push_back(static_cast<uint32_t>(begin + (from.picked ? from.picks[row] : row)));
        }
        return WDB_OK;
    }
    UnionRows::Member member{side, side->columns, begin, false, nullptr};
    for (OutputColumn& column : member.columns) {
        if (column.kind == OutputColumn::Kind::Field)
            column.name = side->bases[column.table].definition->name + "." + column.name;
    }
    joined.members.push_back(std::move(member));
    for (uint64_t row = 0; joined.picked && row < side->rows(); ++row)
        joined.picks.push_back(static_cast<uint32_t>(begin + row));
    joined.all += side->rows();
    return WDB_OK;
}

Status UnionPlan::makeKeys(SearchSet& set, Keys& keys) {
    const DateForm form = context_.dateForm();
    std::vector<FieldType> types;
    for (size_t column = 0; column < set.columns.size(); ++column)
        types.push_back(orderType(*set.joined, column));
    const InlineValues inlined{context_.textsInline(), context_.objectsInline()};
    SetRowReader reader(set, context_);
    for (uint64_t row = 0; row < set.joined->size(); ++row) {
        const Status status = reader.read(row);
        if (status != WDB_OK && status != WDB_E_DELETED) return status;
        std::vector<std::string>& columns = keys.columns.emplace_back(types.size());
        std::string& whole = keys.rows.emplace_back();
        if (status == WDB_E_DELETED) continue;
        for (size_t column = 0; column < types.size(); ++column) {
            const OutputColumn& source = reader.columns()[column];
            columns[column] =
                orderKey(typeOf(source), types[column], firstValue(source, reader.view(), form), context_);
        }
        WDB_TRY(RowKeyMaker(reader.columns(), form, inlined).append(reader.view(), whole));
    }
    return WDB_OK;
}

Status UnionPlan::sort(SearchSet& set) {
    UnionRows& joined = *set.joined;
    Keys keys;
    WDB_TRY(makeKeys(set, keys));
    std::vector<uint32_t> places;
    std::unordered_set<std::string_view> seen;
    for (uint32_t place = 0; place < keys.rows.size(); ++place) {
        if (command_.all || seen.insert(keys.rows[place]).second) places.push_back(place);
    }
    const auto before = [&](uint32_t a, uint32_t b) {
        for (const ccl::SortItem& item : command_.sort) {
            const size_t column = static_cast<size_t>(item.item) - 1;
            const int order = keys.columns[a][column].compare(keys.columns[b][column]);
            if (order != 0) return item.descending ? order > 0 : order < 0;
        }
        return !command_.all && keys.columns[a] < keys.columns[b];
    };
    std::stable_sort(places.begin(), places.end(), before);
    for (uint32_t& place : places) place = joined.picked ? joined.picks[place] : place;
    joined.picks = std::move(places);
    joined.picked = true;
    return WDB_OK;
}

}  // namespace wdb
