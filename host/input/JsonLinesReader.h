#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/input/ColumnNames.h"
#include "host/input/LineReader.h"
#include "host/input/RecordReader.h"

namespace host {

// Takes rows apart that are JSON objects, one per line, as JsonRowWriter writes them: members are columns, an
// array holds the values of a column by position (null for an absent one), {"base64": "..."} is a large
// object, and ".parts" holds part records. Numbers keep the digits that they are written with.
class JsonRowParser {
public:
    // The values of one line. The views hold until the next call. A line that is no such object leaves a
    // problem in the record.
    void parse(std::string_view line, InputRecord& record);
    const std::vector<std::string>& columns() const { return names_.names(); }
    bool isList(std::size_t column) const { return columns_[column].list; }
    bool isObject(std::size_t column) const { return columns_[column].object; }

private:
    friend class JsonRowHandler;
    struct Column {
        std::string key;  // as the file names it
        bool list = false, object = false;
    };
    struct Value {
        std::size_t column, begin, end;  // bytes of text_
        std::int32_t position, part;
    };
    std::size_t columnOf(std::string_view key);

    ColumnNames names_;
    std::vector<Column> columns_;
    std::string text_;  // values of the record, one after another
    std::vector<Value> values_;
};

// A file of such lines; empty ones are passed over.
class JsonLinesReader : public RecordReader {
public:
    explicit JsonLinesReader(LineReader& lines) : lines_(lines) {}
    bool next(InputRecord& record) override;
    void rewind() override { lines_.rewind(); }
    const std::vector<std::string>& columns() const override { return parser_.columns(); }
    bool isList(std::size_t column) const override { return parser_.isList(column); }
    bool isObject(std::size_t column) const override { return parser_.isObject(column); }
    bool isKey(std::size_t) const override { return false; }
    ValueForm form() const override { return ValueForm::exact; }
    std::int64_t bytesRead() const override { return lines_.bytesRead(); }
    std::int64_t size() const override { return lines_.size(); }

private:
    LineReader& lines_;
    JsonRowParser parser_;
};

}  // namespace host
