// From a condition tree to one CCL search expression. Needs no kernel, only a source of command words.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "src/support/CStringBuffer.h"

namespace wsql {

class WSQLBetweenTest;
class WSQLColumnRef;
class WSQLComparison;
class WSQLCompositeCondition;
class WSQLCondition;
class WSQLLikePredicate;
class WSQLNullTest;
class WSQLScalar;
class WSQLSubselect;

/// Whether two constants stand to each other as the comparison says: integers as integers, real numbers as
/// real numbers, truth values with false first, any other pair by the bytes of their texts. Both sides are
/// constant.
bool constantComparisonHolds(const WSQLComparison& comparison);

class ConditionTranslator {
public:
    /// Gives the session's word for a canonical command word.
    using WordSource = std::function<std::string(const char* canonical)>;
    /// What stands before a column: the name that the statement uses (alias before table), or always the
    /// table's.
    enum class Prefix { kQualifier, kTable };
    /// Runs the sub-query of a predicate and gives the number of its set; false after it has answered a
    /// fault.
    using SubselectSource = std::function<bool(const WSQLSubselect& subselect, std::int32_t& set)>;
    /// Told the text that the predicate of a sub-query has become.
    using SubselectNote = std::function<void(std::string_view text)>;
    enum class Problem {
        kNone,
        kFault,    ///< faultText and faultLine say what
        kAnswered  ///< a fault has been answered already
    };

    /// The note may be empty.
    ConditionTranslator(WordSource words, SubselectSource subselects, SubselectNote note, Prefix prefix)
        : words_(std::move(words)),
          subselects_(std::move(subselects)),
          note_(std::move(note)),
          prefix_(prefix) {}

    /// Appends the expression of an active condition. False: problem() tells why.
    bool translate(const WSQLCondition& root, CStringBuffer& out) { return node(root, false, out); }

    Problem problem() const { return problem_; }
    const char* faultText() const { return faultText_; }  ///< valid for kFault
    std::int32_t faultLine() const { return faultLine_; }

private:
    bool node(const WSQLCondition& condition, bool negated, CStringBuffer& out);
    bool chain(const WSQLCondition& root, bool negated, CStringBuffer& out);
    bool like(const WSQLLikePredicate& like, bool negated, CStringBuffer& out);
    bool comparison(const WSQLComparison& comparison, bool negated, CStringBuffer& out);
    bool between(const WSQLBetweenTest& between, bool negated, CStringBuffer& out);
    bool subselect(const WSQLSubselect& subselect, bool negated, CStringBuffer& out);
    bool nullTest(const WSQLNullTest& test, bool negated, CStringBuffer& out);

    const std::string& prefixOf(const WSQLColumnRef& column) const;
    void appendColumn(const WSQLColumnRef& column, CStringBuffer& out) const;
    void appendConstant(const WSQLScalar& constant, CStringBuffer& out) const;
    const std::string& word(std::string& cache, const char* canonical);
    bool fault(std::int32_t line, const char* text);

    WordSource words_;
    SubselectSource subselects_;
    SubselectNote note_;
    Prefix prefix_;
    std::string and_, or_, not_, record_, from_, to_;
    Problem problem_ = Problem::kNone;
    const char* faultText_ = "";
    std::int32_t faultLine_ = 0;
};

/// Appends "prefix.field" or "prefix.field.subfield".
void appendColumnText(CStringBuffer& out, const std::string& prefix, const WSQLColumnRef& column);

/// The same without the subfield.
void appendFieldText(CStringBuffer& out, const std::string& prefix, const WSQLColumnRef& column);

}  // namespace wsql
