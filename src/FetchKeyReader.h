// The key under which a row hands out an object that stays in its record: "4142-5-0-3" is field 3 of record 5
// of the base AB.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace wsql {

/// Takes a key apart from its start. Each of the calls takes the next part away; nothing when it is missing
/// or badly written.
class FetchKeyReader {
public:
    /// The key outlives this object.
    explicit FetchKeyReader(std::string_view key) : rest_(key) {}

    bool hasParts() const { return rest_.find('-') != std::string_view::npos; }
    /// 1 to 63 characters, of an even number of hexadecimal digits of either case.
    std::optional<std::string> database();
    /// Digits up to the next "-"; a number beyond 31 bits becomes the greatest one.
    std::optional<std::int32_t> number();
    /// The same up to the end.
    std::optional<std::int32_t> lastNumber();

private:
    std::optional<std::string_view> part();

    std::string_view rest_;
};

}  // namespace wsql
