#pragma once

#include <optional>
#include <string>

namespace host {

// The password that was handed over: the first line of the file when one is named, else the variable
// WSQL_PASSWORD. Throws std::runtime_error when the file cannot be read.
std::optional<std::string> givenPassword(const std::string& file);

// Asks on the terminal, without echo. Nothing when there is no terminal to ask on.
std::optional<std::string> askPassword(const std::string& user);

}  // namespace host
