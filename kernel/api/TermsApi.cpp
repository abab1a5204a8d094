// The terms that an index knows.
#include <cstring>

#include "kernel/api/ApiCall.h"
#include "kernel/record/Value.h"
#include "kernel/record/ValueKey.h"

namespace wdb::api {
namespace {

// Terms are texts out here: words of TEXT, values as they are delivered, PHRASE values normalised. A text
// stands for a place among the keys of the field.
Result<std::string> keyOfText(Session& session, const FieldDefinition& field, std::string_view text) {
    if (text.empty()) return std::string();
    if (field.type == FieldType::Text) return session.analyzer().fold(text);
    const auto value = parseValue(field.type, text, session.dates, session.clock.today(), DateUse::Compare);
    if (!value) return value.status();
    std::string key = valueKey(field.type, *value).bytes;
    // Longer values are known by their beginning, and that may have been shortened to whole characters.
    constexpr size_t kLongestCharacter = 4;
    if (field.type == FieldType::Phrase && key.size() + kLongestCharacter > kMaxValueKey) {
        if (key.ends_with('\0')) key.pop_back();
        key.append(kLongestCharacter, '\xFF');
    }
    return key;
}

Result<std::string> textOfKey(const Session& session, const FieldDefinition& field, std::string_view key) {
    if (field.type == FieldType::Text) return std::string(Charset::dropIncompleteUtf8(key));
    const auto value = valueOfKey(field.type, key);
    if (!value) return value.status();
    if (field.type == FieldType::Phrase) return std::string(Charset::dropIncompleteUtf8(*value));
    std::string text;
    renderValue(field.type, *value, session.dates, text);
    return text;
}

Status nextTerm(Session& session, const char* baseName, int32_t number, char* term, int32_t* length,
                int32_t* records) {
    if (!canPut(term, length)) return WDB_E_ARGUMENT;
    const InText name(session, baseName);
    const auto base = session.findBase(trimName(name));
    if (!base) return base.status();
    const auto state = session.snapshot(*base);
    if (!state) return state.status();
    const FieldDefinition* field = number < 1 || number > WDB_FIELD_NUMBER_MAX
                                       ? nullptr
                                       : (*state)->schema().find(static_cast<FieldNumber>(number));
    if (field == nullptr) return WDB_E_FIELD;
    if (!session.rights.mayRead(*(*base)->definition(), field->number)) return WDB_E_RIGHT;
    const InText from(session, std::string_view(term, strnlen(term, static_cast<size_t>(*length))));
    auto key = keyOfText(session, *field, from);
    if (!key) return session.fail(key.status(), from.view().substr(0, kMaxSetting));
    IndexView index = (*state)->index();
    uint64_t count = 0;
    WDB_TRY(index.nextTerm(field->number, *key, count));
    const auto text = textOfKey(session, *field, *key);
    if (!text) return text.status();
    WDB_TRY(putText(&session, *text, term, length));
    putNumber(records, static_cast<int64_t>(count));
    return WDB_OK;
}

}  // namespace
}  // namespace wdb::api

using namespace wdb;
using namespace wdb::api;

int32_t WdbNextTerm(const char* baseName, int32_t fieldNumber, char* term, int32_t* length,
                    int32_t* recordCount) {
    return call(__func__, [&](Session& session) {
        return nextTerm(session, baseName, fieldNumber, term, length, recordCount);
    });
}
