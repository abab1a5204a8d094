#include <random>

#include "kernel/ccl/Reader.h"
#include "kernel/search/ConditionBinder.h"
#include "kernel/search/ItemTest.h"
#include "tests/unit/search/SearchFixture.h"

// What the indexes answer against what looking at every record says, for conditions and records made at
// random.
namespace wdb {
namespace {

class RandomSearchTest : public SearchFixture {
protected:
    size_t below(size_t n) { return random_() % n; }

    std::string word() {
        static const char* const kWords[] = {"alpha", "beta", "Gamma", "delta", "eta", "be", "al", "x"};
        return kWords[below(8)];
    }
    std::string text(FieldType type) {
        switch (type) {
            case FieldType::Integer:
                return std::to_string(static_cast<int>(below(12)) - 4);
            case FieldType::Number:
                return std::to_string(below(5)) + (below(2) == 0 ? ".50" : ".5");
            case FieldType::Date:
                return "2024-01-0" + std::to_string(1 + below(9));
            case FieldType::Phrase:
                return below(3) == 0 ? word() : word() + " " + word();
            default: {
                std::string result = word();
                for (size_t i = below(6); i > 0; --i) result += (below(6) == 0 ? "\n\n" : " ") + word();
                return result;
            }
        }
    }
    Record record() {
        Record result;
        for (const auto& [name, type] : kFields) {
            const size_t items = type == FieldType::Text ? below(2)
                                 : below(4) == 0         ? 2 + below(2)
                                 : below(3) == 0         ? 0
                                                         : 1;
            for (size_t i = 0; i < items; ++i) {
                const bool gap = items > 1 && i + 1 < items && below(5) == 0;
                result[name].push_back(gap ? "" : text(type));
            }
        }
        return result;
    }
    std::string criterion() {
        const auto& [name, type] = kFields[below(kFields.size())];
        static const char* const kSigns[] = {"=", "<>", "<", ">", "<=", ">="};
        const std::string column = name + (below(5) == 0 ? "." + std::to_string(1 + below(2)) : "");
        switch (below(8)) {
            case 0:
                return column + "=$";
            case 1:
                return column + "=\"\"";
            case 2:
                return column + "=" + text(type) + " TO " + text(type);
            case 3: {
                std::string value = text(type).substr(0, 1 + below(6));
                for (char& c : value)
                    if (c == '\n') c = ' ';
                if (type == FieldType::Phrase || type == FieldType::Text)
                    return column + (below(2) == 0 ? "=" : "<>") + value + "$";
                return column + "=" + "$" + value.substr(0, 1);
            }
            default: {
                std::string value = text(type);
                for (char& c : value)
                    if (c == '\n') c = ' ';
                return column + kSigns[below(6)] + value;
            }
        }
    }

    // By looking at every record.
    std::string expected(const std::string& condition) {
        size_t position = 0;
        auto command = ccl::readCommand("FIN " + condition, words_, &position);
        EXPECT_TRUE(command) << condition;
        auto base = directory_->find("T");
        BaseState state(*this, **snapshot(*base));
        CommandError error;
        std::vector<Condition> conditions;
        const auto& criteria = std::get<ccl::FindCommand>(*command).expression.criteria;
        const Status status = ConditionBinder(state, search, error).bind(criteria, conditions);
        EXPECT_EQ(status, WDB_OK) << condition;
        ItemTest test(conditions[0], *this);
        std::string result;
        EXPECT_EQ(state.snapshot.reader().forEachRecord(1,
                                                        [&](RecordNumber number, Slice image) {
                                                            if (test.holds(*RecordView::validate(image)))
                                                                result += (result.empty() ? "" : " ") +
                                                                          std::to_string(number);
                                                            return Status{WDB_OK};
                                                        }),
                  WDB_OK);
        return result;
    }

    std::mt19937 random_{20240601};
    const std::vector<std::pair<std::string, FieldType>> kFields = {{"P", FieldType::Phrase},
                                                                    {"N", FieldType::Integer},
                                                                    {"D", FieldType::Number},
                                                                    {"DAY", FieldType::Date},
                                                                    {"T", FieldType::Text}};
};

TEST_F(RandomSearchTest, TheIndexesAgreeWithTheRecords) {
    create("T", kFields);
    std::vector<Record> records;
    for (int i = 0; i < 120; ++i) records.push_back(record());
    put("T", records);
    ASSERT_EQ(search.execute("DEF FIN MIN=0"), WDB_OK);
    ASSERT_EQ(search.execute("BAS T"), WDB_OK);
    for (int round = 0; round < 12; ++round) {
        for (int i = 0; i < 40; ++i) {
            const std::string condition = criterion();
            ASSERT_EQ(find(condition), expected(condition)) << condition << " in round " << round;
        }
        put("T", {record()});
        replace("T", static_cast<RecordNumber>(1 + below(40)), record());
        remove("T", static_cast<RecordNumber>(50 + round));
    }
}

}  // namespace
}  // namespace wdb
