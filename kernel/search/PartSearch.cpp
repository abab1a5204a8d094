#include "kernel/search/PartSearch.h"

#include <algorithm>

#include "kernel/search/ItemTest.h"

namespace wdb {

namespace {

using ccl::Connective;
using Test = Condition::Test;

class RowTest {
public:
    RowTest(const ccl::Expression& expression, uint32_t root, std::span<const Condition> conditions,
            SearchContext& context)
        : expression_(expression), conditions_(conditions) {
        // The nodes of the subtree, operands first: they stand before their operator.
        std::vector<uint32_t> pending{root};
        while (!pending.empty()) {
            const uint32_t at = pending.back();
            pending.pop_back();
            nodes_.push_back(at);
            const ccl::ExpressionNode& node = expression.nodes[at];
            if (node.kind == Connective::Criterion) continue;
            pending.push_back(node.left);
            pending.push_back(node.right);
        }
        std::sort(nodes_.begin(), nodes_.end());
        truth_.resize(expression.nodes.size());
        for (const Condition& condition : conditions) tests_.emplace_back(condition, context);
    }

    bool holds(const RecordView& record, PartRow row) {
        for (const uint32_t at : nodes_) {
            const ccl::ExpressionNode& node = expression_.nodes[at];
            truth_[at] = node.kind == Connective::Criterion ? criterion(node.left, record, row)
                         : node.kind == Connective::And     ? truth_[node.left] && truth_[node.right]
                         : node.kind == Connective::Or      ? truth_[node.left] || truth_[node.right]
                                                            : truth_[node.left] && !truth_[node.right];
        }
        return truth_[nodes_.back()];
    }

private:
    bool criterion(uint32_t at, const RecordView& record, PartRow row) {
        const Condition& condition = conditions_[at];
        if (condition.field == nullptr) return holdsNumber(condition, row.record);
        return tests_[at].holds(record, row.part);
    }

    const ccl::Expression& expression_;
    std::span<const Condition> conditions_;
    std::vector<uint32_t> nodes_;
    std::vector<char> truth_;
    std::vector<ItemTest> tests_;
};

bool headHoldsPartField(const RecordView& record, const Schema& schema) {
    const FieldsView head = record.head();
    for (size_t i = 0; i < head.size(); ++i) {
        const FieldDefinition* field = schema.find(head.field(i));
        if (field != nullptr && field->part) return true;
    }
    return false;
}

}  // namespace

Status searchParts(const ccl::Expression* expression, uint32_t root, std::span<const Condition> conditions,
                   BaseState& state, PartHits& hits) {
    Result<RecordSet> candidates =
        expression == nullptr ? state.index.live()
                              : evaluateExpression(*expression, root, conditions, state, Reading::Loose);
    if (!candidates) return candidates.status();
    std::optional<RowTest> test;
    if (expression != nullptr) test.emplace(*expression, root, conditions, state.context);
    Status status = WDB_OK;
    candidates->forEach([&](RecordNumber number) {
        if (status != WDB_OK) return;
        const Result<RecordView> record = state.snapshot.record(number);
        if (!record) {
            status = record.status();
            return;
        }
        const bool headHit = !test || test->holds(*record, {number, 0});
        const uint32_t parts = record->partCount();
        if (headHit) hits.heads.add(number);
        if (headHit && (parts == 0 || headHoldsPartField(*record, state.snapshot.schema())))
            hits.rows.push_back({number, 0});
        for (PartNumber part = 1; part <= parts; ++part) {
            if (!test || test->holds(*record, {number, part})) hits.rows.push_back({number, part});
        }
    });
    return status;
}

}  // namespace wdb
