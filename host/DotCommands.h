#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host {

struct DotCommand {
    const char* name;
    const char* arguments;
    const char* help;
};

// Every dot command, in the order of the help.
const std::vector<DotCommand>& dotCommands();

// The words of a command line; quotes of either kind keep blanks together.
std::vector<std::string> splitWords(std::string_view line);

}  // namespace host
