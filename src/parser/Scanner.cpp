#include "src/parser/Scanner.h"

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "src/parser/TreeBuilder.h"
#include "src/parser/WSQLSymbolTable.h"
#include "src/support/text.h"
#include "wsql.tab.h"
#define YYSTYPE WSQLSTYPE
#include "wsql.lex.h"

namespace wsql {
namespace {

/// Power of ten of the first digit that is not 0, the exponent of the text included; far out of range is
/// enough.
int64_t magnitude(std::string_view number) {
    int64_t power = 0;
    bool seen = false;
    bool fraction = false;
    size_t i = 0;
    for (; i < number.size() && number[i] != 'e' && number[i] != 'E'; ++i) {
        if (number[i] == '.') {
            fraction = true;
            continue;
        }
        seen = seen || number[i] != '0';
        if (seen && !fraction) ++power;
        if (!seen && fraction) --power;
    }
    if (i < number.size()) power += decimalPrefix(number.substr(i + 1));
    return power;
}

}  // namespace

Scanner::Scanner(ParseContext& context, const char* text) {
    const std::string_view statement(text);
    if (statement.size() > static_cast<size_t>(std::numeric_limits<int>::max()) - 2) {
        throw ScannerFailure("out of dynamic memory in wsql_scan_bytes()");
    }
    state_.context = &context;
    state_.noLineEnd = false;
    if (wsqllex_init_extra(&state_, &handle_) != 0)
        throw ScannerFailure("out of dynamic memory in wsql_create_buffer()");
    try {
        wsql_scan_bytes(text, static_cast<int>(statement.size()), handle_);
    } catch (const ScannerFailure&) {
        wsqllex_destroy(handle_);
        throw;
    }
}

Scanner::~Scanner() {
    wsqllex_destroy(handle_);
}

int scanToken(WSQLSTYPE* value, void* scanner) noexcept {
    try {
        return wsqllex(value, scanner);
    } catch (const std::exception& failure) {
        try {
            wsqlget_extra(scanner)->context->parserMessage(failure.what());
        } catch (const std::exception&) {
            // The caller has a text of its own for a failure without a message.
        }
        return T_WSQLerror;
    }
}

size_t commentLength(ScannerState& state, std::string_view rest) {
    if (state.noLineEnd) return 0;
    for (size_t i = 0; i < rest.size(); ++i) {
        if (rest[i] == '\n' || rest[i] == '\r') return i + 1;
    }
    state.noLineEnd = true;
    return 0;
}

size_t quotedLength(char quote, std::string_view rest) {
    size_t length = 0;
    for (size_t i = rest.find(quote); i != std::string_view::npos; i = rest.find(quote, i + 1)) {
        length = i + 1;
        if (i == 0 || rest[i - 1] != '\\') break;
    }
    return length;
}

int32_t integerToken(std::string_view digits) {
    return decimalPrefix(digits);
}

double realToken(std::string_view digits) {
    double value = 0;
    const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (end.ec != std::errc::result_out_of_range) return value;
    return magnitude(digits) > 0 ? std::numeric_limits<double>::infinity() : 0.0;
}

int wordToken(const ScannerState& state, std::string_view word, int nameCode) {
    const WSQLSymbolTable* keywords = state.context != nullptr ? state.context->symbolTable() : nullptr;
    const WSQLSymbol* keyword = keywords != nullptr ? keywords->Find(word) : nullptr;
    return keyword != nullptr ? keyword->code() : nameCode;
}

}  // namespace wsql

// The generated scanner's memory: the process heap. Null tells it that there is none.
void* wsqlalloc(size_t size, void*) {
    return std::malloc(size);
}
void* wsqlrealloc(void* block, size_t size, void*) {
    return std::realloc(block, size);
}
void wsqlfree(void* block, void*) {
    std::free(block);
}
