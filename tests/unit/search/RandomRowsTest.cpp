#include <algorithm>
#include <map>
#include <random>
#include <set>

#include "tests/unit/search/SearchFixture.h"

namespace wdb {
namespace {

// Joins, groups and pages over tables of which some records are in the index files and some were changed
// since, beside a plain reckoning over the same values.
class RandomRowsTest : public SearchFixture {
protected:
    static constexpr RecordNumber kLeft = 300;
    static constexpr RecordNumber kRight = 500;
    struct Values {
        std::vector<std::string> keys;  // items; several in some tables
        std::optional<int64_t> number;
    };
    using Table = std::map<RecordNumber, Values>;

    void SetUp() override {
        SearchFixture::SetUp();
        for (const char* name : {"L", "M"})
            create(name, {{"K", FieldType::Phrase}, {"N", FieldType::Integer}});
        ASSERT_EQ(search.execute("DEF FIN MIN=0"), WDB_OK);
    }
    Values draw(bool several) {
        Values values;
        if (random_() % 20 != 0) values.keys.push_back("k" + std::to_string(random_() % 120));
        if (several && random_() % 8 == 0 && !values.keys.empty())
            values.keys.push_back("k" + std::to_string(random_() % 120));
        if (random_() % 9 != 0) values.number = static_cast<int64_t>(random_() % 1000) - 500;
        return values;
    }
    static Record recordOf(const Values& values) {
        Record record;
        if (!values.keys.empty()) record["K"] = values.keys;
        if (values.number) record["N"] = {std::to_string(*values.number)};
        return record;
    }
    void fillTable(const std::string& name, RecordNumber count, bool several, Table& table) {
        std::vector<Record> records;
        for (RecordNumber i = 1; i <= count; ++i) records.push_back(recordOf(table[i] = draw(several)));
        put(name, records);
        merge(name);
    }
    // Replaces and deletes some records; the index files do not know it.
    void change(const std::string& name, bool several, Table& table) {
        for (int i = 0; i < 12; ++i) {
            auto at = table.begin();
            std::advance(at, static_cast<ptrdiff_t>(random_() % table.size()));
            if (random_() % 3 == 0) {
                remove(name, at->first);
                table.erase(at);
            } else {
                replace(name, at->first, recordOf(at->second = draw(several)));
            }
        }
    }
    static std::string joined(const Table& left, const Table& right, int64_t below, bool keepLeft) {
        std::string result;
        for (const auto& [l, lv] : left) {
            bool any = false;
            for (const auto& [r, rv] : right) {
                const bool fits = std::any_of(lv.keys.begin(), lv.keys.end(), [&](const std::string& key) {
                    return std::find(rv.keys.begin(), rv.keys.end(), key) != rv.keys.end();
                });
                if (!fits || (below < 1000 && !(rv.number && *rv.number < below))) continue;
                any = true;
                result += (result.empty() ? "" : " ") + std::to_string(l) + "|" + std::to_string(r);
            }
            if (!any && keepLeft) result += (result.empty() ? "" : " ") + std::to_string(l) + "|-";
        }
        return result;
    }
    void expectJoins(const Table& left, const Table& right) {
        EXPECT_EQ(select("SEL FRL(L,M) FIELD(L.R,M.R) INNER(L.K=M.K)"), joined(left, right, 1000, false));
        EXPECT_EQ(select("SEL FRL(L,M) FIELD(L.R,M.R) LEFT(L.K=M.K)"), joined(left, right, 1000, true));
        EXPECT_EQ(select("SEL FRL(L,M) FIELD(L.R,M.R) INNER(L.K=M.K) WHERE(M.N<-470)"),
                  joined(left, right, -470, false))
            << "the narrow side leads";
        EXPECT_EQ(select("SEL FRL(L,M) FIELD(L.R,M.R) INNER(L.K=M.K) WHERE(M.N<300)"),
                  joined(left, right, 300, false));
    }
    void expectGroups(const Table& table) {
        std::map<std::string, std::array<int64_t, 3>> groups;  // rows, numbers, sum
        for (const auto& [record, values] : table) {
            auto& group = groups[values.keys.empty() ? "" : values.keys[0]];
            ++group[0];
            group[1] += values.number.has_value();
            group[2] += values.number.value_or(0);
        }
        std::string expected;
        for (const auto& [key, group] : groups) {
            expected += (expected.empty() ? "" : " ") + (key.empty() ? "-" : key) + "|" +
                        std::to_string(group[0]) + "|" + std::to_string(group[1]) + "|" +
                        (group[1] == 0 ? "-" : std::to_string(group[2]));
        }
        EXPECT_EQ(select("SEL FRL(M) FIELD(M.K.1,COUNT(*),COUNT(M.N),SUM(M.N)) SORT(1) GROUP(M.K.1)"),
                  expected);
    }
    void expectPages(const Table& table) {
        for (const bool down : {false, true}) {
            for (const char* where : {"", " WHERE(M.N<100)"}) {
                std::vector<std::pair<std::string, RecordNumber>> order;
                for (const auto& [record, values] : table) {
                    if (*where != 0 && !(values.number && *values.number < 100)) continue;
                    order.emplace_back(values.keys.empty() ? "" : values.keys[0], record);
                }
                std::sort(order.begin(), order.end(), [&](const auto& a, const auto& b) {
                    if (a.first != b.first) return down ? a.first > b.first : a.first < b.first;
                    return a.second < b.second;
                });
                for (const size_t from : {size_t{0}, order.size() / 2, order.size() - 3, size_t{40}}) {
                    ASSERT_EQ(search.execute(std::string("SEL FRL(M) FIELD(M.R)") + where + " SORT(M.K" +
                                             (down ? " DES)" : ")")),
                              WDB_OK);
                    for (size_t i = from; i < std::min(from + 30, order.size()); ++i) {
                        RowItems row;
                        ASSERT_EQ(search.fetchRow(0, static_cast<int32_t>(i), row), WDB_OK);
                        ASSERT_EQ(row.words[row.words.size() - 2], order[i].second)
                            << where << " row " << i << (down ? " down" : "");
                    }
                }
            }
        }
    }

    std::mt19937 random_{11};
};

TEST_F(RandomRowsTest, TheOrdersOfTheIndexAgreeWithTheValues) {
    for (const bool several : {false, true}) {
        SCOPED_TRACE(several);
        Table left, right;
        if (several) {
            for (const char* name : {"L", "M"})
                ASSERT_EQ(find(std::string(name) + ".R=FROM 1").empty(), false);
            withUnit("L", [](UnitBase& base) {
                for (RecordNumber r = 1; r <= kLeft; ++r) static_cast<void>(base.remove(r));
            });
            withUnit("M", [](UnitBase& base) {
                for (RecordNumber r = 1; r <= kRight; ++r) static_cast<void>(base.remove(r));
            });
        }
        const RecordNumber skip = several ? 1 : 0;
        Table filledLeft, filledRight;
        fillTable("L", kLeft, several, filledLeft);
        fillTable("M", kRight, several, filledRight);
        for (auto& [record, values] : filledLeft) left[record + skip * kLeft] = values;
        for (auto& [record, values] : filledRight) right[record + skip * kRight] = values;
        for (int round = 0; round < 3; ++round) {
            expectJoins(left, right);
            expectGroups(right);
            expectPages(right);
            change("L", several, left);
            change("M", several, right);
        }
        expectJoins(left, right);
    }
}

}  // namespace
}  // namespace wdb
