#pragma once

#include <string>

namespace wsql {

/// One database of the kernel's list.
struct DatabaseEntry {
    std::string name;
    std::string owner;
};

}  // namespace wsql
