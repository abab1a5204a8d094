#pragma once

#include "host/format/Formatter.h"

namespace host {

// RFC 4180 with a header line. NULL is an empty field, an empty text a quoted one.
class CsvFormatter : public Formatter {
public:
    void begin(const std::vector<Column>& columns, std::string& out) override;
    void rows(const std::vector<Row>& rows, std::string& out) override;
    void end(const ResultEnd& result, std::string& out) override;
};

// A field with the quotes that it needs.
void appendCsvField(std::string_view text, std::string& out);

}  // namespace host
