#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string_view>

#include "src/parser/ParseContext.h"

union WSQLSTYPE;

namespace wsql {

/// A failure of the generated scanner itself (memory, or a fault in its tables); the text is the generator's.
class ScannerFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What the scanner's rules look at.
struct ScannerState {
    ParseContext* context;
    /// No line end stands in the rest of the text. Remembering it keeps texts full of dashes linear.
    bool noLineEnd;
};

/// Cuts one statement text into tokens. Texts of tokens point into the scanner's own copy of the statement
/// and live as long as the scanner.
class Scanner {
public:
    /// `text` ends at its NUL. Throws ScannerFailure.
    Scanner(ParseContext& context, const char* text);
    Scanner(const Scanner&) = delete;
    Scanner& operator=(const Scanner&) = delete;
    ~Scanner();

    void* handle() const { return handle_; }

private:
    ScannerState state_;
    void* handle_ = nullptr;
};

/// The next token code, its value in `value`; 0 at the end of the text. A failure of the scanner reports its
/// text to the context and answers the code that makes the parser give up without a message of its own.
int scanToken(WSQLSTYPE* value, void* scanner) noexcept;

/// What the scanner's rules call. The rest is the text behind the token.

/// Bytes of a comment behind its "--", line end included; 0 when the rest holds no line end.
size_t commentLength(ScannerState& state, std::string_view rest);

/// Bytes behind an opening quote up to and including the closing one; 0 when there is none. A quote behind a
/// backslash closes the text only when no other one does.
size_t quotedLength(char quote, std::string_view rest);

int32_t integerToken(std::string_view digits);  ///< clamped to 2147483647
double realToken(
    std::string_view digits);  ///< independent of the locale; overflow gives infinity, underflow 0
int wordToken(const ScannerState& state, std::string_view word, int nameCode);

}  // namespace wsql
