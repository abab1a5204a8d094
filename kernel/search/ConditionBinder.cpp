#include "kernel/search/ConditionBinder.h"

#include <algorithm>
#include <limits>

#include "kernel/search/CommandFault.h"
#include "kernel/search/SearchSet.h"
#include "kernel/search/SetValues.h"
#include "kernel/text/Normalize.h"

namespace wdb {

using ccl::Comparison;
using ccl::Criterion;
using Test = Condition::Test;

namespace {

constexpr int64_t kLastRecord = std::numeric_limits<RecordNumber>::max();

// Numbers that stand so to n; empty when low is above high.
struct NumberRange {
    int64_t low = 1;
    int64_t high = kLastRecord;
};

NumberRange rangeOf(Comparison comparison, int64_t n) {
    switch (comparison) {
        case Comparison::Less:
            return {1, n == std::numeric_limits<int64_t>::min() ? 0 : n - 1};
        case Comparison::LessOrEqual:
            return {1, n};
        case Comparison::Greater:
            return {n == std::numeric_limits<int64_t>::max() ? n : n + 1, kLastRecord};
        case Comparison::GreaterOrEqual:
            return {n, kLastRecord};
        default:
            return {n, n};
    }
}

void setRange(NumberRange range, Condition& condition) {
    if (range.low > kLastRecord || range.high < 1) return;
    condition.firstRecord = static_cast<RecordNumber>(std::max<int64_t>(range.low, 1));
    condition.lastRecord = static_cast<RecordNumber>(std::min(range.high, kLastRecord));
}

bool isOrder(Comparison comparison) {
    return comparison != Comparison::Equal && comparison != Comparison::NotEqual;
}

bool isAbove(Comparison comparison) {
    return comparison == Comparison::Greater || comparison == Comparison::GreaterOrEqual;
}

bool isInclusive(Comparison comparison) {
    return comparison == Comparison::LessOrEqual || comparison == Comparison::GreaterOrEqual;
}

// Does nothing, or nothing but blanks, stand before the first wildcard?
bool opensWithWildcard(const ccl::Value& value) {
    return !value.pieces.empty() && !value.isLiteral() && normalize(value.prefix(), kFoldBlanks).empty();
}

// Is it the empty value? Blanks are none.
bool isEmpty(const ccl::Value& value) {
    return value.pieces.empty() || (value.isLiteral() && normalize(value.prefix(), kFoldBlanks).empty());
}

}  // namespace

Status ConditionBinder::bind(const std::vector<Criterion>& criteria, std::vector<Condition>& conditions) {
    conditions.reserve(criteria.size());
    for (const Criterion& criterion : criteria) WDB_TRY(bindOne(criterion, conditions.emplace_back()));
    return WDB_OK;
}

Status ConditionBinder::bindOne(const Criterion& criterion, Condition& condition) {
    if (criterion.form == Criterion::Form::InSet) return bindInSet(criterion, condition);
    return criterion.column.record ? bindRecords(criterion, condition) : bindField(criterion, condition);
}

Status ConditionBinder::bindInSet(const Criterion& criterion, Condition& condition) {
    SearchSet* set = search_.find(static_cast<int32_t>(criterion.number));
    if (set == nullptr)
        return fault(error_, WDB_E_CCL_SET, criterion.position, std::to_string(criterion.number));
    condition.test = Test::Records;
    condition.records = set->recordsOf(state_.snapshot.base());
    return WDB_OK;
}

Status bindNumbers(const Criterion& criterion, Condition& condition, CommandError& error) {
    using Form = Criterion::Form;
    condition.test = Test::Numbered;
    condition.negated = criterion.comparison == Comparison::NotEqual;
    switch (criterion.form) {
        case Form::Any:
            if (!isOrder(criterion.comparison)) setRange({}, condition);
            return WDB_OK;
        case Form::Empty:
            return WDB_OK;  // no record is without a number
        case Form::Text:
            if (!isOrder(criterion.comparison) && patternOf(criterion.low).matchesAll())
                setRange({}, condition);
            return WDB_OK;
        case Form::NumberRange:
        case Form::TextRange:
            if (isOrder(criterion.comparison)) return fault(error, WDB_E_CCL_UNSUPPORTED, criterion.position);
            // A range of texts has an end that is no number.
            if (criterion.form == Form::NumberRange)
                setRange({criterion.number, criterion.numberHigh}, condition);
            return WDB_OK;
        default:
            setRange(rangeOf(criterion.comparison, criterion.number), condition);
            return WDB_OK;
    }
}

Status ConditionBinder::bindRecords(const Criterion& criterion, Condition& condition) {
    condition.test = Test::Numbered;
    condition.negated = criterion.comparison == Comparison::NotEqual;
    if (criterion.form == Criterion::Form::Set) return bindSetRecords(criterion, condition);
    return bindNumbers(criterion, condition, error_);
}

Status ConditionBinder::bindField(const Criterion& criterion, Condition& condition) {
    using Form = Criterion::Form;
    condition.field = state_.readable(criterion.column.field);
    if (condition.field == nullptr) {
        return fault(error_, WDB_E_CCL_FIELD, criterion.column.position, criterion.column.field);
    }
    condition.first = static_cast<uint32_t>(criterion.column.first);
    condition.last = static_cast<uint32_t>(criterion.column.last);
    const bool present = (criterion.form == Form::Any && criterion.comparison == Comparison::Equal) ||
                         (criterion.form == Form::Empty && !isOrder(criterion.comparison));
    if (condition.field->type == FieldType::String && !present)
        return fault(error_, WDB_E_TYPE, criterion.position, condition.field->name);
    condition.negated = criterion.comparison == Comparison::NotEqual;
    switch (criterion.form) {
        case Form::Any:
            if (!isOrder(criterion.comparison))
                condition.test = Test::Present;
            else
                return bindOrder(criterion, condition);
            return WDB_OK;
        case Form::Empty:
            condition.negated = false;
            if (criterion.comparison == Comparison::Equal) condition.test = Test::Absent;
            if (criterion.comparison == Comparison::NotEqual) condition.test = Test::Present;
            return WDB_OK;
        case Form::Set:
            return bindSetValues(criterion, condition);
        case Form::TextRange:
            return bindTextRange(criterion, condition);
        default:
            return bindText(criterion, condition);
    }
}

Status ConditionBinder::readOperand(const FieldDefinition& field, const ccl::Value& value, Operand& operand) {
    // Only dates ask for the day.
    const int today = field.type == FieldType::Date ? state_.context.today() : 0;
    Result<Operand> read = operandOf(field.type, value.prefix(), state_.context.dateForm(), today);
    if (!read) return fault(error_, read.status(), value.position, std::string(value.prefix()));
    operand = std::move(*read);
    return WDB_OK;
}

Bound ConditionBinder::wordBound(const ccl::Value& value, bool inclusive) {
    return {normalize(state_.context.analyzer().fold(value.prefix()), kFoldBlanks), inclusive};
}

Status ConditionBinder::bindText(const Criterion& criterion, Condition& condition) {
    return isOrder(criterion.comparison) ? bindOrder(criterion, condition) : bindEqual(criterion, condition);
}

Status ConditionBinder::bindEqual(const Criterion& criterion, Condition& condition) {
    const Pattern pattern = patternOf(criterion.low);
    if (pattern.matchesAll()) {
        condition.test = Test::Present;
        return WDB_OK;
    }
    const FieldType type = condition.field->type;
    if (type == FieldType::Text) {
        condition.test = Test::Words;
        condition.phrases.push_back(state_.context.analyzer().wordPatterns(pattern));
        return WDB_OK;
    }
    if (!pattern.isLiteral()) {
        condition.test = type == FieldType::Phrase ? Test::Matching : Test::Delivered;
        condition.pattern = type == FieldType::Phrase ? phrasePattern(pattern) : pattern;
        return WDB_OK;
    }
    Operand operand;
    WDB_TRY(readOperand(*condition.field, criterion.low, operand));
    if (operand.empty()) {
        condition.test = condition.negated ? Test::Present : Test::Absent;
        condition.negated = false;
    } else if (operand.exact && operand.beyond == 0) {
        condition.test = Test::Equal;
        condition.values.push_back(std::move(operand.canonical));
    }
    return WDB_OK;
}

// What is left of a value before its first wildcard may be nothing: every text stands above that, no number
// to it.
Status ConditionBinder::bindOrder(const Criterion& criterion, Condition& condition) {
    const Comparison comparison = criterion.comparison;
    const bool above = isAbove(comparison);
    const bool inclusive = isInclusive(comparison);
    const FieldType type = condition.field->type;
    if (isEmpty(criterion.low) && criterion.form != Criterion::Form::Any) return WDB_OK;
    if (criterion.form == Criterion::Form::Any || opensWithWildcard(criterion.low)) {
        const bool text = type == FieldType::Phrase || type == FieldType::Text;
        condition.test = text && above ? Test::Present : Test::Nothing;
        return WDB_OK;
    }
    if (type == FieldType::Text) {
        condition.test = Test::WordWithin;
        (above ? condition.low : condition.high) = wordBound(criterion.low, inclusive);
        return WDB_OK;
    }
    Operand operand;
    WDB_TRY(readOperand(*condition.field, criterion.low, operand));
    if (operand.empty()) return WDB_OK;
    bool none = false;
    if (above)
        condition.low = lowBound(operand, inclusive, none);
    else
        condition.high = highBound(operand, inclusive, none);
    if (none) return WDB_OK;
    condition.test = condition.low || condition.high ? Test::Within : Test::Present;
    return WDB_OK;
}

Status ConditionBinder::bindTextRange(const Criterion& criterion, Condition& condition) {
    const FieldType type = condition.field->type;
    if (isOrder(criterion.comparison)) return fault(error_, WDB_E_CCL_UNSUPPORTED, criterion.position);
    if (isEmpty(criterion.low) || isEmpty(criterion.high) || opensWithWildcard(criterion.high)) return WDB_OK;
    const bool fromLowest = opensWithWildcard(criterion.low);
    if (type == FieldType::Text) {
        condition.test = Test::WordWithin;
        if (!fromLowest) condition.low = wordBound(criterion.low, true);
        condition.high = wordBound(criterion.high, true);
        return WDB_OK;
    }
    if (fromLowest && type != FieldType::Phrase) return WDB_OK;
    bool none = false;
    Operand operand;
    if (!fromLowest) {
        WDB_TRY(readOperand(*condition.field, criterion.low, operand));
        if (operand.empty()) return WDB_OK;
        condition.low = lowBound(operand, true, none);
    }
    WDB_TRY(readOperand(*condition.field, criterion.high, operand));
    if (operand.empty()) return WDB_OK;
    condition.high = highBound(operand, true, none);
    if (!none) condition.test = condition.low || condition.high ? Test::Within : Test::Present;
    return WDB_OK;
}

Status ConditionBinder::bindSetValues(const Criterion& criterion, Condition& condition) {
    SetValues values(state_.context, search_, error_);
    WDB_TRY(values.collect(criterion.setValue[0], criterion.position));
    const FieldDefinition& field = *condition.field;
    if (field.type == FieldType::Text) return bindSetWords(criterion.comparison, values, condition);
    if (!isOrder(criterion.comparison)) {
        condition.test = Test::Equal;
        condition.values = values.as(field.type);
        return WDB_OK;
    }
    // So to some value: to the least or to the greatest one.
    const bool above = isAbove(criterion.comparison);
    const std::optional<Operand> limit = values.extreme(field.type, !above);
    if (!limit) return WDB_OK;
    bool none = false;
    const bool inclusive = isInclusive(criterion.comparison);
    (above ? condition.low : condition.high) =
        above ? lowBound(*limit, inclusive, none) : highBound(*limit, inclusive, none);
    if (!none) condition.test = condition.low || condition.high ? Test::Within : Test::Present;
    return WDB_OK;
}

// Some word of the text stands so to some value of the set.
Status ConditionBinder::bindSetWords(Comparison comparison, const SetValues& values, Condition& condition) {
    if (!isOrder(comparison)) {
        condition.test = Test::Words;
        for (const std::string& text : values.texts())
            condition.phrases.push_back(state_.context.analyzer().wordPatterns(Pattern(text)));
        return WDB_OK;
    }
    const bool above = isAbove(comparison);
    std::optional<std::string> limit;
    for (const std::string& text : values.texts()) {
        std::string word = normalize(state_.context.analyzer().fold(text), kFoldBlanks);
        const bool better = !word.empty() && (!limit || (above ? word < *limit : word > *limit));
        if (better) limit = std::move(word);
    }
    if (!limit) return WDB_OK;
    condition.test = Test::WordWithin;
    (above ? condition.low : condition.high) = Bound{std::move(*limit), isInclusive(comparison)};
    return WDB_OK;
}

// Record numbers beside the values of a set: its record numbers, or what its items say as numbers.
Status ConditionBinder::bindSetRecords(const Criterion& criterion, Condition& condition) {
    SetValues values(state_.context, search_, error_);
    WDB_TRY(values.collect(criterion.setValue[0], criterion.position));
    if (!isOrder(criterion.comparison)) {
        condition.test = Test::Records;
        std::vector<RecordNumber> records;
        for (const std::string& number : values.as(FieldType::Integer)) {
            const int64_t value = decodeInteger(number);
            if (value >= 1 && value <= kLastRecord) records.push_back(static_cast<RecordNumber>(value));
        }
        condition.records = RecordSet::of(records);
        return WDB_OK;
    }
    const bool above = isAbove(criterion.comparison);
    const std::optional<Operand> limit = values.extreme(FieldType::Integer, !above);
    if (!limit) return WDB_OK;
    if (limit->beyond != 0) {
        if (above == (limit->beyond < 0)) setRange({}, condition);
        return WDB_OK;
    }
    // Of a decimal the whole number below it is known.
    const Comparison comparison = limit->exact ? criterion.comparison
                                  : above      ? Comparison::Greater
                                               : Comparison::LessOrEqual;
    setRange(rangeOf(comparison, decodeInteger(limit->canonical)), condition);
    return WDB_OK;
}

}  // namespace wdb
