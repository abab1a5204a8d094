#include "src/SelectCommand.h"

#include "include/wdb.h"
#include "src/ConditionTranslator.h"
#include "src/ElementAt.h"
#include "src/WSQLResultSetColumn.h"
#include "src/support/text.h"
#include "src/tree/ComparisonOps.h"
#include "src/tree/Tree.h"
#include "src/welkhelp/CclText.h"

namespace wsql {
namespace {

void appendScalarText(CStringBuffer& out, const WSQLScalar& scalar, bool quoted) {
    CStringBuffer text(64);
    scalar.toText(text);
    if (quoted) {
        appendCclQuoted(out, text.view());
    } else {
        out.append(text);
    }
}

bool isNumber(const ConstantValue& value) {
    return value.kind == ConstantValue::Kind::kInteger || value.kind == ConstantValue::Kind::kReal;
}

/// Constants keep the positions of the entries right; the engine delivers their values itself.
void appendConstant(CStringBuffer& out, const WSQLScalar& constant) {
    const ConstantValue value = constant.constantValue();
    if (value.null) {
        out.append("NULL");
    } else {
        appendScalarText(out, constant, !isNumber(value));
    }
}

/// True when some operand is NULL or no number, which makes the whole expression NULL.
bool isAlwaysNull(const WSQLScalar& scalar) {
    if (scalar.isConstant()) {
        const ConstantValue value = scalar.constantValue();
        return value.null || !isNumber(value);
    }
    const auto* operation = dynamic_cast<const WSQLOperation*>(&scalar);
    return operation != nullptr && (isAlwaysNull(*operation->left()) || isAlwaysNull(*operation->right()));
}

void appendEntry(CStringBuffer& out, const WSQLScalar& item);

void appendOperand(CStringBuffer& out, const WSQLScalar& operand) {
    // A subfield in front of a minus sign would read as a range.
    const WSQLColumnRef* column = operand.asColumnRef();
    const bool enclosed = dynamic_cast<const WSQLOperation*>(&operand) != nullptr
                              ? !operand.isConstant()
                              : column != nullptr && column->subscript > 0;
    if (enclosed) out.append('(');
    appendEntry(out, operand);
    if (enclosed) out.append(')');
}

void appendFunction(CStringBuffer& out, const WSQLFunctionRef& function) {
    const WSQLColumnRef* argument = function.argument ? function.argument->asColumnRef() : nullptr;
    if (argument != nullptr && equalNames(function.name, "VALUELIST")) {
        appendFieldText(out, argument->qualifier(), *argument);
        return;
    }
    out.append(function.name);
    out.append('(');
    if (argument == nullptr) {
        out.append('*');
    } else {
        if (function.distinct) out.append("DISTINCT ");
        appendFieldText(out, argument->qualifier(), *argument);
    }
    out.append(')');
}

/// The value of a sub-query, once it has been evaluated. Binary values have no place in a command.
void appendSubselect(CStringBuffer& out, const WSQLLiteralSelect& query) {
    const WSQLScalar* item = query.select->item(0);
    const WSQLColumnRef* column = item != nullptr ? item->asColumnRef() : nullptr;
    const std::int32_t type =
        item != nullptr ? WSQLResultSetColumn::ofItem(0, *item, *query.select).typeCode : WDB_T_PHRASE;
    const bool binary = column != nullptr && column->fieldType == WDB_T_STRING;
    if (!query.result || query.result->constantValue().null || binary) {
        out.append("NULL");
    } else {
        appendScalarText(out, *query.result, type != WDB_T_INTEGER && type != WDB_T_NUMBER);
    }
}

void appendEntry(CStringBuffer& out, const WSQLScalar& item) {
    if (const WSQLColumnRef* column = item.asColumnRef()) {
        appendColumnText(out, column->qualifier(), *column);
    } else if (const WSQLFunctionRef* function = item.asFunctionRef()) {
        appendFunction(out, *function);
    } else if (item.isConstant()) {
        appendConstant(out, item);
    } else if (const auto* query = dynamic_cast<const WSQLLiteralSelect*>(&item)) {
        appendSubselect(out, *query);
    } else if (const auto* operation = dynamic_cast<const WSQLOperation*>(&item)) {
        appendOperand(out, *operation->left());
        out.append(operation->op());
        appendOperand(out, *operation->right());
    }
}

/// An item that is NULL in every row is written so; what is within one that is not is not NULL either.
void appendItem(CStringBuffer& out, const WSQLScalar& item) {
    // Most items are columns, and the cast across virtual bases is dear.
    const bool operation =
        item.asColumnRef() == nullptr && dynamic_cast<const WSQLOperation*>(&item) != nullptr;
    if (operation && !item.isConstant() && isAlwaysNull(item))
        out.append("NULL");
    else
        appendEntry(out, item);
}

void appendTables(CStringBuffer& out, const WSQLStmtSelect& select) {
    for (std::int32_t i = 0; i < select.tables->Count(); ++i) {
        const WSQLTableRef& table = elementAt(*select.tables, i);
        if (i > 0) out.append(',');
        appendCclName(out, table.table);
        if (table.correlation.empty()) continue;
        out.append(' ');
        appendCclName(out, table.correlation);
    }
}

bool appendJoin(CStringBuffer& out, const WSQLWelkJoin& join) {
    switch (join.kind) {
        case JoinKind::kInner:
        case JoinKind::kNaturalInner:
            out.append(" INNER(");
            break;
        case JoinKind::kLeft:
        case JoinKind::kNaturalLeft:
            out.append(" LEFT(");
            break;
        case JoinKind::kRight:
        case JoinKind::kNaturalRight:
            out.append(" RIGHT(");
            break;
        default:
            return false;
    }
    appendColumnText(out, join.leftTable->qualifier(), *join.leftColumn);
    out.append(ComparisonOp::sign(join.op));
    appendColumnText(out, join.rightTable->qualifier(), *join.rightColumn);
    out.append(") ");
    return true;
}

void appendSort(CStringBuffer& out, const WSQLStmtSelect& select, const SelectWords& words) {
    out.append(" SORT(");
    for (std::int32_t i = 0; i < select.orderBy->Count(); ++i) {
        const WSQLOrderByItem& order = elementAt(*select.orderBy, i);
        if (i > 0) out.append(',');
        if (order.column) {
            appendFieldText(out, order.column->qualifier(), *order.column);
        } else {
            appendNumber(out, order.position);
        }
        if (order.descending) {
            out.append(' ');
            out.append(words.descending);
        }
    }
    out.append(')');
}

void appendGroup(CStringBuffer& out, const WSQLStmtSelect& select) {
    out.append(" GROUP(");
    for (std::int32_t i = 0; i < select.groupBy->Count(); ++i) {
        const WSQLColumnRef& column = elementAt(*select.groupBy, i);
        if (i > 0) out.append(',');
        if (column.fieldNumber == WSQLColumnRef::kRowIdentifier) {
            appendCclName(out, column.qualifier());
            out.append(".0");
        } else {
            appendFieldText(out, column.qualifier(), column);
        }
    }
    out.append(')');
}

}  // namespace

bool appendSelectCommand(CStringBuffer& out, const WSQLStmtSelect& select, const SelectWords& words,
                         const SelectForm& form) {
    out.append(words.select);
    out.append(' ');
    if (form.subselect) out.append(words.subselect);
    out.append(select.distinct && !form.inUnion ? " DISTINCT " : " ");
    out.append(words.from);
    out.append('(');
    appendTables(out, select);
    out.append(") FIELD(");
    for (std::int32_t i = 0; i < select.itemCount(); ++i) {
        if (i > 0) out.append(',');
        appendItem(out, elementAt(select.items(), i));
    }
    out.append(") ");
    for (std::int32_t i = 0; i < select.joins->Count() && select.tables->Count() > 1; ++i) {
        if (!appendJoin(out, elementAt(*select.joins, i))) return false;
    }
    if (!form.where.empty()) {
        out.append(" WHERE(");
        out.append(form.where);
        out.append(')');
    }
    if (count(select.orderBy) > 0 && !form.inUnion) appendSort(out, select, words);
    if (count(select.groupBy) > 0) appendGroup(out, select);
    return true;
}

}  // namespace wsql
