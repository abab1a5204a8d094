#include "host/format/LineFormatter.h"

#include <algorithm>

#include "host/format/DisplayText.h"

namespace host {

void LineFormatter::begin(const std::vector<Column>& columns, std::string&) {
    int widest = 0;
    for (const Column& column : columns) widest = std::max(widest, displayWidth(printable(column.name)));
    for (const Column& column : columns) {
        const std::string name = printable(column.name);
        labels_.push_back(std::string(static_cast<std::size_t>(widest - displayWidth(name)), ' ') + name +
                          " = ");
    }
    indent_ = static_cast<std::size_t>(widest) + 3;
}

void LineFormatter::rows(const std::vector<Row>& rows, std::string& out) {
    for (const Row& row : rows) {
        if (!first_) out += '\n';
        first_ = false;
        for (std::size_t i = 0; i < row.size(); ++i) {
            out += labels_[i];
            const std::string text = row[i].isNull ? "NULL" : printable(row[i].text);
            for (std::size_t at = 0; at < text.size(); ++at) {
                out += text[at];
                const bool lineFollows = text[at] == '\n' && at + 1 < text.size() && text[at + 1] != '\n';
                if (lineFollows) out.append(indent_, ' ');
            }
            out += '\n';
        }
    }
}

void LineFormatter::end(const ResultEnd&, std::string&) {}

}  // namespace host
