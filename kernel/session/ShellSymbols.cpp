#include "kernel/session/ShellSymbols.h"

#include "include/wdb.h"
#include "kernel/record/Schema.h"

namespace wdb {

std::optional<std::string> ShellSymbols::find(std::string_view name) const {
    name = trimName(name);
    if (!own_.empty()) {
        if (const auto own = own_.find(foldName(name)); own != own_.end()) return own->second;
    }
    const auto word = ccl::wordByCanonicalName(name);
    if (!word) return std::nullopt;
    return std::string(language_ == 0 ? ccl::canonicalWord(*word) : ccl::englishWord(*word));
}

Status ShellSymbols::define(std::string_view name, std::optional<std::string_view> value) {
    const std::string folded = foldName(name);
    if (value) value = trimName(*value);
    if (folded.empty() || folded.size() > WDB_WORD_MAX || (value && value->size() > WDB_WORD_MAX))
        return WDB_E_ARGUMENT;
    if (const auto word = ccl::wordByCanonicalName(folded))
        words_.define(*word, value.value_or(std::string_view()));
    if (value)
        own_.insert_or_assign(folded, std::string(*value));
    else
        own_.erase(folded);
    return WDB_OK;
}

Status ShellSymbols::setLanguage(int32_t language) {
    if (language != 0 && language != 1) return WDB_E_ARGUMENT;
    language_ = language;
    return WDB_OK;
}

}  // namespace wdb
