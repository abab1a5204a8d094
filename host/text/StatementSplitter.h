#pragma once

#include <deque>
#include <string>
#include <string_view>

namespace host {

// One statement as the engine takes it: without the semicolon, from its first token to its last.
struct Statement {
    std::string text;
    int line = 1;  // the source line of its first token, 1-based
};

// Cuts a source into statements at the semicolons that stand outside quotes and comments. Quotes are ' " and
// `; a backslash before the quote that is open keeps it open. A comment runs from -- to the end of its line.
class StatementSplitter {
public:
    // One line of the source, without its line end.
    void feed(std::string_view line);
    // The next complete statement; false when more lines are needed.
    bool next(Statement& statement);
    // The end of the source: what is left counts as a statement although it has no semicolon.
    bool finish(Statement& statement);
    // Nothing but blanks and comments since the last statement: a dot command may stand here.
    bool idle() const { return !started_; }
    // The quote that is open, or 0.
    char openQuote() const { return quote_; }
    // Drops an unfinished statement. Line numbers go on.
    void clear();

private:
    void complete();

    std::deque<Statement> ready_;
    Statement current_;
    std::size_t end_ = 0;  // behind the last token of the current statement
    bool started_ = false;
    char quote_ = 0;
    int line_ = 0;
};

}  // namespace host
