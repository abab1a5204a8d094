#pragma once

#include <string>

#include "src/tree/WSQLLiteral.h"

namespace wsql {

/// A moment or a part of one, kept as text in the session's form.
class WSQLTimestamp : public virtual WSQLLiteral {
public:
    WSQLTimestamp() = default;
    explicit WSQLTimestamp(std::string_view characters) : text(characters) {}
    /// The statement instant: date text, blank, time text.
    WSQLTimestamp(std::string_view date, std::string_view time);

    ConstantValue constantValue() const override;
    void toText(CStringBuffer& out) const override;
    void dump(TreeDump& out) const override;
    std::unique_ptr<WSQLScalar> clone() const override;

    /// The text before and behind the last blank.
    std::string_view datePart() const;
    std::string_view timePart() const;

    std::string text;
};

/// A day in the session's date form.
class WSQLDate : public virtual WSQLTimestamp {
public:
    WSQLDate() = default;
    explicit WSQLDate(std::string_view normalised) { text = normalised; }
    ConstantValue constantValue() const override;
    void dump(TreeDump& out) const override;
    std::unique_ptr<WSQLScalar> clone() const override;
};

/// A time of day as typed.
class WSQLTime : public virtual WSQLTimestamp {
public:
    WSQLTime() = default;
    explicit WSQLTime(std::string_view matched) { text = matched; }
    ConstantValue constantValue() const override;
    void dump(TreeDump& out) const override;
    std::unique_ptr<WSQLScalar> clone() const override;
};

}  // namespace wsql
