#include "kernel/api/ApiCall.h"

#include <algorithm>
#include <cstring>

namespace wdb::api {

Status putRaw(std::string_view text, char* buffer, int32_t* length, Overflow overflow) {
    if (!canPut(buffer, length)) return WDB_E_ARGUMENT;
    const auto room = static_cast<size_t>(*length) - 1;
    if (text.size() > room) {
        if (overflow == Overflow::Refuse) {
            *length = static_cast<int32_t>(std::min<size_t>(text.size() + 1, INT32_MAX));
            return WDB_E_BUFFER;
        }
        text = text.substr(0, room);
    }
    std::memcpy(buffer, text.data(), text.size());
    buffer[text.size()] = '\0';
    *length = static_cast<int32_t>(text.size());
    return WDB_OK;
}

Status putText(Session* session, std::string_view utf8, char* buffer, int32_t* length, Overflow overflow) {
    if (session != nullptr && !session->charset.passes()) {
        return putRaw(session->charset.fromUtf8(utf8), buffer, length, overflow);
    }
    if (overflow == Overflow::Cut && canPut(buffer, length) && utf8.size() >= static_cast<size_t>(*length)) {
        utf8 = Charset::dropIncompleteUtf8(utf8.substr(0, static_cast<size_t>(*length) - 1));
    }
    return putRaw(utf8, buffer, length, overflow);
}

int32_t positionIn(Session& session, std::string_view utf8, int32_t position) {
    if (session.charset.passes() || position <= 0) return position;
    return static_cast<int32_t>(
        session.charset.fromUtf8(utf8.substr(0, static_cast<size_t>(position))).size());
}

void putName(Session& session, std::string_view utf8, char* buffer, size_t size) {
    auto length = static_cast<int32_t>(size);
    static_cast<void>(putText(&session, utf8, buffer, &length, Overflow::Cut));
}

}  // namespace wdb::api
