#include "kernel/search/OutputColumn.h"

#include "kernel/search/CommandFault.h"

namespace wdb {

namespace {

using TermKind = ccl::ArithmeticTerm::Kind;
using ColumnKind = OutputColumn::Kind;

OutputColumn fieldColumn(const FieldDefinition& field, uint32_t table) {
    OutputColumn column;
    column.kind = ColumnKind::Field;
    column.table = table;
    column.field = field.number;
    column.type = field.type;
    column.ofParts = field.part;
    column.name = field.name;
    return column;
}

class ColumnBinder {
public:
    ColumnBinder(SourceTables& tables, std::vector<BoundAggregate>& aggregates, CommandError& error)
        : tables_(tables), aggregates_(aggregates), error_(error) {}

    Status bind(const ccl::FieldItem& item, OutputColumn& column) {
        if (item.kind == ccl::FieldItem::Kind::Null) return WDB_OK;
        if (item.kind == ccl::FieldItem::Kind::Text) {
            column.kind = ColumnKind::Constant;
            column.text = item.text;
            return WDB_OK;
        }
        if (item.terms.size() == 1) return bindTerm(item.terms.front(), column);
        auto arithmetic = std::make_shared<ArithmeticColumn>();
        for (const ccl::ArithmeticTerm& term : item.terms) {
            ArithmeticStep& step = arithmetic->steps.emplace_back();
            step.kind = term.kind;
            step.number = term.number;
            if (term.kind != TermKind::Column && term.kind != TermKind::Aggregate) continue;
            step.operand = static_cast<uint32_t>(arithmetic->operands.size());
            WDB_TRY(bindTerm(term, arithmetic->operands.emplace_back()));
        }
        column.kind = ColumnKind::Arithmetic;
        column.type = FieldType::Number;
        column.arithmetic = std::move(arithmetic);
        return WDB_OK;
    }

private:
    Status bindTerm(const ccl::ArithmeticTerm& term, OutputColumn& column) {
        if (term.kind == TermKind::Number) {
            column.kind = ColumnKind::Constant;
            column.type = FieldType::Number;
            column.text = term.number;
            return WDB_OK;
        }
        if (term.kind == TermKind::Aggregate) return bindAggregate(term.aggregate, column);
        const Result<BoundColumn> bound = tables_.bind(term.column);
        if (!bound) return bound.status();
        if (bound->field != nullptr)
            column = fieldColumn(*bound->field, bound->table);
        else
            column.kind = ColumnKind::Record;
        column.table = bound->table;
        column.type = bound->type();
        // A range delivers the items from the first one on, also a range of one item.
        column.first = term.column.range && bound->last > 1 ? 1 : bound->first;
        column.last = bound->last;
        return WDB_OK;
    }

    Status bindAggregate(const ccl::Aggregate& aggregate, OutputColumn& column) {
        BoundAggregate bound;
        bound.function = aggregate.function;
        bound.distinct = aggregate.distinct;
        column.kind = ColumnKind::Computed;
        column.type = FieldType::Integer;
        column.computed = static_cast<uint32_t>(aggregates_.size());
        column.name = aggregateName(aggregate);
        if (aggregate.column) {
            const Result<BoundColumn> source = tables_.bind(*aggregate.column);
            if (!source) return source.status();
            bound.column = *source;
            if (!fits(aggregate.function, source->type())) {
                return fault(error_, WDB_E_TYPE, aggregate.column->position, aggregate.column->field);
            }
            const bool sum =
                aggregate.function == ccl::Function::Sum || aggregate.function == ccl::Function::Avg;
            if (aggregate.function != ccl::Function::Count)
                column.type = sum ? FieldType::Number : source->type();
        }
        aggregates_.push_back(bound);
        return WDB_OK;
    }

    static bool fits(ccl::Function function, FieldType type) {
        if (function == ccl::Function::Count) return true;
        if (function == ccl::Function::Sum || function == ccl::Function::Avg) {
            return type == FieldType::Integer || type == FieldType::Number;
        }
        return holdsItems(type);
    }

    SourceTables& tables_;
    std::vector<BoundAggregate>& aggregates_;
    CommandError& error_;
};

}  // namespace

std::string aggregateName(const ccl::Aggregate& aggregate) {
    std::string name(1, static_cast<char>('0' + static_cast<int>(aggregate.function)));
    if (!aggregate.column) return name + '*';
    name += aggregate.distinct ? "d" : "";
    const ccl::Column& column = *aggregate.column;
    name += column.record ? ".." : '.' + column.field;
    return column.first == 0 ? name : name + '.' + std::to_string(column.first);
}

std::vector<OutputColumn> allColumns(SearchContext& context, const BaseDefinition& definition,
                                     uint32_t table) {
    std::vector<OutputColumn> columns;
    for (const FieldDefinition& field : definition.schema->fields()) {
        if (context.mayRead(definition, field.number)) columns.push_back(fieldColumn(field, table));
    }
    return columns;
}

Status bindColumns(SourceTables& tables, const std::vector<ccl::FieldItem>& items,
                   std::vector<OutputColumn>& columns, std::vector<BoundAggregate>& aggregates,
                   CommandError& error) {
    if (items.empty()) {
        for (uint32_t table = 0; table < tables.size(); ++table) {
            const BaseDefinition& definition = tables[table].state->snapshot.definition();
            for (OutputColumn& column : allColumns(tables.context(), definition, table))
                columns.push_back(std::move(column));
        }
    }
    ColumnBinder binder(tables, aggregates, error);
    columns.reserve(items.size());
    for (const ccl::FieldItem& item : items) WDB_TRY(binder.bind(item, columns.emplace_back()));
    return WDB_OK;
}

}  // namespace wdb
