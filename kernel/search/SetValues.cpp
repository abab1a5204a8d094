#include "kernel/search/SetValues.h"

#include <algorithm>

#include "kernel/common/Ascii.h"
#include "kernel/record/Decimal.h"
#include "kernel/record/ValueKey.h"
#include "kernel/search/CommandFault.h"
#include "kernel/search/Operand.h"
#include "kernel/search/SearchSet.h"
#include "kernel/search/SetRowReader.h"

namespace wdb {

namespace {

bool isMeant(const ccl::SetValue& value, const OutputColumn& column) {
    using Kind = OutputColumn::Kind;
    if (const auto* aggregate = std::get_if<ccl::Aggregate>(&value.column))
        return column.kind == Kind::Computed && equalsIgnoreCase(column.name, aggregateName(*aggregate));
    const auto& wanted = std::get<ccl::Column>(value.column);
    if (wanted.record) return column.kind == Kind::Record;
    return column.kind == Kind::Field && equalsIgnoreCase(column.name, wanted.field);
}

bool isRecordNumber(const ccl::SetValue& value) {
    const auto* wanted = std::get_if<ccl::Column>(&value.column);
    return wanted != nullptr && wanted->record;
}

// The column that is meant: by name, else the only one. Null when there is none.
const OutputColumn* columnOf(const ccl::SetValue& value, const std::vector<OutputColumn>& columns) {
    const auto found = std::find_if(columns.begin(), columns.end(),
                                    [&](const OutputColumn& column) { return isMeant(value, column); });
    if (found != columns.end()) return &*found;
    return columns.size() == 1 ? &columns.front() : nullptr;
}

}  // namespace

Status SetValues::collect(const ccl::SetValue& value, size_t position) {
    SearchSet* set = search_.find(value.set);
    if (set == nullptr) return fault(error_, WDB_E_CCL_SET, position, std::to_string(value.set));
    if (set->kind != SetKind::Records) {
        const OutputColumn* column = columnOf(value, set->columns);
        const bool numbers = isRecordNumber(value) && (column == nullptr || !isMeant(value, *column));
        if (numbers) return collectNumbers(*set);
        if (column == nullptr) return fault(error_, WDB_E_CCL_FIELD, position);
        return collectColumn(*set, *column);
    }
    // A record set has no columns: a field of its base, or its record numbers.
    OutputColumn column;
    column.kind = OutputColumn::Kind::Record;
    column.type = FieldType::Integer;
    const ccl::Column* wanted = std::get_if<ccl::Column>(&value.column);
    if (wanted == nullptr) return fault(error_, WDB_E_CCL_FIELD, position);
    if (!wanted->record) {
        const BaseDefinition& definition = *set->bases.front().definition;
        const FieldDefinition* field = definition.schema->find(wanted->field);
        if (field == nullptr || !context_.mayRead(definition, field->number)) {
            return fault(error_, WDB_E_CCL_FIELD, wanted->position, wanted->field);
        }
        column.kind = OutputColumn::Kind::Field;
        column.ofParts = field->part;
        column.field = field->number;
        column.type = field->type;
    }
    return collectColumn(*set, column);
}

Status SetValues::collectColumn(SearchSet& set, const OutputColumn& column) {
    using Kind = OutputColumn::Kind;
    const bool constant = column.kind == Kind::Constant || column.kind == Kind::Null;
    if (!constant && column.type == FieldType::String) return WDB_E_TYPE;
    if (set.kind == SetKind::Records) return collectRecords(set, column);
    const size_t place = static_cast<size_t>(&column - set.columns.data());
    const DateForm form = context_.dateForm();
    SetRowReader reader(set, context_);
    for (uint64_t row = 0; row < set.rows(); ++row) {
        const Status status = reader.read(row);
        if (status == WDB_E_DELETED) continue;
        WDB_TRY(status);
        const OutputColumn& source = reader.columns()[place];
        if (source.type == FieldType::String) continue;
        const FieldType type = source.kind == Kind::Constant ? FieldType::Phrase : source.type;
        columnValues(source, reader.view(), form, [&](Slice value) {
            values_.push_back({type, std::string(value)});
        });
    }
    return WDB_OK;
}

// The record numbers of a set without such a column: those of its rows' first records.
Status SetValues::collectNumbers(SearchSet& set) {
    SetRowReader reader(set, context_);
    for (uint64_t row = 0; row < set.rows(); ++row) {
        const Status status = reader.read(row);
        if (status == WDB_E_DELETED) continue;
        WDB_TRY(status);
        if (!reader.plain()) continue;
        const auto tables = reader.view().tables;
        const auto first = std::find_if(tables.begin(), tables.end(),
                                        [](const RowRecord& record) { return record.number != 0; });
        if (first != tables.end()) values_.push_back({FieldType::Integer, encodeInteger(first->number)});
    }
    return WDB_OK;
}

Status SetValues::collectRecords(SearchSet& set, const OutputColumn& column) {
    SetBase& base = set.bases.front();
    if (base.base->gone()) return WDB_E_CCL_SET;
    const Result<const BaseSnapshot*> snapshot = context_.snapshot(base.base);
    if (!snapshot) return snapshot.status();
    Status status = WDB_OK;
    base.records.forEach([&](RecordNumber number) {
        if (status != WDB_OK) return;
        if (column.kind == OutputColumn::Kind::Record)
            return values_.push_back({FieldType::Integer, encodeInteger(number)});
        const Result<RecordView> record = (*snapshot)->record(number);
        if (!record) {
            if (record.status() != WDB_E_DELETED && record.status() != WDB_FAIL) status = record.status();
            return;
        }
        for (PartNumber part = 0; part <= record->partCount(); ++part) {
            for (const Slice item : record->items(part, column.field)) {
                if (!item.empty()) values_.push_back({column.type, std::string(item)});
            }
        }
    });
    return status;
}

std::vector<std::string> SetValues::texts() const {
    std::vector<std::string> result;
    for (const Kept& kept : values_) {
        renderValue(kept.type, kept.value, context_.dateForm(), result.emplace_back());
    }
    return result;
}

std::vector<Operand> SetValues::operands(FieldType type) const {
    std::vector<Operand> result;
    std::string text;
    for (const Kept& kept : values_) {
        if (type == kept.type) {
            result.emplace_back().canonical = kept.value;
            continue;
        }
        text.clear();
        renderValue(kept.type, kept.value, context_.dateForm(), text);
        Result<Operand> operand = operandOf(type, text, context_.dateForm(), context_.today());
        if (operand && !operand->empty()) result.push_back(std::move(*operand));
    }
    return result;
}

std::vector<std::string> SetValues::as(FieldType type) const {
    std::vector<std::string> result;
    for (Operand& operand : operands(type)) {
        if (operand.exact && operand.beyond == 0) result.push_back(std::move(operand.canonical));
    }
    const auto less = [type](const std::string& a, const std::string& b) {
        return compareValues(type, a, b) < 0;
    };
    const auto same = [type](const std::string& a, const std::string& b) {
        return compareValues(type, a, b) == 0;
    };
    std::sort(result.begin(), result.end(), less);
    result.erase(std::unique(result.begin(), result.end(), same), result.end());
    return result;
}

std::optional<Operand> SetValues::extreme(FieldType type, bool greatest) const {
    const std::vector<Operand> all = operands(type);
    if (all.empty()) return std::nullopt;
    const auto less = [type](const Operand& a, const Operand& b) {
        if (a.beyond != b.beyond) return a.beyond < b.beyond;
        const int order = a.beyond != 0 ? 0 : compareValues(type, a.canonical, b.canonical);
        return order != 0 ? order < 0 : a.exact && !b.exact;
    };
    return greatest ? *std::max_element(all.begin(), all.end(), less)
                    : *std::min_element(all.begin(), all.end(), less);
}

}  // namespace wdb
