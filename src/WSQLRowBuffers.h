// The kernel's row interface: the items of one row, read where the kernel put them.
#pragma once

#include <cstdint>
#include <string_view>

#include "include/wdb.h"

namespace wsql {

/// One item of a row.
struct RowItem {
    static constexpr std::uint32_t kValue = 1;  ///< the text is the value, or with kReference names it
    static constexpr std::uint32_t kNull = 2;
    static constexpr std::uint32_t kReference = 4;  ///< with kValue: "field,record,part"
    static constexpr std::uint32_t kColumn = 8;     ///< first item of an output column
    static constexpr std::uint32_t kDeleted = 32;
    static constexpr std::uint32_t kTerminated = 128;  ///< a NUL stands behind the text

    std::string_view text;
    std::uint32_t flags;
    bool has(std::uint32_t flag) const { return (flags & flag) != 0; }
};

/// Owns the two buffers of one row; reading goes from the first item to the last, once.
class WSQLRowBuffers {
public:
    WSQLRowBuffers() = default;
    WSQLRowBuffers(const WSQLRowBuffers&) = delete;
    WSQLRowBuffers& operator=(const WSQLRowBuffers&) = delete;
    ~WSQLRowBuffers() { release(); }

    /// The kernel's status.
    std::int32_t fetch(std::int32_t setNumber, std::int32_t rowIndex) {
        release();
        next_ = 0;
        offset_ = 0;
        return WdbGetRows(setNumber, rowIndex, 1, &data_, &words_);
    }
    std::uint32_t count() const { return words_ != nullptr ? words_[0] : 0; }
    bool atEnd() const { return next_ >= count(); }
    /// Whether the item that is read next begins a column, or there is none.
    bool atColumn() const { return atEnd() || (words_[3 + 2 * next_] & RowItem::kColumn) != 0; }
    std::uint32_t flagsOf(std::uint32_t item) const { return words_[3 + 2 * item]; }
    /// The texts of the items that are not read yet, each with its NUL.
    std::string_view texts() const {
        std::size_t size = 0;
        for (std::uint32_t k = next_; k < count(); ++k)
            size += words_[2 + 2 * k] + ((flagsOf(k) & RowItem::kTerminated) != 0 ? 1U : 0U);
        return {data_ + offset_, size};
    }
    RowItem next() {
        const std::uint32_t length = words_[2 + 2 * next_];
        const std::uint32_t flags = words_[3 + 2 * next_];
        const RowItem item{std::string_view(data_ + offset_, length), flags};
        offset_ += length + ((flags & RowItem::kTerminated) != 0 ? 1U : 0U);
        ++next_;
        return item;
    }
    bool holdsDeleted() const {
        for (std::uint32_t k = 0; k < count(); ++k) {
            if ((words_[3 + 2 * k] & RowItem::kDeleted) != 0) return true;
        }
        return false;
    }
    /// Record and part of the row; 0 for a computed row and for the head record.
    std::int32_t recordNumber() const { return static_cast<std::int32_t>(words_[2 + 2 * count()]); }
    std::int32_t partNumber() const { return static_cast<std::int32_t>(words_[3 + 2 * count()]); }

private:
    void release() {
        if (data_ != nullptr) WdbDeallocate(data_);
        if (words_ != nullptr) WdbDeallocate(words_);
        data_ = nullptr;
        words_ = nullptr;
    }

    char* data_ = nullptr;
    std::uint32_t* words_ = nullptr;
    std::uint32_t next_ = 0;
    std::size_t offset_ = 0;
};

}  // namespace wsql
