#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace wsql {

/// A named code in a WSQLSymbolTable.
class WSQLSymbol {
public:
    /// `symbolName` ends at its NUL, which is not part of the view; its data may be null.
    WSQLSymbol(std::string_view symbolName, int32_t symbolCode, int32_t scopeLevel, uint32_t bucket,
               bool copyName);
    /// One of a constant table, with its neighbours there; the name is borrowed.
    constexpr WSQLSymbol(std::string_view symbolName, int32_t symbolCode, uint32_t bucket,
                         const WSQLSymbol* olderInBucket, const WSQLSymbol* older)
        : name_(symbolName.data()),
          length_(symbolName.size()),
          code_(symbolCode),
          level_(0),
          hash_(bucket),
          ownsName_(false),
          nextAll_(older),
          nextInBucket_(olderInBucket) {}
    WSQLSymbol(const WSQLSymbol&) = delete;
    WSQLSymbol& operator=(const WSQLSymbol&) = delete;
    constexpr virtual ~WSQLSymbol() {
        if (ownsName_) delete[] name_;
    }

    const char* name() const { return name_; }
    int32_t code() const { return code_; }
    int32_t level() const { return level_; }
    uint32_t hash() const { return hash_; }  ///< bucket, 0 to 255
    bool ownsName() const { return ownsName_; }
    const WSQLSymbol* nextInBucket() const { return nextInBucket_; }  ///< the next older one of the bucket
    const WSQLSymbol* nextAll() const { return nextAll_; }            ///< the next older one of the table

private:
    friend class WSQLSymbolTable;

    const char* name_;
    size_t length_;  ///< bytes of the name, so that most others are told apart without a look at them
    int32_t code_;
    int32_t level_;
    uint32_t hash_;
    bool ownsName_;
    const WSQLSymbol* nextAll_ = nullptr;
    const WSQLSymbol* nextInBucket_ = nullptr;
};

/// Symbols that are linked before the program starts: what a table holds that has added them one by one.
struct WSQLSymbolImage {
    const WSQLSymbol* head = nullptr;  ///< the newest
    std::array<const WSQLSymbol*, 256> buckets{};
};

/// Chained hash table of names and codes: the keywords of the scanner. Used by one thread.
class WSQLSymbolTable {
public:
    using Callback = void (*)(WSQLSymbol* symbol, uint32_t hash);
    static constexpr uint32_t kBuckets = 256;
    static constexpr int32_t kWholeChain = 0;    ///< lookup mode: every scope
    static constexpr int32_t kCurrentScope = 1;  ///< lookup mode: symbols of the current level or above

    /// `onInsert` is called behind each insertion; the second callback is kept and never called.
    explicit WSQLSymbolTable(Callback onInsert = nullptr, Callback spare = nullptr);
    WSQLSymbolTable(const WSQLSymbolTable&) = delete;
    WSQLSymbolTable& operator=(const WSQLSymbolTable&) = delete;
    virtual ~WSQLSymbolTable();

    /// 1 (at creation): symbols take a copy of their name; any other value: the caller's text must outlive
    /// the table.
    void SetCopyNames(int32_t copyNames) { copyNames_ = copyNames; }
    /// True at creation. Symbols added before a change stay in the bucket that they were put into.
    void SetCaseSensitive(bool caseSensitive) { caseSensitive_ = caseSensitive; }
    void SetLookupMode(int32_t mode) { lookupMode_ = mode; }
    void SetLevel(int32_t level) { level_ = level; }
    int32_t level() const { return level_; }

    /// Puts a new symbol in front of its bucket, so that it hides older ones of the same name.
    WSQLSymbol* Add(const char* name, int32_t code);

    /// Removes every symbol and takes those of the image, which outlives the table. Its buckets are those of
    /// the table as it is set.
    void Borrow(const WSQLSymbolImage& image);
    /// Bucket of a name in a table that ignores letter case.
    static constexpr uint32_t bucketIgnoringCase(std::string_view name) {
        uint32_t sum = 0;
        for (const char c : name) sum += static_cast<unsigned char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
        return sum % kBuckets;
    }

    /// The newest symbol of that name, or null. Letter case is ASCII only.
    const WSQLSymbol* Find(std::string_view name) const;

    Callback spare() const { return spare_; }
    const WSQLSymbol* head() const { return symbols().head; }  ///< the newest symbol
    const WSQLSymbol* bucket(uint32_t index) const { return symbols().buckets[index]; }

    /// Removes every symbol; the settings stay.
    void Clear();

private:
    uint32_t hash(std::string_view name) const;
    bool equal(const char* symbolName, std::string_view name) const;  ///< of two names of one length
    void* slot();

    /// Symbols that were added live in blocks of this many.
    static constexpr size_t kBlock = 16;
    struct Block {
        alignas(WSQLSymbol) unsigned char storage[kBlock * sizeof(WSQLSymbol)];
        WSQLSymbol* at(size_t index) { return reinterpret_cast<WSQLSymbol*>(storage) + index; }
    };
    std::vector<std::unique_ptr<Block>> blocks_;
    size_t used_ = 0;  ///< symbols in the last block

    static const WSQLSymbolImage kNoSymbols;
    const WSQLSymbolImage& symbols() const {
        return borrowed_ != nullptr ? *borrowed_ : own_ != nullptr ? *own_ : kNoSymbols;
    }

    const WSQLSymbolImage* borrowed_ = nullptr;  ///< stands for own_ until a symbol is added
    std::unique_ptr<WSQLSymbolImage> own_;       ///< made by the first symbol that is added
    int32_t level_ = 0;
    bool caseSensitive_ = true;
    int32_t lookupMode_ = kWholeChain;
    int32_t copyNames_ = 1;
    Callback onInsert_;
    Callback spare_;
};

}  // namespace wsql
