#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace host {

// One value of a record. `column` is an index into the reader's column names.
struct InputValue {
    std::size_t column = 0;
    std::string_view text;
    std::int32_t position = 0;  // from 1 among the column's values, 0 for all of them
    std::int32_t part = 0;      // of the part record, 0 for the head
};

// How the values of a file are written.
enum class ValueForm {
    free,   // by people: a column that is no text takes one line, and lists have commas
    cells,  // by .export as CSV: each line of a cell is a value of its own, objects are in base64
    exact   // value by value, as they are stored
};

// A record of the input: its values that are not NULL. The views hold until the next one is read.
struct InputRecord {
    std::vector<InputValue> values;
    std::int32_t parts = 0;  // part records
    std::int64_t line = 0;   // where it begins in the file, 1-based
    std::string problem;     // why it cannot be used; empty for a good one
};

// The records of an input file, from the start as often as wanted.
class RecordReader {
public:
    virtual ~RecordReader() = default;
    // False at the end. Throws ImportError for a file that cannot be read on.
    virtual bool next(InputRecord& record) = 0;
    virtual void rewind() = 0;
    // Names of the columns met so far, as the table's columns are called; a reader may add to them while it
    // reads.
    virtual const std::vector<std::string>& columns() const = 0;
    // The column's values are lists with commas, one value each.
    virtual bool isList(std::size_t column) const = 0;
    virtual ValueForm form() const { return ValueForm::free; }
    // The column's values are large objects.
    virtual bool isObject(std::size_t) const { return false; }
    // The column names the record: no two records have the same value.
    virtual bool isKey(std::size_t column) const = 0;
    // What looks as if another form was meant; empty when nothing does.
    virtual std::string hint() const { return {}; }
    virtual std::int64_t bytesRead() const = 0;
    virtual std::int64_t size() const = 0;
};

}  // namespace host
