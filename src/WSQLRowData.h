#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "src/support/CStringBuffer.h"

namespace wsql {

/// How a value stands in the document.
enum class ValueForm : std::uint8_t {
    kText,    ///< its text
    kBase64,  ///< its text, which is base64
    kKey      ///< the key to fetch it by
};

/// One row of a result: its values as they stand in the document, and where the row is. Reused from row to
/// row.
class WSQLRowData {
public:
    WSQLRowData(std::int32_t set, std::int32_t hits, std::int32_t tables)
        : setNumber(set), hitCount(hits), tableCount(tables) {}
    WSQLRowData(const WSQLRowData&) = default;
    WSQLRowData& operator=(const WSQLRowData&) = default;
    virtual ~WSQLRowData() = default;

    std::int32_t count() const { return static_cast<std::int32_t>(values_.size()); }
    /// The text of a value, NUL-terminated; null for NULL. The 0-based column is in range; valid until the
    /// row changes.
    const char* value(std::int32_t column) const;
    /// Bytes of the text.
    std::int32_t size(std::int32_t column) const { return at(column).size; }

    ValueForm form(std::int32_t column) const { return at(column).form; }

    void add(std::string_view text, ValueForm form = ValueForm::kText);
    void addNull() { values_.push_back({-1, 0, ValueForm::kText}); }
    void clear();

    /// The next value, written piece by piece: what is appended to the buffer between the two calls.
    CStringBuffer& beginValue() {
        valueStart_ = texts_.length();
        return texts_;
    }
    std::int32_t valueLength() const { return texts_.length() - valueStart_; }
    /// `present` false: the value is NULL, whatever was appended.
    void endValue(ValueForm form, bool present);

    /// Whether DISTINCT takes the two rows for one: the same values, texts of up to 256 bytes compared as the
    /// kernel normalises them, longer ones byte by byte.
    bool equals(const WSQLRowData& other) const;

    std::int32_t setNumber;     ///< 0: no search set
    std::int32_t hitCount;      ///< rows of the set
    std::int32_t tableCount;    ///< tables of the statement
    std::int64_t index = 0;     ///< 0-based row of the set that is fetched next
    std::int64_t firstRow = 0;  ///< first row of the block, 0-based
    std::int64_t lastRow = 0;   ///< end of the block: the 0-based row behind its last one
    std::int32_t recordNumber = 0;
    std::int32_t partNumber = 0;

private:
    struct Value {
        std::int32_t start;  ///< offset in texts_; -1: NULL
        std::int32_t size;
        ValueForm form;
    };
    const Value& at(std::int32_t column) const { return values_[static_cast<std::size_t>(column)]; }

    CStringBuffer texts_{1024};  ///< the values one after another, a NUL behind each
    std::int32_t valueStart_ = 0;
    std::vector<Value> values_;
};

}  // namespace wsql
