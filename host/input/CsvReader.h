#pragma once

#include <csv.h>

#include <string>
#include <vector>

#include "host/input/ColumnNames.h"
#include "host/input/LineReader.h"
#include "host/input/RecordReader.h"

namespace host {

// CSV as RFC 4180 describes it, with a header line that names the columns. An empty field without quotes is
// NULL. Either line end will do, and a byte-order mark is passed over. A quote within a field that has none
// around it is a character like any other. Names in a file of .export (`cells`) are those of the table.
class CsvReader : public RecordReader {
public:
    // Throws ImportError when there is no header line, or none in UTF-8.
    explicit CsvReader(LineReader& lines, ValueForm form = ValueForm::free);
    CsvReader(const CsvReader&) = delete;
    CsvReader& operator=(const CsvReader&) = delete;
    bool next(InputRecord& record) override;
    void rewind() override;
    const std::vector<std::string>& columns() const override { return names_.names(); }
    bool isList(std::size_t) const override { return false; }
    ValueForm form() const override { return form_; }
    bool isKey(std::size_t) const override { return false; }
    // To be asked before the first record.
    std::string hint() const override;
    std::int64_t bytesRead() const override { return lines_.bytesRead(); }
    std::int64_t size() const override { return lines_.size(); }

private:
    struct Field {
        std::size_t begin, end;  // bytes of text_
        bool isNull;
    };
    struct Parser : csv_parser {
        Parser();
        ~Parser() { csv_free(this); }
        Parser(const Parser&) = delete;
        Parser& operator=(const Parser&) = delete;
    };
    static void onField(void* text, std::size_t length, void* self);
    static void onRecord(int terminator, void* self);
    bool readRow();
    void parse(std::string_view text);
    std::string place(std::int64_t line) const;

    LineReader& lines_;
    ValueForm form_;
    Parser parser_;
    ColumnNames names_;
    std::string text_;
    std::vector<Field> fields_;
    std::int64_t line_ = 0;
    bool complete_ = false, begun_ = false, finished_ = false;
};

}  // namespace host
