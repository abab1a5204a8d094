#include "kernel/common/Status.h"

namespace wdb {

std::string_view statusMessage(Status status) {
    switch (status) {
#define WDB_ERROR(name, number, message) \
    case name:                           \
        return message;
#include "kernel/common/errors.def"
#undef WDB_ERROR
        default:
            return (status & 1) != 0 ? std::string_view("Success.") : std::string_view();
    }
}

}  // namespace wdb
