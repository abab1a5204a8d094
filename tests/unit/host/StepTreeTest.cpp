#include "host/format/StepTree.h"

#include <gtest/gtest.h>

namespace {

using host::StepTree;

TEST(StepTree, PartsComeBeforeWhatTheyArePartOf) {
    StepTree steps;
    steps.add(2, "A = 'x'", 23804, 12300);
    steps.add(2, "B = 'y'", 7, 900);
    steps.add(1, "AND", 2, 20000);
    steps.add(1, "SORT N", -1, 1049);
    steps.add(0, "FIN A = 'x' AND B = 'y'", 2, 1234567);
    steps.add(0, "SEL", 20, 0);
    EXPECT_EQ(steps.draw(80),
              "FIN A = 'x' AND B = 'y'       2  1,234.6 us\n"
              "├─ AND                        2     20.0 us\n"
              "│  ├─ A = 'x'            23,804     12.3 us\n"
              "│  └─ B = 'y'                 7      0.9 us\n"
              "└─ SORT N                            1.0 us\n"
              "SEL                          20      0.0 us\n");
}

TEST(StepTree, NoStepIsLostAndNoneMovesTheCursor) {
    StepTree steps;
    EXPECT_EQ(steps.draw(80), "");
    steps.add(1, "an orphan", 1, -5);
    EXPECT_EQ(steps.draw(80), "an orphan             1  0.0 us\n");
    steps.add(-3, std::string(100, 'x') + "\n\x1b[2J", 1, 0);
    EXPECT_EQ(steps.draw(40),
              std::string(28, 'x') + "…  1  0.0 us\n└─ an orphan" + std::string(17, ' ') + "  1  0.0 us\n");
    for (int i = 20000; i > 0; --i) steps.add(i, "deep", 1, 0);
    steps.add(0, "top", 1, 0);
    EXPECT_GT(steps.draw(80).size(), 20000U * 4);
}

}  // namespace
