#include "src/tree/WSQLCondition.h"

#include <vector>

#include "src/support/CStringBuffer.h"
#include "src/tree/TreeDump.h"

namespace wsql {
namespace {

/// The composites of a left spine, from the root down.
std::vector<const WSQLCompositeCondition*> spine(const WSQLCompositeCondition* root) {
    std::vector<const WSQLCompositeCondition*> nodes;
    for (const WSQLCompositeCondition* node = root; node != nullptr;) {
        nodes.push_back(node);
        const WSQLCondition* left = node->left.get();
        node = left != nullptr ? left->asComposite() : nullptr;
    }
    return nodes;
}

}  // namespace

void WSQLCondition::copyFlags(const WSQLCondition& from) {
    negated_ = from.negated_;
    active_ = from.active_;
    parenthesised = from.parenthesised;
}

void WSQLCondition::dumpFlags(TreeDump& out) const {
    out.flag("not", negated_);
    out.flag("paren", parenthesised);
    out.flag("inactive", !active_);
}

WSQLCompositeCondition::WSQLCompositeCondition(int32_t conn, std::unique_ptr<WSQLCondition> leftSide,
                                               std::unique_ptr<WSQLCondition> rightSide)
    : connective(conn), left(std::move(leftSide)), right(std::move(rightSide)) {}

WSQLCompositeCondition::~WSQLCompositeCondition() {
    // Takes the spine apart from the top, so that its length costs no stack.
    std::unique_ptr<WSQLCondition> node = std::move(left);
    while (node) {
        WSQLCompositeCondition* composite = node->asComposite();
        if (composite == nullptr) break;
        std::unique_ptr<WSQLCondition> next = std::move(composite->left);
        node = std::move(next);
    }
}

bool WSQLCompositeCondition::isActive() const {
    const WSQLCompositeCondition* node = this;
    while (node->WSQLCondition::isActive()) {
        if (node->right && node->right->isActive()) return true;
        if (!node->left) return false;
        const WSQLCompositeCondition* next = std::as_const(*node->left).asComposite();
        if (next == nullptr) return node->left->isActive();
        node = next;
    }
    return false;
}

void WSQLCompositeCondition::toText(CStringBuffer& out) const {
    const auto nodes = spine(this);
    for (size_t i = 0; i < nodes.size(); ++i) out.append('(');
    if (nodes.back()->left) nodes.back()->left->toText(out);
    for (size_t i = nodes.size(); i-- > 0;) {
        out.append(nodes[i]->connective == kOr ? " OR " : " AND ");
        if (nodes[i]->right) nodes[i]->right->toText(out);
        out.append(')');
    }
}

void WSQLCompositeCondition::dump(TreeDump& out) const {
    const auto nodes = spine(this);
    for (const WSQLCompositeCondition* node : nodes) out.open(node->connective == kOr ? "or" : "and");
    out.child(nodes.back()->left);
    for (size_t i = nodes.size(); i-- > 0;) {
        out.child(nodes[i]->right);
        nodes[i]->dumpFlags(out);
        out.close();
    }
}

std::unique_ptr<WSQLCondition> WSQLCompositeCondition::clone() const {
    const auto nodes = spine(this);
    std::unique_ptr<WSQLCondition> copy = nodes.back()->left ? nodes.back()->left->clone() : nullptr;
    for (size_t i = nodes.size(); i-- > 0;) {
        auto composite = std::make_unique<WSQLCompositeCondition>(
            nodes[i]->connective, std::move(copy), nodes[i]->right ? nodes[i]->right->clone() : nullptr);
        composite->copyFlags(*nodes[i]);
        copy = std::move(composite);
    }
    return copy;
}

std::unique_ptr<WSQLCondition> takeCondition(std::unique_ptr<WSQLCondition>& root,
                                             const WSQLCondition* wanted) {
    std::unique_ptr<WSQLCondition>* slot = &root;
    while (*slot && slot->get() != wanted) {
        WSQLCompositeCondition* composite = (*slot)->asComposite();
        if (composite == nullptr) return nullptr;
        std::unique_ptr<WSQLCondition> taken = takeCondition(composite->right, wanted);
        if (!taken && composite->left.get() == wanted) {
            taken = std::move(composite->left);
            *slot = std::move(composite->right);
            return taken;
        }
        if (taken) {
            if (!composite->right) *slot = std::move(composite->left);
            return taken;
        }
        slot = &composite->left;
    }
    return std::move(*slot);
}

void WSQLEmbeddedCCL::toText(CStringBuffer& out) const {
    out.append("CCL(");
    out.append(std::string_view(ccl));
    out.append(')');
}

void WSQLEmbeddedCCL::dump(TreeDump& out) const {
    out.open("ccl");
    out.quoted(ccl);
    dumpFlags(out);
    out.close();
}

std::unique_ptr<WSQLCondition> WSQLEmbeddedCCL::clone() const {
    auto copy = std::make_unique<WSQLEmbeddedCCL>(ccl);
    copy->copyFlags(*this);
    return copy;
}

}  // namespace wsql
