#include "src/welkhelp/ValueFilter.h"

#include "src/WSQLFilter.h"
#include "src/support/base64.h"

namespace wsql {

void ValueFilter::value(std::int32_t ordinal, std::string_view text, CStringBuffer& out) const {
    if (ordinal == kEnd || !range_.contains(ordinal)) return;
    if (!out.empty()) xml(range_.separator, out);
    xml(text, out);
}

void ValueFilter::binary(std::string_view bytes, CStringBuffer& out) {
    base64Append(bytes, out);
}

void ValueFilter::plainText(std::string_view text, CStringBuffer& out) const {
    CStringBuffer converted(1024);
    const bool done = convertToUtf8(filter_.conversionSet(), converted, text, false);
    base64Append(done ? converted.view() : text, out);
}

void ValueFilter::xml(std::string_view text, CStringBuffer& out) const {
    if (!text.empty()) appendXmlText(filter_.conversionSet(), out, text);
}

}  // namespace wsql
