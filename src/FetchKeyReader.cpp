#include "src/FetchKeyReader.h"

#include "src/support/text.h"

namespace wsql {
namespace {

constexpr std::size_t kLongestName = 63;

int hexValue(char c) {
    if (isDigit(c)) return c - '0';
    const char lower = asciiLower(c);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::optional<std::int32_t> digits(std::string_view text) {
    if (text.empty()) return std::nullopt;
    for (const char c : text) {
        if (!isDigit(c)) return std::nullopt;
    }
    return decimalPrefix(text);
}

}  // namespace

std::optional<std::string_view> FetchKeyReader::part() {
    const std::size_t end = rest_.find('-');
    if (end == std::string_view::npos) return std::nullopt;
    const std::string_view text = rest_.substr(0, end);
    rest_.remove_prefix(end + 1);
    return text;
}

std::optional<std::string> FetchKeyReader::database() {
    const std::optional<std::string_view> text = part();
    if (!text || text->empty() || text->size() % 2 != 0 || text->size() > 2 * kLongestName) {
        return std::nullopt;
    }
    std::string name;
    for (std::size_t i = 0; i < text->size(); i += 2) {
        const int high = hexValue((*text)[i]), low = hexValue((*text)[i + 1]);
        if (high < 0 || low < 0 || high + low == 0) return std::nullopt;
        name.push_back(static_cast<char>(high << 4 | low));
    }
    return name;
}

std::optional<std::int32_t> FetchKeyReader::number() {
    const std::optional<std::string_view> text = part();
    return text ? digits(*text) : std::nullopt;
}

std::optional<std::int32_t> FetchKeyReader::lastNumber() {
    return digits(rest_);
}

}  // namespace wsql
