// The law of the indexes: whatever was stored, changed and deleted, and however much of it the index files,
// the delta and an open unit hold, IndexView answers what a look at every record answers.
#include <gtest/gtest.h>

#include "kernel/index/DeltaEntries.h"
#include "kernel/index/IndexCheck.h"
#include "tests/unit/index/IndexModel.h"

namespace wdb::test {
namespace {

constexpr FieldNumber kText = 1, kPhrase = 2, kInteger = 3, kNumber = 4, kDate = 5, kTime = 6, kKeywords = 7,
                      kNumbers = 8;

std::shared_ptr<const Schema> testSchema() {
    return std::make_shared<const Schema>(std::vector<FieldDefinition>{
        fieldOf(kText, FieldType::Text), fieldOf(kPhrase, FieldType::Phrase),
        fieldOf(kInteger, FieldType::Integer), fieldOf(kNumber, FieldType::Number),
        fieldOf(kDate, FieldType::Date), fieldOf(kTime, FieldType::Time),
        fieldOf(kKeywords, FieldType::Phrase), fieldOf(kNumbers, FieldType::Integer)});
}

using Random = std::mt19937;

template <typename T>
const T& pick(Random& random, const std::vector<T>& from) {
    return from[random() % from.size()];
}

const std::string kLong(450, 'x');

std::string randomWord(Random& random) {
    static const std::vector<std::string> words = {"a",
                                                   "ab",
                                                   "abc",
                                                   "gcc",
                                                   "gnu",
                                                   "GNU",
                                                   "library",
                                                   "lib",
                                                   "\u00C4pfel",
                                                   "stra\u00DFe",
                                                   "c99",
                                                   "x",
                                                   "\u65E5\u672C",
                                                   kLong + "one",
                                                   kLong + "two",
                                                   std::string(400, 'x')};
    return pick(random, words);
}

std::string randomText(Random& random) {
    std::string text;
    for (size_t n = random() % 12; n > 0; --n)
        text += randomWord(random) + pick<std::string>(random, {" ", " ", " ", "-", "\n", "\n\n"});
    return text;
}

std::string randomPhrase(Random& random) {
    static const std::vector<std::string> values = {
        "Alpha", "alpha", "alpha ", "Alpha Beta", "alpha  beta", "beta", "\u00E4", "\u00C4",
        "a!b",   "",      " ",      kLong + "1",  kLong + "2",   kLong,  "zz"};
    return pick(random, values);
}

int64_t randomInteger(Random& random) {
    switch (random() % 8) {
        case 0:
            return INT64_MIN + random() % 2;
        case 1:
            return INT64_MAX - random() % 2;
        case 2:
            return random() % 100000;
        default:
            return static_cast<int64_t>(random() % 20) - 5;
    }
}

std::string randomValue(Random& random, FieldNumber field, bool extremes) {
    switch (field) {
        case kText:
            return randomText(random);
        case kPhrase:
        case kKeywords:
            return randomPhrase(random);
        case kInteger:
        case kNumbers:
            return encodeInteger(extremes ? randomInteger(random) : static_cast<int64_t>(random() % 300) - 5);
        case kNumber:
            return pick<std::string>(random,
                                     {"1", "1.0", "-1.5", "2", "10", "1.50", "0", "0.0", "123456789.25"});
        case kDate:
            return encodeDay(
                dayNumber(2000 + static_cast<int>(random() % 3), 1 + static_cast<int>(random() % 3), 1));
        default:
            return encodeDay(static_cast<int32_t>(random() % 86400));
    }
}

std::string randomImage(Random& random, bool extremes) {
    RecordData data;
    for (FieldNumber field = kText; field <= kNumbers; ++field) {
        if (random() % 4 == 0) continue;
        size_t items = field >= kKeywords ? random() % 4 : 1;
        auto& values = data.head.at(field).items;
        while (items-- > 0)
            values.push_back(field >= kKeywords && random() % 5 == 0 ? ""
                                                                     : randomValue(random, field, extremes));
    }
    for (size_t parts = random() % 10 == 0 ? 1 + random() % 2 : 0; parts > 0; --parts) {
        FieldsData& part = data.parts.emplace_back();
        part.at(kText).items = {randomText(random)};
        part.at(kKeywords).items = {randomPhrase(random), randomPhrase(random)};
    }
    data.trim();
    return *encodeRecord(data, 1);
}

// What looking at every record says.
class Scan {
public:
    explicit Scan(const ModelBase& base) : base_(base) {}

    template <typename Test>
    std::vector<RecordNumber> where(Test&& test) const {
        std::vector<RecordNumber> out;
        for (const auto& [record, image] : base_.seen()) {
            if (test(viewOf(image))) out.push_back(record);
        }
        return out;
    }

    // Each value of the field, whole keys.
    std::vector<std::string> keys(const RecordView& record, FieldNumber field) const {
        std::vector<std::string> out;
        for (const std::string& item : itemsOf(record, field)) {
            if (!item.empty()) out.push_back(wholeValueKey(base_.schema()->find(field)->type, item));
        }
        return out;
    }

    // Words of head and parts, runs of neighbours apart.
    std::vector<std::vector<std::string>> runs(const RecordView& record) const {
        std::vector<std::vector<std::string>> out;
        Analyzer analyzer;
        for (const std::string& text : itemsOf(record, kText)) {
            uint32_t last = UINT32_MAX - 1;
            analyzer.words(text, [&](const Word& word) {
                if (word.position != last + 1) out.emplace_back();
                out.back().emplace_back(word.term);
                last = word.position;
            });
        }
        return out;
    }

    bool hasPhrase(const RecordView& record, const std::vector<Pattern>& patterns) const {
        for (const auto& run : runs(record)) {
            for (size_t begin = 0; begin + patterns.size() <= run.size(); ++begin) {
                size_t i = 0;
                while (i < patterns.size() && patterns[i].match(run[begin + i])) ++i;
                if (i == patterns.size()) return true;
            }
        }
        return false;
    }

    std::string firstKey(const RecordView& record, FieldNumber field) const {
        const auto items = itemsOf(record, field);
        return items.empty() || items[0].empty() ? ""
                                                 : wholeValueKey(base_.schema()->find(field)->type, items[0]);
    }

private:
    const ModelBase& base_;
};

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

bool within(const std::string& key, const std::optional<std::string>& low, bool lowIn,
            const std::optional<std::string>& high, bool highIn) {
    if (low && (key < *low || (!lowIn && key == *low))) return false;
    return !high || key < *high || (highIn && key == *high);
}

#define EXPECT_RECORDS(actual, expected, what)                        \
    do {                                                              \
        auto&& result = (actual);                                     \
        ASSERT_TRUE(result) << what << " status " << result.status(); \
        ASSERT_EQ(result->validate(), "") << what;                    \
        ASSERT_EQ(result->toVector(), (expected)) << what;            \
    } while (false)

void checkWords(ModelBase& base, IndexView& view, Random& random) {
    const Scan scan(base);
    static const std::vector<std::string> values = {"gcc",
                                                    "gnu",
                                                    "GNU library",
                                                    "lib$",
                                                    "$b$",
                                                    "!",
                                                    "a! gnu",
                                                    "gnu $ gnu",
                                                    "$ $",
                                                    "stra\u00DFe",
                                                    "\u00E4$",
                                                    "ab abc",
                                                    "a ab abc",
                                                    "nothing",
                                                    "gnu nothing",
                                                    kLong + "one",
                                                    kLong + "$",
                                                    kLong + "one gnu",
                                                    "$two",
                                                    std::string(400, 'x'),
                                                    "\u65E5\u672C x",
                                                    "x\u65E5$"};
    Analyzer analyzer;
    for (int i = 0; i < 6; ++i) {
        const std::string& value = pick(random, values);
        const auto patterns = analyzer.wordPatterns(patternOf(value));
        EXPECT_RECORDS(view.phrase(kText, patterns),
                       scan.where([&](const RecordView& record) { return scan.hasPhrase(record, patterns); }),
                       "phrase " + value);
        EXPECT_RECORDS(view.word(kText, patterns[0]), scan.where([&](const RecordView& record) {
            return scan.hasPhrase(record, {patterns[0]});
        }),
                       "word " + value);
    }
    static const std::vector<std::string> ends = {
        "a", "abc", "gnu", "m", kLong + "one", kLong + "p", std::string(400, 'x'), "zzz"};
    std::optional<Bound> low, high;
    if (random() % 4 != 0) low = Bound{pick(random, ends), random() % 2 == 0};
    if (random() % 4 != 0) high = Bound{pick(random, ends), random() % 2 == 0};
    const auto inside = [&](const RecordView& record) {
        for (const auto& run : scan.runs(record)) {
            for (const std::string& word : run) {
                if (within(word, low ? std::optional(low->value) : std::nullopt, low && low->inclusive,
                           high ? std::optional(high->value) : std::nullopt, high && high->inclusive))
                    return true;
            }
        }
        return false;
    };
    EXPECT_RECORDS(view.wordRange(kText, low, high), scan.where(inside), "word range");
}

void checkValues(ModelBase& base, IndexView& view, Random& random, FieldNumber field, bool extremes) {
    const Scan scan(base);
    const FieldType type = base.schema()->find(field)->type;
    const std::string name = "field " + std::to_string(field);
    const std::string value = randomValue(random, field, extremes);
    if (!value.empty()) {
        const std::string key = wholeValueKey(type, value);
        EXPECT_RECORDS(view.equal(field, value), scan.where([&](const RecordView& record) {
            const auto keys = scan.keys(record, field);
            return std::find(keys.begin(), keys.end(), key) != keys.end();
        }),
                       name + " equal");
    }
    std::optional<Bound> low, high;
    std::optional<std::string> lowKey, highKey;
    if (const std::string end = randomValue(random, field, extremes); random() % 5 != 0 && !end.empty()) {
        low = Bound{end, random() % 2 == 0};
        lowKey = wholeValueKey(type, end);
    }
    if (const std::string end = randomValue(random, field, extremes); random() % 5 != 0 && !end.empty()) {
        high = Bound{end, random() % 2 == 0};
        highKey = wholeValueKey(type, end);
    }
    EXPECT_RECORDS(view.range(field, low, high), scan.where([&](const RecordView& record) {
        const auto keys = scan.keys(record, field);
        return std::any_of(keys.begin(), keys.end(), [&](const std::string& key) {
            return within(key, lowKey, low && low->inclusive, highKey, high && high->inclusive);
        });
    }),
                   name + " range");
    if (type != FieldType::Phrase) return;
    static const std::vector<std::string> patterns = {
        "alpha",   "Alpha$",    "$beta",     "a$a",       "$",  "!", "!!!!!",
        "alpha $", kLong + "!", kLong + "$", kLong + "1", "$2", "",  "nothing$"};
    const std::string& text = pick(random, patterns);
    const Pattern pattern = phrasePattern(patternOf(text));
    EXPECT_RECORDS(view.match(field, pattern), scan.where([&](const RecordView& record) {
        const auto keys = scan.keys(record, field);
        return std::any_of(keys.begin(), keys.end(), [&](const std::string& key) {
            return pattern.match(Slice(key).substr(0, key.size() - 1));
        });
    }),
                   name + " match " + text);
}

void checkOrder(ModelBase& base, IndexView& view, FieldNumber field, bool descending) {
    const Scan scan(base);
    std::vector<std::pair<std::string, RecordNumber>> expected;
    for (const auto& [record, image] : base.seen()) {
        const std::string key = scan.firstKey(viewOf(image), field);
        if (!key.empty()) expected.emplace_back(key, record);
    }
    std::stable_sort(expected.begin(), expected.end(), [&](const auto& a, const auto& b) {
        return descending ? b.first < a.first : a.first < b.first;
    });
    Result<OrderWalk> walk = view.order(field, descending);
    ASSERT_TRUE(walk);
    size_t at = 0;
    Status status;
    while (ok(status = walk->next())) {
        const auto records = walk->records().toVector();
        ASSERT_FALSE(records.empty());
        const std::string whole = at < expected.size() ? expected[at].first : "";
        ASSERT_EQ(walk->key(), Slice(whole).substr(0, kMaxValueKey)) << "field " << field;
        for (const RecordNumber record : records) {
            ASSERT_LT(at, expected.size());
            ASSERT_EQ(expected[at], std::pair(whole, record)) << "field " << field;
            ++at;
        }
        ASSERT_TRUE(at == expected.size() || expected[at].first != whole) << "one step for one value";
    }
    ASSERT_EQ(status, WDB_FAIL);
    ASSERT_EQ(at, expected.size()) << "field " << field;
}

void checkPlaces(ModelBase& base, IndexView& view, Random& random, FieldNumber field) {
    const Scan scan(base);
    std::vector<RecordNumber> some;
    for (const auto& [record, image] : base.seen()) {
        if (random() % 3 != 0) some.push_back(record);
    }
    std::vector<OrderedRecord> places;
    ASSERT_EQ(view.places(field, RecordSet::of(some), places), WDB_OK);
    ASSERT_EQ(places.size(), some.size());
    std::map<uint64_t, std::string> keyOf;
    for (size_t i = 0; i < some.size(); ++i) {
        ASSERT_EQ(places[i].record, some[i]);
        const std::string key = scan.firstKey(viewOf(base.seen().at(some[i])), field);
        ASSERT_EQ(places[i].place == 0, key.empty());
        ASSERT_EQ(keyOf.try_emplace(places[i].place, key).first->second, key)
            << "equal places, other values; field " << field;
    }
    for (auto at = keyOf.begin(); at != keyOf.end() && std::next(at) != keyOf.end(); ++at)
        ASSERT_LT(at->second, std::next(at)->second) << "field " << field;
}

void checkTerms(ModelBase& base, IndexView& view, FieldNumber field) {
    const Scan scan(base);
    std::map<std::string, std::set<RecordNumber>> expected;
    for (const auto& [record, image] : base.seen()) {
        if (field == kText) {
            for (const auto& run : scan.runs(viewOf(image))) {
                for (const std::string& word : run) expected[word.substr(0, kMaxTerm)].insert(record);
            }
        } else {
            for (const std::string& key : scan.keys(viewOf(image), field))
                expected[key.substr(0, kMaxValueKey)].insert(record);
        }
    }
    std::string term;
    uint64_t records = 0;
    for (const auto& [key, set] : expected) {
        ASSERT_EQ(view.nextTerm(field, term, records), WDB_OK);
        ASSERT_EQ(term, key);
        ASSERT_EQ(records, set.size());
    }
    ASSERT_EQ(view.nextTerm(field, term, records), WDB_FAIL);
}

void checkSets(ModelBase& base, IndexView& view) {
    const Scan scan(base);
    EXPECT_RECORDS(view.live(), scan.where([](const RecordView&) { return true; }), "live");
    for (FieldNumber field = kText; field <= kNumbers; ++field) {
        EXPECT_RECORDS(view.present(field),
                       scan.where([&](const RecordView& record) { return !itemsOf(record, field).empty(); }),
                       "present");
        if (field == kText) continue;
        EXPECT_RECORDS(
            view.multi(field),
            scan.where([&](const RecordView& record) { return itemsOf(record, field).size() > 1; }), "multi");
    }
}

void checkAll(ModelBase& base, IndexView& view, Random& random, bool extremes) {
    checkSets(base, view);
    checkWords(base, view, random);
    for (FieldNumber field = kPhrase; field <= kNumbers; ++field) {
        checkValues(base, view, random, field, extremes);
        if (::testing::Test::HasFatalFailure()) return;
    }
    const auto field = static_cast<FieldNumber>(kPhrase + random() % 7);
    checkOrder(base, view, field, random() % 2 == 0);
    checkPlaces(base, view, random, field);
    checkTerms(base, view, random() % 2 == 0 ? kText : field);
}

struct Shape {
    const char* reason;
    uint32_t records;   // number space
    uint32_t distance;  // between record numbers
    bool extremes;      // integers too far apart for a column
    int rounds;
    uint32_t changes = 12;  // at most, per round
};

class IndexViewLaw : public ::testing::TestWithParam<Shape> {};

TEST_P(IndexViewLaw, EveryMixtureOfFilesDeltaAndUnit) {
    const Shape shape = GetParam();
    Random random(static_cast<unsigned>(shape.records));
    ModelBase base(testSchema());
    const auto anyRecord = [&] {
        return 1 + static_cast<RecordNumber>(random() % shape.records) * shape.distance;
    };
    const auto anyImage = [&] {
        return random() % 5 == 0 ? std::string() : randomImage(random, shape.extremes);
    };
    for (int round = 0; round < shape.rounds; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        for (size_t n = random() % shape.changes; n > 0; --n) {
            const RecordNumber record = anyRecord();
            const std::string image = anyImage();
            if (image.empty() && !base.state().contains(record)) continue;
            base.change(record, image);
        }
        const auto between = [&](Position from) { return from + random() % (base.position() - from + 1); };
        switch (random() % 8) {
            case 0:
                base.mergeWordsTo(between(base.wordPosition()));
                break;
            case 1:
                base.mergeValuesTo(between(base.valuePosition()));
                break;
            case 2:
                base.mergeWordsTo(base.position());
                base.mergeValuesTo(base.position());
                break;
            case 3:
                base.trimDelta();
                break;
            case 4:
                if (random() % 3 == 0) base.rebuild(random() % 2 == 0 ? 1 : size_t{256} << 20);
                break;
            default:
                break;
        }
        for (size_t n = random() % 3 == 0 ? 1 + random() % 5 : 0; n > 0; --n) {
            const RecordNumber record = anyRecord();
            const std::string image = anyImage();
            if (image.empty() && !base.unitState().contains(record)) continue;
            base.unitChange(record, image);
        }
        const Position lowest = std::max(base.wordPosition(), base.valuePosition());
        const bool withUnit = base.hasUnit() && random() % 2 == 0;
        {
            const auto snapshot = base.snapshot(withUnit ? base.position() : between(lowest), withUnit);
            IndexView view = snapshot->view();
            checkAll(base, view, random, shape.extremes);
            if (round % 8 == 0) {
                std::string reason;
                EXPECT_EQ(checkWordFile(snapshot->words, reason), WDB_OK) << reason;
                EXPECT_EQ(checkValueFile(snapshot->values, reason), WDB_OK) << reason;
            }
        }
        if (HasFatalFailure()) return;
        base.endUnit(random() % 4 != 0);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, IndexViewLaw,
    ::testing::Values(Shape{"a few records, changed often", 12, 1, true, 120},
                      Shape{"over several chunks and column blocks", 60, 3001, false, 60},
                      Shape{"many in one chunk", 400, 1, false, 30},
                      Shape{"enough for several position blocks and bitmaps", 6000, 1, false, 3, 4000}));

TEST(IndexView, RefusesFieldsThatDoNotFit) {
    ModelBase base(testSchema());
    const auto snapshot = base.snapshot(0, false);
    IndexView view = snapshot->view();
    EXPECT_EQ(view.equal(kText, "x").status(), WDB_E_TYPE);
    EXPECT_EQ(view.word(kPhrase, Pattern("x")).status(), WDB_E_TYPE);
    EXPECT_EQ(view.match(kInteger, Pattern("x")).status(), WDB_E_TYPE);
    EXPECT_EQ(view.present(99).status(), WDB_E_FIELD);
    EXPECT_EQ(view.order(kText, false).status(), WDB_E_TYPE);
    EXPECT_EQ(view.range(kInteger, Bound{"short", true}, std::nullopt).status(), WDB_E_VALUE);
}

// Values of the tables overwritten at random: searches answer something or WDB_E_CORRUPT and stay within the
// bytes (run under the sanitizers); the check finds it.
TEST(IndexView, DamagedEntriesStayHarmless) {
    Random random(21);
    for (int round = 0; round < 12; ++round) {
        ModelBase base(testSchema());
        for (RecordNumber record = 1; record < 40; ++record) base.change(record, randomImage(random, false));
        base.mergeWordsTo(base.position());
        base.mergeValuesTo(base.position());
        const bool words = round % 2 == 0;
        const Table tables = words ? 2 : 3;
        WriteTxn txn = std::move(*(words ? base.words() : base.values())->write());
        for (Table table = 0; table < tables; ++table) {
            Cursor cursor = txn.cursor(table);
            for (Status status = cursor.first(); ok(status); status = cursor.next()) {
                if (random() % 2 == 0) continue;
                std::string value(cursor.value());
                for (int flips = 0; flips < 3; ++flips)
                    value[random() % value.size()] ^= static_cast<char>(1 + random() % 255);
                if (random() % 4 == 0) value.resize(random() % value.size());
                if (value.empty()) value = "x";
                ASSERT_EQ(cursor.replace(value), WDB_OK);
            }
        }
        ASSERT_EQ(txn.commit(), WDB_OK);
        const auto snapshot = base.snapshot(base.position(), false);
        IndexView view = snapshot->view();
        std::string reason;
        EXPECT_EQ(words ? checkWordFile(snapshot->words, reason) : checkValueFile(snapshot->values, reason),
                  WDB_E_CORRUPT);
        EXPECT_FALSE(reason.empty());
        const auto fits = [](Status status) {
            return status == WDB_OK || status == WDB_E_CORRUPT || status == WDB_E_DELETED;
        };
        Analyzer analyzer;
        for (const char* value : {"gnu", "gcc gnu", "$b$", "lib$ gnu"})
            EXPECT_TRUE(fits(view.phrase(kText, analyzer.wordPatterns(patternOf(value))).status())) << value;
        for (FieldNumber field = kPhrase; field <= kNumbers; ++field) {
            const std::string value = randomValue(random, field, false);
            EXPECT_TRUE(fits(view.equal(field, value).status()));
            EXPECT_TRUE(fits(view.range(field, std::nullopt, std::nullopt).status()));
            EXPECT_TRUE(fits(view.present(field).status()));
            Result<OrderWalk> walk = view.order(field, round % 3 == 0);
            while (walk && ok(walk->next())) EXPECT_FALSE(walk->records().empty());
        }
    }
}

TEST(Delta, FoldsOnlyWhatFollowsAndIgnoresWhatIsThere) {
    const auto schema = testSchema();
    Random random(9);
    const std::string image = randomImage(random, false);
    const RecordView view = viewOf(image);
    UnitDelta unit(schema);
    ASSERT_EQ(unit.add(3, 1, &view), WDB_OK);
    ASSERT_EQ(unit.add(4, 2, &view), WDB_OK);
    Delta delta(schema, 1);
    EXPECT_EQ(delta.append().fold(unit), WDB_FAIL) << "change 2 is missing";
    EXPECT_EQ(delta.entries(), 0U);
    {
        Delta::Appender appender = delta.append();
        ASSERT_EQ(appender.add(2, 9, nullptr), WDB_OK);
        appender.advance(2);
    }
    EXPECT_EQ(delta.append().fold(unit), WDB_OK);
    EXPECT_EQ(delta.entries(), 3U);
    EXPECT_EQ(delta.append().fold(unit), WDB_OK) << "somebody was first";
    EXPECT_EQ(delta.entries(), 3U);
    EXPECT_EQ(delta.caughtUpTo(), 4U);
}

TEST(Delta, TakesACatchUpThatIsTriedAgain) {
    Random random(10);
    const std::string image = randomImage(random, false);
    const RecordView view = viewOf(image);
    Delta delta(testSchema(), 0);
    for (const int last : {2, 3}) {
        Delta::Appender appender = delta.append();
        for (int n = 1; n <= last; ++n)
            EXPECT_EQ(appender.add(static_cast<Position>(n), static_cast<RecordNumber>(n), &view), WDB_OK)
                << n;
        if (last == 3) appender.advance(3);
    }
    EXPECT_EQ(delta.append().add(2, 9, &view), WDB_OK) << "behind what was caught up to";
    EXPECT_EQ(delta.append().add(5, 9, &view), WDB_OK);
    EXPECT_EQ(delta.append().add(4, 8, &view), WDB_E_ARGUMENT);
    EXPECT_EQ(delta.read().entries().touched(0, 3).toVector(), (std::vector<RecordNumber>{1, 2, 3}));
}

}  // namespace
}  // namespace wdb::test
