#include "kernel/search/ItemTest.h"

#include "kernel/record/Value.h"
#include "kernel/text/Normalize.h"
#include "tests/unit/search/SearchFixture.h"

namespace wdb {
namespace {

class ItemTestTest : public SearchFixture {};

TEST_F(ItemTestTest, PhrasesStandInOneParagraph) {
    FieldDefinition field;
    field.number = 1;
    field.type = FieldType::Text;
    Condition condition;
    condition.test = Condition::Test::Words;
    condition.field = &field;
    Pattern value;
    value.addLiteral("b");
    value.addAnyRun();
    value.addLiteral(" c");
    condition.phrases.push_back(analyzer_.wordPatterns(value));
    ItemTest test(condition, *this);
    EXPECT_TRUE(test.passes("a bee c d"));
    EXPECT_TRUE(test.passes("b\nc"));
    EXPECT_FALSE(test.passes("b x c")) << "not next to each other";
    EXPECT_FALSE(test.passes("b\n\nc")) << "two paragraphs";
    EXPECT_FALSE(test.passes("c b")) << "the other order";
    EXPECT_FALSE(test.passes("x b")) << "the phrase runs out of the text";
}

TEST_F(ItemTestTest, NegationNeedsAValue) {
    FieldDefinition field;
    field.number = 1;
    Condition condition;
    condition.test = Condition::Test::Equal;
    condition.negated = true;
    condition.field = &field;
    condition.values = {"b", "A"};
    ItemTest test(condition, *this);
    RecordData data;
    const auto holds = [&](std::vector<std::string> items) {
        data.head.at(1).items = std::move(items);
        data.trim();
        const std::string image = *encodeRecord(data, 1);
        return test.holds(*RecordView::validate(image));
    };
    EXPECT_TRUE(holds({"c"}));
    EXPECT_FALSE(holds({"c", "a"})) << "one item is equal";
    EXPECT_FALSE(holds({})) << "no value";
    condition.first = condition.last = 2;
    EXPECT_TRUE(holds({"a", "c"})) << "only the second item counts";
    EXPECT_FALSE(holds({"c"})) << "there is no second item";
}

}  // namespace
}  // namespace wdb
