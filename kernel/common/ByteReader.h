#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "kernel/common/ByteOrder.h"
#include "kernel/common/Ids.h"

namespace wdb {

// Takes stored bytes apart from front to back. Behind the first read that found too few bytes failed() holds
// and every read gives zero or nothing, so that a decoder asks once, at its end.
class ByteReader {
public:
    explicit ByteReader(Slice bytes) : rest_(bytes) {}

    template <typename T>
    T number() {
        const Slice bytes = take(sizeof(T));
        return failed_ ? T{0} : loadLittle<T>(bytes.data());
    }
    // A text behind its length, a u32.
    std::string text() { return std::string(take(number<uint32_t>())); }
    Slice take(size_t size) {
        if (failed_ || size > rest_.size()) {
            failed_ = true;
            return {};
        }
        const Slice bytes = rest_.substr(0, size);
        rest_.remove_prefix(size);
        return bytes;
    }
    bool failed() const { return failed_; }
    bool atEnd() const { return !failed_ && rest_.empty(); }

private:
    Slice rest_;
    bool failed_ = false;
};

inline void appendText(std::string& out, Slice text) {
    appendLittle(out, static_cast<uint32_t>(text.size()));
    out.append(text);
}

}  // namespace wdb
