#pragma once

#include "src/tree/WSQLColumnRef.h"
#include "src/tree/WSQLCondition.h"
#include "src/tree/WSQLScalar.h"

namespace wsql {

class WSQLStmtSelect;

/// Comparison operator codes, shared by WSQLComparison, WSQLSubselect and WSQLWelkJoin.
namespace ComparisonOp {
constexpr int32_t kEqual = 0;
constexpr int32_t kNotEqual = 1;
constexpr int32_t kLess = 2;
constexpr int32_t kGreater = 3;
constexpr int32_t kLessEqual = 4;
constexpr int32_t kGreaterEqual = 5;
constexpr int32_t kIn = 6;  ///< WSQLSubselect only; translated like kEqual

/// "=", "!=", "<", ">", "<=", ">=", "IN"; "??" for any other code.
const char* text(int32_t op);
}  // namespace ComparisonOp

class WSQLComparison : public WSQLPredicate {
public:
    WSQLComparison(int32_t comparisonOp, std::unique_ptr<WSQLScalar> leftSide,
                   std::unique_ptr<WSQLScalar> rightSide);
    void toText(CStringBuffer& out) const override;  ///< nothing when inactive
    void dump(TreeDump& out) const override;
    std::unique_ptr<WSQLCondition> clone() const override;
    std::unique_ptr<WSQLComparison> cloneComparison() const;

    int32_t op;
    std::unique_ptr<WSQLScalar> left;
    std::unique_ptr<WSQLScalar> right;
};

/// column LIKE pattern; `left` is the column, `right` the pattern.
class WSQLLikePredicate : public WSQLComparison {
public:
    WSQLLikePredicate(std::unique_ptr<WSQLColumnRef> column, std::unique_ptr<WSQLScalar> pattern);
    void toText(CStringBuffer& out) const override;
    void dump(TreeDump& out) const override;
    std::unique_ptr<WSQLCondition> clone() const override;
};

class WSQLBetweenTest : public WSQLPredicate {
public:
    WSQLBetweenTest(std::unique_ptr<WSQLScalar> tested, std::unique_ptr<WSQLScalar> lowBound,
                    std::unique_ptr<WSQLScalar> highBound);
    void toText(CStringBuffer& out) const override;
    void dump(TreeDump& out) const override;
    std::unique_ptr<WSQLCondition> clone() const override;

    std::unique_ptr<WSQLScalar> scalar;
    std::unique_ptr<WSQLScalar> low;
    std::unique_ptr<WSQLScalar> high;
};

/// IS NULL; negated: IS NOT NULL.
class WSQLNullTest : public WSQLPredicate {
public:
    explicit WSQLNullTest(std::unique_ptr<WSQLColumnRef> tested);
    void toText(CStringBuffer& out) const override;
    void dump(TreeDump& out) const override;
    std::unique_ptr<WSQLCondition> clone() const override;

    std::unique_ptr<WSQLColumnRef> column;
};

/// scalar IN (SELECT ...) or scalar op (SELECT ...).
class WSQLSubselect : public WSQLPredicate {
public:
    WSQLSubselect(std::unique_ptr<WSQLScalar> tested, int32_t comparisonOp,
                  std::unique_ptr<WSQLStmtSelect> query);
    ~WSQLSubselect() override;
    void toText(
        CStringBuffer& out) const override;  ///< nothing when inactive; the sub-query itself has no text
    void dump(TreeDump& out) const override;
    std::unique_ptr<WSQLCondition> clone() const override;

    std::unique_ptr<WSQLScalar> scalar;
    int32_t op;
    std::unique_ptr<WSQLStmtSelect> select;
};

}  // namespace wsql
