// Character sets: the session's, and the way of its texts into UTF-8 documents.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "src/support/CStringBuffer.h"

namespace wsql {

// What the engine knows about one character set of a session.
struct CharacterSet {
    std::int32_t id;  // the kernel's identifier
    const char*
        locale;  // locale text of the code page, "" for none; kept for reference, no locale is ever switched
    std::int32_t codePage;  // 0 for a set that is not known
    const char* converter;  // ICU's converter name, null when texts need no conversion
};

// The session's set; nothing when it cannot tell.
std::optional<CharacterSet> sessionCharacterSet();
// The set chosen at the start of a call: the session's, else by the first three characters of the setting
// WDBS_CHARS (MUL, LA1, LA2, LA3, CHI, GBK, SJI), else Western Latin.
CharacterSet selectCharacterSet();
// The set that texts are converted from: the session's, else by the whole setting WDBS_CHARS (CHI, GBK, UTF,
// LA2, LA3), else Western Latin. The two differ on purpose: data written under one reading must stay readable
// under it.
CharacterSet conversionCharacterSet();

// The name of the encoding of every answer.
inline constexpr const char* kOutputEncoding = "UTF-8";

// Sets buffer to, or with appendResult extends it by, the text in UTF-8. False, and the buffer unchanged,
// when the set needs no conversion or the text cannot be converted: the caller's bytes stand for themselves
// then.
bool convertToUtf8(const CharacterSet& set, CStringBuffer& buffer, std::string_view text, bool appendResult);

// Appends the text as XML character data: converted, with & < > replaced and everything else unchanged.
void appendXmlText(const CharacterSet& set, CStringBuffer& buffer, std::string_view text);
// The same for a value between double quotes: " becomes &quot; as well.
void appendXmlAttribute(const CharacterSet& set, CStringBuffer& buffer, std::string_view text);

}  // namespace wsql
