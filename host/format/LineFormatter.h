#pragma once

#include "host/format/Formatter.h"

namespace host {

// One line a value, "NAME = value", and an empty line between rows; further lines of a value stand under its
// first.
class LineFormatter : public Formatter {
public:
    void begin(const std::vector<Column>& columns, std::string& out) override;
    void rows(const std::vector<Row>& rows, std::string& out) override;
    void end(const ResultEnd& result, std::string& out) override;

private:
    std::vector<std::string> labels_;  // padded, with the equals sign
    std::size_t indent_ = 0;
    bool first_ = true;
};

}  // namespace host
