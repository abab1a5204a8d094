#include "kernel/search/JoinComparison.h"

#include <optional>

#include "kernel/record/Value.h"
#include "kernel/record/ValueKey.h"
#include "kernel/search/Operand.h"

namespace wdb {

using ccl::Comparison;

namespace {

bool isNumeric(FieldType type) {
    return type == FieldType::Integer || type == FieldType::Number;
}

bool stands(int order, Comparison comparison) {
    switch (comparison) {
        case Comparison::Equal:
            return order == 0;
        case Comparison::NotEqual:
            return order != 0;
        case Comparison::Less:
            return order < 0;
        case Comparison::LessOrEqual:
            return order <= 0;
        case Comparison::Greater:
            return order > 0;
        case Comparison::GreaterOrEqual:
            return order >= 0;
    }
    return false;
}

// Turns items of one type into keys of another.
class KeyMaker {
public:
    KeyMaker(FieldType from, FieldType to, SearchContext& context)
        : from_(from), to_(to), form_(context.dateForm()), today_(context.today()) {}

    std::optional<std::string> keyOf(Slice item) {
        if (from_ == to_) return wholeValueKey(to_, item);
        text_.clear();
        renderValue(from_, item, form_, text_);
        const Result<Operand> operand = operandOf(to_, text_, form_, today_);
        if (!operand || operand->empty() || !operand->exact || operand->beyond != 0) return std::nullopt;
        return wholeValueKey(to_, operand->canonical);
    }

private:
    const FieldType from_;
    const FieldType to_;
    const DateForm form_;
    const DayNumber today_;
    std::string text_;
};

}  // namespace

FieldType JoinComparison::common() const {
    if (left.type() == right.type()) return left.type();
    return left.type() == FieldType::Integer || isNumeric(left.type()) ? FieldType::Number : left.type();
}

Comparison JoinComparison::mirrored() const {
    switch (comparison) {
        case Comparison::Less:
            return Comparison::Greater;
        case Comparison::Greater:
            return Comparison::Less;
        case Comparison::LessOrEqual:
            return Comparison::GreaterOrEqual;
        case Comparison::GreaterOrEqual:
            return Comparison::LessOrEqual;
        default:
            return comparison;
    }
}

Status readJoinKeys(const BoundColumn& column, FieldType common, std::span<const PartRow> rows,
                    SourceTables& tables, JoinKeys& keys) {
    SourceTable& table = tables[column.table];
    KeyMaker maker(column.type(), common, tables.context());
    const auto keep = [&](Slice item) {
        std::optional<std::string> key = maker.keyOf(item);
        if (key) keys.keys.push_back(std::move(*key));
    };
    keys.begin.reserve(rows.size() + 1);
    for (const PartRow& row : rows) {
        if (row.record != 0 && column.field == nullptr) {
            keep(encodeInteger(row.record));
        } else if (row.record != 0) {
            const Result<RecordView> record = table.state->snapshot.record(row.record);
            if (!record) return record.status();
            visitJoinItems(column, *record, row.part, table.byPart, keep);
        }
        keys.begin.push_back(static_cast<uint32_t>(keys.keys.size()));
    }
    return WDB_OK;
}

bool anyPair(const JoinKeys& left, size_t leftRow, Comparison comparison, const JoinKeys& right,
             size_t rightRow) {
    for (uint32_t a = left.begin[leftRow]; a < left.begin[leftRow + 1]; ++a) {
        for (uint32_t b = right.begin[rightRow]; b < right.begin[rightRow + 1]; ++b) {
            if (stands(left.keys[a].compare(right.keys[b]), comparison)) return true;
        }
    }
    return false;
}

}  // namespace wdb
