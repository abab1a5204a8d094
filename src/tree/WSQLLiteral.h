#pragma once

#include <string_view>

#include "src/tree/WSQLScalar.h"

namespace wsql {

/// Base of the constants. `toText` of every literal is its value as the kernel and the answer documents take
/// it; a NULL literal has the empty text.
class WSQLLiteral : public virtual WSQLScalar {
public:
    bool isConstant() const override { return true; }

    bool isNull = false;
    char sign = 0;  ///< '+' or '-' written in front, else 0; only numbers heed it

protected:
    void copyLiteral(const WSQLLiteral& from);
    /// Writes the label and the sign behind the value in a dump.
    void dumpTail(TreeDump& out) const;
};

class WSQLBoolean : public virtual WSQLLiteral {
public:
    explicit WSQLBoolean(bool truth) : value(truth) {}
    ConstantValue constantValue() const override;
    void toText(CStringBuffer& out) const override;  ///< "true" or "false"
    void dump(TreeDump& out) const override;
    std::unique_ptr<WSQLScalar> clone() const override;

    bool value;
};

/// A text: the raw characters between the quotes, no escape translated. Also the literal of the keyword NULL.
class WSQLChar : public virtual WSQLLiteral {
public:
    WSQLChar() = default;
    explicit WSQLChar(std::string_view characters, char openingQuote = 0)
        : text(characters), quote(openingQuote) {}
    static std::unique_ptr<WSQLChar> null();
    using WSQLScalar::asChar;
    WSQLChar* asChar() override { return this; }

    ConstantValue constantValue() const override;
    void toText(CStringBuffer& out) const override;
    void dump(TreeDump& out) const override;
    std::unique_ptr<WSQLScalar> clone() const override;

    std::string text;
    char quote =
        0;  ///< the quote character that opened the text in the statement; 0 when no quoted text made it
};

/// Bytes of a large object, carried as a value.
class WSQLBinary : public virtual WSQLLiteral {
public:
    explicit WSQLBinary(std::string_view content) : bytes(content) {}
    ConstantValue constantValue() const override;
    void toText(CStringBuffer& out) const override;
    void dump(TreeDump& out) const override;
    std::unique_ptr<WSQLScalar> clone() const override;

    std::string bytes;
};

}  // namespace wsql
