#pragma once

#include "src/tree/WSQLLiteral.h"

namespace wsql {

class WSQLNumeric : public virtual WSQLLiteral {};

/// A 32-bit integer. The sign is kept apart from the magnitude, so -2147483648 cannot be written.
class WSQLInt : public virtual WSQLNumeric {
public:
    explicit WSQLInt(int32_t magnitude) : magnitude_(magnitude) {}
    /// The value with its sign applied.
    int32_t value() const { return sign == '-' ? -magnitude_ : magnitude_; }

    ConstantValue constantValue() const override;
    void toText(CStringBuffer& out) const override;
    void dump(TreeDump& out) const override;
    std::unique_ptr<WSQLScalar> clone() const override;

private:
    int32_t magnitude_;  ///< 0 or more
};

class WSQLFloat : public virtual WSQLNumeric {
public:
    explicit WSQLFloat(double magnitude) : magnitude_(magnitude) {}
    double value() const { return sign == '-' ? -magnitude_ : magnitude_; }

    ConstantValue constantValue() const override;
    void toText(CStringBuffer& out) const override;  ///< two decimals, "." whatever the locale
    void dump(TreeDump& out) const override;
    std::unique_ptr<WSQLScalar> clone() const override;

private:
    double magnitude_;
};

/// "%.02f" with a decimal point in every locale.
void appendReal(CStringBuffer& out, double value);

/// The finite number next to it. Constants are finite, as integers end at 32 bits: a number beyond the range
/// is its end.
double clampedReal(double value);

}  // namespace wsql
