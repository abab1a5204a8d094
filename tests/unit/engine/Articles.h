// Tables of the fake kernel that the tests of commands and faults work on.
#pragma once

#include <string>

#include "tests/unit/frame/FakeKernel.h"
#include "tests/unit/frame/Request.h"

inline constexpr std::uint32_t kPlainFlags = 16;  // nullable
inline constexpr std::uint32_t kPartFlags = 20;   // nullable, in part records

/// Fresh tables: T, with a field of every type; U, keyed by ID, and V, which share fields with it; PARTS,
/// whose second field lives in part records.
inline void loadArticles() {
    FakeKernel& kernel = fakeKernel();
    kernel = FakeKernel();
    kernel.messages[WDB_E_FIELD] = "no such field";
    kernel.messages[WDB_E_BASE] = "no such base";
    kernel.tables["T"] = {{"A", 1, WDB_T_INTEGER, kPlainFlags},  {"NAME", 2, WDB_T_PHRASE, kPlainFlags},
                          {"NOTE", 3, WDB_T_TEXT, kPlainFlags},  {"P", 4, WDB_T_NUMBER, kPlainFlags},
                          {"D", 5, WDB_T_DATE, kPlainFlags},     {"H", 6, WDB_T_TIME, kPlainFlags},
                          {"B", 7, WDB_T_STRING, kPlainFlags},   {"odd name", 8, WDB_T_PHRASE, kPlainFlags},
                          {"AND", 9, WDB_T_INTEGER, kPlainFlags}};
    kernel.tables["U"] = {{"ID", 1, WDB_T_INTEGER, kPlainFlags},
                          {"TID", 2, WDB_T_INTEGER, kPlainFlags},
                          {"NAME", 3, WDB_T_PHRASE, kPlainFlags},
                          {"NOTE", 4, WDB_T_TEXT, kPlainFlags}};
    kernel.tables["V"] = {{"ID", 1, WDB_T_INTEGER, kPlainFlags},
                          {"NAME", 2, WDB_T_PHRASE, kPlainFlags},
                          {"TID", 3, WDB_T_PHRASE, kPlainFlags},
                          {"W", 4, WDB_T_INTEGER, kPlainFlags}};
    kernel.keys["U"] = "ID";
    kernel.tables["PARTS"] = {{"HEAD", 1, WDB_T_PHRASE, kPlainFlags}, {"PIECE", 2, WDB_T_PHRASE, kPartFlags}};
}

/// Runs the statement; the answer stays in the request.
inline std::int32_t runSql(Request& request) {
    return execsql(&request.data, nullptr);
}
