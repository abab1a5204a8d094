// The terms that an index knows.
#include <cstring>

#include "kernel/api/ApiCall.h"
#include "kernel/record/Value.h"
#include "kernel/record/ValueKey.h"
#include "kernel/text/Normalize.h"

namespace wdb::api {
namespace {

constexpr size_t kLongestCharacter = 4;

// Terms are texts out here: words of TEXT, values as they are delivered, PHRASE values normalised. A text
// stands for a place among the keys of the field.
Result<std::string> keyOfText(Session& session, const FieldDefinition& field, std::string_view text) {
    if (text.empty()) return std::string();
    if (field.type == FieldType::Text) return session.analyzer().fold(text);
    const auto value = parseValue(field.type, text, session.dates, session.clock.today(), DateUse::Compare);
    if (!value) return value.status();
    return valueKey(field.type, *value).bytes;
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

// The terms of a PHRASE field whose values are longer than its keys: the key ends within the value, maybe
// within a character, and is given out in whole characters. It may then look like a shorter value, or like
// another such key.
class CutTerms {
public:
    CutTerms(IndexView& index, const FieldDefinition& field) : index_(index), field_(field) {}

    // Makes the key that `text` was read as the one that it was given out for.
    Status start(std::string_view text, std::string& key) {
        if (!mayBeCut(text)) return WDB_OK;
        const auto whole = isValue(text);
        if (!whole) return whole.status();
        if (*whole) return WDB_OK;
        std::string cut = std::string(text) + '\xC1';  // below every first byte of a longer character
        uint64_t records = 0;
        const Status status = index_.nextTerm(field_.number, cut, records);
        if (status != WDB_OK) return status == WDB_FAIL ? Status{WDB_OK} : status;
        if (Charset::dropIncompleteUtf8(cut) == text) key = std::move(cut);
        return WDB_OK;
    }

    // Whether the text of a key that comes behind `given` was given out before.
    Result<bool> wasGiven(std::string_view key, std::string_view text, std::string_view given) {
        if (key.size() < kMaxValueKey || key.ends_with('\0') || !mayBeCut(text)) return false;
        if (text == given) return true;
        return isValue(text);
    }

private:
    bool mayBeCut(std::string_view text) const {
        return field_.type == FieldType::Phrase && text.size() > kMaxValueKey - kLongestCharacter &&
               text.size() < kMaxValueKey;
    }
    Result<bool> isValue(std::string_view text) {
        const auto records = index_.equal(field_.number, text);
        return records ? Result<bool>(!records->empty()) : Result<bool>(records.status());
    }

    IndexView& index_;
    const FieldDefinition& field_;
};

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
    const std::string given =
        field->type == FieldType::Phrase ? normalize(from, kNormalizeValue) : std::string(from);
    CutTerms cut(index, *field);
    WDB_TRY(cut.start(given, *key));
    uint64_t count = 0;
    Result<std::string> text = std::string();
    for (bool again = true; again;) {
        WDB_TRY(index.nextTerm(field->number, *key, count));
        text = textOfKey(session, *field, *key);
        if (!text) return text.status();
        const auto was = cut.wasGiven(*key, *text, given);
        if (!was) return was.status();
        again = *was;
    }
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
