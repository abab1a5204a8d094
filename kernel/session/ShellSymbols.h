#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "kernel/ccl/CommandWords.h"
#include "kernel/common/Status.h"

namespace wdb {

// The session's own symbols and the command words of its language: 0 the canonical words, 1 the default ones.
class ShellSymbols {
public:
    // A session symbol first, then the command word with this canonical name. Nothing for an unknown name.
    std::optional<std::string> find(std::string_view name) const;
    // Nothing removes the symbol. WDB_E_ARGUMENT for an empty name and for texts longer than WDB_WORD_MAX.
    Status define(std::string_view name, std::optional<std::string_view> value);

    int32_t language() const { return language_; }
    Status setLanguage(int32_t language);
    // What the command reader accepts.
    const ccl::CommandWords& words() const { return words_; }

private:
    std::map<std::string, std::string, std::less<>> own_;  // by folded name
    ccl::CommandWords words_;
    int32_t language_ = 1;
};

}  // namespace wdb
