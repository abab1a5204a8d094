// Tables as both sides know them, and the statements that make them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace differential {

enum class Kind { kVarchar, kInteger, kNumeric, kDate, kTime, kText, kItems };

struct Column {
    std::string name;
    Kind kind;
};

/// The values of one field, none is NULL. In the twin's form: whole numbers and hundredths (NUMERIC) in
/// decimal, dates YYYY-MM-DD, times HH:MM:SS, texts of LONG VARCHAR as lines with LF between. Only kItems has
/// more than one; an empty item is a gap.
using Cell = std::vector<std::string>;
using Row = std::vector<Cell>;

struct Table {
    std::string name;
    std::vector<Column> columns;
    std::vector<Row> rows;   ///< row i is record number i + 1
    std::size_t loaded = 0;  ///< so many of them come by a load, the others by INSERT
    std::string key;         ///< the column of texts that is the primary key, if one is
};

/// Between the items of a kItems cell in the twin.
constexpr char kItemEnd = '\x1f';

std::string createForEngine(const Table& table);
std::string insertForEngine(const Table& table, const Row& row);
std::string createForTwin(const Table& table);
std::string insertForTwin(const Table& table, const Row& row);

/// A value as a literal of either side; the empty one is NULL. INSERT and UPDATE of the engine know no signs:
/// a negative number is a query.
std::string literalForEngine(Kind kind, const std::string& value);
std::string literalForTwin(Kind kind, const std::string& value);

/// "12.50" of 1250 hundredths.
std::string decimals(std::int64_t hundredths);
/// A quoted text of either side; it holds no apostrophe for the engine and no backslash in front of its end.
std::string quoted(const std::string& text);

}  // namespace differential
