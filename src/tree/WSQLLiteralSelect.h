#pragma once

#include "src/tree/WSQLScalar.h"

namespace wsql {

class WSQLStmtSelect;

/// A sub-query used as a value. Its own text is empty; it is no constant.
class WSQLLiteralSelect : public virtual WSQLScalar {
public:
    explicit WSQLLiteralSelect(std::unique_ptr<WSQLStmtSelect> query);
    ~WSQLLiteralSelect() override;
    void dump(TreeDump& out) const override;
    std::unique_ptr<WSQLScalar> clone() const override;

    std::unique_ptr<WSQLStmtSelect> select;  ///< never null after parsing
    std::unique_ptr<WSQLScalar> result;      ///< the value, once executed; null before
};

}  // namespace wsql
