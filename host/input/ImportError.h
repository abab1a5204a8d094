#pragma once

#include <stdexcept>
#include <string>

namespace host {

// Ends an import: nothing of it is kept. The text says why, with the place in the file where there is one.
class ImportError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace host
