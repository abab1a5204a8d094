#include "src/JoinSteps.h"

#include <algorithm>
#include <vector>

#include "src/ElementAt.h"
#include "src/support/text.h"
#include "src/tree/ComparisonOps.h"
#include "src/tree/Tree.h"

namespace wsql {
namespace {

constexpr std::int32_t kNowhere = -1;

bool hasColumn(const WSQLTableRef& table, const std::string& column) {
    if (equalNames(column, "R")) return true;
    for (std::int32_t i = 0; table.fields && i < table.fields->Count(); ++i) {
        if (equalNames(table.fields->Get(i)->name, column)) return true;
    }
    return false;
}

/// The comparisons of an ON condition in their order.
std::vector<const WSQLComparison*> comparisonsOf(const WSQLCondition* condition) {
    std::vector<const WSQLComparison*> comparisons;
    std::vector<const WSQLCondition*> open{condition};
    while (!open.empty()) {
        const WSQLCondition* node = open.back();
        open.pop_back();
        if (node == nullptr) continue;
        if (const WSQLCompositeCondition* composite = node->asComposite()) {
            open.push_back(composite->right.get());
            open.push_back(composite->left.get());
        } else if (const auto* comparison = dynamic_cast<const WSQLComparison*>(node)) {
            comparisons.push_back(comparison);
        }
    }
    return comparisons;
}

/// One step: the table at `right` joins those in front of it.
class JoinStep {
public:
    JoinStep(WSQLStmtSelect& select, const WSQLJoinRVal& step, std::int32_t right)
        : select_(select), step_(step), right_(right) {}

    void addEntries() {
        if (step_.on) {
            for (const WSQLComparison* comparison : comparisonsOf(step_.on.get())) addComparison(*comparison);
        } else if (step_.usingColumns) {
            for (const WSQLColumnRef& column : *step_.usingColumns) {
                const std::int32_t left = std::max(earlierTable(column), 0);
                addEntry(left, &column, &column, ComparisonOp::kEqual);
            }
        } else {
            addEntry(right_ - 1, nullptr, nullptr, ComparisonOp::kEqual);
        }
    }

private:
    const WSQLTableRef& table(std::int32_t index) const { return elementAt(*select_.tables, index); }

    /// Which of the tables up to this step's one goes by the name.
    std::int32_t named(const std::string& qualifier) const {
        for (const bool exact : {true, false}) {
            for (std::int32_t i = 0; i <= right_; ++i) {
                if (equalNames(exact ? table(i).qualifier() : table(i).table, qualifier)) return i;
            }
        }
        return kNowhere;
    }

    bool mayBeRight(const WSQLColumnRef& column) const {
        return column.table.empty() ? hasColumn(table(right_), column.column) : named(column.table) == right_;
    }

    /// The table in front of this step's one that the column belongs to.
    std::int32_t earlierTable(const WSQLColumnRef& column) const {
        if (!column.table.empty()) {
            const std::int32_t index = named(column.table);
            return index < right_ ? index : kNowhere;
        }
        for (std::int32_t i = 0; i < right_; ++i) {
            if (hasColumn(table(i), column.column)) return i;
        }
        return kNowhere;
    }

    void addComparison(const WSQLComparison& comparison) {
        const WSQLColumnRef* left = comparison.left->asColumnRef();
        const WSQLColumnRef* right = comparison.right->asColumnRef();
        if (left == nullptr || right == nullptr) return;  // the grammar lets columns pass only
        const bool straight = mayBeRight(*right) && earlierTable(*left) != kNowhere;
        bool turned = !straight && mayBeRight(*left) && earlierTable(*right) != kNowhere;
        // A comparison that fits neither way is kept as it reads best: its check names what is missing.
        if (!straight && !turned) turned = !left->table.empty() && mayBeRight(*left) && !mayBeRight(*right);
        if (turned) std::swap(left, right);
        const std::int32_t from = earlierTable(*left);
        addEntry(from == kNowhere ? right_ - 1 : from, left, right,
                 turned ? ComparisonOp::mirrored(comparison.op) : comparison.op);
    }

    void addEntry(std::int32_t left, const WSQLColumnRef* leftColumn, const WSQLColumnRef* rightColumn,
                  std::int32_t op) {
        auto entry = std::make_unique<WSQLWelkJoin>();
        entry->kind = step_.kind;
        entry->op = op;
        entry->leftTable = table(left).clone();
        entry->rightTable = table(right_).clone();
        if (leftColumn != nullptr) entry->leftColumn = leftColumn->cloneColumn();
        if (rightColumn != nullptr) entry->rightColumn = rightColumn->cloneColumn();
        // USING names one column of two tables: a qualifier could only name one of them.
        if (leftColumn == rightColumn && leftColumn != nullptr) {
            entry->leftColumn->table.clear();
            entry->rightColumn->table.clear();
        }
        select_.joins->append(std::move(entry));
    }

    WSQLStmtSelect& select_;
    const WSQLJoinRVal& step_;
    std::int32_t right_;
};

}  // namespace

void takeJoinTables(WSQLStmtSelect& select) {
    if (!select.joinSpec || !select.joinSpec->first) return;
    select.tables->append(std::move(select.joinSpec->first));
    for (WSQLJoinRVal& step : *select.joinSpec->steps) select.tables->append(std::move(step.table));
}

void makeJoinEntries(WSQLStmtSelect& select) {
    if (!select.joinSpec) return;
    std::int32_t right = 0;
    for (const WSQLJoinRVal& step : *select.joinSpec->steps) JoinStep(select, step, ++right).addEntries();
    select.joinSpec.reset();
}

}  // namespace wsql
