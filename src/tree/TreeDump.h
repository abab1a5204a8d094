#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "src/tree/NodeList.h"

namespace wsql {

/// Writes a tree as one line of nested parentheses: "(select (items (col t.a)) (from (table USER.t)))". Names
/// stand bare when they are plain words, else in double quotes with C escapes, so two trees have one text
/// only when they are equal.
class TreeDump {
public:
    explicit TreeDump(std::string& out) : out_(out) {}

    void open(std::string_view head);
    void close() { out_ += ')'; }
    void atom(std::string_view word);
    void number(int64_t value) { atom(std::to_string(value)); }
    void quoted(std::string_view text);
    /// A name, bare or quoted.
    void name(std::string_view text);
    /// qualifier "." name; the qualifier may be empty.
    void path(std::string_view qualifier, std::string_view text);
    /// word "=" name; nothing for an empty text.
    void field(std::string_view word, std::string_view text);
    void flag(std::string_view word, bool on);

    /// A child, "-" when it is absent.
    template <class T>
    void child(const std::unique_ptr<T>& node) {
        child(node.get());
    }
    template <class T>
    void child(const T* node) {
        if (node != nullptr) {
            node->dump(*this);
        } else {
            atom("-");
        }
    }

    /// "(head child)"; nothing when the child is absent.
    template <class T>
    void clause(std::string_view head, const std::unique_ptr<T>& node) {
        if (!node) return;
        open(head);
        node->dump(*this);
        close();
    }

    /// "(head element ...)"; nothing when the list is absent or empty.
    template <class T>
    void list(std::string_view head, const OwnedList<T>& nodes) {
        if (count(nodes) == 0) return;
        open(head);
        for (const T& node : *nodes) node.dump(*this);
        close();
    }

private:
    void separate();
    void escaped(std::string_view text);
    void bareOrQuoted(std::string_view text);

    std::string& out_;
};

/// The whole tree as text.
std::string dumpTree(const WSQLExpression& node);

}  // namespace wsql
