#include "src/parser/WSQLSymbolTable.h"

#include <cstring>
#include <new>

#include "src/support/text.h"

namespace wsql {
namespace {

/// What each byte counts as: itself or its upper case.
struct ByteValues {
    std::array<uint8_t, 256> of{};

    constexpr explicit ByteValues(bool caseSensitive) {
        for (size_t byte = 0; byte < of.size(); ++byte) {
            const char c = static_cast<char>(byte);
            of[byte] = static_cast<uint8_t>(caseSensitive ? c : asciiUpper(c));
        }
    }
};
constexpr ByteValues kAsTyped(true);
constexpr ByteValues kUpperCase(false);

const char* copied(std::string_view name) {
    char* copy = new char[name.size() + 1];
    std::memcpy(copy, name.data(), name.size() + 1);
    return copy;
}

}  // namespace

constexpr WSQLSymbolImage WSQLSymbolTable::kNoSymbols{};

WSQLSymbol::WSQLSymbol(std::string_view symbolName, int32_t symbolCode, int32_t scopeLevel, uint32_t bucket,
                       bool copyName)
    : name_(symbolName.data()),
      length_(symbolName.size()),
      code_(symbolCode),
      level_(scopeLevel),
      hash_(bucket),
      ownsName_(copyName && symbolName.data() != nullptr) {
    if (ownsName_) name_ = copied(symbolName);
}

WSQLSymbolTable::WSQLSymbolTable(Callback onInsert, Callback spareCallback)
    : onInsert_(onInsert), spare_(spareCallback) {}

WSQLSymbolTable::~WSQLSymbolTable() {
    Clear();
}

void WSQLSymbolTable::Clear() {
    for (; !blocks_.empty(); blocks_.pop_back()) {
        for (size_t i = 0; i < used_; ++i) std::destroy_at(blocks_.back()->at(i));
        used_ = kBlock;
    }
    own_.reset();
    borrowed_ = nullptr;
}

void WSQLSymbolTable::Borrow(const WSQLSymbolImage& image) {
    Clear();
    borrowed_ = &image;
}

uint32_t WSQLSymbolTable::hash(std::string_view name) const {
    const ByteValues& values = caseSensitive_ ? kAsTyped : kUpperCase;
    // Modulo 256 it is all one whether the bytes are added signed, as they are meant, or unsigned.
    uint32_t sum = 0;
    for (const char c : name) sum += values.of[static_cast<unsigned char>(c)];
    return sum % kBuckets;
}

bool WSQLSymbolTable::equal(const char* symbolName, std::string_view name) const {
    if (caseSensitive_) return std::memcmp(symbolName, name.data(), name.size()) == 0;
    for (const char c : name) {
        const auto other = static_cast<unsigned char>(*symbolName++);
        if (kUpperCase.of[static_cast<unsigned char>(c)] != kUpperCase.of[other]) return false;
    }
    return true;
}

void* WSQLSymbolTable::slot() {
    if (blocks_.empty() || used_ == kBlock) {
        blocks_.push_back(std::unique_ptr<Block>(new Block));
        used_ = 0;
    }
    return blocks_.back()->at(used_);
}

WSQLSymbol* WSQLSymbolTable::Add(const char* name, int32_t code) {
    const std::string_view text = name != nullptr ? std::string_view(name) : std::string_view();
    if (own_ == nullptr) own_ = std::make_unique<WSQLSymbolImage>(symbols());
    borrowed_ = nullptr;
    const uint32_t index = hash(text);
    auto* symbol = new (slot()) WSQLSymbol(text, code, level_, index, copyNames_ == 1);
    ++used_;
    symbol->nextInBucket_ = own_->buckets[index];
    own_->buckets[index] = symbol;
    symbol->nextAll_ = own_->head;
    own_->head = symbol;
    if (onInsert_ != nullptr) onInsert_(symbol, index);
    return symbol;
}

const WSQLSymbol* WSQLSymbolTable::Find(std::string_view name) const {
    for (const WSQLSymbol* symbol = symbols().buckets[hash(name)]; symbol != nullptr;
         symbol = symbol->nextInBucket_) {
        if (lookupMode_ == kCurrentScope && symbol->level_ < level_) return nullptr;
        if (symbol->length_ == name.size() && symbol->name_ != nullptr && equal(symbol->name_, name))
            return symbol;
    }
    return nullptr;
}

}  // namespace wsql
