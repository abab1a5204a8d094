#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "src/tree/WSQLExpression.h"

namespace wsql {

class WSQLChar;
class WSQLColumnRef;
class WSQLFunctionRef;

/// What a constant evaluates to. The text of any constant is its `toText`.
struct ConstantValue {
    enum class Kind { kNone, kInteger, kReal, kBoolean, kText, kDate, kTime };
    Kind kind = Kind::kNone;  ///< kNone: the node is not a constant
    bool null = false;        ///< the value is NULL; `kind` still tells the type
    int32_t integer = 0;      ///< valid for kInteger
    double real = 0;          ///< valid for kInteger and kReal
    bool boolean = false;     ///< valid for kBoolean
};

/// Anything that yields a value: column, literal, function, arithmetic, sub-query.
class WSQLScalar : public virtual WSQLExpression {
public:
    /// True for literals (NULL too) and for arithmetic whose operands are all constant.
    virtual bool isConstant() const { return false; }

    /// The value of a constant; kind kNone for everything else.
    virtual ConstantValue constantValue() const { return {}; }

    /// Deep copy, label included.
    virtual std::unique_ptr<WSQLScalar> clone() const = 0;

    /// The node itself when it is of that class, else null (cheaper than a cast across virtual bases).
    virtual WSQLColumnRef* asColumnRef() { return nullptr; }
    const WSQLColumnRef* asColumnRef() const { return const_cast<WSQLScalar*>(this)->asColumnRef(); }
    virtual WSQLFunctionRef* asFunctionRef() { return nullptr; }
    virtual WSQLChar* asChar() { return nullptr; }
    const WSQLFunctionRef* asFunctionRef() const { return const_cast<WSQLScalar*>(this)->asFunctionRef(); }
    const WSQLChar* asChar() const { return const_cast<WSQLScalar*>(this)->asChar(); }

    /// Nesting levels of arithmetic below and including this node; 1 for a leaf.
    virtual int32_t depth() const { return 1; }

    std::string label;           ///< AS name of a select item; empty when none
    bool parenthesised = false;  ///< written as "(" expression ")"

protected:
    void copyScalar(const WSQLScalar& from);
    /// Writes parentheses and label behind the content in a dump.
    void dumpScalar(TreeDump& out) const;
};

/// Base of scalars that are computed from an argument.
class WSQLComplexPrimary : public virtual WSQLScalar {};

}  // namespace wsql
