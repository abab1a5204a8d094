// Versions, messages, session information, settings (QueryRCS, UpdateRCS, WdbSetResource).
#include <array>
#include <span>
#include <string>
#include <vector>

#include "include/wdb_bulk.h"
#include "kernel/api/ApiCall.h"
#include "kernel/ccl/CommandWords.h"

namespace wdb::api {
namespace {

constexpr std::string_view kVersion = "4.0-0:embedded";
constexpr const char* kVersionSetting = "WDB_VERSION";  // tells another

std::string separators(const DateForm& form) {
    return {form.first, form.second};
}

std::string baseList(const Search& search) {
    std::string list;
    for (const auto& base : search.bases())
        list.append(list.empty() ? "" : ",").append(base->definition()->name);
    return list;
}

struct Item {
    int64_t number = 0;
    std::string text;
};

Result<Item> sessionItem(const Session& session, int32_t item) {
    switch (item) {
        case WDB_SI_USER:
            return Item{0, session.rights.user()};
        case WDB_SI_DATE_FORM:
            return Item{session.dates.number, separators(session.dates)};
        case WDB_SI_LANGUAGE:
            return Item{session.symbols.language(), {}};
        case WDB_SI_HOME:
            return Item{0, session.directory->home()};
        case WDB_SI_FIND_MINIMUM:
            return Item{session.search.findMinimum(), {}};
        case WDB_SI_SETS:
            return Item{session.search.liveSets(), {}};
        case WDB_SI_SAVED:
            return Item{static_cast<int64_t>(session.statuses.size()), {}};
        case WDB_SI_BASES:
            return Item{static_cast<int64_t>(session.search.bases().size()), baseList(session.search)};
        case WDB_SI_CHARSET:
            if (session.charset.id() == 0) return WDB_FAIL;  // the session cannot tell
            return Item{session.charset.id(), std::string(session.charset.name())};
        default:
            return WDB_E_ARGUMENT;
    }
}

Status sessionInfo(Session& session, int32_t item, int32_t* number, char* text, int32_t* length) {
    const auto found = sessionItem(session, item);
    if (!found) return found.status();
    if (text != nullptr || length != nullptr) WDB_TRY(putText(&session, found->text, text, length));
    putNumber(number, found->number);
    return WDB_OK;
}

Status setDateForm(Session& session, int32_t form, std::string_view text) {
    if (form < 1 || form > kDateForms) return WDB_E_ARGUMENT;
    if (text.empty()) text = "--";
    const char first = text[0], second = text.size() > 1 ? text[1] : first;
    if (!isDateSeparator(first) || !isDateSeparator(second)) return WDB_E_ARGUMENT;
    session.dates.number = static_cast<uint8_t>(form);
    if (form > 15) return WDB_OK;  // without separators: the former ones stay for a later form
    session.dates.first = first;
    session.dates.second = second;
    return WDB_OK;
}

Status setCharset(Session& session, int32_t number, std::string_view name) {
    if (number == 0 && name.empty()) {
        session.charset = Charset::unknown();
        return WDB_OK;
    }
    auto charset = number != 0 ? Charset::byId(number) : Charset::byName(name);
    if (!charset) return WDB_E_ARGUMENT;
    session.charset = std::move(*charset);
    return WDB_OK;
}

Status setSessionInfo(Session& session, int32_t item, int32_t number, std::string_view text) {
    switch (item) {
        case WDB_SI_DATE_FORM:
            return setDateForm(session, number, text);
        case WDB_SI_LANGUAGE:
            return session.symbols.setLanguage(number);
        case WDB_SI_FIND_MINIMUM:
            if (number < 0) return WDB_E_ARGUMENT;
            session.search.setFindMinimum(number);
            return WDB_OK;
        case WDB_SI_CHARSET:
            return setCharset(session, number, text);
        default:
            return WDB_E_ARGUMENT;
    }
}

Status queryRcs(Session* session, const char* name, char* value, int32_t* length, int32_t levels) {
    if (!canPut(value, length)) return WDB_E_ARGUMENT;
    value[0] = '\0';
    std::optional<std::string> found;
    if ((levels & kAllLevels) == 0) return WDB_E_ARGUMENT;
    if (session != nullptr)
        found = session->settings.find(InText(*session, name), levels);
    else if ((levels & kEnvironmentLevel) != 0)
        found = environmentSetting(name == nullptr ? "" : name);
    int32_t size = std::min<int32_t>(*length, kMaxSetting + 1);
    const Status status = putText(session, found.value_or(std::string()), value, &size, Overflow::Cut);
    *length = size;
    return found ? status : WDB_FAIL;
}

// Takes the names of settings out of the texts asked for; the version is one, too, unless it is empty.
struct SettingsAsked {
    SettingsAsked(Session& session, std::span<const WdbSessionText> texts) {
        size_t count = 0;
        std::array<std::string_view, WDB_ST_MOST> names;
        std::vector<std::string> converted;  // whose texts stay where they are
        if (!session.charset.passes()) converted.reserve(texts.size());
        for (const WdbSessionText& text : texts) {
            if (text.kind == WDB_ST_SYMBOL) continue;
            std::string_view& name = names[count++];
            name = text.kind == WDB_ST_VERSION ? kVersionSetting : text.name == nullptr ? "" : text.name;
            if (!session.charset.passes()) name = converted.emplace_back(session.charset.toUtf8(name));
            name = trimName(name);
        }
        session.settings.findAll({names.data(), count}, {values.data(), count});
    }
    std::array<std::optional<std::string>, WDB_ST_MOST> values;
};

std::optional<std::string> sessionText(Session& session, const WdbSessionText& asked,
                                       std::optional<std::string>& setting) {
    switch (asked.kind) {
        case WDB_ST_VERSION:
            return setting && !setting->empty() ? std::move(setting) : std::string(kVersion);
        case WDB_ST_SYMBOL:
            return session.symbols.find(InText(session, asked.name));
        default:
            return std::move(setting);
    }
}

Status sessionTexts(Session& session, WdbSessionText* texts, int32_t count) {
    if (texts == nullptr || count < 1 || count > WDB_ST_MOST) return WDB_E_ARGUMENT;
    if (session.hooks.any) return WDB_E_UNSUPPORTED;
    const std::span<WdbSessionText> all(texts, static_cast<size_t>(count));
    SettingsAsked settings(session, all);
    size_t asked = 0;
    for (WdbSessionText& text : all) {
        const bool known = text.kind >= WDB_ST_VERSION && text.kind <= WDB_ST_SYMBOL;
        std::optional<std::string>& setting = settings.values[asked];
        if (text.kind != WDB_ST_SYMBOL) ++asked;
        if (!known || !canPut(text.text, &text.length)) {
            text.status = WDB_E_ARGUMENT;
            continue;
        }
        const auto found = sessionText(session, text, setting);
        text.status = found ? putText(&session, *found, text.text, &text.length) : WDB_FAIL;
    }
    return WDB_OK;
}

std::optional<std::string_view> optionalText(const char* raw, const InText& text) {
    return raw == nullptr ? std::nullopt : std::optional<std::string_view>(text.view());
}

Status setResource(Session& session, int32_t level, const char* name, const char* value) {
    const InText nameText(session, name), valueText(session, value);
    const auto wanted = optionalText(value, valueText);
    if (level == kSessionLevel) return session.settings.set(nameText, wanted);
    if (level != kLastingLevel || trimName(nameText).empty() || valueText.view().size() > kMaxSetting)
        return WDB_E_ARGUMENT;
    if (session.writer.readOnly()) return WDB_E_READ_ONLY;
    if (!session.rights.administrator()) return WDB_E_RIGHT;
    WDB_TRY(session.writer.commit());
    const auto hold = session.directory->acquireWriter(session.writer.patience());
    return hold ? session.directory->storeSetting(nameText, wanted, *hold) : hold.status();
}

}  // namespace
}  // namespace wdb::api

using namespace wdb;
using namespace wdb::api;

int32_t WdbVersion(char* text, int32_t* length) {
    return callWithout(__func__, [&](Session* session) {
        const auto other = session == nullptr ? environmentSetting(kVersionSetting)
                                              : session->settings.find(kVersionSetting, kAllLevels);
        return putText(session, other && !other->empty() ? std::string_view(*other) : kVersion, text, length);
    });
}

int32_t WdbSessionInfo(int32_t item, int32_t* number, char* text, int32_t* length) {
    return call(__func__, [&](Session& session) { return sessionInfo(session, item, number, text, length); });
}

int32_t WdbSetSessionInfo(int32_t item, int32_t number, const char* text) {
    return call(__func__, [&](Session& session) {
        return setSessionInfo(session, item, number, text == nullptr ? "" : text);
    });
}

int32_t WdbMessage(int32_t code, char* text, int32_t* length) {
    return callWithout(__func__, [&](Session*) -> Status {
        const std::string_view message = statusMessage(code);
        if (message.empty()) return WDB_FAIL;
        return putRaw(message, text, length, Overflow::Cut);
    });
}

int32_t QueryRCS(const char* name, char* value, int32_t* length, int32_t levels) {
    return callWithout(__func__,
                       [&](Session* session) { return queryRcs(session, name, value, length, levels); });
}

int32_t UpdateRCS(const char* name, const char* value) {
    return call(__func__, [&](Session& session) {
        const InText nameText(session, name), valueText(session, value);
        return session.settings.set(nameText, optionalText(value, valueText));
    });
}

int32_t WdbSetResource(int32_t level, const char* name, const char* value) {
    return call(__func__, [&](Session& session) { return setResource(session, level, name, value); });
}

int32_t WdbShellDefDateform(int32_t form, const char* text) {
    return call(__func__,
                [&](Session& session) { return setDateForm(session, form, text == nullptr ? "" : text); });
}

int32_t WdbSessionTexts(WdbSessionText* texts, int32_t count) {
    return call(__func__, [&](Session& session) { return sessionTexts(session, texts, count); });
}
