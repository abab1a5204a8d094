#include "host/Kernel.h"

#include <iterator>

namespace host {

std::string kernelMessage(std::int32_t status) {
    char text[512];
    std::int32_t length = sizeof text;
    std::int32_t code = 0;
    if (WDB_SUCCESS(WdbLastError(&code, nullptr, text, &length)) && code == status && length > 0) return text;
    length = sizeof text;
    if (WDB_SUCCESS(WdbMessage(status, text, &length)) && length > 0) return text;
    return "kernel status " + std::to_string(status);
}

void check(std::int32_t status) {
    if (!WDB_SUCCESS(status)) throw KernelError(status, kernelMessage(status));
}

Control::Control() {
    check(WdbCreateRecordControl(&control_));
}
Control::~Control() {
    WdbDeleteRecordControl(&control_);
}
Cursor::~Cursor() {
    WdbDeleteCursor(&cursor_);
}

}  // namespace host
