// Conditions as trees that can be written for both sides.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tests/differential/Schema.h"

namespace differential {

/// A column in an expression. item 0 is the whole field; a record number has an empty name.
struct ColumnUse {
    std::string alias;  ///< empty: unqualified
    std::string name;
    Kind kind = Kind::kInteger;
    int item = 0;
    bool isRecord() const { return name.empty(); }
};

struct Constant {
    enum class Type { kNull, kInteger, kReal, kText, kDate, kTime };
    Type type = Type::kNull;
    std::int64_t number = 0;  ///< kReal: hundredths
    std::string text;         ///< kText: may hold kAnyRun and kAnyOne; kDate, kTime: the twin's form
    /// NULL and the empty text are one thing.
    bool isAbsent() const { return type == Type::kNull || (type == Type::kText && text.empty()); }
    bool hasWildcards() const;
};

enum class Operator { kEqual, kNotEqual, kLess, kGreater, kLessEqual, kGreaterEqual };

const char* operatorText(Operator op);
Operator opposite(Operator op);

struct Condition;
using ConditionPtr = std::shared_ptr<const Condition>;

struct Condition {
    enum class Type { kCompare, kBetween, kLike, kNull, kConstants, kSubquery, kAnd, kOr, kNot };
    Type type = Type::kNull;
    ColumnUse column;
    Operator op = Operator::kEqual;
    Constant low, high;     ///< kCompare and kLike use low; kConstants both
    bool negated = false;   ///< NOT BETWEEN, NOT LIKE, IS NOT NULL
    bool reversed = false;  ///< the constant is written first; the operator is not mirrored
    ConditionPtr left, right;
    // kSubquery: column op (SELECT inner FROM innerTable WHERE left); innerTable brings the alias of inner
    // with it. With IN, right is the next member of a UNION in the parentheses: a kSubquery of the same
    // column.
    ColumnUse inner;
    std::string innerTable;
    bool in = false;  ///< written IN
};

std::string columnForEngine(const ColumnUse& column);
std::string columnForTwin(const ColumnUse& column);
/// The twin's number of the record that holds the column.
std::string recordOf(const ColumnUse& column);
/// A constant as an expression of the engine.
std::string constantForEngine(const Constant& constant);

std::string conditionForEngine(const Condition& condition);
/// For SQLite. What the dialect does with NOT is done here: it is pushed down to the tests, so that no NOT is
/// left that NULL could pass through.
std::string conditionForTwin(const Condition& condition, bool inverted = false);

/// Conditions that are a part of this one, for making a failing statement smaller.
std::vector<ConditionPtr> simplerConditions(const ConditionPtr& condition);

}  // namespace differential
