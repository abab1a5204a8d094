#pragma once

#include <string>
#include <string_view>

#include "include/wdb.h"
#include "kernel/common/Contained.h"
#include "kernel/common/Status.h"
#include "kernel/session/SessionRegistry.h"

namespace wdb::api {

// Hooks and bookkeeping are the same for every function.
template <typename Work>
Status runOn(Session& session, const char* function, Work&& work) noexcept {
    if (!session.hooks.any) [[likely]] {
        const Status status = contained([&] { return work(session); });
        session.endCall(status);
        return status;
    }
    if (session.hooks.refusing > 0) return WDB_E_SESSION_BUSY;
    const bool injected = session.hooks.injects(function);
    const Status status = injected ? session.hooks.failure : contained([&] { return work(session); });
    session.endCall(status);
    if (session.hooks.trace != nullptr) session.hooks.trace(session.hooks.traceContext, function, status);
    return status;
}

// work(Session&) on the thread's session; WDB_E_NO_SESSION without one.
template <typename Work>
Status call(const char* function, Work&& work) noexcept {
    Session* session = boundSession();
    return session == nullptr ? WDB_E_NO_SESSION : runOn(*session, function, work);
}

// work(Session*) on the thread's session, or with null.
template <typename Work>
Status callWithout(const char* function, Work&& work) noexcept {
    Session* session = boundSession();
    if (session == nullptr) return contained([&] { return work(static_cast<Session*>(nullptr)); });
    return runOn(*session, function, [&](Session& bound) { return work(&bound); });
}

// A text that a caller handed in, as UTF-8; NULL is the empty text. Nothing is copied unless the session's
// character set asks for it.
class InText {
public:
    InText(Session& session, const char* text)
        : InText(session, std::string_view(text == nullptr ? "" : text)) {}
    InText(Session& session, std::string_view text) : view_(text) {
        if (session.charset.passes()) return;
        converted_ = session.charset.toUtf8(text);
        view_ = converted_;
    }
    InText(const InText&) = delete;
    InText& operator=(const InText&) = delete;
    operator std::string_view() const { return view_; }
    std::string_view view() const { return view_; }

private:
    std::string converted_;
    std::string_view view_;
};

enum class Overflow { Refuse, Cut };

// The one rule for texts going out: *length is the buffer's size with the NUL on entry, the text's length on
// return. A text that does not fit is WDB_E_BUFFER with the size it needs, or is cut (never inside a UTF-8
// character).
Status putRaw(std::string_view text, char* buffer, int32_t* length, Overflow overflow = Overflow::Refuse);
// The same for UTF-8 in the session's character set; the session may be null.
Status putText(Session* session, std::string_view utf8, char* buffer, int32_t* length,
               Overflow overflow = Overflow::Refuse);
// The check alone, for calls that must not begin otherwise.
inline bool canPut(const char* buffer, const int32_t* length) {
    return buffer != nullptr && length != nullptr && *length >= 1;
}

// A byte offset in a text that a caller handed in, in the session's character set.
int32_t positionIn(Session& session, std::string_view utf8, int32_t position);

// A name into a buffer of fixed size, ended by a NUL.
void putName(Session& session, std::string_view utf8, char* buffer, size_t size);

inline void putNumber(int32_t* target, int64_t value) {
    if (target != nullptr) *target = static_cast<int32_t>(value);
}

}  // namespace wdb::api
