#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <string_view>

#include "src/parser/ParseContext.h"

union WSQLSTYPE;

namespace wsql {

/// A failure of the generated scanner itself (memory, or a fault in its tables); the text is the generator's,
/// a constant, for there may be no memory to copy it into.
class ScannerFailure : public std::exception {
public:
    explicit ScannerFailure(const char* text) noexcept : text_(text) {}
    const char* what() const noexcept override { return text_; }

private:
    const char* text_;
};

/// What the generated scanner takes from the process heap. It drops blocks on the floor when a later one
/// cannot be had; whatever it has not given back is freed here. All calls answer null when there is no
/// memory.
class ScannerMemory {
public:
    ScannerMemory() = default;
    ScannerMemory(const ScannerMemory&) = delete;
    ScannerMemory& operator=(const ScannerMemory&) = delete;
    ~ScannerMemory();

    void* allocate(size_t size) noexcept;
    void* resize(void* block, size_t size) noexcept;  ///< `block` is null or ours; it stays on failure
    static void release(void* block) noexcept;        ///< null or a block of any ScannerMemory

private:
    struct Header;
    void link(Header* header) noexcept;

    Header* first_ = nullptr;
};

/// What the scanner's rules look at.
struct ScannerState {
    const WSQLSymbolTable* keywords = nullptr;  ///< null: every word is a name
    /// No line end stands in the rest of the text. Remembering it keeps texts full of dashes linear.
    bool noLineEnd = false;
    ParseContext* context = nullptr;
    ScannerMemory memory;
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
    struct HeapFree {
        void operator()(char* text) const noexcept;
    };

    ScannerState state_;
    std::unique_ptr<char, HeapFree> text_;  ///< the statement and the two NULs that end a scanner's buffer
    void* handle_ = nullptr;
};

/// The next token code, its value in `value`; 0 at the end of the text. A failure of the scanner reports its
/// text to the context and answers the code that makes the parser give up without a message of its own.
int scanToken(WSQLSTYPE* value, void* scanner) noexcept;

/// Throws the failure that the generated scanner tells. It names its functions by its own prefix, the text by
/// ours.
[[noreturn]] void scannerFailed(const char* generatorText);

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
