#include "host/input/ColumnNames.h"

#include <gtest/gtest.h>

namespace host {
namespace {

TEST(ColumnNames, AreLegalShortAndDifferent) {
    ColumnNames names;
    for (const char* name : {"NAME", "Unit price (EUR)", "", "name", "GSTREAMER_URI_SOURCES",
                             "GSTREAMER_URI_SINKS", "a.b", "_x", "Größenangaben123", "r"}) {
        names.add(name);
    }
    const std::vector<std::string> expected = {
        "NAME", "Unit_price__EUR", "COLUMN3", "name2", "GSTREAMER_URI_S", "GSTREAMER_URI_2", "a_b",
        "x",    "Größenangaben",   "r2"};
    EXPECT_EQ(names.names(), expected);
}

TEST(ColumnNames, AreCutAtCharacters) {
    ColumnNames names;
    names.add("abcdefghijklm日");  // 13 + 3 bytes
    names.add(
        "a\xFF\x1B"
        "b");
    EXPECT_EQ(names.names(), (std::vector<std::string>{"abcdefghijklm", "a\uFFFD\u241Bb"}));
}

}  // namespace
}  // namespace host
