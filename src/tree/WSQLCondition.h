#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "src/tree/WSQLExpression.h"

namespace wsql {

class WSQLCompositeCondition;

/// A condition of a WHERE or ON clause.
class WSQLCondition : public WSQLExpression {
public:
    bool negated() const { return negated_; }
    void setNegated(bool on) { negated_ = on; }
    void invert() { negated_ = !negated_; }

    /// False for a condition that was moved into a join; a composite is active while any operand is.
    virtual bool isActive() const { return active_; }
    void deactivate() { active_ = false; }

    /// Deep copy, flags included.
    virtual std::unique_ptr<WSQLCondition> clone() const = 0;

    virtual WSQLCompositeCondition* asComposite() { return nullptr; }
    const WSQLCompositeCondition* asComposite() const {
        return const_cast<WSQLCondition*>(this)->asComposite();
    }

    bool parenthesised = false;

protected:
    void copyFlags(const WSQLCondition& from);
    /// Writes negation and activity behind the content in a dump.
    void dumpFlags(TreeDump& out) const;

private:
    bool negated_ = false;
    bool active_ = true;
};

/// Two conditions joined by AND or OR. The grammar builds chains that lean to the left and may hold 100,000
/// terms: walk the left spine in a loop, recurse into right operands only (those nest at most some thousand
/// levels).
class WSQLCompositeCondition : public WSQLCondition {
public:
    static constexpr int32_t kAnd = 0;
    static constexpr int32_t kOr = 1;

    WSQLCompositeCondition(int32_t connective, std::unique_ptr<WSQLCondition> left,
                           std::unique_ptr<WSQLCondition> right);
    ~WSQLCompositeCondition() override;

    bool isActive() const override;
    void toText(CStringBuffer& out) const override;  ///< "(left AND right)"
    void dump(TreeDump& out) const override;
    std::unique_ptr<WSQLCondition> clone() const override;
    using WSQLCondition::asComposite;
    WSQLCompositeCondition* asComposite() override { return this; }

    int32_t connective;                    ///< kAnd or kOr
    std::unique_ptr<WSQLCondition> left;   ///< null only when set so by hand; see takeCondition
    std::unique_ptr<WSQLCondition> right;  ///< as left
};

/// Takes `wanted` out of the tree at `root` and hands it to the caller; its composite gives way to the other
/// operand, so that no operand is ever missing. `root` becomes null when it was `wanted` itself. Null when it
/// is not in the tree.
std::unique_ptr<WSQLCondition> takeCondition(std::unique_ptr<WSQLCondition>& root,
                                             const WSQLCondition* wanted);

/// A piece of CCL that stands as a condition. No SQL text makes one.
class WSQLEmbeddedCCL : public WSQLCondition {
public:
    explicit WSQLEmbeddedCCL(std::string cclText) : ccl(std::move(cclText)) {}
    void toText(CStringBuffer& out) const override;  ///< "CCL(...)"
    void dump(TreeDump& out) const override;
    std::unique_ptr<WSQLCondition> clone() const override;

    std::string ccl;
};

/// Base of the simple tests.
class WSQLPredicate : public WSQLCondition {};

}  // namespace wsql
