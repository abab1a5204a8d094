#include "src/welkhelp/SessionFacts.h"

#include "src/welkhelp/KernelExtras.h"

namespace wsql {
namespace {

struct Question {
    std::int32_t kind;
    const char* name;
};

// By SessionFacts::Fact.
constexpr std::array<Question, SessionFacts::kFactCount> kQuestions = {{
    {WDB_ST_VERSION, nullptr},
    {WDB_ST_SETTING, "WELKSQL_LOG"},
    {WDB_ST_SETTING, "SQL_BLOCKNUMBER"},
    {WDB_ST_SETTING, "SQL_BLOCKSIZE"},
    {WDB_ST_SYMBOL, "SEL"},
    {WDB_ST_SYMBOL, "FRL"},
}};

}  // namespace

SessionFacts::SessionFacts() {
    std::array<WdbSessionText, kFactCount> asked;
    for (std::size_t i = 0; i < kFactCount; ++i)
        asked[i] = {kQuestions[i].name, texts_[i].bytes, kRoom, kQuestions[i].kind, WDB_FAIL};
    const bool answered =
        WdbSessionTexts != nullptr && WDB_SUCCESS(WdbSessionTexts(asked.data(), kFactCount));
    for (std::size_t i = 0; i < kFactCount; ++i) {
        const bool found = answered && WDB_SUCCESS(asked[i].status);
        const bool absent = answered && asked[i].status == WDB_FAIL;
        texts_[i].found = found;
        texts_[i].length = found ? asked[i].length : absent ? 0 : -1;
    }
}

std::optional<std::string_view> SessionFacts::text(Fact fact) const {
    const Text& text = texts_[fact];
    if (text.length < 0) return std::nullopt;
    return std::string_view(text.bytes, static_cast<std::size_t>(text.length));
}

std::optional<std::string_view> SessionFacts::word(std::string_view canonical) const {
    for (const Fact fact : {kSelectWord, kFieldsWord}) {
        if (canonical == kQuestions[fact].name) return texts_[fact].found ? text(fact) : std::nullopt;
    }
    return std::nullopt;
}

}  // namespace wsql
