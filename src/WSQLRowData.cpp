#include "src/WSQLRowData.h"

#include <cstring>

#include "include/wdb.h"

namespace wsql {
namespace {

constexpr std::int32_t kLongestNormalised = 256;
constexpr std::int32_t kNormaliseAll = 7;  ///< letter case, blanks, composed characters

}  // namespace

const char* WSQLRowData::value(std::int32_t column) const {
    return at(column).start < 0 ? nullptr : texts_.text() + at(column).start;
}

void WSQLRowData::add(std::string_view text, ValueForm form) {
    values_.push_back({texts_.length(), static_cast<std::int32_t>(text.size()), form});
    texts_.append(text);
    texts_.append('\0');
}

void WSQLRowData::endValue(ValueForm form, bool present) {
    if (!present) {
        addNull();
        return;
    }
    values_.push_back({valueStart_, valueLength(), form});
    texts_.append('\0');
}

void WSQLRowData::clear() {
    texts_.clear();
    values_.clear();
}

bool WSQLRowData::equals(const WSQLRowData& other) const {
    if (count() != other.count()) return false;
    for (std::int32_t i = 0; i < count(); ++i) {
        const char* mine = value(i);
        const char* theirs = other.value(i);
        if ((mine == nullptr) != (theirs == nullptr)) return false;
        if (mine == nullptr) continue;
        const std::int32_t length = size(i);
        if (length != other.size(i)) return false;
        const auto bytes = static_cast<std::size_t>(length);
        if (length > kLongestNormalised) {
            if (std::memcmp(mine, theirs, bytes) != 0) return false;
            continue;
        }
        char a[kLongestNormalised + 1] = {};
        char b[kLongestNormalised + 1] = {};
        WdbStrNormalize(mine, a, kNormaliseAll);
        WdbStrNormalize(theirs, b, kNormaliseAll);
        if (std::memcmp(a, b, bytes) != 0) return false;
    }
    return true;
}

}  // namespace wsql
