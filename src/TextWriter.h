#pragma once

#include <charconv>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string_view>

#include "src/support/CStringBuffer.h"

namespace wsql {

/// Collects the many short pieces of a document and appends them together. What was written last is in the
/// document after flush() only.
class TextWriter {
public:
    /// The document outlives the writer; nobody else appends to it between a piece and the next flush().
    explicit TextWriter(CStringBuffer& document) : document_(document) {}
    TextWriter(const TextWriter&) = delete;
    TextWriter& operator=(const TextWriter&) = delete;

    TextWriter& operator<<(std::string_view text) {
        if (text.size() > kSize - length_) {
            flush();
            if (text.size() > kSize) {
                document_.append(text);
                return *this;
            }
        }
        if (!text.empty()) std::memcpy(bytes_ + length_, text.data(), text.size());
        length_ += text.size();
        return *this;
    }
    TextWriter& operator<<(std::int32_t number) {
        if (kSize - length_ < kLongestNumber) flush();
        if (number >= 0 && number < 10) {
            bytes_[length_++] = static_cast<char>('0' + number);
            return *this;
        }
        const char* end = std::to_chars(bytes_ + length_, std::end(bytes_), number).ptr;
        length_ = static_cast<std::size_t>(end - bytes_);
        return *this;
    }
    void flush() {
        document_.append(std::string_view(bytes_, length_));
        length_ = 0;
    }

private:
    static constexpr std::size_t kSize = 512;
    static constexpr std::size_t kLongestNumber = 11;

    CStringBuffer& document_;
    std::size_t length_ = 0;
    char bytes_[kSize];
};

}  // namespace wsql
