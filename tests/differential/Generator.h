// Draws tables, rows and queries of the dialect.
#pragma once

#include <string>
#include <vector>

#include "tests/differential/Query.h"
#include "tests/differential/Random.h"
#include "tests/differential/Schema.h"

namespace differential {

/// A table of a FROM list; alias is how its columns are qualified, empty for not at all.
struct Source {
    const Table* table;
    std::string alias;
};
using Scope = std::vector<Source>;

class Generator {
public:
    explicit Generator(std::uint64_t seed) : random_(seed) {}

    /// Three tables with columns of all kinds and up to 40 rows each; some of the rows are to be loaded. The
    /// last one shares but one or two columns with the others.
    std::vector<Table> tables();
    /// One table of that many rows, all but 50 to be loaded.
    std::vector<Table> largeTable(int rows);
    Query query(const std::vector<Table>& tables);
    /// A query whose answer is short, over one table.
    Query shortQuery(const std::vector<Table>& tables);
    /// A condition of a few tests over the tables of the scope. Sub-queries, which want qualified columns,
    /// over others.
    ConditionPtr condition(const Scope& scope, int depth, const std::vector<Table>* others = nullptr);
    Random& random() { return random_; }
    /// A value in the twin's form, and one of several or none.
    std::string value(Kind kind);
    Cell cell(Kind kind);
    Row row(const Table& table);

private:
    // Generator.cpp: rows, constants, conditions
    Table table(const char* name, int rows);
    Table stranger(const char* name, int rows);
    std::string phrase();
    ColumnUse use(const Source& source);
    ColumnUse useOf(const Source& source, Kind kind);
    Constant constant(const Table& table, const ColumnUse& use, bool wildcards);
    Constant numberConstant(const Table& table, const ColumnUse& use);
    Constant textConstant(const Table& table, const ColumnUse& use, bool wildcards);
    void addWildcard(std::string& text);
    std::string someValue(const Table& table, const ColumnUse& use);
    ConditionPtr test(const Scope& scope, const std::vector<Table>* others);
    ConditionPtr constantTest();
    ConditionPtr subquery(const ColumnUse& column, const std::vector<Table>& others);
    ConditionPtr innerCondition(const Source& source, const std::vector<Table>& others);
    void fillTest(Condition& test, const Table& table);

    // Queries.cpp: forms of queries
    Query plain(const std::vector<Table>& tables);
    Query distinct(const std::vector<Table>& tables);
    Query grouped(const std::vector<Table>& tables);
    Query aggregated(const std::vector<Table>& tables);
    Query unionOf(const std::vector<Table>& tables);
    Source from(const std::vector<Table>& tables, Query& query, bool qualified);
    void addItems(Query& query, const Scope& scope, std::vector<ColumnUse>& items);
    void addOrder(Query& query, const Scope& scope, const std::vector<ColumnUse>& items);
    void addWhere(Query& query, const Scope& scope, const std::vector<Table>& tables);
    void addPage(Query& query);

    // Expressions.cpp
    Expression arithmetic(const Source& source);
    Expression valueList(const Source& source);
    Expression scalarQuery(const std::vector<Table>& tables);
    SortedExpression aggregate(const Source& source, const std::vector<ColumnUse>& groups);

    // Joins.cpp
    Query joined(const std::vector<Table>& tables);
    Query joinedByQuery(const std::vector<Table>& tables);
    Expression joinCondition(const Source& left, const Source& right, bool equalOnly);
    Expression usingColumn(const Source& left, const Source& right);
    static Expression naturalCondition(const Source& left, const Source& right);
    Query crossed(const std::vector<Table>& tables);

    Random random_;
    bool subqueries_ = true;  ///< in conditions
    int depth_ = 0;           ///< queries around the one that is drawn
};

}  // namespace differential
