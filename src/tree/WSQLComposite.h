#pragma once

#include "src/tree/WSQLExpression.h"

namespace wsql {

/// A node that owns other nodes; also the base of statements and of lists of nodes.
class WSQLComposite : public virtual WSQLExpression {};

}  // namespace wsql
