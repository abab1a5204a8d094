// Searches that read much of a field: by its vocabulary, by its ranks, by a walk. All of them answer what a
// look at every record answers, whether the ranks are there or not and whatever the delta holds.
#include <gtest/gtest.h>

#include <random>

#include "kernel/index/IndexCheck.h"
#include "kernel/text/Normalize.h"
#include "tests/unit/index/IndexModel.h"

namespace wdb::test {
namespace {

constexpr FieldNumber kText = 1, kName = 2, kNumber = 3;
constexpr RecordNumber kRecords = 900;

std::shared_ptr<const Schema> namesSchema() {
    return std::make_shared<const Schema>(std::vector<FieldDefinition>{fieldOf(kText, FieldType::Text),
                                                                       fieldOf(kName, FieldType::Phrase),
                                                                       fieldOf(kNumber, FieldType::Number)});
}

std::string nameOf(RecordNumber record) {
    return "N" + std::to_string(record * 7919 % 5000) + "-lib";
}

std::string imageOf(RecordNumber record, bool several) {
    RecordData data;
    data.head.at(kText).items = {"pre" + std::to_string(record * 31 % 1000) + "fix shared w" +
                                 std::to_string(record)};
    data.head.at(kName).items = {nameOf(record)};
    if (several) data.head.at(kName).items.push_back("N1several" + std::to_string(record));
    data.head.at(kNumber).items = {std::to_string(static_cast<int>(record * 37 % 700) - 300)};
    return *encodeRecord(data, 1);
}

Pattern patternOf(std::string_view text) {
    Pattern out;
    for (const char c : text) {
        if (c == '$')
            out.addAnyRun();
        else if (c == '!')
            out.addAnyCharacter();
        else
            out.addLiteral({&c, 1});
    }
    return out;
}

template <typename Test>
std::vector<RecordNumber> seenWhere(const ModelBase& base, Test&& test) {
    std::vector<RecordNumber> out;
    for (const auto& [record, image] : base.seen()) {
        if (test(viewOf(image))) out.push_back(record);
    }
    return out;
}

struct PatternRow {
    const char* pattern;
    const char* reason;
};

constexpr PatternRow kWordPatterns[] = {
    {"$99$", "an infix: the vocabulary, few terms"},
    {"$9f$", "over the end of a number"},
    {"!re1!fix", "one character first"},
    {"$fix", "a third of all terms: a walk"},
    {"$e$f$x", "several literals"},
    {"!!!!", "wildcards only, no run"},
    {"w1$", "a beginning"},
    {"$nothing$", "no term at all"},
    {"$w899", "the last term"},
};
constexpr PatternRow kNamePatterns[] = {
    {"n1$", "many keys together, items behind the first one among them"},
    {"n$", "all keys"},
    {"N49$", "few keys"},
    {"n4999$", "at the upper end"},
    {"m$", "before all keys"},
    {"z$", "behind all keys"},
    {"$several7$", "an infix that only later items have"},
    {"$9!-lib", "an infix"},
    {"$lib", "nearly all keys"},
};

class ManyKeys : public ::testing::Test {
protected:
    ManyKeys() : base_(namesSchema()) {
        for (RecordNumber record = 1; record <= kRecords; ++record)
            base_.change(record, imageOf(record, record % 40 == 0));
        base_.mergeWordsTo(base_.position());
        base_.mergeValuesTo(base_.position());
    }

    void checkPatterns(IndexView& view) {
        Analyzer analyzer;
        for (const PatternRow& row : kWordPatterns) {
            const Pattern pattern = analyzer.wordPatterns(patternOf(row.pattern))[0];
            const Result<RecordSet> hits = view.word(kText, pattern);
            ASSERT_TRUE(hits) << row.pattern;
            EXPECT_EQ(hits->toVector(), seenWhere(base_,
                                                  [&](const RecordView& record) {
                                                      bool found = false;
                                                      analyzer.words(
                                                          itemsOf(record, kText)[0], [&](const Word& word) {
                                                              found = found || pattern.match(word.term);
                                                          });
                                                      return found;
                                                  }))
                << row.pattern << ": " << row.reason;
        }
        for (const PatternRow& row : kNamePatterns) {
            const Pattern pattern = phrasePattern(patternOf(row.pattern));
            const Result<RecordSet> hits = view.match(kName, pattern);
            ASSERT_TRUE(hits) << row.pattern;
            EXPECT_EQ(hits->toVector(),
                      seenWhere(base_,
                                [&](const RecordView& record) {
                                    const auto items = itemsOf(record, kName);
                                    return std::any_of(
                                        items.begin(), items.end(), [&](const std::string& item) {
                                            return pattern.match(normalize(item, kNormalizeValue));
                                        });
                                }))
                << row.pattern << ": " << row.reason;
        }
    }

    void checkRanges(IndexView& view, FieldNumber field, const std::vector<std::string>& ends) {
        const FieldType type = field == kName ? FieldType::Phrase : FieldType::Number;
        for (size_t i = 0; i < ends.size() * ends.size() * 4; ++i) {
            std::optional<Bound> low{Bound{ends[i / 4 % ends.size()], i % 2 == 0}};
            std::optional<Bound> high{Bound{ends[i / 4 / ends.size()], i / 2 % 2 == 0}};
            if (low->value.empty()) low.reset();
            if (high->value.empty()) high.reset();
            const Result<RecordSet> hits = view.range(field, low, high);
            ASSERT_TRUE(hits);
            EXPECT_EQ(hits->toVector(),
                      seenWhere(base_,
                                [&](const RecordView& record) {
                                    for (const std::string& item : itemsOf(record, field)) {
                                        const std::string key = wholeValueKey(type, item);
                                        const std::string from = low ? wholeValueKey(type, low->value) : "";
                                        const std::string to = high ? wholeValueKey(type, high->value) : "";
                                        if ((!low || key > from || (low->inclusive && key == from)) &&
                                            (!high || key < to || (high->inclusive && key == to)))
                                            return true;
                                    }
                                    return false;
                                }))
                << "field " << field << ", range " << i;
        }
    }

    void checkTested(IndexView& view) {
        const auto endsInSeven = [](Slice number) { return number.ends_with('7'); };
        const Result<RecordSet> hits = view.where(kNumber, endsInSeven);
        ASSERT_TRUE(hits);
        EXPECT_EQ(hits->toVector(), seenWhere(base_, [&](const RecordView& record) {
                      const auto items = itemsOf(record, kNumber);
                      return std::any_of(items.begin(), items.end(), endsInSeven);
                  }));
        EXPECT_EQ(view.where(kName, endsInSeven).status(), WDB_E_TYPE);
    }

    void checkInOrder(IndexView& view, FieldNumber field) {
        const auto ranks = view.ranks(field);
        ASSERT_TRUE(ranks);
        std::vector<RecordNumber> expected;
        for (RecordNumber record = 0; record < (*ranks)->rankOf.size(); ++record) {
            const uint32_t rank = (*ranks)->rankOf[record];
            if (rank != 0 && rank != Ranks::kUnknown) expected.push_back(record);
        }
        std::stable_sort(expected.begin(), expected.end(),
                         [&](RecordNumber a, RecordNumber b) { return (*ranks)->of(a) < (*ranks)->of(b); });
        EXPECT_EQ((*ranks)->inOrder, expected);
    }

    void checkAll(bool withUnit) {
        const auto snapshot = base_.snapshot(base_.position(), withUnit);
        IndexView view = snapshot->view();
        for (int round = 0; round < 2; ++round) {
            checkPatterns(view);
            checkRanges(view, kName, {"", "N1", "N1000-lib", nameOf(7), "N3", "Z"});
            checkRanges(view, kNumber, {"", "-299", "-10", "0", "250.5", "399", "1000"});
            checkTested(view);
            // The second round has the ranks, if walks did not ask for them already.
            checkInOrder(view, kName);
            checkInOrder(view, kNumber);
        }
    }

    ModelBase base_;
};

TEST_F(ManyKeys, InTheFilesAlone) {
    checkAll(false);
}

TEST_F(ManyKeys, WithChangesInTheDeltaAndAUnit) {
    std::mt19937 random(5);
    for (int i = 0; i < 60; ++i) {
        const RecordNumber record = 1 + random() % (kRecords + 20);
        base_.change(record, i % 3 == 0 ? std::string() : imageOf(record + 5000, i % 4 == 0));
    }
    checkAll(false);
    for (int i = 0; i < 20; ++i) {
        const RecordNumber record = 1 + random() % kRecords;
        base_.unitChange(record, i % 3 == 0 ? std::string() : imageOf(record + 9000, false));
    }
    checkAll(true);
}

// What is kept stays within its bound, and walks ask for the ranks once they have cost as much.
TEST(RankCache, KeepsTheNewestAndWhatWasUsedLast) {
    RankCache cache;
    const auto ranksOf = [](FieldNumber field, Position position, size_t megabytes) {
        auto ranks = std::make_shared<Ranks>();
        ranks->field = field;
        ranks->position = position;
        ranks->rankOf.resize(megabytes << 18);
        return ranks;
    };
    cache.store(ranksOf(1, 5, 100));
    cache.store(ranksOf(1, 4, 1));
    EXPECT_NE(cache.find(1, 5), nullptr) << "older ranks do not replace newer ones";
    cache.store(ranksOf(2, 5, 100));
    EXPECT_NE(cache.find(1, 5), nullptr);
    cache.store(ranksOf(3, 5, 100));
    EXPECT_EQ(cache.find(2, 5), nullptr) << "over the bound: used the longest time ago";
    EXPECT_NE(cache.find(1, 5), nullptr);
    EXPECT_NE(cache.find(3, 5), nullptr);

    EXPECT_FALSE(cache.walked(1, 5, 600, 1000));
    EXPECT_TRUE(cache.walked(1, 5, 400, 1000));
    EXPECT_FALSE(cache.walked(1, 6, 400, 1000)) << "another file state: from the beginning";
    EXPECT_FALSE(cache.walked(1, 5, 9000, 1000)) << "a session on an older state does not count";
}

// A word whose positions take more than a length can say stands in a block of its own, between others.
TEST(PositionBlocks, LongPositionsStandAlone) {
    ModelBase base(namesSchema());
    const auto textOf = [](size_t repeats, const std::string& end) {
        RecordData data;
        std::string text;
        for (size_t i = 0; i < repeats; ++i) text += "the word ";
        data.head.at(kText).items = {text + end};
        return *encodeRecord(data, 1);
    };
    const std::vector<size_t> repeats = {1, 253, 254, 255, 256, 3000, 2, 300, 0, 1};
    for (size_t i = 0; i < repeats.size(); ++i)
        base.change(static_cast<RecordNumber>(i + 1), textOf(repeats[i], "the end word" + std::to_string(i)));
    for (const bool bulk : {false, true}) {
        if (bulk) {
            base.rebuild(size_t{1} << 20);
        } else {
            base.mergeWordsTo(5);
            base.mergeWordsTo(base.position());
            base.mergeValuesTo(base.position());
        }
        base.trimDelta();
        const auto snapshot = base.snapshot(base.position(), false);
        IndexView view = snapshot->view();
        Analyzer analyzer;
        const auto phrase = [&](const char* text) {
            return view.phrase(kText, analyzer.wordPatterns(Pattern(text)))->toVector();
        };
        EXPECT_EQ(phrase("the word"), (std::vector<RecordNumber>{1, 2, 3, 4, 5, 6, 7, 8, 10})) << bulk;
        EXPECT_EQ(phrase("word the word"), (std::vector<RecordNumber>{2, 3, 4, 5, 6, 7, 8})) << bulk;
        EXPECT_EQ(phrase("the end word5"), (std::vector<RecordNumber>{6})) << bulk;
        EXPECT_EQ(phrase("word the end word8"), (std::vector<RecordNumber>{})) << bulk;
        std::string reason;
        EXPECT_EQ(checkWordFile(snapshot->words, reason), WDB_OK) << reason;
    }
}

}  // namespace
}  // namespace wdb::test
