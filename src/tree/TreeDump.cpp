#include "src/tree/TreeDump.h"

#include <cstdio>

namespace wsql {
namespace {

bool plainWord(std::string_view text) {
    if (text.empty()) return false;
    for (const char c : text) {
        const bool plain =
            (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
        if (!plain) return false;
    }
    return true;
}

}  // namespace

void TreeDump::separate() {
    if (!out_.empty()) out_ += ' ';
}

void TreeDump::open(std::string_view head) {
    separate();
    out_ += '(';
    out_ += head;
}

void TreeDump::atom(std::string_view word) {
    separate();
    out_ += word;
}

void TreeDump::escaped(std::string_view text) {
    out_ += '"';
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            out_ += '\\';
            out_ += c;
        } else if (static_cast<unsigned char>(c) < 32 || static_cast<unsigned char>(c) >= 127) {
            char hex[8];
            std::snprintf(hex, sizeof hex, "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
            out_ += hex;
        } else {
            out_ += c;
        }
    }
    out_ += '"';
}

void TreeDump::quoted(std::string_view text) {
    separate();
    escaped(text);
}

void TreeDump::bareOrQuoted(std::string_view text) {
    if (plainWord(text)) {
        out_ += text;
    } else {
        escaped(text);
    }
}

void TreeDump::name(std::string_view text) {
    separate();
    bareOrQuoted(text);
}

void TreeDump::path(std::string_view qualifier, std::string_view text) {
    separate();
    if (!qualifier.empty()) {
        bareOrQuoted(qualifier);
        out_ += '.';
    }
    bareOrQuoted(text);
}

void TreeDump::field(std::string_view word, std::string_view text) {
    if (text.empty()) return;
    separate();
    out_ += word;
    out_ += '=';
    bareOrQuoted(text);
}

void TreeDump::flag(std::string_view word, bool on) {
    if (on) atom(word);
}

std::string dumpTree(const WSQLExpression& node) {
    std::string out;
    TreeDump dump(out);
    node.dump(dump);
    return out;
}

}  // namespace wsql
