#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/records/TableReader.h"

namespace host {

// Writes whole records, with nothing lost that the form can hold. Each call appends to `out`.
class RowWriter {
public:
    virtual ~RowWriter() = default;
    virtual void begin(std::string& out) = 0;
    // False, with the reason, when the form cannot hold the record; nothing is appended then.
    virtual bool row(const StoredRecord& record, std::string& out, std::string& reason) = 0;
};

// A header line and a line per record. Several values of one column stand on lines of their own in its cell,
// large objects in base64. Part records do not fit.
class CsvRowWriter : public RowWriter {
public:
    explicit CsvRowWriter(const std::vector<TableColumn>& columns) : columns_(columns) {}
    void begin(std::string& out) override;
    bool row(const StoredRecord& record, std::string& out, std::string& reason) override;

private:
    const std::vector<TableColumn>& columns_;
};

// A JSON object per line: {"NAME":"a","SIZE":5,"TAGS":["x",null,"y"],"ICON":{"base64":"..."}}. NULL columns
// are left out; part records are an array of such objects under kPartsKey. Bytes that are not UTF-8 become
// U+FFFD outside of large objects.
class JsonRowWriter : public RowWriter {
public:
    explicit JsonRowWriter(const std::vector<TableColumn>& columns);
    void begin(std::string&) override {}
    bool row(const StoredRecord& record, std::string& out, std::string& reason) override;

private:
    void part(const StoredPart& values, const std::vector<StoredPart>* parts, std::string& out) const;

    const std::vector<TableColumn>& columns_;
    std::vector<std::string> keys_;  // "\"NAME\":"
};

// An INSERT statement per record. Large objects, part records, numbers that a literal of the dialect cannot
// say exactly, and texts with all three quotes or a backslash at a quote do not fit.
class SqlRowWriter : public RowWriter {
public:
    SqlRowWriter(std::string_view table, const std::vector<TableColumn>& columns);
    void begin(std::string&) override {}
    bool row(const StoredRecord& record, std::string& out, std::string& reason) override;

private:
    const std::vector<TableColumn>& columns_;
    std::string table_;  // as the statement writes it
};

// What a statement takes for an INTEGER or NUMBER (`type` is its WDB_T_ code) of this text; empty when
// nothing in the dialect says exactly that number.
std::string numberLiteral(std::string_view text, std::int32_t type);

// The member of a JSON row that holds the part records: no column can be called so.
inline constexpr const char* kPartsKey = ".parts";
// The member of a JSON value that holds a large object.
inline constexpr const char* kObjectKey = "base64";

// A name as a statement writes it: in quotes.
std::string quotedName(std::string_view name);
// A text as a literal, in the first kind of quote that can hold it; empty when none can.
std::string quotedLiteral(std::string_view text);

}  // namespace host
