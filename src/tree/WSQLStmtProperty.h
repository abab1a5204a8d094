#pragma once

#include <memory>
#include <string>

#include "src/tree/WSQLScalar.h"
#include "src/tree/WSQLStatement.h"

namespace wsql {

/// GET PROPERTY and SET PROPERTY.
class WSQLStmtProperty : public virtual WSQLStatement {
public:
    std::string name;  ///< as typed
};

class WSQLStmtGet : public virtual WSQLStmtProperty {
public:
    void dump(TreeDump& out) const override;
};

class WSQLStmtSet : public virtual WSQLStmtProperty {
public:
    void dump(TreeDump& out) const override;

    std::unique_ptr<WSQLScalar> value;  ///< TRUE and FALSE are a WSQLBoolean
};

}  // namespace wsql
