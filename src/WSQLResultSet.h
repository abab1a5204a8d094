// What a ResultSet document says about its rows, and rows that are kept in memory.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "src/WSQLResultSetColumn.h"
#include "src/WSQLRowData.h"
#include "src/support/CStringBuffer.h"
#include "src/support/Encoding.h"

namespace wsql {

class WSQLFilter;

/// The head of a ResultSet document.
class WSQLResultSetMetaData {
public:
    void addColumn(WSQLResultSetColumn column) { columns_.push_back(std::move(column)); }
    void expectColumns(std::int32_t count) { columns_.reserve(static_cast<std::size_t>(count)); }
    std::int32_t count() const { return static_cast<std::int32_t>(columns_.size()); }
    /// Null when the 0-based index is out of range.
    const WSQLResultSetColumn* column(std::int32_t index) const;

    /// Rows that the search found, whatever part of them the document carries; unions add up.
    void addRows(std::int32_t rows) { rowCount_ += rows; }
    std::int32_t rowCount() const { return rowCount_; }

    void setEncoding(std::string name) { encoding_ = std::move(name); }
    void setStatementType(std::string type) { statementType_ = std::move(type); }
    void setUnion(bool on) { union_ = on; }
    bool hasRows() const { return hasRows_; }
    void setHasRows() { hasRows_ = true; }

    /// Appends everything in front of the first Row element. The rows follow, then finish.
    void begin(CStringBuffer& document, const CharacterSet& set) const;
    /// Appends everything behind the last Row element.
    static void finish(CStringBuffer& document);

private:
    std::string encoding_ = "windows-1252";
    std::string statementType_ = "SELECT";
    std::vector<WSQLResultSetColumn> columns_;
    std::int32_t rowCount_ = 0;
    bool union_ = false;
    bool hasRows_ = false;
};

/// Rows of a result, kept in memory, with the description of their columns.
class WSQLResultSet {
public:
    WSQLResultSet() = default;
    WSQLResultSet(const WSQLResultSet&) = delete;
    WSQLResultSet& operator=(const WSQLResultSet&) = delete;

    WSQLResultSetMetaData& metaData() { return metaData_; }
    const WSQLResultSetMetaData& metaData() const { return metaData_; }

    void addRow(std::unique_ptr<WSQLRowData> row) { rows_.push_back(std::move(row)); }
    std::int32_t rowCount() const { return static_cast<std::int32_t>(rows_.size()); }
    /// The text of a value of a kept row, both 0-based; null for NULL and, with a line in the filter's log,
    /// outside the row.
    const char* GetValue(WSQLFilter& filter, std::int32_t row, std::int32_t index) const;

private:
    WSQLResultSetMetaData metaData_;
    std::vector<std::unique_ptr<WSQLRowData>> rows_;
};

}  // namespace wsql
