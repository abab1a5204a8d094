#include "src/tree/WSQLJoin.h"

#include "src/tree/TreeDump.h"
#include "src/tree/WSQLPredicates.h"

namespace wsql {
namespace {

const char* kindText(int32_t kind) {
    static constexpr const char* kTexts[] = {"inner", "natural-inner", "left", "natural-left",
                                             "right", "natural-right", "cross"};
    return kind >= JoinKind::kInner && kind <= JoinKind::kCross ? kTexts[kind] : "?";
}

}  // namespace

std::unique_ptr<WSQLJoinRVal> WSQLJoinRVal::clone() const {
    auto copy = std::make_unique<WSQLJoinRVal>();
    copy->kind = kind;
    if (table) copy->table = table->clone();
    if (on) copy->on = on->clone();
    if (usingColumns) {
        copy->usingColumns = std::make_unique<NodeList<WSQLColumnRef>>();
        for (const WSQLColumnRef& column : *usingColumns) copy->usingColumns->append(column.cloneColumn());
    }
    return copy;
}

void WSQLJoinRVal::dump(TreeDump& out) const {
    out.open(kindText(kind));
    out.child(table);
    out.clause("on", on);
    out.list("using", usingColumns);
    out.close();
}

void WSQLJoinSpec::dump(TreeDump& out) const {
    out.open("join");
    out.child(first);
    if (steps) {
        for (const WSQLJoinRVal& step : *steps) step.dump(out);
    }
    out.close();
}

std::unique_ptr<WSQLJoinSpec> WSQLJoinSpec::clone() const {
    auto copy = std::make_unique<WSQLJoinSpec>();
    if (first) copy->first = first->clone();
    copy->steps = cloneList(steps);
    return copy;
}

std::unique_ptr<WSQLWelkJoin> WSQLWelkJoin::clone() const {
    auto copy = std::make_unique<WSQLWelkJoin>();
    if (leftColumn) copy->leftColumn = leftColumn->cloneColumn();
    if (leftTable) copy->leftTable = leftTable->clone();
    if (rightColumn) copy->rightColumn = rightColumn->cloneColumn();
    if (rightTable) copy->rightTable = rightTable->clone();
    copy->kind = kind;
    copy->op = op;
    return copy;
}

void WSQLWelkJoin::dump(TreeDump& out) const {
    out.open(kindText(kind));
    out.child(leftTable);
    out.child(leftColumn);
    out.atom(ComparisonOp::text(op));
    out.child(rightTable);
    out.child(rightColumn);
    out.close();
}

}  // namespace wsql
