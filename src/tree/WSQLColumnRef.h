#pragma once

#include "src/tree/WSQLItemRef.h"
#include "src/tree/WSQLScalar.h"

namespace wsql {

/// A column that the statement names, and after validation the field that it stands for.
///
/// As parsed: `owner`, `table` (the qualifier as typed, empty when unqualified) and `column` (WSQLItemRef).
/// Binding replaces `table` by the table that holds the column, `column` by the kernel's spelling, and sets
/// `correlation` to the alias of that table.
class WSQLColumnRef : public virtual WSQLItemRef, public virtual WSQLScalar {
public:
    /// Field number of the row-identifier pseudo column "R".
    static constexpr int32_t kRowIdentifier = -99;
    /// Field flag: the field lives in the part records.
    static constexpr uint32_t kPartField = 4;

    WSQLColumnRef() = default;
    explicit WSQLColumnRef(std::string columnName) { column = std::move(columnName); }

    /// What stands before the dot: the correlation name when there is one, else the table name; may be empty.
    const std::string& qualifier() const { return correlation.empty() ? table : correlation; }

    /// The column name alone, as bound.
    void toText(CStringBuffer& out) const override;
    void dump(TreeDump& out) const override;
    std::unique_ptr<WSQLScalar> clone() const override { return cloneColumn(); }
    std::unique_ptr<WSQLColumnRef> cloneColumn() const;
    using WSQLScalar::asColumnRef;
    WSQLColumnRef* asColumnRef() override { return this; }

    std::string correlation;  ///< alias of the bound table; empty before binding or when the table has none
    int32_t subscript = 0;    ///< 1-based value number written in brackets; 0: the whole field

    /// The opening quote when the reference was made from a bare quoted select item, which may turn out to be
    /// a text constant; 0 for every other reference.
    char constantQuote = 0;
    bool maybeConstant() const { return constantQuote != 0; }

    int32_t fieldNumber = 0;  ///< 1-based; 0 unbound; kRowIdentifier
    int32_t fieldType = 0;    ///< kernel field type code
    uint32_t fieldFlags = 0;  ///< kernel field flags
    bool keyTable = false;    ///< the bound table has a primary key field
};

/// "*" (empty `table`) or table ".*" as a select item.
class WSQLAllColumns : public virtual WSQLScalar {
public:
    WSQLAllColumns() = default;
    explicit WSQLAllColumns(std::string tableName) : table(std::move(tableName)) {}

    /// "*" or "t.*".
    void toText(CStringBuffer& out) const override;
    void dump(TreeDump& out) const override;
    std::unique_ptr<WSQLScalar> clone() const override;

    std::string table;  ///< alias or table name; empty: every FROM table
};

}  // namespace wsql
