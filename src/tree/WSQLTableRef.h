#pragma once

#include <memory>

#include "src/tree/WELKFieldInfo.h"
#include "src/tree/WSQLItemRef.h"

namespace wsql {

/// A table of a FROM list or the target of a statement: `owner` (schema path, "USER" when none was written),
/// `table`.
class WSQLTableRef : public virtual WSQLItemRef {
public:
    WSQLTableRef() = default;
    explicit WSQLTableRef(std::string tableName);

    /// The correlation name when there is one, else the table name.
    const std::string& qualifier() const { return correlation.empty() ? table : correlation; }

    /// Copies the names; the field list is not copied.
    std::unique_ptr<WSQLTableRef> clone() const;
    void dump(TreeDump& out) const override;

    std::string correlation;                    ///< alias; empty when none
    std::unique_ptr<WELKFieldInfoList> fields;  ///< null until validation loads it; never rebuilt
    bool hasPartRecords = false;                ///< set with `fields`: some field lives in part records
};

}  // namespace wsql
