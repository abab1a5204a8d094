// Draws statements that change tables, for both sides.
#pragma once

#include <string>
#include <vector>

#include "tests/differential/Generator.h"

namespace differential {

struct Change {
    std::size_t table = 0;  ///< the one that is changed
    std::string engine, twin;
    /// A query of the twin with the answer 1 where the engine works out the values; otherwise it refuses,
    /// with this in the fault's text, and changes nothing. Empty: it always does.
    std::string possible, refusal;
};

class Changes {
public:
    /// Borrows the generator and the tables; rows that are inserted are added to the tables, from whose rows
    /// constants are drawn.
    Changes(Generator& generator, std::vector<Table>& tables)
        : generator_(generator), random_(generator.random()), tables_(tables) {}

    /// With so many rows in all tables: when they are many, some go.
    Change draw(std::size_t rows);

private:
    /// What a value costs the statement: the query that has to find a row.
    struct Value {
        std::string engine, twin, needs;
    };
    /// WHERE of the engine, condition of the twin.
    struct Found {
        std::string engine, twin;
    };
    Found find(const Source& source, const std::string& twinName);
    Change insertValues(std::size_t table);
    Change insertSelect(std::size_t table);
    Change update(std::size_t table);
    Change remove(std::size_t table, bool all);

    Value valueFor(Kind kind);
    Value asked(Kind kind);
    Value sourceFor(const Source& source, Kind target);
    std::string item(const Source& source, Kind kind);
    /// Name for the statement, alias for its columns.
    Source target(std::size_t table, std::string& engineName, std::string& twinName);
    ConditionPtr condition(const Source& source);

    Generator& generator_;
    Random& random_;
    std::vector<Table>& tables_;
};

}  // namespace differential
