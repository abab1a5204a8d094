// What GRANT and REVOKE do to the access record of one user for one database.
#pragma once

#include <cstdint>

#include "include/wdb.h"

namespace wsql {

/// Right bytes hold value 1 for reading and 2 for writing. The record's first byte holds for every field of
/// the database, its second says which rights are given field by field.
class AccessRights {
public:
    /// single: GRANT READ or REVOKE WRITE; otherwise all rights. The record outlives this object.
    AccessRights(WdbAccessRecord& record, bool grant, bool single)
        : record_(record), grant_(grant), single_(single) {}

    /// The statement without a column list.
    void changeTable();
    /// The statement with a column list: first the table's bytes, then each column.
    void beginColumns();
    /// field: 1-based field number.
    void changeColumn(std::int32_t field);

private:
    WdbAccessRecord& record_;
    const bool grant_;
    const bool single_;
    std::uint8_t tableBits_ = 0;  ///< what the table's own write right becomes in each column
};

}  // namespace wsql
