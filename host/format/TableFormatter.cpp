#include "host/format/TableFormatter.h"

#include <algorithm>
#include <numeric>

#include "host/format/DisplayText.h"

namespace host {

namespace {

constexpr int kLeastColumn = 8;
constexpr const char* kNull = "NULL";

std::string cellText(const Cell& cell) {
    return cell.isNull ? kNull : printable(cell.text);
}

int widestLine(std::string_view text) {
    int width = 0;
    for (;;) {
        const auto end = text.find('\n');
        width = std::max(width, displayWidth(text.substr(0, end)));
        if (end == std::string_view::npos) return width;
        text.remove_prefix(end + 1);
    }
}

void pad(int count, std::string& out) {
    out.append(static_cast<std::size_t>(std::max(count, 0)), ' ');
}

}  // namespace

std::vector<int> fitWidths(std::vector<int> natural, int available, int least) {
    int sum = std::accumulate(natural.begin(), natural.end(), 0);
    while (sum > available) {
        // Cut the widest down to the second widest, or as far as needed, all that are equally wide alike.
        const int widest = *std::max_element(natural.begin(), natural.end());
        if (widest <= least) break;
        int second = least, count = 0;
        for (const int width : natural) {
            if (width == widest)
                ++count;
            else
                second = std::max(second, width);
        }
        const int excess = sum - available;
        const int target = std::max(second, widest - (excess + count - 1) / count);
        for (int& width : natural) {
            if (width == widest) width = target;
        }
        sum = std::accumulate(natural.begin(), natural.end(), 0);
    }
    return natural;
}

void TableFormatter::begin(const std::vector<Column>& columns, std::string&) {
    columns_ = columns;
    widths_.clear();
}

void TableFormatter::layOut(const std::vector<Row>& rows) {
    std::vector<int> natural;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        int width = std::max(1, widestLine(printable(columns_[i].name)));
        for (const Row& row : rows) {
            const std::string text = cellText(row[i]);
            width = std::max(width, widestLine(text));
            ruled_ = ruled_ || text.find('\n') != std::string::npos;
        }
        natural.push_back(width);
    }
    const int frame = 3 * static_cast<int>(columns_.size()) + 1;
    widths_ = fitWidths(natural, terminalWidth_ - frame, kLeastColumn);
    ruled_ = ruled_ || widths_ != natural;
}

void TableFormatter::rule(const char* left, const char* cross, const char* right, std::string& out) const {
    out += left;
    for (std::size_t i = 0; i < widths_.size(); ++i) {
        if (i > 0) out += cross;
        for (int n = 0; n < widths_[i] + 2; ++n) out += "─";
    }
    out += right;
    out += '\n';
}

void TableFormatter::record(const std::vector<std::vector<std::string>>& cells, bool alignNumbers,
                            std::string& out) const {
    std::size_t height = 1;
    for (const auto& cell : cells) height = std::max(height, cell.size());
    for (std::size_t line = 0; line < height; ++line) {
        for (std::size_t i = 0; i < cells.size(); ++i) {
            static const std::string kEmpty;
            const std::string& text = line < cells[i].size() ? cells[i][line] : kEmpty;
            const int space = widths_[i] - displayWidth(text);
            const bool right = alignNumbers && columns_[i].isNumber();
            out += "│ ";
            if (right) pad(space, out);
            out += text;
            if (!right) pad(space, out);
            out += ' ';
        }
        out += "│\n";
    }
}

void TableFormatter::header(std::string& out) {
    rule("┌", "┬", "┐", out);
    std::vector<std::vector<std::string>> names;
    for (std::size_t i = 0; i < columns_.size(); ++i)
        names.push_back(wrap(printable(columns_[i].name), widths_[i]));
    record(names, true, out);
    rule("├", "┼", "┤", out);
}

void TableFormatter::rows(const std::vector<Row>& rows, std::string& out) {
    if (rows.empty()) return;
    if (widths_.empty()) {
        layOut(rows);
        header(out);
    }
    std::vector<std::vector<std::string>> cells(columns_.size());
    for (const Row& row : rows) {
        if (ruled_ && written_ > 0) rule("├", "┼", "┤", out);
        for (std::size_t i = 0; i < columns_.size(); ++i) cells[i] = wrap(cellText(row[i]), widths_[i]);
        record(cells, true, out);
        ++written_;
    }
}

void TableFormatter::end(const ResultEnd& result, std::string& out) {
    if (widths_.empty() && !columns_.empty()) {
        layOut({});
        header(out);
    }
    if (!columns_.empty()) rule("└", "┴", "┘", out);
    const std::string total = grouped(result.total) + (result.total == 1 ? " row" : " rows");
    if (result.first > 1 && result.shown > 0) {
        out += "rows " + grouped(result.first) + " to " + grouped(result.first + result.shown - 1) + " of " +
               total;
    } else if (result.shown != result.total) {
        out += grouped(result.shown) + " of " + total;
    } else {
        out += total;
    }
    if (result.milliseconds) out += " (" + duration(*result.milliseconds) + ")";
    out += '\n';
}

}  // namespace host
