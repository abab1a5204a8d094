#include "kernel/record/ValueKey.h"

#include "kernel/record/Decimal.h"
#include "kernel/text/Normalize.h"

namespace wdb {

namespace {

void appendWhole(FieldType type, Slice canonical, std::string& out) {
    switch (type) {
        case FieldType::Integer:
        case FieldType::Date:
        case FieldType::Time:
            out.append(canonical);
            break;
        case FieldType::Number:
            appendNumberKey(canonical, out);
            break;
        case FieldType::Phrase:
            normalizeTo(canonical, kNormalizeValue, out);
            out.push_back('\0');
            break;
        case FieldType::Text:
        case FieldType::String:
            break;
    }
}

}  // namespace

bool appendValueKey(FieldType type, Slice canonical, std::string& out) {
    const size_t begin = out.size();
    appendWhole(type, canonical, out);
    if (out.size() - begin <= kMaxValueKey) return false;
    out.resize(begin + kMaxValueKey);
    return true;
}

ValueKey valueKey(FieldType type, Slice canonical) {
    ValueKey key;
    key.cut = appendValueKey(type, canonical, key.bytes);
    return key;
}

std::string wholeValueKey(FieldType type, Slice canonical) {
    std::string key;
    appendWhole(type, canonical, key);
    return key;
}

Result<std::string> valueOfKey(FieldType type, Slice key) {
    switch (type) {
        case FieldType::Integer:
            return key.size() == 8 ? Result<std::string>(std::string(key)) : Status{WDB_E_CORRUPT};
        case FieldType::Date:
        case FieldType::Time:
            return key.size() == 4 ? Result<std::string>(std::string(key)) : Status{WDB_E_CORRUPT};
        case FieldType::Number: {
            auto number = numberOfKey(key);
            return number ? Result<std::string>(std::move(*number)) : Status{WDB_E_CORRUPT};
        }
        default:
            if (key.ends_with('\0')) key.remove_suffix(1);
            return std::string(key);
    }
}

int compareValues(FieldType type, Slice a, Slice b) {
    if (type == FieldType::Number) return compareNumbers(a, b);
    if (type == FieldType::Phrase)
        return normalize(a, kNormalizeValue).compare(normalize(b, kNormalizeValue));
    return a.compare(b);
}

}  // namespace wdb
