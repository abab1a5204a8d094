#pragma once

#include "src/tree/WSQLComposite.h"

namespace wsql {

/// The root of a parsed statement; owns everything below it.
class WSQLStatement : public virtual WSQLComposite {};

class WSQLStmtCommit : public virtual WSQLStatement {
public:
    void dump(TreeDump& out) const override;
};

class WSQLStmtRollback : public virtual WSQLStatement {
public:
    void dump(TreeDump& out) const override;
};

}  // namespace wsql
