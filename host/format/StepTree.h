#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace host {

// The steps of a statement's commands, as the kernel tells them when each is done, drawn as trees. Steps
// deeper than kDeepest are drawn at that level.
class StepTree {
public:
    static constexpr std::int32_t kDeepest = 64;

    // Steps come in the order in which they end: what a step was made of, one level deeper, before the step,
    // the command itself (depth 0) last. `count` is the number of
    // records or rows that came out, negative when there is none.
    void add(std::int32_t depth, std::string_view step, std::int64_t count, std::int64_t nanoseconds);
    void clear() { steps_.clear(); }
    bool empty() const { return steps_.empty(); }

    // One line a step, ended by a line feed: branch lines and text, cut where `width` columns are full, then
    // count and time in columns of their own.
    std::string draw(int width) const;

private:
    struct Step {
        std::int32_t depth = 0;
        std::string text;
        std::int64_t count = 0;
        std::int64_t nanoseconds = 0;
        std::vector<Step> parts;
    };
    struct Line {
        std::string text, count, time;
    };
    static void drawStep(const Step& step, const std::string& before, const std::string& branch,
                         const std::string& below, std::vector<Line>& lines);

    std::vector<Step> steps_;  // those that no later step has taken in yet
};

}  // namespace host
