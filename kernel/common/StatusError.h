#pragma once

#include <exception>

#include "kernel/common/Status.h"

namespace wdb {

// A failure that comes up where no status can be answered, such as damage found behind an accessor. The edge
// of the library turns it into its status.
class StatusError : public std::exception {
public:
    explicit StatusError(Status status) : status_(status) {}
    Status status() const { return status_; }
    const char* what() const noexcept override { return "a status that no accessor can answer"; }

private:
    Status status_;
};

}  // namespace wdb
