#include "src/support/Encoding.h"

#include <unicode/ucnv.h>

#include <array>
#include <stdexcept>
#include <string>

#include "include/wdb.h"
#include "src/support/AsciiRun.h"
#include "src/support/CFilterBase.h"

namespace wsql {

namespace {

constexpr std::int32_t kCharsetItem = 10;
constexpr const char* kWesternConverter = "Cp1252";

constexpr CharacterSet kSets[] = {
    {1, ".28591", 28591, kWesternConverter},
    {2, ".28592", 28592, "LATIN-2"},
    {3, ".28593", 28593, "LATIN-3"},
    {16, "", 65001, nullptr},
    {17, ".936", 936, "GB-2312"},
    {18, ".936", 936, "GBK"},
    {20, ".932", 932, kWesternConverter},
};

CharacterSet byId(std::int32_t id) {
    for (const CharacterSet& set : kSets) {
        if (set.id == id) return set;
    }
    return {id, "", 0, kWesternConverter};
}

struct CodeName {
    const char* name;
    std::int32_t id;
};

// Calls start with these; only the first three characters count.
constexpr CodeName kStartNames[] = {{"MUL", 1},  {"LA1", 1},  {"LA2", 2}, {"LA3", 3},
                                    {"CHI", 17}, {"GBK", 18}, {"SJI", 20}};
// Texts are converted by these, as whole words.
constexpr CodeName kConversionNames[] = {{"CHI", 17}, {"GBK", 18}, {"UTF", 16}, {"LA2", 2}, {"LA3", 3}};

bool sessionCharset(std::int32_t& id) {
    std::int32_t number = 0;
    if (!WDB_SUCCESS(WdbSessionInfo(kCharsetItem, &number, nullptr, nullptr))) return false;
    id = number;
    return true;
}

}  // namespace

std::optional<CharacterSet> sessionCharacterSet() {
    std::int32_t id = 1;
    return sessionCharset(id) ? std::optional<CharacterSet>(byId(id)) : std::nullopt;
}

namespace {

template <std::size_t N>
CharacterSet selected(const CodeName (&names)[N], std::size_t significant) {
    if (const auto set = sessionCharacterSet()) return *set;
    CStringBuffer setting(64);
    kernelSetting("WDBS_CHARS", setting);
    const std::string_view code = setting.view().substr(0, significant);
    for (const CodeName& entry : names) {
        if (code == entry.name) return byId(entry.id);
    }
    return byId(1);
}

const char* entity(char c) {
    switch (c) {
        case '&':
            return "&amp;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        default:
            return "&quot;";
    }
}

// Copies runs of ordinary bytes whole.
void appendEscaped(CStringBuffer& buffer, std::string_view text, bool quotes) {
    while (!text.empty()) {
        const std::size_t plain = runWithoutMarkup(text, quotes);
        if (plain > 0) buffer.append(text.substr(0, plain));
        if (plain == text.size()) return;
        buffer.append(entity(text[plain]));
        text.remove_prefix(plain + 1);
    }
}

void appendXml(const CharacterSet& set, CStringBuffer& buffer, std::string_view text, bool quotes) {
    // ASCII is the same in every set, so it needs no converter.
    if (set.converter != nullptr && runOfAscii(text) < text.size()) {
        CStringBuffer scratch(256);
        if (convertToUtf8(set, scratch, text, false)) {
            appendEscaped(buffer, scratch.view(), quotes);
            return;
        }
    }
    appendEscaped(buffer, text, quotes);
}

}  // namespace

CharacterSet selectCharacterSet() {
    return selected(kStartNames, 3);
}

CharacterSet conversionCharacterSet() {
    return selected(kConversionNames, std::string_view::npos);
}

bool convertToUtf8(const CharacterSet& set, CStringBuffer& buffer, std::string_view text, bool appendResult) {
    if (set.converter == nullptr) return false;
    const std::size_t size = 4 * text.size();
    if (size > INT32_MAX) throw std::length_error("text too long to convert");
    const platform::HeapText target(static_cast<char*>(platform::heapAllocate(size + 1)));
    UErrorCode status = U_ZERO_ERROR;
    const std::int32_t length =
        ucnv_convert("UTF-8", set.converter, target.get(), static_cast<std::int32_t>(size), text.data(),
                     static_cast<std::int32_t>(text.size()), &status);
    if (U_FAILURE(status)) return false;
    const std::string_view converted(target.get(), static_cast<std::size_t>(length));
    appendResult ? buffer.append(converted) : buffer.set(converted);
    return true;
}

void appendXmlText(const CharacterSet& set, CStringBuffer& buffer, std::string_view text) {
    appendXml(set, buffer, text, false);
}

void appendXmlAttribute(const CharacterSet& set, CStringBuffer& buffer, std::string_view text) {
    appendXml(set, buffer, text, true);
}

}  // namespace wsql
