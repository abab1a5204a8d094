#pragma once

#include <cstdint>
#include <string>

#include "src/support/CStringBuffer.h"
#include "src/support/Encoding.h"

namespace wsql {

class WELKFieldInfo;
class WSQLScalar;
class WSQLStmtSelect;

/// The description of one column of a result. Texts are in the session's character set until they are
/// written.
class WSQLResultSetColumn {
public:
    /// From a select item; the select names the tables, whose field lists tell the keys. id is 1-based.
    static WSQLResultSetColumn ofItem(std::int32_t id, const WSQLScalar& item, const WSQLStmtSelect& select);
    /// From a field, for a select list that was left empty.
    static WSQLResultSetColumn ofField(std::int32_t id, const WELKFieldInfo& field);

    /// Sets type code, type name, longest length and precision from a kernel field type.
    void setType(std::int32_t code);
    /// The same from an SQL type name, whatever its case; a name that is none becomes VARCHAR.
    void setType(const std::string& name);

    /// Appends the ColumnMetaData element. asUnion: the table is written as "UNION_RESULT".
    void write(CStringBuffer& out, const CharacterSet& set, bool asUnion) const;

    std::int32_t id = 0;
    std::string tableName;
    std::string columnName;
    std::string label;  ///< empty: none
    std::string typeName;
    std::string defaultValue;  ///< valid with hasDefault
    std::int32_t typeCode = 0;
    std::int32_t maxLength = 0;
    std::int32_t precision = 0;
    std::int32_t scale = 0;
    bool isNullable = false;
    bool isSerial = false;
    bool isPrimaryKey = false;
    bool isUnique = false;
    bool hasDefault = false;
};

}  // namespace wsql
