#pragma once

#include "host/format/Formatter.h"

namespace host {

// One array of objects, a row a line. Numbers keep the digits that the engine gave; bytes that are no UTF-8
// become the replacement character. A column whose name was there before gets "_2", "_3", ... behind it.
class JsonFormatter : public Formatter {
public:
    void begin(const std::vector<Column>& columns, std::string& out) override;
    void rows(const std::vector<Row>& rows, std::string& out) override;
    void end(const ResultEnd& result, std::string& out) override;

private:
    std::vector<std::string> keys_;  // quoted, with the colon
    std::vector<bool> numbers_;
    bool empty_ = true;
};

// The text as a JSON string, quotes included.
std::string jsonString(std::string_view text);
// RFC 8259, section 6.
bool isJsonNumber(std::string_view text);

}  // namespace host
