// Draws tables, rows and queries of the dialect.
#pragma once

#include <string>
#include <vector>

#include "tests/differential/Query.h"
#include "tests/differential/Random.h"
#include "tests/differential/Schema.h"

namespace differential {

class Generator {
public:
    explicit Generator(std::uint64_t seed) : random_(seed) {}

    /// Two tables with columns of all kinds and up to 40 rows each.
    std::vector<Table> tables();
    Query query(const std::vector<Table>& tables);
    /// A condition of a few tests over the table; alias is how its columns are qualified, empty for not at
    /// all.
    ConditionPtr condition(const Table& table, const std::string& alias, int depth);
    Random& random() { return random_; }

private:
    Row row(const Table& table);
    Cell cell(Kind kind);
    std::string value(Kind kind);
    std::string phrase();

    const Column& column(const Table& table) { return random_.pick(table.columns); }
    ColumnUse use(const Table& table, const std::string& alias);
    Constant constant(const Table& table, const ColumnUse& use, bool wildcards);
    Constant textConstant(const Table& table, const ColumnUse& use, bool wildcards);
    std::string someValue(const Table& table, const ColumnUse& use);
    ConditionPtr test(const Table& table, const std::string& alias);
    Expression shown(const ColumnUse& use);
    Expression sorted(const ColumnUse& use);
    void addOrder(Query& query, const Table& table, const std::string& alias,
                  const std::vector<ColumnUse>& items);
    void addPage(Query& query);

    Random random_;
};

}  // namespace differential
