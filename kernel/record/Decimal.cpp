#include "kernel/record/Decimal.h"

#include <algorithm>

namespace wdb {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// A number as 0.d1d2d3... times ten to the exponent; the digits start and end with one that is not 0, and
// still hold the point. Zero has no digits.
struct Digits {
    bool negative = false;
    int exponent = 0;
    std::string_view text;
};

Digits digitsOf(std::string_view canonical) {
    Digits number;
    if (!canonical.empty() && canonical.front() == '-') {
        number.negative = true;
        canonical.remove_prefix(1);
    }
    const size_t point = std::min(canonical.find('.'), canonical.size());
    const size_t first = canonical.find_first_not_of("0.");
    if (first == std::string_view::npos) return Digits{};
    const size_t last = canonical.find_last_not_of("0.");
    number.text = canonical.substr(first, last - first + 1);
    number.exponent = first < point ? static_cast<int>(point - first) : -static_cast<int>(first - point - 1);
    return number;
}

// Hands out the digits one by one, then zeros.
class DigitReader {
public:
    explicit DigitReader(std::string_view text) : text_(text) { skipPoint(); }
    bool atEnd() const { return at_ == text_.size(); }
    int next() {
        if (atEnd()) return 0;
        const int digit = text_[at_++] - '0';
        skipPoint();
        return digit;
    }

private:
    void skipPoint() {
        if (at_ < text_.size() && text_[at_] == '.') ++at_;
    }
    std::string_view text_;
    size_t at_ = 0;
};

int compareMagnitudes(const Digits& a, const Digits& b) {
    if (a.exponent != b.exponent) return a.exponent < b.exponent ? -1 : 1;
    DigitReader left(a.text), right(b.text);
    while (!left.atEnd() || !right.atEnd()) {
        const int difference = left.next() - right.next();
        if (difference != 0) return difference;
    }
    return 0;
}

int signOf(const Digits& number) {
    return number.text.empty() ? 0 : (number.negative ? -1 : 1);
}

}  // namespace

std::optional<std::string> canonicalNumber(std::string_view text) {
    const size_t begin = text.find_first_not_of(" \t");
    if (begin == std::string_view::npos) return std::nullopt;
    text = text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
    if (text.size() > kMaxNumberText) return std::nullopt;
    bool negative = false;
    if (text.front() == '+' || text.front() == '-') {
        negative = text.front() == '-';
        text.remove_prefix(1);
    }
    const auto point = std::ranges::find(text, '.');
    const std::string_view whole(text.begin(), point);
    const std::string_view fraction(point == text.end() ? point : point + 1, text.end());
    if (whole.empty() || (point != text.end() && fraction.empty())) return std::nullopt;
    if (!std::ranges::all_of(whole, isDigit) || !std::ranges::all_of(fraction, isDigit)) return std::nullopt;
    const size_t first = std::min(whole.find_first_not_of('0'), whole.size() - 1);
    std::string canonical(text.substr(first));
    if (negative && canonical.find_first_not_of("0.") != std::string::npos)
        canonical.insert(canonical.begin(), '-');
    return canonical;
}

int compareNumbers(std::string_view a, std::string_view b) {
    const Digits left = digitsOf(a), right = digitsOf(b);
    if (signOf(left) != signOf(right)) return signOf(left) - signOf(right);
    if (signOf(left) == 0) return 0;
    return left.negative ? compareMagnitudes(right, left) : compareMagnitudes(left, right);
}

void appendNumberKey(std::string_view canonical, std::string& out) {
    const Digits number = digitsOf(canonical);
    if (number.text.empty()) {
        out.push_back('\2');
        return;
    }
    out.push_back(number.negative ? '\1' : '\3');
    const size_t begin = out.size();
    const int exponent = number.exponent + 32768;  // texts end at 32000 bytes, so this fits 16 bits
    out.push_back(static_cast<char>(exponent >> 8));
    out.push_back(static_cast<char>(exponent));
    for (DigitReader digits(number.text); !digits.atEnd();) {
        const int high = digits.next();
        out.push_back(static_cast<char>(high * 10 + digits.next() + 1));
    }
    out.push_back('\0');
    if (!number.negative) return;
    for (size_t i = begin; i < out.size(); ++i)
        out[i] = static_cast<char>(~static_cast<unsigned char>(out[i]));
}

std::optional<std::string> numberOfKey(std::string_view key) {
    if (key == "\2") return "0";
    if (key.size() < 4 || (key[0] != '\1' && key[0] != '\3')) return std::nullopt;
    const bool negative = key[0] == '\1';
    const auto byteAt = [&](size_t at) {
        const auto byte = static_cast<unsigned char>(key[at]);
        return negative ? 255 - byte : int{byte};
    };
    const int exponent = byteAt(1) * 256 + byteAt(2) - 32768;
    std::string digits;
    for (size_t at = 3; at < key.size() && byteAt(at) != 0; ++at) {
        const int pair = byteAt(at) - 1;
        if (pair > 99) return std::nullopt;
        digits.push_back(static_cast<char>('0' + pair / 10));
        digits.push_back(static_cast<char>('0' + pair % 10));
    }
    digits.resize(digits.find_last_not_of('0') + 1);
    const int size = static_cast<int>(digits.size());
    if (exponent <= 0)
        digits.insert(0, "0." + std::string(static_cast<size_t>(-exponent), '0'));
    else if (exponent >= size)
        digits.append(static_cast<size_t>(exponent - size), '0');
    else
        digits.insert(static_cast<size_t>(exponent), ".");
    return (negative ? "-" : "") + digits;
}

}  // namespace wdb
