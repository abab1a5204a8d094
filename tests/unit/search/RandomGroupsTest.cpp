#include <algorithm>
#include <map>
#include <random>
#include <set>

#include "kernel/text/Normalize.h"
#include "tests/unit/search/SearchFixture.h"

namespace wdb {
namespace {

// GROUP, aggregates and DISTINCT over a table of which some records are in the index files and some were
// changed since, beside a plain reckoning. Values have several spellings under one key.
class RandomGroupsTest : public SearchFixture {
protected:
    struct Values {
        Items keys;
        std::string decimal;
        std::optional<int64_t> number;
    };
    using Table = std::map<RecordNumber, Values>;
    using Rows = std::multiset<std::string>;

    void SetUp() override {
        SearchFixture::SetUp();
        create("M", {{"K", FieldType::Phrase}, {"D", FieldType::Number}, {"N", FieldType::Integer}});
        ASSERT_EQ(search.execute("DEF FIN MIN=0"), WDB_OK);
    }
    std::string drawKey() {
        const std::string number = std::to_string(random_() % 40);
        const std::string names[] = {"k" + number, "K" + number, "k " + number, "k  " + number};
        return names[spellings_ ? random_() % 4 : 0];
    }
    Values draw() {
        Values values;
        if (random_() % 15 != 0) values.keys.push_back(drawKey());
        if (several_ && random_() % 40 == 0 && !values.keys.empty()) values.keys.push_back(drawKey());
        if (random_() % 9 != 0) {
            values.decimal = std::to_string(random_() % 30) + ".5";
            if (spellings_ && random_() % 3 == 0) values.decimal += '0';
        }
        if (random_() % 9 != 0) values.number = static_cast<int64_t>(random_() % 100) - 50;
        return values;
    }
    static Record recordOf(const Values& values) {
        Record record;
        if (!values.keys.empty()) record["K"] = values.keys;
        if (!values.decimal.empty()) record["D"] = {values.decimal};
        if (values.number) record["N"] = {std::to_string(*values.number)};
        return record;
    }
    void fill(RecordNumber count) {
        std::vector<Record> records;
        for (RecordNumber i = 0; i < count; ++i) records.push_back(recordOf(table_[++last_] = draw()));
        put("M", records);
    }
    void change() {
        for (int i = 0; i < 15; ++i) {
            auto at = table_.begin();
            std::advance(at, static_cast<ptrdiff_t>(random_() % table_.size()));
            if (random_() % 3 == 0) {
                remove("M", at->first);
                table_.erase(at);
            } else {
                replace("M", at->first, recordOf(at->second = draw()));
            }
        }
        fill(5);
    }
    static std::string print(const Items& items) {
        std::string text;
        for (const std::string& item : items) text += (text.empty() ? "" : ";") + item;
        return items.empty() ? "-" : text;
    }
    static std::string distinctKey(const std::string& text) {
        return std::to_string(text.size()) + normalize(text, kNormalizeValue);
    }
    std::vector<std::string> answered(const std::string& command) {
        std::vector<std::string> result;
        EXPECT_EQ(search.execute(command), WDB_OK) << command;
        RowItems row;
        for (int32_t i = 0; search.fetchRow(0, i, row) == WDB_OK; ++i)
            result.push_back(SearchFixture::print(row));
        return result;
    }

    // Groups stand in the order of their first records and have the first one's spelling.
    void expectGroups(int64_t below) {
        struct Group {
            std::string name;
            int64_t rows = 0, values = 0, sum = 0;
        };
        std::vector<Group> groups;
        std::map<std::string, size_t> placeOf;
        Group all;
        for (const auto& [record, values] : table_) {
            if (below < 100 && !(values.number && *values.number < below)) continue;
            std::string key;
            for (const std::string& item : values.keys) key += normalize(item, kNormalizeValue) + ';';
            const auto at = placeOf.try_emplace(key, groups.size()).first;
            if (at->second == groups.size()) groups.emplace_back().name = print(values.keys);
            for (Group* group : {&groups[at->second], &all}) {
                ++group->rows;
                group->values += values.number.has_value();
                group->sum += values.number.value_or(0);
            }
        }
        const auto line = [](const Group& group) {
            return std::to_string(group.rows) + "|" + std::to_string(group.values) + "|" +
                   (group.values == 0 ? "-" : std::to_string(group.sum));
        };
        std::vector<std::string> expected;
        for (const Group& group : groups) expected.push_back(group.name + "|" + line(group));
        const std::string where = below < 100 ? " WHERE(M.N<" + std::to_string(below) + ")" : "";
        const std::string items = "COUNT(*),COUNT(M.N),SUM(M.N))" + where;
        EXPECT_EQ(answered("SEL FRL(M) FIELD(M.K," + items + " GROUP(M.K)"), expected) << where;
        EXPECT_EQ(answered("SEL FRL(M) FIELD(" + items), std::vector<std::string>{line(all)}) << where;
    }
    // The first spelling of each kind of equal rows.
    void expectDistinct(const std::string& columns) {
        std::set<std::string> seen;
        Rows expected;
        for (const auto& [record, values] : table_) {
            std::string key, row;
            for (const char column : columns) {
                const Items items = column == 'K' ? values.keys
                                    : column == 'D'
                                        ? Items{values.decimal}
                                        : Items{values.number ? std::to_string(*values.number) : ""};
                for (const std::string& item : items) key += distinctKey(item) + ';';
                key += '|';
                const bool none = items.empty() || items[0].empty();
                row += (row.empty() ? "" : "|") + (none ? "-" : print(items));
            }
            if (seen.insert(key).second) expected.insert(row);
        }
        std::string fields;
        for (const char column : columns) fields += std::string(fields.empty() ? "" : ",") + "M." + column;
        const auto rows = answered("SEL DISTINCT FRL(M) FIELD(" + fields + ")");
        EXPECT_EQ(Rows(rows.begin(), rows.end()), expected) << columns;
    }
    void expectAll() {
        for (const int64_t below : {100, 10, -50}) expectGroups(below);
        for (const char* columns : {"K", "D", "N", "KN", "DK"}) expectDistinct(columns);
    }

    std::mt19937 random_{5};
    Table table_;
    RecordNumber last_ = 0;
    bool spellings_ = false;
    bool several_ = false;
};

TEST_F(RandomGroupsTest, AgreeWithTheValues) {
    fill(300);
    expectAll();  // all in the delta
    merge("M");
    expectAll();  // all in the index
    for (int round = 0; round < 4; ++round) {
        SCOPED_TRACE(round);
        spellings_ = round >= 1;
        several_ = round >= 3;
        change();
        expectAll();
        renew();
        if (round % 2 == 1) merge("M");
        expectAll();
    }
}

}  // namespace
}  // namespace wdb
