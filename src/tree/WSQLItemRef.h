#pragma once

#include <string>

#include "src/tree/WSQLComposite.h"

namespace wsql {

/// Something that a statement names: a table, a column, a column being defined.
class WSQLItemRef : public virtual WSQLComposite {
public:
    std::string owner;   ///< schema path as typed; empty when none was written
    std::string table;   ///< table name
    std::string column;  ///< column name

protected:
    void copyItem(const WSQLItemRef& from);
};

}  // namespace wsql
