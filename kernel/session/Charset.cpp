#include "kernel/session/Charset.h"

#include <algorithm>
#include <array>

#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include "kernel/common/Ascii.h"

namespace wdb {

namespace {

struct Known {
    int32_t id;
    std::string_view name;
    const char* converter;  // null: none needed
};

constexpr std::array<Known, 7> kKnown{{{1, "Western Latin", "ibm-5348_P100-1997"},
                                       {2, "Central European Latin", "ibm-912_P100-1995"},
                                       {3, "South European Latin", "ibm-913_P100-2000"},
                                       {kCharsetUtf8, "UTF-8", nullptr},
                                       {17, "Simplified Chinese (GB 2312)", "ibm-1383_P110-1999"},
                                       {18, "Chinese GBK", "windows-936-2000"},
                                       {20, "Japanese Shift-JIS", "ibm-943_P15A-2003"}}};

UConverter* icu(void* converter) {
    return static_cast<UConverter*>(converter);
}

}  // namespace

void Charset::Close::operator()(void* converter) const {
    ucnv_close(static_cast<UConverter*>(converter));
}

std::optional<Charset> Charset::byId(int32_t id) {
    const auto known = std::ranges::find(kKnown, id, &Known::id);
    if (known == kKnown.end()) return std::nullopt;
    Charset charset;
    charset.id_ = id;
    if (known->converter != nullptr) {
        UErrorCode error = U_ZERO_ERROR;
        charset.converter_.reset(ucnv_open(known->converter, &error));
        if (U_FAILURE(error)) return std::nullopt;
    }
    return charset;
}

std::optional<Charset> Charset::byName(std::string_view name) {
    for (const Known& known : kKnown) {
        if (equalsIgnoreCase(known.name, name)) return byId(known.id);
    }
    return std::nullopt;
}

Charset Charset::unknown() {
    Charset charset;
    charset.id_ = 0;
    return charset;
}

std::string_view Charset::name() const {
    const auto known = std::ranges::find(kKnown, id_, &Known::id);
    return known == kKnown.end() ? std::string_view() : known->name;
}

std::string Charset::toUtf8(std::string_view text) {
    if (passes()) return std::string(text);
    std::u16string units(text.size() * 2 + 1, u'\0');  // no byte of these sets makes more than two
    UErrorCode error = U_ZERO_ERROR;
    UChar* target = units.data();
    const char* source = text.data();
    ucnv_reset(icu(converter_.get()));
    ucnv_toUnicode(icu(converter_.get()), &target, units.data() + units.size(), &source,
                   text.data() + text.size(), nullptr, false, &error);
    const auto length = static_cast<int32_t>(target - units.data());
    std::string utf8(static_cast<size_t>(length) * 3 + 1, '\0');
    int32_t written = 0;
    error = U_ZERO_ERROR;
    u_strToUTF8WithSub(utf8.data(), static_cast<int32_t>(utf8.size()), &written, units.data(), length, 0xFFFD,
                       nullptr, &error);
    utf8.resize(static_cast<size_t>(std::max(written, 0)));
    return utf8;
}

std::string Charset::fromUtf8(std::string_view utf8) {
    if (passes()) return std::string(utf8);
    std::u16string units(utf8.size() + 1, u'\0');
    int32_t length = 0;
    UErrorCode error = U_ZERO_ERROR;
    u_strFromUTF8WithSub(units.data(), static_cast<int32_t>(units.size()), &length, utf8.data(),
                         static_cast<int32_t>(utf8.size()), 0xFFFD, nullptr, &error);
    std::string text(static_cast<size_t>(
                         UCNV_GET_MAX_BYTES_FOR_STRING(length, ucnv_getMaxCharSize(icu(converter_.get())))),
                     '\0');
    error = U_ZERO_ERROR;
    const int32_t written = ucnv_fromUChars(icu(converter_.get()), text.data(),
                                            static_cast<int32_t>(text.size()), units.data(), length, &error);
    text.resize(static_cast<size_t>(std::max(U_FAILURE(error) ? 0 : written, 0)));
    return text;
}

std::string_view Charset::dropIncompleteUtf8(std::string_view text) {
    size_t tail = 0;  // continuation bytes at the end
    while (tail < 3 && tail < text.size() &&
           (static_cast<unsigned char>(text[text.size() - 1 - tail]) & 0xC0) == 0x80)
        ++tail;
    if (tail == text.size()) return text;
    const auto lead = static_cast<unsigned char>(text[text.size() - 1 - tail]);
    const size_t wanted = lead >= 0xF0 && lead < 0xF8 ? 3 : (lead >= 0xE0 ? 2 : (lead >= 0xC0 ? 1 : 0));
    return lead >= 0xC0 && lead < 0xF8 && tail < wanted ? text.substr(0, text.size() - 1 - tail) : text;
}

}  // namespace wdb
