#include "host/input/TableMaker.h"

#include "host/input/ColumnNames.h"
#include "host/input/ImportError.h"

namespace host {

namespace {

constexpr std::size_t kLongestItem = 32000;  // what a VARCHAR value can hold

ColumnType controlType(const std::string& name, bool isItem, const TypeGuess& guess) {
    if (name == "DESCRIPTION") return ColumnType::text;
    if (isItem) return ColumnType::varchar;
    if (guess.onlyDigits()) return ColumnType::integer;
    return guess.longest() > kLongestItem ? ColumnType::text : ColumnType::varchar;
}

}  // namespace

std::vector<NewColumn> planTable(RecordReader& reader, InputFormat format) {
    std::vector<TypeGuess> guesses;
    InputRecord record;
    while (reader.next(record)) {
        guesses.resize(reader.columns().size());
        if (!record.problem.empty()) continue;
        for (const InputValue& value : record.values) guesses[value.column].see(value.text);
    }
    guesses.resize(reader.columns().size());
    if (guesses.empty()) throw ImportError("there are no records in the file");
    std::vector<NewColumn> columns;
    for (std::size_t i = 0; i < guesses.size(); ++i) {
        const std::string& name = reader.columns()[i];
        if (format != InputFormat::deb822) {
            columns.push_back({name, reader.isObject(i) ? ColumnType::object : guesses[i].type(), false});
        } else {
            const bool isItem = reader.isKey(i) || reader.isList(i);
            columns.push_back({name, controlType(name, isItem, guesses[i]), reader.isKey(i)});
        }
    }
    return columns;
}

std::string createStatement(std::string_view table, const std::vector<NewColumn>& columns) {
    std::string sql = "CREATE TABLE \"" + std::string(table) + "\" (";
    for (const NewColumn& column : columns) {
        if (&column != &columns.front()) sql += ", ";
        sql += '"' + column.name + "\" " + sqlName(column.type);
        if (column.isKey) sql += " PRIMARY KEY";
    }
    return sql + ")";
}

}  // namespace host
