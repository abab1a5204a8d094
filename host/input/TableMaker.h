#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/input/RecordReader.h"
#include "host/input/TypeGuess.h"

namespace host {

enum class InputFormat { csv, deb822, jsonl };

struct NewColumn {
    std::string name;
    ColumnType type = ColumnType::varchar;
    bool isKey = false;
};

// Reads the input once and says what table holds it. Control records: the package name is the key, fields of
// digits only are INTEGER, DESCRIPTION and values too long for a VARCHAR are LONG VARCHAR. CSV and JSON
// lines: types that hold every value. Throws ImportError when the input has no records or no columns.
std::vector<NewColumn> planTable(RecordReader& reader, InputFormat format);

// The CREATE TABLE statement, every name in quotes.
std::string createStatement(std::string_view table, const std::vector<NewColumn>& columns);

}  // namespace host
