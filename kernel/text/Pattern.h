#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace wdb {

// A text with wildcards: literal runs, "any run of characters" (also none) and "exactly one character". A
// character is one UTF-8 code point; a stray byte counts as one. The text is compared as it stands: whoever
// makes a pattern normalises or folds its literals as the texts are (see phrasePattern and
// Analyzer::wordPatterns).
class Pattern {
public:
    enum class Kind { Literal, AnyRun, AnyCharacter };
    struct Piece {
        Kind kind;
        std::string text;  // of a Literal, else empty
        bool operator==(const Piece&) const = default;
    };

    Pattern() = default;  // the empty text
    explicit Pattern(std::string literal);
    explicit Pattern(std::vector<Piece> pieces);

    void addLiteral(std::string_view text);
    void addAnyRun();
    void addAnyCharacter();

    const std::vector<Piece>& pieces() const { return pieces_; }
    bool empty() const { return pieces_.empty(); }
    // No wildcards: the pattern stands for the one text literal().
    bool isLiteral() const;
    // The text before the first wildcard.
    std::string_view prefix() const;
    // The longest text that every match holds; empty when there are wildcards only.
    std::string_view longestLiteral() const;
    // Every text matches: wildcards only, none of them AnyCharacter, at least one.
    bool matchesAll() const;
    // Prefix, then one AnyRun: matching is a comparison of beginnings.
    bool isPrefixOnly() const;

    bool match(std::string_view text) const;

    bool operator==(const Pattern&) const = default;

private:
    std::vector<Piece> pieces_;  // neighbouring literals are joined, neighbouring AnyRuns are one
};

// The pattern for PHRASE values: literals normalised as whole values are (mode 7), a blank beside a wildcard
// kept, blanks at the two ends of the value dropped.
Pattern phrasePattern(const Pattern& value);

}  // namespace wdb
