#include "kernel/search/ExpressionEvaluator.h"

#include "kernel/ccl/Printer.h"
#include "kernel/search/StepTimer.h"

namespace wdb {

namespace {

using ccl::Connective;
using ccl::ExpressionNode;

class Evaluation {
public:
    Evaluation(const ccl::Expression& expression, std::span<const Condition> conditions, BaseState& state,
               Reading reading)
        : expression_(expression),
          conditions_(conditions),
          state_(state),
          loose_(reading == Reading::Loose) {}

    Result<RecordSet> run(uint32_t root) {
        if (expression_.nodes[root].kind == Connective::Criterion) return alone(root);
        visits_.push_back({root, Stage::Enter, StepTimer(state_.context, 1), 1});
        while (!visits_.empty()) {
            const Visit visit = visits_.back();
            visits_.pop_back();
            const Status status = step(visit, expression_.nodes[visit.node]);
            if (status != WDB_OK) return status;
        }
        return std::move(results_.back());
    }

private:
    enum class Stage : uint8_t { Enter, LeftDone, RightDone };
    struct Visit {
        uint32_t node;
        Stage stage;
        StepTimer timer;  // since the node was entered
        int32_t depth;
    };

    // The everyday expression: nothing to put together.
    Result<RecordSet> alone(uint32_t root) {
        const StepTimer timer(state_.context, 1);
        Result<RecordSet> set = recordsOf(conditions_[expression_.nodes[root].left]);
        if (set && timer.watched())
            timer.done(ccl::printCriterion(expression_.criteria[expression_.nodes[root].left]),
                       set->cardinality());
        return set;
    }

    Result<RecordSet> recordsOf(const Condition& condition) {
        return loose_ ? recordsMaybe(condition, state_) : recordsWhere(condition, state_);
    }

    Status step(const Visit& visit, const ExpressionNode& node) {
        if (visit.stage == Stage::RightDone) return tell(visit, combine(node.kind));
        if (visit.stage == Stage::LeftDone) return leftDone(visit, node);
        if (node.kind == Connective::Criterion) {
            Result<RecordSet> set = recordsOf(conditions_[node.left]);
            if (!set) return set.status();
            results_.push_back(std::move(*set));
            return tell(visit, WDB_OK);
        }
        visits_.push_back({visit.node, Stage::LeftDone, visit.timer, visit.depth});
        enter(firstOf(node), visit.depth + 1);
        return WDB_OK;
    }

    void enter(uint32_t node, int32_t depth) {
        visits_.push_back({node, Stage::Enter, StepTimer(state_.context, depth), depth});
    }

    // Those who watch are told that a node is done; its set is the last result.
    Status tell(const Visit& visit, Status status) {
        if (status != WDB_OK || !visit.timer.watched()) return status;
        const ExpressionNode& node = expression_.nodes[visit.node];
        const std::string what = node.kind == Connective::Criterion
                                     ? ccl::printCriterion(expression_.criteria[node.left])
                                 : node.kind == Connective::And ? "AND"
                                 : node.kind == Connective::Or  ? "ORX"
                                                                : "NOT";
        visit.timer.done(what, results_.back().cardinality());
        return WDB_OK;
    }

    // AND may begin with either side: a costly criterion waits for the other side's result.
    uint32_t firstOf(const ExpressionNode& node) const { return swapped(node) ? node.right : node.left; }
    uint32_t secondOf(const ExpressionNode& node) const { return swapped(node) ? node.left : node.right; }
    bool swapped(const ExpressionNode& node) const {
        return node.kind == Connective::And && cost(node.left) > cost(node.right);
    }
    int cost(uint32_t at) const {
        const ExpressionNode& node = expression_.nodes[at];
        if (node.kind != Connective::Criterion) return 2;
        const Condition& condition = conditions_[node.left];
        if (cheaperByRecords(condition, 1, state_)) return 3;
        return condition.test == Condition::Test::Equal && !condition.negated ? 0 : 1;
    }

    Status leftDone(const Visit& visit, const ExpressionNode& node) {
        RecordSet& left = results_.back();
        if (node.kind != Connective::Or) {
            if (left.empty() || (loose_ && node.kind == Connective::Not)) return tell(visit, WDB_OK);
            const ExpressionNode& second = expression_.nodes[secondOf(node)];
            if (second.kind == Connective::Criterion && !loose_) {
                const Condition& condition = conditions_[second.left];
                if (cheaperByRecords(condition, left.cardinality(), state_)) {
                    return tell(visit, narrow(node.kind, condition));
                }
            }
        }
        visits_.push_back({visit.node, Stage::RightDone, visit.timer, visit.depth});
        enter(secondOf(node), visit.depth + 1);
        return WDB_OK;
    }

    Status narrow(Connective kind, const Condition& condition) {
        RecordSet& left = results_.back();
        Result<RecordSet> kept = filterByRecords(left, condition, state_);
        if (!kept) return kept.status();
        if (kind == Connective::And)
            left = std::move(*kept);
        else
            left.subtract(*kept);
        return WDB_OK;
    }

    Status combine(Connective kind) {
        RecordSet right = std::move(results_.back());
        results_.pop_back();
        RecordSet& left = results_.back();
        if (kind == Connective::And)
            left.intersect(right);
        else if (kind == Connective::Or)
            left.unite(std::move(right));
        else
            left.subtract(right);
        return WDB_OK;
    }

    const ccl::Expression& expression_;
    const std::span<const Condition> conditions_;
    BaseState& state_;
    const bool loose_;
    std::vector<Visit> visits_;
    std::vector<RecordSet> results_;
};

}  // namespace

Result<RecordSet> evaluateExpression(const ccl::Expression& expression, uint32_t root,
                                     std::span<const Condition> conditions, BaseState& state,
                                     Reading reading) {
    return Evaluation(expression, conditions, state, reading).run(root);
}

Result<RecordSet> evaluateExpression(const ccl::Expression& expression, std::span<const Condition> conditions,
                                     BaseState& state) {
    return evaluateExpression(expression, static_cast<uint32_t>(expression.nodes.size() - 1), conditions,
                              state);
}

}  // namespace wdb
