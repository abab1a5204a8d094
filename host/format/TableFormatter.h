#pragma once

#include "host/format/Formatter.h"

namespace host {

// A table in box-drawing characters. The column widths are fixed by the first block of rows, so that a long
// result can be shown while it is still being read; what is wider is wrapped.
class TableFormatter : public Formatter {
public:
    explicit TableFormatter(int terminalWidth) : terminalWidth_(terminalWidth) {}
    void begin(const std::vector<Column>& columns, std::string& out) override;
    void rows(const std::vector<Row>& rows, std::string& out) override;
    void end(const ResultEnd& result, std::string& out) override;

private:
    void layOut(const std::vector<Row>& rows);
    void header(std::string& out);
    void rule(const char* left, const char* cross, const char* right, std::string& out) const;
    void record(const std::vector<std::vector<std::string>>& cells, bool alignNumbers,
                std::string& out) const;

    int terminalWidth_;
    std::vector<Column> columns_;
    std::vector<int> widths_;
    bool ruled_ = false;  // a rule between rows, when rows take several lines
    std::int64_t written_ = 0;
};

// Widths for columns that would like `natural` columns each, so that their sum is at most `available`: the
// widest give way first, none goes below `least` or its natural width.
std::vector<int> fitWidths(std::vector<int> natural, int available, int least);

}  // namespace host
