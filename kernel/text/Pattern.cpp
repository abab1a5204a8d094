#include "kernel/text/Pattern.h"

#include <utility>

#include "kernel/text/Normalize.h"

namespace wdb {

namespace {

// Bytes of the character at a place: a lead byte with its continuation bytes, at least 1.
size_t characterSize(std::string_view text, size_t at) {
    const auto lead = static_cast<unsigned char>(text[at]);
    size_t size = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    size_t got = 1;
    while (got < size && at + got < text.size() &&
           (static_cast<unsigned char>(text[at + got]) & 0xC0) == 0x80)
        ++got;
    return got;
}

}  // namespace

Pattern::Pattern(std::string literal) {
    if (!literal.empty()) pieces_.push_back({Kind::Literal, std::move(literal)});
}

Pattern::Pattern(std::vector<Piece> pieces) {
    for (const Piece& piece : pieces) {
        if (piece.kind == Kind::Literal)
            addLiteral(piece.text);
        else if (piece.kind == Kind::AnyRun)
            addAnyRun();
        else
            addAnyCharacter();
    }
}

void Pattern::addLiteral(std::string_view text) {
    if (text.empty()) return;
    if (!pieces_.empty() && pieces_.back().kind == Kind::Literal)
        pieces_.back().text.append(text);
    else
        pieces_.push_back({Kind::Literal, std::string(text)});
}

void Pattern::addAnyRun() {
    if (pieces_.empty() || pieces_.back().kind != Kind::AnyRun) pieces_.push_back({Kind::AnyRun, {}});
}

void Pattern::addAnyCharacter() {
    pieces_.push_back({Kind::AnyCharacter, {}});
}

bool Pattern::isLiteral() const {
    return pieces_.empty() || (pieces_.size() == 1 && pieces_[0].kind == Kind::Literal);
}

std::string_view Pattern::prefix() const {
    if (pieces_.empty() || pieces_[0].kind != Kind::Literal) return {};
    return pieces_[0].text;
}

std::string_view Pattern::longestLiteral() const {
    std::string_view longest;
    for (const Piece& piece : pieces_) {
        if (piece.text.size() > longest.size()) longest = piece.text;
    }
    return longest;
}

bool Pattern::matchesAll() const {
    return pieces_.size() == 1 && pieces_[0].kind == Kind::AnyRun;
}

bool Pattern::isPrefixOnly() const {
    return pieces_.size() == 2 && pieces_[0].kind == Kind::Literal && pieces_[1].kind == Kind::AnyRun;
}

// Greedy with one point of return, the latest AnyRun: an earlier one never has to give more.
bool Pattern::match(std::string_view text) const {
    size_t piece = 0;
    size_t at = 0;
    size_t runPiece = SIZE_MAX;  // piece behind the latest AnyRun
    size_t runAt = 0;            // where the text behind that run was tried
    if (!pieces_.empty() && pieces_.back().kind == Kind::Literal && !text.ends_with(pieces_.back().text))
        return false;
    while (true) {
        if (piece == pieces_.size()) {
            if (at == text.size()) return true;
        } else if (pieces_[piece].kind == Kind::AnyRun) {
            runPiece = ++piece;
            runAt = at;
            if (piece == pieces_.size()) return true;
            continue;
        } else if (pieces_[piece].kind == Kind::AnyCharacter) {
            if (at < text.size()) {
                at += characterSize(text, at);
                ++piece;
                continue;
            }
        } else if (piece == runPiece) {
            const size_t found = text.find(pieces_[piece].text, at);
            if (found == std::string_view::npos) return false;
            runAt = found;
            at = found + pieces_[piece++].text.size();
            continue;
        } else if (text.substr(at).starts_with(pieces_[piece].text)) {
            at += pieces_[piece++].text.size();
            continue;
        }
        if (runPiece == SIZE_MAX || runAt >= text.size()) return false;
        runAt += characterSize(text, runAt);
        at = runAt;
        piece = runPiece;
    }
}

Pattern phrasePattern(const Pattern& value) {
    // A full stop keeps the blanks beside a wildcard and composes with nothing.
    static constexpr char kKeeper = '.';
    Pattern out;
    const auto& pieces = value.pieces();
    for (size_t i = 0; i < pieces.size(); ++i) {
        if (pieces[i].kind == Pattern::Kind::AnyRun)
            out.addAnyRun();
        else if (pieces[i].kind == Pattern::Kind::AnyCharacter)
            out.addAnyCharacter();
        else {
            const bool keepFront = i > 0;
            const bool keepBack = i + 1 < pieces.size();
            std::string text;
            if (keepFront) text.push_back(kKeeper);
            text.append(pieces[i].text);
            if (keepBack) text.push_back(kKeeper);
            text = normalize(text, kNormalizeValue);
            if (keepBack) text.pop_back();
            out.addLiteral(keepFront ? std::string_view(text).substr(1) : std::string_view(text));
        }
    }
    return out;
}

}  // namespace wdb
