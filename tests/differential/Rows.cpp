#include "tests/differential/Rows.h"

namespace differential {

std::string print(const Rows& rows) {
    if (!rows.fault.empty()) return "  " + rows.fault + "\n";
    std::string text = "  " + std::to_string(rows.total) + " rows\n";
    for (const auto& row : rows.rows) {
        text += "  ";
        for (const Value& value : row) text += (value ? "[" + *value + "]" : std::string("NULL")) + " ";
        text += "\n";
    }
    return text;
}

}  // namespace differential
