#pragma once

#include <memory>
#include <string>

#include "src/tree/NodeList.h"
#include "src/tree/WSQLColumnRef.h"
#include "src/tree/WSQLCondition.h"
#include "src/tree/WSQLTableRef.h"

namespace wsql {

/// Join kinds; a NATURAL kind is its plain kind plus one.
namespace JoinKind {
constexpr int32_t kInner = 0;
constexpr int32_t kNaturalInner = 1;
constexpr int32_t kLeft = 2;
constexpr int32_t kNaturalLeft = 3;
constexpr int32_t kRight = 4;
constexpr int32_t kNaturalRight = 5;
constexpr int32_t kCross = 6;
constexpr bool isNatural(int32_t kind) {
    return kind == kNaturalInner || kind == kNaturalLeft || kind == kNaturalRight;
}
}  // namespace JoinKind

/// One step of a written join: kind, right table, and its ON condition or its USING columns (never both).
class WSQLJoinRVal {
public:
    virtual ~WSQLJoinRVal() = default;
    std::unique_ptr<WSQLJoinRVal> clone() const;
    void dump(TreeDump& out) const;

    int32_t kind = JoinKind::kInner;
    std::unique_ptr<WSQLTableRef> table;
    std::unique_ptr<WSQLCondition> on;      ///< a comparison, or comparisons joined by AND; null when absent
    OwnedList<WSQLColumnRef> usingColumns;  ///< null when absent
};

/// FROM t JOIN u ... as written; validation turns it into the table list and WSQLWelkJoin entries.
class WSQLJoinSpec : public virtual WSQLItemRef {
public:
    void dump(TreeDump& out) const override;
    std::unique_ptr<WSQLJoinSpec> clone() const;

    std::unique_ptr<WSQLTableRef> first;
    OwnedList<WSQLJoinRVal> steps;  ///< at least one
};

/// Two columns that a join compares, before their tables are known.
class WSQLJoinPair {
public:
    virtual ~WSQLJoinPair() = default;
    std::unique_ptr<WSQLColumnRef> left;
    std::unique_ptr<WSQLColumnRef> right;
    int32_t op = 0;  ///< ComparisonOp code, left against right
};

/// One join entry of a SELECT, made by validation. Tables are copies owned by the entry.
class WSQLWelkJoin {
public:
    virtual ~WSQLWelkJoin() = default;
    std::unique_ptr<WSQLWelkJoin> clone() const;
    void dump(TreeDump& out) const;

    std::unique_ptr<WSQLColumnRef> leftColumn;  ///< null for NATURAL entries not yet expanded and for CROSS
    std::unique_ptr<WSQLTableRef> leftTable;
    std::unique_ptr<WSQLColumnRef> rightColumn;
    std::unique_ptr<WSQLTableRef> rightTable;
    int32_t kind = JoinKind::kInner;
    int32_t op = 0;  ///< ComparisonOp code, left against right; 0 for NATURAL and USING
};

}  // namespace wsql
