// The growable byte string that the engine builds every text in: CCL lines, documents, log lines, messages.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "src/support/CaseTable.h"

namespace wsql {

// NUL-terminated, on the process heap, so that its storage can be handed to the host. data[length] is 0 while
// there is storage. Lengths, positions and capacities are bytes, zero-based. Texts may hold any byte; the
// operations that take a length of -1 read up to the NUL. A null text counts as empty. Storage that cannot be
// had throws std::bad_alloc, a text over 2^31 - 1 bytes std::length_error; the buffer is then as it was.
class CStringBuffer {
public:
    static constexpr std::int32_t kDefaultBlock = 4092;
    // Longest result of format and appendFormat, its NUL included; longer ones are cut there.
    static constexpr std::int32_t kFormatSize = 16384;

    CStringBuffer();                                // storage of 4092 bytes at once
    explicit CStringBuffer(std::int32_t block);     // below 1 counts as 1; no storage before the first use
    explicit CStringBuffer(const char* text);       // block 4092
    CStringBuffer(const CStringBuffer& other);      // block 4092
    CStringBuffer(CStringBuffer&& other) noexcept;  // the other is left empty, without storage
    CStringBuffer& operator=(const CStringBuffer& other);
    CStringBuffer& operator=(CStringBuffer&& other) noexcept;
    virtual ~CStringBuffer();

    void set(const char* text, std::int32_t length = -1);
    void set(std::string_view text);
    void append(const char* text, std::int32_t length = -1);
    void append(std::string_view text);
    void append(const CStringBuffer& other);
    void append(char character) {
        if (capacity_ - length_ <= 1) {
            append(std::string_view(&character, 1));
            return;
        }
        *end_++ = character;
        *end_ = '\0';
        ++length_;
    }
    // Room for that many bytes behind the text, which the caller fills up to the end that it tells wrote().
    char* room(std::size_t bytes);
    void wrote(const char* end);
    // Before the byte at position; at or beyond the length (or below 0) it appends.
    void insert(const CStringBuffer& other, std::int32_t position);

    void format(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void appendFormat(const char* format, ...) __attribute__((format(printf, 2, 3)));

    // count bytes of source from start; a count below 0 or past the end takes the rest. Does nothing when
    // start lies at or beyond the source's length, or below 0.
    void substring(const CStringBuffer& source, std::int32_t start, std::int32_t count,
                   bool appendResult = false);

    void clear();  // keeps the storage

    // Never null.
    const char* text() const { return data_ != nullptr ? data_ : ""; }
    std::int32_t length() const { return length_; }
    bool empty() const { return length_ == 0; }
    std::string_view view() const { return {text(), static_cast<std::size_t>(length_)}; }
    // Usable bytes by the law of growth; 0 without storage.
    std::int32_t capacity() const { return capacity_; }
    std::int32_t block() const { return block_; }

    // At most size - 1 bytes and a NUL; returns how many. A size below 1 copies nothing.
    std::int32_t copyTo(char* target, std::int32_t size) const;

    bool equals(const CStringBuffer& other) const { return view() == other.view(); }
    int compare(const char* text) const;
    bool endsWith(const char* text, std::int32_t length = -1, bool ignoreCase = false) const;

    // Index of the first occurrence at or behind from, or -1; -1 also when from lies outside the text.
    std::int32_t find(char character, bool ignoreCase = false) const {
        return find(character, 0, ignoreCase);
    }
    std::int32_t find(char character, std::int32_t from, bool ignoreCase) const;
    std::int32_t find(const char* text, std::int32_t from, bool ignoreCase) const;

    // Every occurrence, found from the right; what a replacement inserted is not looked at again.
    void replace(const char* oldText, const char* newText);

    // Byte by byte: the letters of the table, and of its national ones the four pairs that it names.
    void toUpper(const CaseTable& table = CaseTable::latin());
    void toLower(const CaseTable& table = CaseTable::latin());

    // A line feed behind every carriage return that has none.
    void normaliseLineEnds();

    // Lends a zero-filled array of size bytes (block bytes when below 1) that holds at most size - 1 bytes of
    // the text.
    char* editBuffer(std::int32_t size);
    // Ends the loan; with take the text becomes the array's (length -1: up to its NUL).
    void releaseEditBuffer(bool take, std::int32_t length = -1);

    // Takes over storage of the process heap. A length below 1 is measured, a capacity below 1 is length + 1;
    // the storage holds capacity bytes at least, its NUL included. Null clears.
    void attach(char* storage, std::int32_t length, std::int32_t capacity);
    // The storage now belongs to the caller (null when there was none); the buffer is empty without storage.
    char* detach();

    // False when the stream refused.
    bool writeToFile(std::FILE* stream) const;

private:
    void allocate(std::int32_t capacity, std::size_t storage);
    void grow(std::int64_t length);
    void vformat(bool appendResult, const char* format, std::va_list arguments);
    void free() noexcept;
    void adopt(CStringBuffer& other) noexcept;

    char* data_ = nullptr;
    std::int32_t capacity_ = 0;
    std::int32_t length_ = 0;
    char* end_ = nullptr;
    std::int32_t block_ = kDefaultBlock;
    char* edit_ = nullptr;
    std::int32_t editSize_ = 0;
    // Bytes really allocated: at least what the law of growth asks for, more for long texts so that a
    // document of many megabytes is not copied once per block.
    std::size_t storage_ = 0;
};

}  // namespace wsql
