#include "kernel/search/UnionPlan.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "kernel/record/Value.h"
#include "kernel/record/ValueKey.h"
#include "kernel/search/CommandFault.h"
#include "kernel/search/Distinct.h"
#include "kernel/search/SetRowReader.h"
#include "kernel/text/Normalize.h"

namespace wdb {

namespace {

// Keys of more rows are not held for the next union.
constexpr uint64_t kFewRows = 1 << 16;

// A bare number is a number; NULL has no type.
FieldType typeOf(const OutputColumn& column) {
    return column.kind == OutputColumn::Kind::Null ? FieldType::Phrase : column.type;
}

bool isNumeric(FieldType type) {
    return type == FieldType::Integer || type == FieldType::Number;
}

// What a column is ordered as: the type of the first member that has one, numbers of both kinds as numbers.
FieldType orderType(const UnionRows& joined, size_t column) {
    for (const UnionRows::Member& member : joined.members()) {
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

Result<std::shared_ptr<SearchSet>> UnionPlan::makeSet() {
    auto set = std::make_shared<SearchSet>();
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
    for (UnionRows::Member& member : set->joined->members()) member.fixed = member.fixed || !command_.all;
    if (!command_.all || !command_.sort.empty()) {
        if (const Status status = sort(*set); status != WDB_OK) return status;
    }
    return set;
}

Status UnionPlan::addSide(int32_t number, uint32_t position, SearchSet& set) {
    const std::shared_ptr<SearchSet> side = search_.share(number);
    const bool usable = side != nullptr && (side->kind == SetKind::Rows || side->kind == SetKind::Union ||
                                            side->kind == SetKind::Values);
    if (!usable) return fault(error_, WDB_E_CCL_SET, position, std::to_string(number));
    UnionRows& joined = *set.joined;
    const bool first = joined.count == 0;
    if (first)
        set.columns = side->columns;
    else if (side->columns.size() != set.columns.size())
        return fault(error_, WDB_E_CCL_SET, position, std::to_string(number));
    if (side->rows() > UINT32_MAX - joined.all) return WDB_E_MEMORY;
    for (const SetBase& base : side->bases) {
        const auto same = [&](const SetBase& one) {
            return one.base == base.base && one.definition == base.definition && one.commit == base.commit;
        };
        // Columns name the first side's bases by their places.
        if (!first && std::any_of(set.bases.begin(), set.bases.end(), same)) continue;
        SetBase& added = set.bases.emplace_back();
        added.base = base.base;
        added.definition = base.definition;
        added.commit = base.commit;
    }
    if (side->joined && first)
        goOn(joined, *side->joined);
    else if (side->joined)
        addUnion(joined, *side->joined);
    else
        addSet(joined, side);
    return WDB_OK;
}

void UnionPlan::goOn(UnionRows& joined, const UnionRows& left) {
    const bool last = left.list->size() == left.count;
    // A member's values are fixed in all unions that have it in common.
    const bool fixed = command_.all || std::ranges::all_of(left.members(), &UnionRows::Member::fixed);
    if (last && fixed) {
        joined.list = left.list;
        const bool known = !command_.all && left.keys && left.keys->rows.size() == left.all;
        if (known && usable(*left.keys)) joined.keys = left.keys;
    } else {
        joined.list->assign(left.members().begin(), left.members().end());
    }
    joined.count = left.count;
    joined.all = left.all;
    joined.picked = left.picked;
    joined.picks = left.picks;
    known_ = left.size();
}

void UnionPlan::addUnion(UnionRows& joined, const UnionRows& from) {
    const uint64_t begin = joined.all;
    // Both may have one list, which grows here.
    for (size_t i = 0; i < from.count; ++i) {
        UnionRows::Member member = (*from.list)[i];
        member.begin += begin;
        joined.list->push_back(std::move(member));
        ++joined.count;
    }
    if (from.picked && !joined.picked) {
        joined.picked = true;
        joined.picks.resize(begin);
        std::iota(joined.picks.begin(), joined.picks.end(), 0u);
    }
    for (uint64_t row = 0; joined.picked && row < from.size(); ++row)
        joined.picks.push_back(static_cast<uint32_t>(begin + from.placeOf(row)));
    joined.all += from.all;
}

void UnionPlan::addSet(UnionRows& joined, const std::shared_ptr<SearchSet>& side) {
    UnionRows::Member member{side, side->columns, joined.all, false, nullptr};
    for (OutputColumn& column : member.columns) {
        if (column.kind == OutputColumn::Kind::Field)
            column.name = side->bases[column.table].definition->name + "." + column.name;
    }
    joined.list->push_back(std::move(member));
    ++joined.count;
    const uint64_t rows = side->rows();
    for (uint64_t row = 0; joined.picked && row < rows; ++row)
        joined.picks.push_back(static_cast<uint32_t>(joined.all + row));
    joined.all += rows;
}

bool UnionPlan::usable(const UnionKeys& keys) const {
    return keys.form == context_.dateForm() && keys.inlined.texts == context_.textsInline() &&
           keys.inlined.objects == context_.objectsInline();
}

Status UnionPlan::makeKeys(SearchSet& set, UnionKeys& keys) {
    std::vector<FieldType> types;
    for (size_t column = 0; column < set.columns.size(); ++column)
        types.push_back(orderType(*set.joined, column));
    keys.columns.resize(set.joined->all);
    keys.rows.resize(set.joined->all);
    SetRowReader reader(set, context_);
    for (uint64_t row = known_; row < set.joined->size(); ++row) {
        std::vector<std::string>& columns = keys.columns[set.joined->placeOf(row)];
        std::string& whole = keys.rows[set.joined->placeOf(row)];
        columns.assign(types.size(), {});
        whole.clear();
        const Status status = reader.read(row);
        if (status == WDB_E_DELETED) continue;
        if (status != WDB_OK) return status;
        for (size_t column = 0; column < types.size(); ++column) {
            const OutputColumn& source = reader.columns()[column];
            columns[column] = orderKey(typeOf(source), types[column],
                                       firstValue(source, reader.view(), keys.form), context_);
        }
        WDB_TRY(RowKeyMaker(reader.columns(), keys.form, keys.inlined).append(reader.view(), whole));
    }
    return WDB_OK;
}

Status UnionPlan::sort(SearchSet& set) {
    UnionRows& joined = *set.joined;
    std::shared_ptr<UnionKeys> keys = std::exchange(joined.keys, nullptr);
    if (keys == nullptr) {
        known_ = 0;
        keys = std::make_shared<UnionKeys>();
        keys->form = context_.dateForm();
        keys->inlined = {context_.textsInline(), context_.objectsInline()};
    }
    WDB_TRY(makeKeys(set, *keys));
    std::vector<uint32_t> places;
    for (uint64_t row = 0; row < joined.size(); ++row) {
        const uint32_t place = joined.placeOf(row);
        if (command_.all || row < known_ || keys->seen.insert(keys->rows[place]).second)
            places.push_back(place);
    }
    const auto before = [&](uint32_t a, uint32_t b) {
        for (const ccl::SortItem& item : command_.sort) {
            const size_t column = static_cast<size_t>(item.item) - 1;
            const int order = keys->columns[a][column].compare(keys->columns[b][column]);
            if (order != 0) return item.descending ? order > 0 : order < 0;
        }
        return !command_.all && keys->columns[a] < keys->columns[b];
    };
    // Known rows stand in the order of all columns.
    const auto added =
        places.begin() + (command_.sort.empty() ? static_cast<std::ptrdiff_t>(known_) : std::ptrdiff_t{0});
    std::stable_sort(added, places.end(), before);
    std::inplace_merge(places.begin(), added, places.end(), before);
    joined.picks = std::move(places);
    joined.picked = true;
    if (!command_.all && command_.sort.empty() && joined.all <= kFewRows) joined.keys = std::move(keys);
    return WDB_OK;
}

}  // namespace wdb
