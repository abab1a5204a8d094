#include "src/parser/Scanner.h"

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

#include "src/parser/TreeBuilder.h"
#include "src/parser/WSQLSymbolTable.h"
#include "src/support/text.h"
#include "wsql.tab.h"
#define YYSTYPE WSQLSTYPE
#include "wsql.lex.h"

namespace wsql {
namespace {

constexpr size_t kEndBytes = 2;  // NULs behind the text, by which the generated scanner knows its end

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

/// Stands in front of each block; as large as the strictest alignment.
struct alignas(std::max_align_t) ScannerMemory::Header {
    Header* next;
    Header** back;  ///< what points at this block
};

void ScannerMemory::link(Header* header) noexcept {
    header->next = first_;
    header->back = &first_;
    if (first_ != nullptr) first_->back = &header->next;
    first_ = header;
}

void* ScannerMemory::allocate(size_t size) noexcept {
    void* block = std::malloc(sizeof(Header) + size);
    if (block == nullptr) return nullptr;
    link(static_cast<Header*>(block));
    return static_cast<Header*>(block) + 1;
}

void* ScannerMemory::resize(void* block, size_t size) noexcept {
    if (block == nullptr) return allocate(size);
    void* moved = std::realloc(static_cast<Header*>(block) - 1, sizeof(Header) + size);
    if (moved == nullptr) return nullptr;
    auto* header = static_cast<Header*>(moved);
    *header->back = header;
    if (header->next != nullptr) header->next->back = &header->next;
    return header + 1;
}

void ScannerMemory::release(void* block) noexcept {
    if (block == nullptr) return;
    Header* header = static_cast<Header*>(block) - 1;
    *header->back = header->next;
    if (header->next != nullptr) header->next->back = header->back;
    std::free(header);
}

ScannerMemory::~ScannerMemory() {
    while (Header* header = first_) {
        first_ = header->next;
        std::free(header);
    }
}

void Scanner::HeapFree::operator()(char* text) const noexcept {
    std::free(text);
}

void scannerFailed(const char* generatorText) {
    static constexpr std::pair<std::string_view, const char*> kTexts[] = {
        {"out of dynamic memory in yy_create_buffer()", "out of dynamic memory in wsql_create_buffer()"},
        {"out of dynamic memory in yy_scan_buffer()", "out of dynamic memory in wsql_scan_buffer()"},
        {"out of dynamic memory in yy_scan_bytes()", "out of dynamic memory in wsql_scan_bytes()"},
        {"bad buffer in yy_scan_bytes()", "bad buffer in wsql_scan_bytes()"},
        {"out of dynamic memory in yyensure_buffer_stack()",
         "out of dynamic memory in wsqlensure_buffer_stack()"},
    };
    for (const auto& [theirs, ours] : kTexts) {
        if (theirs == generatorText) throw ScannerFailure(ours);
    }
    throw ScannerFailure(generatorText);
}

Scanner::Scanner(ParseContext& context, const char* text) {
    const size_t length = std::strlen(text);
    if (length > static_cast<size_t>(std::numeric_limits<int>::max()) - kEndBytes) {
        throw ScannerFailure("out of dynamic memory in wsql_scan_bytes()");
    }
    text_.reset(static_cast<char*>(std::malloc(length + kEndBytes)));
    if (!text_) throw ScannerFailure("out of dynamic memory in wsql_scan_bytes()");
    std::memcpy(text_.get(), text, length);
    std::memset(text_.get() + length, 0, kEndBytes);
    state_.context = &context;
    state_.keywords = context.symbolTable();
    if (wsqllex_init_extra(&state_, &handle_) != 0)
        throw ScannerFailure("out of dynamic memory in wsql_create_buffer()");
    wsql_scan_buffer(text_.get(), length + kEndBytes, handle_);
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
    const WSQLSymbol* keyword = state.keywords != nullptr ? state.keywords->Find(word) : nullptr;
    return keyword != nullptr ? keyword->code() : nameCode;
}

}  // namespace wsql

// The generated scanner's memory. Null tells it that there is none.
void* wsqlalloc(size_t size, void* scanner) {
    return wsqlget_extra(scanner)->memory.allocate(size);
}
void* wsqlrealloc(void* block, size_t size, void* scanner) {
    return wsqlget_extra(scanner)->memory.resize(block, size);
}
void wsqlfree(void* block, void*) {
    wsql::ScannerMemory::release(block);
}
