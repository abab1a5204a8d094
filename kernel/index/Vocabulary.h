#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kernel/common/Ids.h"
#include "kernel/text/Pattern.h"

namespace wdb {

// The terms or value keys of one field as an index file has them at one position, one behind the other in
// memory: what a pattern without a beginning is looked for in, at the speed of memory instead of a walk
// through the file.
class Vocabulary {
public:
    enum class Table : uint8_t { Words, Values };
    // A field with more than this is walked through instead; no vocabulary is kept of it.
    static constexpr size_t kMaxBytes = size_t{64} << 20;

    Vocabulary(Table table, FieldNumber field, Position position)
        : table_(table), field_(field), position_(position) {}

    Table table() const { return table_; }
    FieldNumber field() const { return field_; }
    bool of(Table table, FieldNumber field) const { return table_ == table && field_ == field; }
    Position position() const { return position_; }

    // Keys without the 0 that ends them; one that may be cut is kept aside. False when there are too many.
    bool add(std::string_view key, bool cut);
    // Whether there were too many: then it holds nothing.
    bool tooLarge() const { return tooLarge_; }
    size_t size() const { return starts_.size() + cut_.size(); }
    size_t bytes() const { return block_.capacity() + starts_.capacity() * 4 + cut_.size() * 512; }

    // Calls visit(key) -> bool for the whole keys that the pattern matches, ascending, until it answers
    // false.
    template <typename Visit>
    void forEachMatch(const Pattern& pattern, Visit&& visit) const {
        const std::string_view literal = pattern.longestLiteral();
        for (size_t at = 0; at < block_.size();) {
            const size_t found = literal.empty() ? at : find(literal, at);
            if (found == std::string_view::npos) return;
            size_t number = numberAt(found);
            const std::string_view key = this->key(number);
            if (pattern.match(key) && !visit(key)) return;
            at = starts_[number] + key.size() + 1;
        }
    }
    // Keys that stand for longer values: the records tell.
    const std::vector<std::string>& cut() const { return cut_; }

private:
    size_t find(std::string_view literal, size_t from) const;
    size_t numberAt(size_t offset) const;
    std::string_view key(size_t number) const {
        const size_t end = number + 1 < starts_.size() ? starts_[number + 1] : block_.size();
        return std::string_view(block_).substr(starts_[number], end - starts_[number] - 1);
    }

    Table table_;
    FieldNumber field_;
    Position position_;
    bool tooLarge_ = false;
    std::string block_;             // keys, each ended by a 0
    std::vector<uint32_t> starts_;  // of the keys in it
    std::vector<std::string> cut_;
};

}  // namespace wdb
