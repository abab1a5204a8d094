#include "kernel/record/TextLines.h"

#include <algorithm>
#include <vector>

namespace wdb {

namespace {

using Lines = std::vector<std::string_view>;

// Calls visit(begin, end) for each line until it answers false.
template <typename Visit>
void eachLine(std::string_view text, Visit visit) {
    if (text.empty()) return;
    for (size_t begin = 0;;) {
        const size_t end = std::min(text.find('\n', begin), text.size());
        if (!visit(begin, end) || end == text.size()) return;
        begin = end + 1;
    }
}

Lines linesOf(std::string_view text) {
    Lines lines;
    eachLine(text, [&](size_t begin, size_t end) {
        lines.push_back(text.substr(begin, end - begin));
        return true;
    });
    return lines;
}

std::string join(const Lines& lines) {
    std::string text;
    for (size_t i = 0; i < lines.size(); ++i) {
        if (i > 0) text.push_back('\n');
        text.append(lines[i]);
    }
    return text;
}

// The places of a paragraph's lines; empty lines are added until there is such a paragraph.
std::pair<size_t, size_t> makeParagraph(Lines& lines, uint32_t paragraph) {
    uint32_t current = 1;
    size_t begin = 0;
    for (size_t i = 0; i < lines.size() && current < paragraph; ++i) {
        if (lines[i].empty()) {
            ++current;
            begin = i + 1;
        }
    }
    if (current < paragraph) {
        lines.insert(lines.end(), paragraph - current, std::string_view());
        begin = lines.size();
    }
    size_t end = begin;
    while (end < lines.size() && !lines[end].empty()) ++end;
    return {begin, end};
}

}  // namespace

std::string linesFromData(std::string_view data) {
    std::string lines;
    lines.reserve(data.size());
    for (size_t begin = 0; begin < data.size();) {
        size_t end = data.find('\r', begin);
        if (end == std::string_view::npos) end = data.size();
        lines.append(data, begin, end - begin);
        const bool lineEnd = end + 1 < data.size() && data[end + 1] == '\n';
        if (end < data.size() && !lineEnd) lines.push_back('\r');
        begin = end + 1;
    }
    if (!lines.empty() && lines.back() == '\n') lines.pop_back();
    return lines;
}

uint32_t paragraphCount(std::string_view text) {
    uint32_t count = text.empty() ? 0 : 1;
    eachLine(text, [&](size_t begin, size_t end) {
        if (begin == end) ++count;
        return true;
    });
    return count;
}

LineRange paragraphLines(std::string_view text, uint32_t paragraph) {
    if (paragraph == 0) return {0, text.size(), text.empty()};
    LineRange range;
    uint32_t current = 1;
    eachLine(text, [&](size_t begin, size_t end) {
        if (begin == end) return ++current <= paragraph;
        if (current < paragraph) return true;
        if (range.none) range.begin = begin;
        range.end = end;
        range.none = false;
        return true;
    });
    return range;
}

void replaceParagraph(std::string& text, uint32_t paragraph, std::string_view newLines) {
    if (newLines.empty() && paragraph > paragraphCount(text)) return;
    Lines lines = linesOf(text);
    const auto [begin, end] = makeParagraph(lines, paragraph);
    const auto at = lines.erase(lines.begin() + static_cast<ptrdiff_t>(begin),
                                lines.begin() + static_cast<ptrdiff_t>(end));
    const Lines added = linesOf(newLines);
    lines.insert(at, added.begin(), added.end());
    text = join(lines);
}

uint32_t insertParagraphs(std::string& text, uint32_t paragraph, std::string_view newLines) {
    Lines added = linesOf(newLines);
    const uint32_t count = std::max<uint32_t>(paragraphCount(newLines), 1);
    Lines lines = linesOf(text);
    if (lines.empty() && paragraph == 1) {
        text = join(added);
        return count;
    }
    const bool behind = paragraph > paragraphCount(text);
    const auto at = lines.begin() + static_cast<ptrdiff_t>(makeParagraph(lines, paragraph).first);
    if (!behind) added.emplace_back();  // the separator from the paragraph that follows
    lines.insert(at, added.begin(), added.end());
    text = join(lines);
    return count;
}

void appendLines(std::string& text, uint32_t paragraph, std::string_view newLines) {
    if (paragraph == 0) {
        if (!text.empty()) text.push_back('\n');
        text.append(newLines);
        return;
    }
    Lines lines = linesOf(text);
    const auto at = lines.begin() + static_cast<ptrdiff_t>(makeParagraph(lines, paragraph).second);
    Lines added = linesOf(newLines);
    if (added.empty()) added.emplace_back();
    lines.insert(at, added.begin(), added.end());
    text = join(lines);
}

}  // namespace wdb
