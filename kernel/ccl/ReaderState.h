#pragma once

#include "kernel/ccl/CommandWords.h"
#include "kernel/ccl/Scanner.h"
#include "kernel/ccl/Tree.h"

namespace wdb::ccl {

// What the readers of one command line share: the place in the text, the session's words, and the first
// error. Every reading function answers false when it failed; the error's place is then noted and reading
// ends.
struct ReaderState {
    Scanner scanner;
    const CommandWords& words;
    size_t errorPosition = 0;

    [[gnu::cold]] bool fail(size_t position);
    [[gnu::cold]] bool failHere();

    // Takes the next token when it is this command word, this literal word, this symbol.
    bool accept(Word word);
    bool acceptText(std::string_view text);
    bool acceptSymbol(char symbol);

    bool expect(Word word) { return accept(word) || failHere(); }
    bool expectText(std::string_view text) { return acceptText(text) || failHere(); }
    bool expectSymbol(char symbol) { return acceptSymbol(symbol) || failHere(); }

    // A name, quoted or not.
    bool readName(std::string& name);
    bool readInteger(int32_t& number);
    bool readComparison(Comparison& comparison);
    bool readColumn(Column& column);
    // FUNCTION "(" ... ")", the function's name being the next token.
    bool readAggregate(Aggregate& aggregate);
    // Is the next token an aggregate's name with a parenthesis behind it?
    bool atAggregate() const;

private:
    bool readSubfields(Column& column);
    bool setRecord(Column& column);
};

std::string_view functionName(Function function);
std::string_view comparisonSign(Comparison comparison);

}  // namespace wdb::ccl
