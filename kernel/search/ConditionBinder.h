#pragma once

#include "kernel/search/BaseState.h"
#include "kernel/search/Condition.h"
#include "kernel/search/Operand.h"
#include "kernel/search/Search.h"

namespace wdb {

class SetValues;

// A criterion of the record number, for which no base is needed (any form but set values).
// WDB_E_CCL_UNSUPPORTED.
Status bindNumbers(const ccl::Criterion& criterion, Condition& condition, CommandError& error);

// Turns criteria into conditions on the fields of one base: names into fields, constants into values of their
// types, the columns of earlier sets into lists of values. The conditions point into the base's definition.
class ConditionBinder {
public:
    ConditionBinder(BaseState& state, Search& search, CommandError& error)
        : state_(state), search_(search), error_(error) {}

    // In the order of the criteria. WDB_E_CCL_FIELD, WDB_E_CCL_SET, WDB_E_VALUE, WDB_E_TYPE,
    // WDB_E_CCL_UNSUPPORTED.
    Status bind(const std::vector<ccl::Criterion>& criteria, std::vector<Condition>& conditions);
    Status bindOne(const ccl::Criterion& criterion, Condition& condition);

private:
    Status bindRecords(const ccl::Criterion& criterion, Condition& condition);
    Status bindInSet(const ccl::Criterion& criterion, Condition& condition);
    Status bindField(const ccl::Criterion& criterion, Condition& condition);
    Status bindText(const ccl::Criterion& criterion, Condition& condition);
    Status bindTextRange(const ccl::Criterion& criterion, Condition& condition);
    Status bindEqual(const ccl::Criterion& criterion, Condition& condition);
    Status bindOrder(const ccl::Criterion& criterion, Condition& condition);
    Status bindSetValues(const ccl::Criterion& criterion, Condition& condition);
    Status bindSetWords(ccl::Comparison comparison, const SetValues& values, Condition& condition);
    Status bindSetRecords(const ccl::Criterion& criterion, Condition& condition);
    Status readOperand(const FieldDefinition& field, const ccl::Value& value, Operand& operand);
    Bound wordBound(const ccl::Value& value, bool inclusive);

    BaseState& state_;
    Search& search_;
    CommandError& error_;
};

}  // namespace wdb
