#pragma once

#include <memory>
#include <string>

#include "src/tree/WSQLColumnRef.h"
#include "src/tree/WSQLCondition.h"
#include "src/tree/WSQLLiteral.h"
#include "src/tree/WSQLStatement.h"
#include "src/tree/WSQLTableRef.h"

namespace wsql {

/// GET OBJECT = 'key'.
class WSQLStmtGetObject : public virtual WSQLStatement {
public:
    void dump(TreeDump& out) const override;

    std::string key;
};

/// UPDATE t SET OBJECT (column, 'file=...' | 'data=...' | 'data[base64]=...') WHERE ...
/// Exactly one of `file` and data is given; `table` is null only in the form that a host's fetch key selects.
class WSQLStmtSetObject : public virtual WSQLStatement {
public:
    void dump(TreeDump& out) const override;

    std::unique_ptr<WSQLTableRef> table;
    std::unique_ptr<WSQLColumnRef> column;
    std::unique_ptr<WSQLCondition> where;
    std::unique_ptr<WSQLChar> file;  ///< name of an existing file
    bool hasData = false;
    std::string data;      ///< as written, still encoded
    std::string encoding;  ///< empty or "base64"

    /// The form that names one record instead of a condition.
    std::string databaseName;
    uint32_t recordId = 0;
    uint32_t part = 0;
};

}  // namespace wsql
