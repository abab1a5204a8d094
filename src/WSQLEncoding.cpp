// The filter's view of character sets.
#include <cstring>

#include "src/WSQLFilter.h"

namespace wsql {

const CaseTable& WSQLFilter::caseTable() const {
    return CaseTable::forCodePage(characterSet_.codePage);
}

const CharacterSet& WSQLFilter::conversionSet() const {
    if (!conversionSetKnown_) {
        conversionSet_ = conversionCharacterSet();
        conversionSetKnown_ = true;
    }
    return conversionSet_;
}

void WSQLFilter::XmlText(CStringBuffer& buffer, const char* text, std::int32_t length) const {
    const std::size_t size = length < 1 ? std::strlen(text) : static_cast<std::size_t>(length);
    appendXmlText(conversionSet(), buffer, std::string_view(text, size));
}

// Document-encoding of the exports: always the same name, so a host may ask once.
std::int32_t WSQLFilter::getEncoding() {
    constexpr std::uint32_t kAllocateInMemory = 36;
    if (filterData() == nullptr) return WDB_E_INVOCATION;
    setStatus(WDB_OK);
    setMessage("");
    if (filterData()->wdb_options != kAllocateInMemory) {
        setMessage("Filter invocation error: wdb_options must be set to EXPORT_ALLOC|IEOPT_MEMORY.");
        setStatus(WDB_FAIL);
        return status();
    }
    CStringBuffer name(kOutputEncoding);
    SetAnswer(name);
    setStatus(WDB_OK);
    return status();
}

}  // namespace wsql
