#pragma once

namespace wsql {

class CStringBuffer;
class TreeDump;

/// Root of every tree node. A node is owned by exactly one parent; deleting the root statement deletes the
/// tree.
class WSQLExpression {
public:
    WSQLExpression() = default;
    WSQLExpression(const WSQLExpression&) = delete;
    WSQLExpression& operator=(const WSQLExpression&) = delete;
    virtual ~WSQLExpression() = default;

    /// Appends the node's text as conditions, labels and log lines show it. Writes nothing unless a class
    /// says otherwise.
    virtual void toText(CStringBuffer& out) const;

    /// Appends the whole subtree in the form that tests compare.
    virtual void dump(TreeDump& out) const;
};

}  // namespace wsql
