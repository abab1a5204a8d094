// What a session holds: every statement has to leave it as it was, failing statements included.
#pragma once

#include <cstdint>
#include <sstream>
#include <string>

#include "include/wdb.h"

/// A text of everything that a statement could leave behind or change: handles, sets, saved statuses, the
/// current bases and the date form. Equal texts are equal states. (The find minimum stays 0 once a search has
/// asked for empty sets.)
inline std::string sessionState() {
    WdbLiveCounts live{};
    std::ostringstream state;
    state << "status " << WdbLiveHandles(&live) << " sessions " << live.sessions << " controls "
          << live.controls << " cursors " << live.cursors << " row buffers " << live.rowBuffers
          << " rule lists " << live.ruleLists << " saved " << live.savedStatuses << " sets " << live.sets
          << " readers " << live.readers;
    constexpr struct {
        std::int32_t item;
        const char* name;
    } kItems[] = {{WDB_SI_SETS, "session's sets"},
                  {WDB_SI_SAVED, "session's saved"},
                  {WDB_SI_BASES, "bases"},
                  {WDB_SI_DATE_FORM, "date form"}};
    for (const auto& [item, name] : kItems) {
        std::int32_t number = 0, size = 256;
        char text[256] = {};
        const std::int32_t status = WdbSessionInfo(item, &number, text, &size);
        state << "; " << name << " " << status << " " << number << " '" << text << "'";
    }
    return state.str();
}
