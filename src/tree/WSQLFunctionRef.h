#pragma once

#include "src/tree/WSQLColumnRef.h"
#include "src/tree/WSQLScalar.h"

namespace wsql {

/// COUNT, AVG, MIN, MAX, SUM.
class WSQLFunctionRef : public virtual WSQLComplexPrimary {
public:
    WSQLFunctionRef(const char* functionName, std::unique_ptr<WSQLScalar> functionArgument, bool isDistinct);

    /// name "(" argument text ")", "(*)" without an argument.
    void toText(CStringBuffer& out) const override;
    void dump(TreeDump& out) const override;
    std::unique_ptr<WSQLScalar> clone() const override;
    using WSQLScalar::asFunctionRef;
    WSQLFunctionRef* asFunctionRef() override { return this; }
    int32_t depth() const override { return argument ? argument->depth() + 1 : 1; }

    const char* name;                      ///< upper case, one of the program's constant names
    bool distinct;                         ///< COUNT(DISTINCT ...)
    std::unique_ptr<WSQLScalar> argument;  ///< null: "*"
};

/// VALUELIST(column, separator [, first [, last]]): the values of a multi-valued column joined into one text.
class WSQLVListFunctionRef : public virtual WSQLFunctionRef {
public:
    WSQLVListFunctionRef(std::unique_ptr<WSQLColumnRef> columnArgument, std::string separatorText);

    void dump(TreeDump& out) const override;
    std::unique_ptr<WSQLScalar> clone() const override;

    std::string separator;
    int32_t first = 0;  ///< 1-based; valid when hasFirst
    int32_t last = 0;   ///< 1-based; valid when hasLast
    bool hasFirst = false;
    bool hasLast = false;
};

}  // namespace wsql
