#pragma once

#include <memory>
#include <string>

#include "src/support/WSQLOptionalPtr.h"
#include "src/tree/WSQLColumnRef.h"
#include "src/tree/WSQLItemRef.h"
#include "src/tree/WSQLScalar.h"

namespace wsql {

/// A column's data type. CHAR is VARCHAR.
class WSQLType : public WSQLExpression {
public:
    enum class Code { kVarchar, kLongVarchar, kLongVarbinary, kInteger, kNumeric, kDate, kTime, kSerial };

    explicit WSQLType(Code typeCode, int32_t lengthOrPrecision = 0, int32_t numericScale = 0)
        : code(typeCode), length(lengthOrPrecision), scale(numericScale) {}
    void dump(TreeDump& out) const override;

    Code code;
    int32_t length;  ///< VARCHAR length or NUMERIC precision; 0 when not written
    int32_t scale;   ///< 0 when not written
};

/// Referential actions; 0 when none was written.
namespace ReferentialAction {
constexpr int32_t kNone = 0;
constexpr int32_t kRestrict = 1;
constexpr int32_t kCascade = 2;
constexpr int32_t kNoAction = 3;
constexpr int32_t kSetNull = 4;
constexpr int32_t kSetDefault = 5;
}  // namespace ReferentialAction

/// What a column definition says beside its type. A table constraint arrives here too: it is merged into the
/// constraint of the column that it names, so one column may be key and reference at once.
class WSQLColumnConstraint {
public:
    virtual ~WSQLColumnConstraint() = default;
    void dump(TreeDump& out) const;
    bool isReference() const { return referencesTable; }

    /// Adds what the other constraint says; a reference replaces an earlier one.
    void merge(const WSQLColumnConstraint& other);

    bool null = false;     ///< NULL was written
    bool notNull = false;  ///< NOT NULL was written
    bool primaryKey = false;
    std::string keyColumn;         ///< column named by a table constraint; empty in a column's own constraint
    bool referencesTable = false;  ///< REFERENCES was written
    std::string referencedTable;
    std::string referencedColumn;
    int32_t onDelete = ReferentialAction::kNone;
    int32_t onUpdate = ReferentialAction::kNone;
};

/// A column of CREATE TABLE or ALTER TABLE ADD; its name is WSQLItemRef::column.
class WSQLColumnElement : public virtual WSQLItemRef {
public:
    void dump(TreeDump& out) const override;

    std::unique_ptr<WSQLType> type;                    ///< never null after parsing
    std::unique_ptr<WSQLScalar> defaultValue;          ///< null when absent
    std::unique_ptr<WSQLColumnConstraint> constraint;  ///< null when absent
};

}  // namespace wsql
