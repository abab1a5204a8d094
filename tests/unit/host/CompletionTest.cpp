#include "host/text/Completion.h"

#include <gtest/gtest.h>

namespace host {
namespace {

TEST(Completion, OffersKeywordsAndNames) {
    using Words = std::vector<std::string>;
    const Words names = {"PACKAGES", "SECTION", "SELECTED", "SECTION", ".tables"};
    EXPECT_EQ(completions("SEL", names), (Words{"SELECT", "SELECTED"}));
    EXPECT_EQ(completions("sel", names), (Words{"SELECTED", "select"}));
    EXPECT_EQ(completions("sect", names), (Words{"SECTION"}));
    EXPECT_EQ(completions(".t", names), (Words{".tables"}));
    EXPECT_EQ(completions("zz", names), Words{});
    EXPECT_EQ(completions("", names), Words{});
    EXPECT_EQ(commonPrefix({"SELECTED", "SELECT"}), "SELECT");
    EXPECT_EQ(commonPrefix({"SELECTED", "select"}), "SELECT");
    EXPECT_EQ(commonPrefix({}), "");
}

}  // namespace
}  // namespace host
