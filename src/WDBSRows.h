// The rows of the dictionary's tables.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace wsql {

/// A row number, and the value of every column as text.
class WDBSRow {
public:
    explicit WDBSRow(std::int32_t number) : rowNumber(number) {}
    virtual ~WDBSRow() = default;
    /// column: 1-based, in the order of the table's columns.
    virtual std::string value(std::int32_t column) const = 0;

    /// 1-based position of the database in the list, or of the rule in its database's list.
    std::int32_t rowNumber;
};

/// Built for one statement.
using WDBSList = std::vector<std::unique_ptr<WDBSRow>>;

/// A database.
class WDBSTables : public WDBSRow {
public:
    WDBSTables(std::int32_t number, std::string tableName, std::string tableOwner)
        : WDBSRow(number), name(std::move(tableName)), owner(std::move(tableOwner)) {}
    std::string value(std::int32_t column) const override { return column == 1 ? name : owner; }

    std::string name;
    std::string owner;
};

/// A field.
class WDBSColumns : public WDBSRow {
public:
    using WDBSRow::WDBSRow;
    std::string value(std::int32_t column) const override {
        switch (column) {
            case 1:
                return tableName;
            case 2:
                return columnName;
            case 3:
                return sqlType;
            case 4:
                return std::to_string(nullable);
            case 5:
                return std::to_string(ordinal);
            default:
                return std::to_string(primaryKey);
        }
    }

    std::string tableName;
    std::string columnName;
    std::string sqlType;
    std::int32_t nullable = 0;  ///< 0 for a field that may be empty, 1 for one that may not
    std::int32_t ordinal = 0;
    std::int32_t primaryKey = 0;
};

/// A referential rule.
class WDBSReference : public WDBSRow {
public:
    using WDBSRow::WDBSRow;
    std::string value(std::int32_t column) const override {
        const std::string* const values[] = {&fkTable,  &fkColumn,   &pkTable,
                                             &pkColumn, &deleteRule, &updateRule};
        return *values[column - 1];
    }

    std::string fkTable, fkColumn, pkTable, pkColumn;
    std::string deleteRule, updateRule;
};

}  // namespace wsql
