// Today's date and time, shell symbols, the clock of tests.
#include <cstring>

#include "kernel/api/ApiCall.h"

namespace wdb::api {
namespace {

Status shellSymbol(Session& session, char* symbol, int32_t* length) {
    if (!canPut(symbol, length)) return WDB_E_ARGUMENT;
    const std::string_view name(symbol, strnlen(symbol, static_cast<size_t>(*length) - 1));
    const auto value = session.symbols.find(InText(session, name));
    if (!value) return session.fail(WDB_E_SYMBOL, trimName(name));
    return putText(&session, *value, symbol, length);
}

Status setShellSymbol(Session& session, const char* symbol, const char* value) {
    const InText name(session, symbol), text(session, value);
    return session.symbols.define(
        name, value == nullptr ? std::nullopt : std::optional<std::string_view>(text.view()));
}

}  // namespace
}  // namespace wdb::api

using namespace wdb;
using namespace wdb::api;

int32_t WdbCurrentDate(char* text, int32_t* length) {
    return call(__func__, [&](Session& session) {
        std::string date;
        renderDate(session.clock.dateCall().day, session.dates, date);
        return putRaw(date, text, length);
    });
}

int32_t WdbCurrentTime(char* text, int32_t* length) {
    return call(__func__, [&](Session& session) {
        std::string time;
        renderTime(session.clock.timeCall().second, time);
        return putRaw(time, text, length);
    });
}

int32_t WdbShellSymbol(char* symbol, int32_t* length) {
    return call(__func__, [&](Session& session) { return shellSymbol(session, symbol, length); });
}

int32_t WdbSetShellSymbol(const char* symbol, const char* value) {
    return call(__func__, [&](Session& session) { return setShellSymbol(session, symbol, value); });
}

int32_t WdbSetClock(const char* isoInstant) {
    return call(__func__, [&](Session& session) -> Status {
        if (isoInstant != nullptr) return session.clock.fix(isoInstant);
        session.clock.run();
        return WDB_OK;
    });
}
