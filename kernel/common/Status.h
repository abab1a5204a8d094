#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "include/wdb.h"

namespace wdb {

// What kernel code returns: WDB_OK, WDB_FAIL (no error: nothing there) or a WDB_E_ code of errors.def.
using Status = int32_t;

inline bool ok(Status status) {
    return WDB_SUCCESS(status);
}

// The message of a status: every code of errors.def and every odd code has one; empty for all others.
std::string_view statusMessage(Status status);

// A value or the status that says why there is none (never WDB_OK).
template <typename T>
class [[nodiscard]] Result {
public:
    Result(T value) : state_(std::in_place_index<0>, std::move(value)) {}
    Result(Status status) : state_(std::in_place_index<1>, status) {}

    explicit operator bool() const { return state_.index() == 0; }
    Status status() const { return *this ? WDB_OK : std::get<1>(state_); }
    T& operator*() { return std::get<0>(state_); }
    const T& operator*() const { return std::get<0>(state_); }
    T* operator->() { return &std::get<0>(state_); }
    const T* operator->() const { return &std::get<0>(state_); }

private:
    std::variant<T, Status> state_;
};

}  // namespace wdb

// Leaves the function with the status of a failed call.
#define WDB_TRY(expression)                                \
    do {                                                   \
        const ::wdb::Status wdbTryStatus = (expression);   \
        if (!::wdb::ok(wdbTryStatus)) return wdbTryStatus; \
    } while (false)
