#include "kernel/search/RowView.h"

#include "kernel/record/Value.h"
#include "kernel/search/DecimalNumber.h"

namespace wdb {

namespace {

using Kind = OutputColumn::Kind;
using TermKind = ccl::ArithmeticTerm::Kind;
using Operand = std::optional<DecimalNumber>;

Operand operandOf(const OutputColumn& column, const RowView& row, const DateForm& form) {
    if (column.type != FieldType::Integer && column.type != FieldType::Number &&
        column.type != FieldType::Phrase) {
        return std::nullopt;
    }
    const std::string value = firstValue(column, row, form);
    if (value.empty()) return std::nullopt;
    if (column.type == FieldType::Integer && value.size() == sizeof(int64_t))
        return DecimalNumber(decodeInteger(value));
    return DecimalNumber::parse(value);
}

Operand calculate(TermKind kind, Operand left, const Operand& right) {
    if (!left || !right) return std::nullopt;
    switch (kind) {
        case TermKind::Add:
            left->add(*right);
            break;
        case TermKind::Subtract:
            left->subtract(*right);
            break;
        case TermKind::Multiply:
            left->multiply(*right);
            break;
        default:
            if (!left->divide(*right)) return std::nullopt;
    }
    return left;
}

}  // namespace

std::optional<std::string> arithmeticValue(const ArithmeticColumn& column, const RowView& row,
                                           const DateForm& form) {
    std::vector<Operand> stack;
    for (const ArithmeticStep& step : column.steps) {
        if (step.kind == TermKind::Number) {
            stack.push_back(DecimalNumber::parse(step.number));
        } else if (step.kind == TermKind::Column || step.kind == TermKind::Aggregate) {
            stack.push_back(operandOf(column.operands[step.operand], row, form));
        } else {
            const Operand right = std::move(stack.back());
            stack.pop_back();
            stack.back() = calculate(step.kind, std::move(stack.back()), right);
        }
    }
    return stack.back() ? stack.back()->text() : std::nullopt;
}

void columnValues(const OutputColumn& column, const RowView& row, const DateForm& form,
                  const std::function<void(Slice)>& visit) {
    const auto keep = [&](Slice value) {
        if (!value.empty()) visit(value);
    };
    switch (column.kind) {
        case Kind::Field:
            return visitItems(column, row.tables[column.table], keep);
        case Kind::Record:
            if (row.tables[column.table].number != 0) visit(encodeInteger(row.tables[column.table].number));
            return;
        case Kind::Computed:
            return keep(row.computed[column.computed].values[row.row]);
        case Kind::Arithmetic:
            if (const auto value = arithmeticValue(*column.arithmetic, row, form)) visit(*value);
            return;
        case Kind::Constant:
            return visit(column.text);
        case Kind::Null:
            return;
    }
}

std::string firstValue(const OutputColumn& column, const RowView& row, const DateForm& form) {
    if (column.kind == Kind::Field) {
        const RowRecord& record = row.tables[column.table];
        if (record.view == nullptr) return {};
        const ItemList list = record.view->items(column.ofParts ? record.part : 0, column.field);
        return std::string(list.at(column.first > 0 && column.first == column.last ? column.first : 1));
    }
    std::string first;
    columnValues(column, row, form, [&](Slice value) { first = value; });
    return first;
}

}  // namespace wdb
