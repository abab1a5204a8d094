// Conditions as the executors use them: as the text of a search, as a search that is run, or as a truth
// value.
#include <vector>

#include "src/ConditionTranslator.h"
#include "src/UnionSearch.h"
#include "src/WSQLFilter.h"
#include "src/tree/Tree.h"
#include "src/welkhelp/CommandWord.h"

namespace wsql {
namespace {

constexpr const char* kContext = "WSQLFilter::TranslateCondition";

void logTranslation(WSQLFilter& filter, const WSQLCondition& condition, const char* text) {
    if (!filter.logs(kLogDebug)) return;
    if (dynamic_cast<const WSQLLikePredicate*>(&condition) != nullptr) {
        filter.debug(kContext, "Translated LIKE condition: \"%s\"\n", text);
    } else if (dynamic_cast<const WSQLComparison*>(&condition) != nullptr) {
        filter.debug(kContext, "Translated comparison condition: \"%s\"\n", text);
    } else if (dynamic_cast<const WSQLBetweenTest*>(&condition) != nullptr) {
        filter.debug(kContext, "Translated range condition: \"%s\"\n", text);
    } else if (condition.asComposite() != nullptr) {
        filter.debug(kContext, "Translated composite condition \"%s\"\n", text);
    } else if (dynamic_cast<const WSQLNullTest*>(&condition) != nullptr) {
        filter.debug(kContext, "Translated null test condition \"%s\"\n", text);
    }
}

/// Truth of a condition whose tests are all comparisons of constants; every other test counts as false.
bool holdsForConstants(const WSQLCondition* condition) {
    std::vector<const WSQLCompositeCondition*> spine;
    while (condition != nullptr && condition->asComposite() != nullptr) {
        spine.push_back(condition->asComposite());
        condition = spine.back()->left.get();
    }
    const auto* comparison = dynamic_cast<const WSQLComparison*>(condition);
    bool holds = comparison != nullptr && constantComparisonHolds(*comparison) != comparison->negated();
    for (; !spine.empty(); spine.pop_back()) {
        const WSQLCompositeCondition& composite = *spine.back();
        const bool right = holdsForConstants(composite.right.get());
        holds = (composite.connective == WSQLCompositeCondition::kOr ? holds || right : holds && right) !=
                composite.negated();
    }
    return holds;
}

/// Runs the sub-query of a predicate and gives the number of its set.
bool runSubselect(WSQLFilter& filter, const WSQLSubselect& subselect, std::int32_t& set) {
    WSQLStmtSelect& query = *subselect.select;
    if (query.hasUnion()) {
        SearchSet result;
        if (!searchUnion(filter, query, result)) return false;
        set = result.number;
    } else if (!filter.ExecuteSelect(&query, 0, nullptr, &set, true)) {
        return false;
    }
    if (!filter.logs(kLogDebug)) return true;
    CStringBuffer item(64);
    if (query.item(0) != nullptr) query.item(0)->toText(item);
    filter.debug(kContext, "Subselect is \"%s\"", item.text());
    return true;
}

}  // namespace

bool WSQLFilter::TranslateCondition(WSQLCondition* condition, std::int32_t depth, std::int32_t* status,
                                    CStringBuffer* text) {
    if (condition == nullptr || !condition->isActive()) return true;
    using Translator = ConditionTranslator;
    const WSQLColumnRef* searched = nullptr;  // a column that sub-query values are compared with
    const bool copied = text != nullptr || condition->asComposite() != nullptr;  // what the log says
    Translator translator(
        [this](const char* canonical) { return std::string(CommandWord(*this, canonical).text()); },
        [this, &searched](const WSQLSubselect& subselect, std::int32_t& set) {
            searched = subselect.scalar->asColumnRef();
            return runSubselect(*this, subselect, set);
        },
        [this, copied](std::string_view translated) {
            if (!logs(kLogDebug)) return;
            const std::string line(translated);
            debug(kContext, "Translated subselect condition \"%s\"\n", line.c_str());
            if (copied) debug(kContext, "Copied subselect condition \"%s\"\n", line.c_str());
        },
        text != nullptr ? Translator::Prefix::kQualifier : Translator::Prefix::kTable);
    CStringBuffer own(256);
    CStringBuffer& expression = text != nullptr ? *text : own;
    expression.clear();
    if (!translator.translate(*condition, expression)) {
        expression.clear();
        if (status != nullptr) *status = 0;
        if (translator.problem() == Translator::Problem::kAnswered) return false;
        setLastStatus(0);
        ReportFault(0, translator.faultText(), -1, "src/WSQLExecSelect", translator.faultLine(), kContext);
        return false;
    }
    std::int32_t outcome = WDB_OK;
    if (depth <= 0) {
        logTranslation(*this, *condition, expression.text());
        // A sub-query has opened its own table for searching.
        if (searched != nullptr && !SearchOpenDB(searched->table.c_str())) {
            if (status != nullptr) *status = 0;
            return false;
        }
        const CommandWord find(*this, "FIN");
        CStringBuffer command(256);
        command.append(find.text());
        command.append(' ');
        command.append(expression);
        outcome = ExecuteCommand(command.text());
    }
    if (status != nullptr) *status = outcome;
    return WDB_SUCCESS(outcome);
}

bool WSQLFilter::EvaluateConstantCondition(WSQLCondition* condition, bool& holds) {
    CStringBuffer text(256);
    if (!TranslateCondition(condition, 1, nullptr, &text)) return false;
    holds = condition == nullptr || holdsForConstants(condition);
    return true;
}

}  // namespace wsql
