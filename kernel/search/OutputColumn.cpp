#include "kernel/search/OutputColumn.h"

#include "kernel/common/Ascii.h"
#include "kernel/search/CommandFault.h"

namespace wdb {

namespace {

OutputColumn fieldColumn(const FieldDefinition& field) {
    OutputColumn column;
    column.kind = OutputColumn::Kind::Field;
    column.field = field.number;
    column.type = field.type;
    column.name = field.name;
    return column;
}

Status bindColumn(const BaseState* state, const ccl::TableRef* table, const ccl::Column& source, OutputColumn& column,
                  CommandError& error) {
    if (state == nullptr || !meansTable(source, *table)) {
        return fault(error, WDB_E_CCL_FIELD, source.position, source.qualifier.empty() ? source.field : source.qualifier);
    }
    if (source.record) {
        column.kind = OutputColumn::Kind::Record;
        return WDB_OK;
    }
    const FieldDefinition* field = state->readable(source.field);
    if (field == nullptr) return fault(error, WDB_E_CCL_FIELD, source.position, source.field);
    column = fieldColumn(*field);
    column.first = static_cast<uint32_t>(source.first);
    column.last = static_cast<uint32_t>(source.last);
    return WDB_OK;
}

}  // namespace

bool meansTable(const ccl::Column& column, const ccl::TableRef& table) {
    return column.qualifier.empty() || equalsIgnoreCase(column.qualifier, table.alias) ||
           equalsIgnoreCase(column.qualifier, table.base);
}

std::vector<OutputColumn> allColumns(SearchContext& context, const BaseDefinition& definition) {
    std::vector<OutputColumn> columns;
    for (const FieldDefinition& field : definition.schema->fields()) {
        if (context.mayRead(definition, field.number)) columns.push_back(fieldColumn(field));
    }
    return columns;
}

Status bindColumns(const BaseState* state, const ccl::TableRef* table, const std::vector<ccl::FieldItem>& items,
                   std::vector<OutputColumn>& columns, CommandError& error) {
    if (items.empty() && state != nullptr) {
        columns = allColumns(state->context, state->snapshot.definition());
        return WDB_OK;
    }
    for (const ccl::FieldItem& item : items) {
        OutputColumn& column = columns.emplace_back();
        if (item.kind == ccl::FieldItem::Kind::Null) continue;
        if (item.kind == ccl::FieldItem::Kind::Text) {
            column.kind = item.text.empty() ? OutputColumn::Kind::Null : OutputColumn::Kind::Constant;
            column.text = item.text;
            continue;
        }
        const ccl::ArithmeticTerm& term = item.terms.front();
        const bool simple = item.terms.size() == 1 && term.kind != ccl::ArithmeticTerm::Kind::Aggregate;
        if (!simple) return fault(error, WDB_E_CCL_UNSUPPORTED, item.position);
        if (term.kind == ccl::ArithmeticTerm::Kind::Number) {
            column.kind = OutputColumn::Kind::Constant;
            column.text = term.number;
        } else {
            WDB_TRY(bindColumn(state, table, term.column, column, error));
        }
    }
    return WDB_OK;
}

}  // namespace wdb
