#include "host/format/StepTree.h"

#include <algorithm>
#include <iterator>

#include "host/format/DisplayText.h"
#include "host/format/Formatter.h"

namespace host {

namespace {

constexpr int kGap = 2;       // blanks between columns
constexpr int kMinText = 20;  // columns that the text keeps on the narrowest terminal
constexpr const char* kCut = "…";

std::string microseconds(std::int64_t nanoseconds) {
    const std::int64_t tenths = (std::max<std::int64_t>(nanoseconds, 0) + 50) / 100;
    return grouped(tenths / 10) + "." + std::to_string(tenths % 10) + " us";
}

// The text in exactly `width` columns.
std::string fitted(std::string text, int width) {
    int taken = displayWidth(text);
    if (taken > width) {
        text = wrap(text, width - 1).front() + kCut;
        taken = displayWidth(text);
    }
    return text.append(static_cast<std::size_t>(std::max(width - taken, 0)), ' ');
}

std::string right(const std::string& text, int width) {
    return std::string(static_cast<std::size_t>(std::max(width - displayWidth(text), 0)), ' ') + text;
}

std::string oneLine(std::string_view text) {
    std::string line = printable(text);
    std::replace(line.begin(), line.end(), '\n', ' ');
    return line;
}

}  // namespace

void StepTree::add(std::int32_t depth, std::string_view step, std::int64_t count, std::int64_t nanoseconds) {
    depth = std::clamp(depth, 0, kDeepest);
    Step made{depth, oneLine(step), count, nanoseconds, {}};
    auto first = steps_.end();
    while (first != steps_.begin() && std::prev(first)->depth > depth) --first;
    made.parts.assign(std::make_move_iterator(first), std::make_move_iterator(steps_.end()));
    steps_.erase(first, steps_.end());
    steps_.push_back(std::move(made));
}

void StepTree::drawStep(const Step& step, const std::string& before, const std::string& branch,
                        const std::string& below, std::vector<Line>& lines) {
    lines.push_back({before + branch + step.text, step.count < 0 ? "" : grouped(step.count),
                     microseconds(step.nanoseconds)});
    for (std::size_t i = 0; i < step.parts.size(); ++i) {
        const bool last = i + 1 == step.parts.size();
        drawStep(step.parts[i], before + below, last ? "└─ " : "├─ ", last ? "   " : "│  ", lines);
    }
}

std::string StepTree::draw(int width) const {
    std::vector<Line> lines;
    for (const Step& step : steps_) drawStep(step, "", "", "", lines);
    int text = 0, count = 0, time = 0;
    for (const Line& line : lines) {
        text = std::max(text, displayWidth(line.text));
        count = std::max(count, displayWidth(line.count));
        time = std::max(time, displayWidth(line.time));
    }
    text = std::max(std::min(text, width - count - time - 2 * kGap), kMinText);
    const std::string gap(kGap, ' ');
    std::string out;
    for (const Line& line : lines)
        out += fitted(line.text, text) + gap + right(line.count, count) + gap + right(line.time, time) + "\n";
    return out;
}

}  // namespace host
