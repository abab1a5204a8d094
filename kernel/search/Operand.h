#pragma once

#include <optional>
#include <string>

#include "kernel/ccl/Tree.h"
#include "kernel/index/IndexView.h"
#include "kernel/record/DateForm.h"
#include "kernel/record/Schema.h"
#include "kernel/text/Pattern.h"

namespace wdb {

// The value of a criterion as a field's type reads it. A decimal compared with INTEGER items is kept as the
// whole number below it and the word that there is more.
struct Operand {
    std::string canonical;  // empty: the empty value
    bool exact = true;      // false: the value lies above `canonical`, and below the next one
    int beyond = 0;         // INTEGER: -1 below, 1 above every item

    bool empty() const { return canonical.empty() && beyond == 0; }
};

// WDB_E_VALUE when the type cannot read the text. Not for TEXT and STRING.
Result<Operand> operandOf(FieldType type, std::string_view text, const DateForm& form, DayNumber today);

Pattern patternOf(const ccl::Value& value);

// The bound of "at least" and "more than", of "at most" and "less than": nothing when every item is inside;
// `none` is set when no item can be.
std::optional<Bound> lowBound(const Operand& operand, bool inclusive, bool& none);
std::optional<Bound> highBound(const Operand& operand, bool inclusive, bool& none);

}  // namespace wdb
