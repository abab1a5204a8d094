// The kernel's row interface: the items of one row, read where the kernel put them.
#pragma once

#include <cstdint>
#include <string_view>

#include "src/welkhelp/KernelExtras.h"

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

/// Owns what the kernel gave of one row, or of some rows ahead; reading goes from a row's first item to its
/// last, once.
class WSQLRowBuffers {
public:
    WSQLRowBuffers() = default;
    WSQLRowBuffers(const WSQLRowBuffers&) = delete;
    WSQLRowBuffers& operator=(const WSQLRowBuffers&) = delete;
    ~WSQLRowBuffers() { release(); }

    /// The kernel's status. `ahead`: so many rows from this one on are likely to be asked for; 0: what is
    /// done between rows may change what comes next.
    std::int32_t fetch(std::int32_t setNumber, std::int32_t rowIndex, std::int64_t ahead) {
        if (words_ != nullptr && left_ > 0 && setNumber == set_ && rowIndex == row_ + 1) {
            step();
            return WDB_OK;
        }
        release();
        set_ = setNumber;
        row_ = rowIndex;
        return ahead > 0 && !single_ && WdbGetRowBlock != nullptr ? fetchBlock(ahead) : fetchRow();
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
    std::int32_t recordNumber() const { return static_cast<std::int32_t>(words_[2 + 2 * words_[0]]); }
    std::int32_t partNumber() const { return static_cast<std::int32_t>(words_[3 + 2 * words_[0]]); }

private:
    static constexpr std::int64_t kBlockRows = 256;

    std::int32_t fetchRow() { return WdbGetRows(set_, row_, 1, &data_, &words_); }
    /// Calls that are watched are made one by one.
    std::int32_t fetchBlock(std::int64_t ahead) {
        auto rows = static_cast<std::int32_t>(ahead < kBlockRows ? ahead : kBlockRows);
        const std::int32_t status = WdbGetRowBlock(set_, row_, &rows, &data_, &words_);
        single_ = status == WDB_E_UNSUPPORTED;
        if (single_) return fetchRow();
        block_ = words_;
        left_ = rows > 0 ? rows - 1 : 0;
        return status;
    }
    /// To the next row of the block.
    void step() {
        std::size_t size = 1;
        for (std::uint32_t k = 0; k < words_[0]; ++k)
            size += words_[2 + 2 * k] + ((words_[3 + 2 * k] & RowItem::kTerminated) != 0 ? 1U : 0U);
        data_ += size;
        words_ += words_[1];
        --left_;
        ++row_;
        next_ = 0;
        offset_ = 0;
    }
    void release() {
        if (block_ != nullptr) {
            WdbDeallocate(block_);
        } else {
            if (data_ != nullptr) WdbDeallocate(data_);
            if (words_ != nullptr) WdbDeallocate(words_);
        }
        data_ = nullptr;
        words_ = nullptr;
        block_ = nullptr;
        left_ = 0;
        next_ = 0;
        offset_ = 0;
    }

    char* data_ = nullptr;            ///< of the row
    std::uint32_t* words_ = nullptr;  ///< its descriptor
    std::uint32_t* block_ = nullptr;  ///< where the rows lie, when they came together
    std::int32_t left_ = 0;           ///< rows of the block behind this one
    std::int32_t set_ = 0;
    std::int32_t row_ = 0;
    bool single_ = false;  ///< the kernel gives row by row
    std::uint32_t next_ = 0;
    std::size_t offset_ = 0;
};

}  // namespace wsql
