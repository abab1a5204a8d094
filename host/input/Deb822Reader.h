#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/input/ColumnNames.h"
#include "host/input/LineReader.h"
#include "host/input/RecordReader.h"

namespace host {

// Debian control records: "Field: value" lines, continued by lines that begin with a blank, parted by empty
// lines; lines that begin with # are comments. A field name becomes a column in upper case with - as _, and
// Package becomes NAME. The further lines of a value follow behind a line feed, without their first blank; "
// ." stands for an empty line.
class Deb822Reader : public RecordReader {
public:
    explicit Deb822Reader(LineReader& lines) : lines_(lines) {}
    bool next(InputRecord& record) override;
    void rewind() override { lines_.rewind(); }
    const std::vector<std::string>& columns() const override { return names_.names(); }
    bool isList(std::size_t column) const override { return lists_[column]; }
    bool isKey(std::size_t column) const override { return key_ == column; }
    std::int64_t bytesRead() const override { return lines_.bytesRead(); }
    std::int64_t size() const override { return lines_.size(); }

private:
    struct Field {
        std::size_t column, begin, end;  // bytes of text_
    };
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
    };
    void takeLine(std::string_view line, InputRecord& record);
    void startField(std::string_view name, std::string_view value, InputRecord& record);
    std::size_t columnOf(std::string_view name);

    LineReader& lines_;
    ColumnNames names_;
    std::vector<bool> lists_;
    std::optional<std::size_t> key_;
    std::unordered_map<std::string, std::size_t, Hash, std::equal_to<>>
        known_;         // field name as written -> column
    std::string text_;  // values of the record, one after another
    std::vector<Field> fields_;
};

}  // namespace host
