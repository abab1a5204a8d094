// What the rows of a SELECT consist of, worked out once before the first row.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "src/support/CStringBuffer.h"
#include "src/tree/WELKFieldInfo.h"
#include "src/welkhelp/ValueFilter.h"

namespace wsql {

class WSQLFilter;
class WSQLLiteralSelect;
class WSQLScalar;
class WSQLStmtSelect;
class WSQLTableRef;

/// One output column.
struct OutputColumn {
    enum class Origin { kColumn, kFunction, kConstant, kExpression, kField };
    Origin origin = Origin::kExpression;
    std::int32_t type = 0;    ///< kernel field type
    std::uint32_t flags = 0;  ///< kernel field flags
    std::int32_t fieldNumber = 0;
    /// The field, where the column is one whose values come by reference (TEXT and binary); else null.
    std::unique_ptr<WELKFieldInfo> field;
    ValueRange range;            ///< which of the field's values, and how they are joined
    std::int32_t subscript = 0;  ///< the one value of a field that is asked for; 0: as `range` says
    bool constantNull = false;   ///< for a constant, as is constantText
    std::string constantText;    ///< as it stands in the document
    bool list = false;           ///< VALUELIST
    bool base64 = false;         ///< the constant's text is base64 of a binary value
    bool fromRow = false;        ///< the constant comes with the rows
    bool isConstant() const { return origin == Origin::kConstant && !fromRow; }
};

class SelectOutput {
public:
    /// What the values of the rows are read for.
    enum class Values {
        kDocument,  ///< XML; constants come from the statement
        kUnion,     ///< XML; constants come from the rows, whose members may have different ones
        kRaw        ///< as they are, texts and objects whole
    };

    /// The statement is validated, its sub-queries are evaluated, and it outlives this object.
    SelectOutput(WSQLFilter& filter, const WSQLStmtSelect& select, Values values);

    ~SelectOutput();

    const std::vector<OutputColumn>& columns() const { return columns_; }
    /// Whether TEXT or binary values stand in the rows themselves; otherwise rows hold keys to fetch them by.
    bool isInline(std::int32_t type) const;
    bool isUnion() const { return values_ == Values::kUnion; }
    bool isRaw() const { return values_ == Values::kRaw; }
    /// For a union, whose rows may come from another table than the column's: the field that a reference
    /// "BASE.FIELD" names; null when there is none.
    const WELKFieldInfo* fieldNamed(WSQLFilter& filter, std::string_view name);
    bool isDictionary() const { return isDictionary_; }  ///< the rows are those of the filter's list
    bool isStatic() const { return isStatic_; }  ///< no FROM: the rows are the statement's own constants

private:
    void addItem(const WSQLFilter& filter, const WSQLStmtSelect& select, const WSQLScalar& item);
    void describeConstant(OutputColumn& output, const WSQLFilter& filter, const WSQLScalar& item) const;
    void describeSubselect(OutputColumn& output, const WSQLFilter& filter,
                           const WSQLLiteralSelect& query) const;
    void setConstant(OutputColumn& output, const WSQLFilter& filter, std::string_view text) const;
    void addField(const WELKFieldInfo& field);

    std::vector<OutputColumn> columns_;
    std::vector<std::unique_ptr<WSQLTableRef>> unionTables_;
    Values values_;
    bool selectText_ = false;
    bool selectBlob_ = false;
    bool isStatic_;
    bool isDictionary_;
};

/// Appends the key that a large value is fetched by: the table's name in hexadecimal, record, part and field.
void appendFetchKey(CStringBuffer& out, std::string_view table, std::int32_t record, std::int32_t part,
                    std::int32_t field);

}  // namespace wsql
