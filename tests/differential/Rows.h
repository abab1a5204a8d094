// Answers of either side.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace differential {

using Value = std::optional<std::string>;  ///< nothing is NULL

struct Rows {
    std::string fault;  ///< empty: the statement succeeded
    std::vector<std::vector<Value>> rows;
    std::int64_t total = 0;  ///< rows of the whole result, also when a page was asked for
};

std::string print(const Rows& rows);

}  // namespace differential
