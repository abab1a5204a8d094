#include "host/format/Formatter.h"

#include <charconv>

#include "host/format/CsvFormatter.h"
#include "host/format/JsonFormatter.h"
#include "host/format/LineFormatter.h"
#include "host/format/TableFormatter.h"

namespace host {

std::optional<Format> formatNamed(std::string_view name) {
    for (std::size_t i = 0; i < std::size(kFormatNames); ++i) {
        if (name == kFormatNames[i]) return static_cast<Format>(i);
    }
    return std::nullopt;
}

std::unique_ptr<Formatter> makeFormatter(Format format, int terminalWidth) {
    switch (format) {
        case Format::table:
            return std::make_unique<TableFormatter>(terminalWidth);
        case Format::csv:
            return std::make_unique<CsvFormatter>();
        case Format::json:
            return std::make_unique<JsonFormatter>();
        case Format::line:
            return std::make_unique<LineFormatter>();
        case Format::xml:
            break;
    }
    return nullptr;
}

std::string grouped(std::int64_t number) {
    std::string text = std::to_string(number);
    const std::size_t digits = number < 0 ? 1 : 0;
    for (std::size_t i = text.size(); i > digits + 3;) text.insert(i -= 3, 1, ',');
    return text;
}

std::string duration(double milliseconds) {
    char text[64];
    const auto end = std::to_chars(text, text + sizeof text, milliseconds, std::chars_format::fixed, 1);
    return std::string(text, end.ec == std::errc() ? end.ptr : text) + " ms";
}

std::string counted(std::int64_t number, const std::string& one) {
    return grouped(number) + " " + one + (number == 1 ? "" : "s");
}

}  // namespace host
