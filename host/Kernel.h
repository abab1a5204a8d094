#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "wdb.h"

namespace host {

// A kernel call that failed, with the kernel's own explanation.
class KernelError : public std::runtime_error {
public:
    KernelError(std::int32_t status, const std::string& what) : std::runtime_error(what), status_(status) {}
    std::int32_t status() const { return status_; }

private:
    std::int32_t status_;
};

// The kernel's text for a status, and what it knows about the latest failure of the session.
std::string kernelMessage(std::int32_t status);
// Throws KernelError when the status is not a success.
void check(std::int32_t status);

// A record control and one cursor on it, deleted with the object.
class Control {
public:
    Control();  // throws KernelError
    ~Control();
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;
    WdbRecordControl* get() const { return control_; }

private:
    WdbRecordControl* control_ = nullptr;
};

class Cursor {
public:
    Cursor() = default;
    ~Cursor();
    Cursor(const Cursor&) = delete;
    Cursor& operator=(const Cursor&) = delete;
    WdbCursor* get() const { return cursor_; }
    WdbCursor** address() { return &cursor_; }

private:
    WdbCursor* cursor_ = nullptr;
};

}  // namespace host
