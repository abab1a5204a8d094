#include "src/parser/WSQLSymbolTable.h"

#include <cstring>
#include <new>

#include "src/support/text.h"

namespace wsql {
namespace {

const char* copied(const char* name) {
    const size_t size = std::strlen(name) + 1;
    char* copy = new char[size];
    std::memcpy(copy, name, size);
    return copy;
}

}  // namespace

WSQLSymbol::WSQLSymbol(const char* symbolName, int32_t symbolCode, int32_t scopeLevel, uint32_t bucket,
                       bool copyName)
    : name_(copyName && symbolName != nullptr ? copied(symbolName) : symbolName),
      code_(symbolCode),
      level_(scopeLevel),
      hash_(bucket),
      ownsName_(copyName && symbolName != nullptr) {}

WSQLSymbol::~WSQLSymbol() {
    if (ownsName_) delete[] name_;
}

WSQLSymbolTable::WSQLSymbolTable(Callback onInsert, Callback spareCallback)
    : onInsert_(onInsert), spare_(spareCallback) {}

WSQLSymbolTable::~WSQLSymbolTable() {
    Clear();
}

void WSQLSymbolTable::Clear() {
    while (head_ != nullptr) {
        WSQLSymbol* symbol = head_;
        head_ = symbol->nextAll_;
        symbol->~WSQLSymbol();
    }
    buckets_.fill(nullptr);
    blocks_.clear();
}

uint32_t WSQLSymbolTable::hash(std::string_view name) const {
    uint32_t sum = 0;
    for (const char c : name) {
        const auto byte = static_cast<signed char>(caseSensitive_ ? c : asciiUpper(c));
        sum += static_cast<uint32_t>(static_cast<int32_t>(byte));
    }
    return sum % kBuckets;
}

bool WSQLSymbolTable::equal(const char* symbolName, std::string_view name) const {
    for (const char c : name) {
        const char other = *symbolName++;
        if (other == 0 || (caseSensitive_ ? c != other : asciiUpper(c) != asciiUpper(other))) return false;
    }
    return *symbolName == 0;
}

void* WSQLSymbolTable::slot() {
    if (blocks_.empty() || used_ == kBlock) {
        blocks_.push_back(std::unique_ptr<Block>(new Block));
        used_ = 0;
    }
    return blocks_.back()->storage + used_ * sizeof(WSQLSymbol);
}

WSQLSymbol* WSQLSymbolTable::Add(const char* name, int32_t code) {
    const uint32_t index = hash(name != nullptr ? std::string_view(name) : std::string_view());
    auto* symbol = new (slot()) WSQLSymbol(name, code, level_, index, copyNames_ == 1);
    ++used_;
    symbol->nextInBucket_ = buckets_[index];
    if (buckets_[index] != nullptr) buckets_[index]->prevInBucket_ = symbol;
    buckets_[index] = symbol;
    symbol->nextAll_ = head_;
    if (head_ != nullptr) head_->prevAll_ = symbol;
    head_ = symbol;
    if (onInsert_ != nullptr) onInsert_(symbol, index);
    return symbol;
}

const WSQLSymbol* WSQLSymbolTable::Find(std::string_view name) const {
    for (const WSQLSymbol* symbol = buckets_[hash(name)]; symbol != nullptr; symbol = symbol->nextInBucket_) {
        if (lookupMode_ == kCurrentScope && symbol->level_ < level_) return nullptr;
        if (symbol->name_ != nullptr && equal(symbol->name_, name)) return symbol;
    }
    return nullptr;
}

}  // namespace wsql
