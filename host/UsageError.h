#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace host {

// The words of a dot command, its name first.
using Words = std::vector<std::string>;

// What a person typed wrong: the text is how the command is written.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace host
