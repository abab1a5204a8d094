#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace wdb {

inline constexpr int32_t kCharsetUtf8 = 16;

// The character set of a session: texts are converted where they cross the API, storage is UTF-8. A value of
// one session; not for two threads at once.
class Charset {
public:
    Charset() = default;  // UTF-8
    // Nothing for an identifier that is not known.
    static std::optional<Charset> byId(int32_t id);
    static std::optional<Charset> byName(std::string_view name);
    // A session that cannot tell: bytes pass as they are, identifier 0.
    static Charset unknown();

    int32_t id() const { return id_; }
    std::string_view name() const;
    bool passes() const { return converter_ == nullptr; }  // nothing is converted

    // An incomplete character at the end is dropped, a byte that is no character becomes U+FFFD.
    std::string toUtf8(std::string_view text);
    // A character that the set does not have becomes its substitute.
    std::string fromUtf8(std::string_view utf8);
    // The text without an incomplete character at its end; for sets that pass, UTF-8 is meant.
    static std::string_view dropIncompleteUtf8(std::string_view text);

private:
    struct Close {
        void operator()(void* converter) const;
    };
    int32_t id_ = kCharsetUtf8;
    std::unique_ptr<void, Close> converter_;  // ICU's
};

}  // namespace wdb
