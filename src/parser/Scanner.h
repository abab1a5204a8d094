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
  /// Bytes up to and including the last line end of the text: a "--" behind it opens no comment, since a comment needs
  /// its line end. Knowing it beforehand keeps texts full of dashes linear.
  size_t commentLimit;
};

/// Cuts one statement text into tokens. Texts of tokens point into the scanner's own copy of the statement and live as
/// long as the scanner.
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

/// The next token code, its value in `value`; 0 at the end of the text. A failure of the scanner reports its text to the
/// context and answers the code that makes the parser give up without a message of its own.
int scanToken(WSQLSTYPE* value, void* scanner) noexcept;

/// What the scanner's rules call.
int32_t integerToken(std::string_view digits);  ///< clamped to 2147483647
double realToken(std::string_view digits);      ///< independent of the locale; overflow gives infinity, underflow 0
int wordToken(const ScannerState& state, std::string_view word, int nameCode);

}  // namespace wsql
