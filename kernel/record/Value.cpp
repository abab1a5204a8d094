#include "kernel/record/Value.h"

#include <algorithm>
#include <charconv>

#include "kernel/common/ByteOrder.h"
#include "kernel/record/Decimal.h"

namespace wdb {

namespace {

constexpr uint64_t kSignBit = uint64_t{1} << 63;
constexpr size_t kReferenceSize = 16;

std::string_view trimBlanks(std::string_view text) {
    const size_t begin = text.find_first_not_of(" \t");
    return begin == std::string_view::npos ? std::string_view()
                                           : text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

Result<std::string> parseInteger(std::string_view text) {
    if (text.front() == '+') {
        text.remove_prefix(1);
        if (text.empty() || text.front() == '-') return WDB_E_VALUE;
    }
    int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return WDB_E_VALUE;
    return encodeInteger(value);
}

bool isPhrase(Slice text) {
    return text.size() <= kMaxPhrase &&
           std::none_of(text.begin(), text.end(), [](char c) { return c == '\0' || c == '\r' || c == '\n'; });
}

}  // namespace

std::string encodeInteger(int64_t value) {
    std::string bytes;
    appendBig(bytes, static_cast<uint64_t>(value) ^ kSignBit);
    return bytes;
}

int64_t decodeInteger(Slice canonical) {
    return static_cast<int64_t>(loadBig<uint64_t>(canonical.data()) ^ kSignBit);
}

std::string encodeDay(DayNumber day) {
    std::string bytes;
    appendBig(bytes, static_cast<uint32_t>(day));
    return bytes;
}

int32_t decodeDay(Slice canonical) {
    return static_cast<int32_t>(loadBig<uint32_t>(canonical.data()));
}

bool isCanonical(FieldType type, Slice value) {
    switch (type) {
        case FieldType::Integer:
            return value.size() == 8;
        case FieldType::Date:
            return value.size() == 4 && isCalendarDay(decodeDay(value));
        case FieldType::Time:
            return value.size() == 4 && loadBig<uint32_t>(value.data()) < 86400;
        case FieldType::Number: {
            const auto number = canonicalNumber(value);
            return number && *number == value;
        }
        case FieldType::Phrase:
            return !value.empty() && isPhrase(value);
        case FieldType::Text:
            return !value.empty() && value.find('\0') == Slice::npos;
        case FieldType::String:
            return static_cast<bool>(ObjectReference::decode(value));
    }
    return false;
}

Result<std::string> parseValue(FieldType type, std::string_view text, const DateForm& form, DayNumber today,
                               DateUse use) {
    if (!holdsItems(type)) return WDB_E_TYPE;
    if (type == FieldType::Phrase) {
        if (!isPhrase(text)) return WDB_E_VALUE;
        return std::string(text);
    }
    text = trimBlanks(text);
    if (text.empty()) return std::string();
    if (type == FieldType::Integer) return parseInteger(text);
    if (type == FieldType::Number) {
        auto number = canonicalNumber(text);
        if (!number) return WDB_E_VALUE;
        return std::move(*number);
    }
    if (type == FieldType::Time) {
        const auto seconds = parseTime(text);
        if (!seconds) return WDB_E_VALUE;
        return encodeDay(*seconds);
    }
    const auto day = parseDate(text, form, today);
    if (!day || (use == DateUse::Store && !isCalendarDay(*day))) return WDB_E_VALUE;
    return encodeDay(*day);
}

void renderValue(FieldType type, Slice canonical, const DateForm& form, std::string& out) {
    switch (type) {
        case FieldType::Integer:
            if (canonical.size() == 8) {
                char digits[24];
                out.append(digits,
                           std::to_chars(digits, digits + sizeof digits, decodeInteger(canonical)).ptr);
            }
            break;
        case FieldType::Date:
            if (canonical.size() == 4) renderDate(decodeDay(canonical), form, out);
            break;
        case FieldType::Time:
            if (canonical.size() == 4) renderTime(decodeDay(canonical), out);
            break;
        default:
            out.append(canonical);
    }
}

std::string ObjectReference::encode() const {
    std::string bytes;
    appendLittle(bytes, id);
    appendLittle(bytes, size);
    appendLittle(bytes, chunkSize);
    return bytes;
}

Result<ObjectReference> ObjectReference::decode(Slice bytes) {
    if (bytes.size() != kReferenceSize) return WDB_E_CORRUPT;
    ObjectReference reference{loadLittle<uint64_t>(bytes.data()), loadLittle<uint32_t>(bytes.data() + 8),
                              loadLittle<uint32_t>(bytes.data() + 12)};
    if (reference.id == 0 || reference.size == 0 || reference.size > INT32_MAX || reference.chunkSize == 0)
        return WDB_E_CORRUPT;
    return reference;
}

}  // namespace wdb
