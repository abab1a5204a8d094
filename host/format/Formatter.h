#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/text/Answer.h"

namespace host {

enum class Format { table, csv, json, xml, line };
inline constexpr const char* kFormatNames[] = {"table", "csv", "json", "xml", "line"};
std::optional<Format> formatNamed(std::string_view name);

struct ResultEnd {
    std::int64_t first = 1;  // number of the first row shown
    std::int64_t shown = 0;
    std::int64_t total = 0;
    std::optional<double> milliseconds;  // given when the person wants to see it
};

// Writes one result, block by block, to the end of `out`: begin once, rows any number of times, end once.
class Formatter {
public:
    virtual ~Formatter() = default;
    virtual void begin(const std::vector<Column>& columns, std::string& out) = 0;
    virtual void rows(const std::vector<Row>& rows, std::string& out) = 0;
    virtual void end(const ResultEnd& result, std::string& out) = 0;
};

// `terminalWidth` is used by tables: the widest line in columns. There is no formatter for xml, whose answers
// are passed on as they are (null).
std::unique_ptr<Formatter> makeFormatter(Format format, int terminalWidth);

// "1,234,567"
std::string grouped(std::int64_t number);
// "1 row", "2,345 rows"
std::string counted(std::int64_t number, const std::string& one);
// "12.3 ms"
std::string duration(double milliseconds);

}  // namespace host
