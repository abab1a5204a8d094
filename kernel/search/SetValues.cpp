#include "kernel/search/SetValues.h"

#include <algorithm>

#include "kernel/common/Ascii.h"
#include "kernel/record/Decimal.h"
#include "kernel/record/ValueKey.h"
#include "kernel/search/CommandFault.h"
#include "kernel/search/Operand.h"
#include "kernel/search/SearchSet.h"

namespace wdb {

namespace {

// The column that is meant: by name, else the first one. Null when there is none.
const OutputColumn* columnOf(const ccl::SetValue& value, const std::vector<OutputColumn>& columns) {
    const ccl::Column* wanted = std::get_if<ccl::Column>(&value.column);
    for (const OutputColumn& column : columns) {
        if (wanted == nullptr) break;
        const bool meant = wanted->record ? column.kind == OutputColumn::Kind::Record
                                          : column.kind == OutputColumn::Kind::Field && equalsIgnoreCase(column.name, wanted->field);
        if (meant) return &column;
    }
    return columns.empty() ? nullptr : &columns.front();
}

}  // namespace

Status SetValues::collect(const ccl::SetValue& value, size_t position) {
    SearchSet* set = search_.find(value.set);
    if (set == nullptr) return fault(error_, WDB_E_CCL_SET, position, std::to_string(value.set));
    if (set->kind != SetKind::Records) {
        const OutputColumn* column = columnOf(value, set->columns);
        return column == nullptr ? WDB_OK : collectColumn(*set, *column);
    }
    // A record set has no columns: a field of its base, or its record numbers.
    OutputColumn column;
    column.kind = OutputColumn::Kind::Record;
    const ccl::Column* wanted = std::get_if<ccl::Column>(&value.column);
    if (wanted == nullptr) return fault(error_, WDB_E_CCL_FIELD, position);
    if (!wanted->record) {
        const BaseDefinition& definition = *set->bases.front().definition;
        const FieldDefinition* field = definition.schema->find(wanted->field);
        if (field == nullptr || !context_.mayRead(definition, field->number)) {
            return fault(error_, WDB_E_CCL_FIELD, wanted->position, wanted->field);
        }
        column.kind = OutputColumn::Kind::Field;
        column.field = field->number;
        column.type = field->type;
    }
    return collectColumn(*set, column);
}

Status SetValues::collectColumn(SearchSet& set, const OutputColumn& column) {
    using Kind = OutputColumn::Kind;
    type_ = column.kind == Kind::Field ? column.type : column.kind == Kind::Record ? FieldType::Integer : FieldType::Phrase;
    if (column.kind == Kind::Constant && set.rows() > 0) keep(column.text);
    if (column.kind == Kind::Constant || column.kind == Kind::Null || set.bases.empty()) return WDB_OK;
    if (type_ == FieldType::String) return WDB_E_TYPE;
    SetBase& base = set.bases.front();
    if (base.base->gone()) return WDB_E_CCL_SET;
    const Result<const BaseSnapshot*> snapshot = context_.snapshot(base.base);
    if (!snapshot) return snapshot.status();
    Status status = WDB_OK;
    base.records.forEach([&](RecordNumber number) {
        if (status != WDB_OK) return;
        if (column.kind == Kind::Record) return keep(encodeInteger(number));
        const Result<RecordView> record = (*snapshot)->record(number);
        if (!record) {
            if (record.status() != WDB_E_DELETED && record.status() != WDB_FAIL) status = record.status();
            return;
        }
        uint32_t position = 0;
        for (const Slice item : record->items(column.field)) {
            ++position;
            const bool inside = column.first == 0 || (position >= column.first && position <= column.last);
            if (inside && !item.empty()) keep(std::string(item));
        }
    });
    return status;
}

std::vector<std::string> SetValues::texts() const {
    std::vector<std::string> result;
    for (const std::string& value : values_) {
        renderValue(type_, value, context_.dateForm(), result.emplace_back());
    }
    return result;
}

std::vector<std::string> SetValues::as(FieldType type) const {
    std::vector<std::string> result;
    for (const std::string& value : values_) {
        if (type == type_) {
            result.push_back(value);
            continue;
        }
        std::string text;
        renderValue(type_, value, context_.dateForm(), text);
        Result<Operand> operand = operandOf(type, text, context_.dateForm(), context_.today());
        if (operand && !operand->empty() && operand->exact && operand->beyond == 0) result.push_back(std::move(operand->canonical));
    }
    const auto less = [type](const std::string& a, const std::string& b) { return compareValues(type, a, b) < 0; };
    const auto same = [type](const std::string& a, const std::string& b) { return compareValues(type, a, b) == 0; };
    std::sort(result.begin(), result.end(), less);
    result.erase(std::unique(result.begin(), result.end(), same), result.end());
    return result;
}

}  // namespace wdb
