#include "tests/model/Twin.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <functional>
#include <sstream>

namespace model {
namespace {

constexpr const char* kWords[] = {"alpha",    "beta",    "gamma", "delta", "comp",
                                  "compiler", "compile", "zeta",  "net",   "x1"};
constexpr const char* kKinds[] = {"lib",         "Libs",       "devel",    "Admin",
                                  "admin  tool", "web server", "libdevel", "Z"};

int pick(Random& random, int count) {
    return static_cast<int>(random() % static_cast<unsigned>(count));
}

std::string upper(std::string text) {
    for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

// Upper case, runs of blanks as one: how values of one line compare.
std::string folded(const std::string& text) {
    std::istringstream words(upper(text));
    std::string word;
    std::string result;
    while (words >> word) result += (result.empty() ? "" : " ") + word;
    return result;
}

bool matches(const char* pattern, const char* text) {
    if (*pattern == 0) return *text == 0;
    if (*pattern == '$') return matches(pattern + 1, text) || (*text != 0 && matches(pattern, text + 1));
    if (*text == 0 || (*pattern != '!' && *pattern != *text)) return false;
    return matches(pattern + 1, text + 1);
}

bool matchesFolded(const std::string& pattern, const std::string& text) {
    return matches(upper(pattern).c_str(), folded(text).c_str());
}

std::vector<std::string> wordsOf(const std::string& text) {
    std::istringstream stream(upper(text));
    std::vector<std::string> words;
    for (std::string word; stream >> word;) words.push_back(word);
    return words;
}

bool hasPhrase(const std::string& paragraph, const std::string& phrase) {
    const auto words = wordsOf(paragraph);
    const auto wanted = wordsOf(phrase);
    for (size_t start = 0; start + wanted.size() <= words.size(); ++start) {
        size_t at = 0;
        while (at < wanted.size() && matches(wanted[at].c_str(), words[start + at].c_str())) ++at;
        if (at == wanted.size()) return true;
    }
    return false;
}

using Test = std::function<bool(const TwinRecord&)>;
using RowTest = std::function<bool(const TwinRecord&, size_t part)>;

Question askRows(const Twin& twin, std::string ccl, const RowTest& test) {
    Question question{std::move(ccl), {}};
    for (const auto& [number, record] : twin) {
        const size_t last = record.pages.size();
        for (size_t part = last == 0 ? 0 : 1; part <= last; ++part) {
            if (test(record, part)) question.rows.push_back({number, static_cast<int32_t>(part)});
        }
    }
    return question;
}

Question ask(const Twin& twin, std::string ccl, const Test& test) {
    return askRows(twin, std::move(ccl), [&](const TwinRecord& record, size_t) { return test(record); });
}

Question askNote(Random& random, const Twin& twin) {
    static constexpr const char* kPhrases[] = {
        "alpha", "comp$",   "$eta", "compiler", "alpha beta", "net comp!le", "beta gamma delta",
        "c!mp",  "missing", "x1"};
    const std::string phrase = kPhrases[pick(random, 10)];
    return ask(twin, "NOTE=" + phrase, [&](const TwinRecord& record) {
        return std::any_of(record.note.begin(), record.note.end(),
                           [&](const std::string& paragraph) { return hasPhrase(paragraph, phrase); });
    });
}

Question askKind(Random& random, const Twin& twin) {
    static constexpr const char* kPatterns[] = {"LIB",   "lib$", "$dev$", "admin tool",
                                                "adm!n", "z",    "$",     "nothing"};
    const std::string pattern = kPatterns[pick(random, 8)];
    const bool differs = pick(random, 4) == 0 && pattern != "$";
    return ask(twin, "KIND" + std::string(differs ? "<>" : "=") + pattern, [&](const TwinRecord& record) {
        return !record.kind.empty() && matchesFolded(pattern, record.kind) != differs;
    });
}

Question askTag(Random& random, const Twin& twin) {
    const std::string tag = kWords[pick(random, 10)];
    if (pick(random, 4) == 0) {
        return ask(twin, "TAG.2=" + tag, [&](const TwinRecord& record) {
            return record.tags.size() > 1 && matchesFolded(tag, record.tags[1]);
        });
    }
    return ask(twin, "TAG=" + tag, [&](const TwinRecord& record) {
        return std::any_of(record.tags.begin(), record.tags.end(),
                           [&](const std::string& item) { return matchesFolded(tag, item); });
    });
}

Question askSize(Random& random, const Twin& twin) {
    const long low = pick(random, 2000) - 500;
    const long high = low + pick(random, 800);
    const std::string text = std::to_string(low);
    switch (pick(random, 5)) {
        case 0:
            return ask(twin, "SIZE<" + text, [&](const TwinRecord& r) { return r.hasSize && r.size < low; });
        case 1:
            return ask(twin, "SIZE>=" + text,
                       [&](const TwinRecord& r) { return r.hasSize && r.size >= low; });
        case 2:
            return ask(twin, "SIZE<>" + text,
                       [&](const TwinRecord& r) { return r.hasSize && r.size != low; });
        case 3:
            return ask(twin, "SIZE=\"\"", [&](const TwinRecord& r) { return !r.hasSize; });
        default:
            return ask(twin, "SIZE=" + text + " TO " + std::to_string(high),
                       [&](const TwinRecord& r) { return r.hasSize && r.size >= low && r.size <= high; });
    }
}

Question askOther(Random& random, const Twin& twin) {
    switch (pick(random, 5)) {
        case 4: {
            const std::string page = kWords[pick(random, 10)];
            return askRows(twin, "PAGE=" + page, [&](const TwinRecord& r, size_t part) {
                return part != 0 && matchesFolded(page, r.pages[part - 1]);
            });
        }
        case 0:
            return ask(twin, "PRICE>5.50", [](const TwinRecord& r) {
                return !r.price.empty() && std::atof(r.price.c_str()) > 5.5;
            });
        case 1:
            return ask(twin, "DAY=2020-03-01 TO 2021-02-28",
                       [](const TwinRecord& r) { return r.day >= "2020-03-01" && r.day <= "2021-02-28"; });
        case 2:
            return ask(twin, "TAG=\"\"", [](const TwinRecord& r) { return r.tags.empty(); });
        default: {
            const std::string name = "item " + std::to_string(pick(random, 300));
            return ask(twin, "NAME=\"" + name + "\"",
                       [&](const TwinRecord& r) { return folded(r.name) == upper(name); });
        }
    }
}

template <typename Set>
std::vector<Row> combine(const std::vector<Row>& a, const std::vector<Row>& b, Set operation) {
    std::vector<Row> result;
    operation(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(result));
    return result;
}

}  // namespace

std::vector<int32_t> Question::records() const {
    std::vector<int32_t> numbers;
    for (const Row& row : rows) {
        if (numbers.empty() || numbers.back() != row.record) numbers.push_back(row.record);
    }
    return numbers;
}

std::string randomWord(Random& random) {
    return kWords[pick(random, 10)];
}

TwinRecord randomRecord(Random& random, int serial, int words) {
    TwinRecord record;
    record.name = "Item  " + std::to_string(serial);
    if (pick(random, 8) != 0) record.kind = kKinds[pick(random, 8)];
    for (int n = pick(random, 4); n > 0; --n) record.tags.emplace_back(kWords[pick(random, 10)]);
    for (int n = pick(random, 8) - 5; n > 0; --n)
        record.pages.emplace_back(pick(random, 4) == 0 ? "" : kWords[pick(random, 10)]);
    for (int n = pick(random, 3); n > 0; --n) {
        std::string& paragraph = record.note.emplace_back(kWords[pick(random, 10)]);
        for (int left = pick(random, words); left > 0; --left)
            paragraph += std::string(" ") + kWords[pick(random, 10)];
    }
    record.hasSize = pick(random, 10) != 0;
    if (record.hasSize) record.size = pick(random, 2000) - 500;
    if (pick(random, 3) != 0)
        record.price = std::to_string(pick(random, 12)) + "." + std::to_string(10 + pick(random, 90));
    if (pick(random, 3) != 0) {
        record.day = std::to_string(2019 + pick(random, 4)) + "-0" + std::to_string(1 + pick(random, 9)) +
                     "-" + std::to_string(10 + pick(random, 19));
    }
    return record;
}

Question randomQuestion(Random& random, const Twin& twin) {
    switch (pick(random, 5)) {
        case 0:
            return askNote(random, twin);
        case 1:
            return askKind(random, twin);
        case 2:
            return askTag(random, twin);
        case 3:
            return askSize(random, twin);
        default:
            return askOther(random, twin);
    }
}

Question randomExpression(Random& random, const Twin& twin, int depth) {
    if (depth == 0 || pick(random, 3) == 0) return randomQuestion(random, twin);
    const Question left = randomExpression(random, twin, depth - 1);
    const Question right = randomExpression(random, twin, depth - 1);
    const auto wrap = [&](const char* word) { return "(" + left.ccl + ") " + word + " (" + right.ccl + ")"; };
    using Iterator = std::vector<Row>::const_iterator;
    using Out = std::back_insert_iterator<std::vector<Row>>;
    switch (pick(random, 3)) {
        case 0:
            return {wrap("AND"),
                    combine(left.rows, right.rows, std::set_intersection<Iterator, Iterator, Out>)};
        case 1:
            return {wrap("OR"), combine(left.rows, right.rows, std::set_union<Iterator, Iterator, Out>)};
        default:
            return {wrap("NOT"),
                    combine(left.rows, right.rows, std::set_difference<Iterator, Iterator, Out>)};
    }
}

std::vector<int32_t> sorted(const Twin& twin, Field field, bool descending) {
    struct Entry {
        bool present;
        long number;
        std::string text;
        int32_t record;
    };
    std::vector<Entry> entries;
    for (const auto& [number, record] : twin) {
        switch (field) {
            case kSize:
                entries.push_back({record.hasSize, record.size, "", number});
                break;
            case kKind:
                entries.push_back({!record.kind.empty(), 0, folded(record.kind), number});
                break;
            case kTag: {
                const std::string first = record.tags.empty() ? "" : folded(record.tags.front());
                entries.push_back({!first.empty(), 0, first, number});
                break;
            }
            default:
                entries.push_back({true, 0, folded(record.name), number});
                break;
        }
    }
    std::stable_sort(entries.begin(), entries.end(), [&](const Entry& a, const Entry& b) {
        const auto key = [](const Entry& e) { return std::tie(e.present, e.number, e.text); };
        return descending ? key(b) < key(a) : key(a) < key(b);
    });
    std::vector<int32_t> records;
    for (const Entry& entry : entries) records.push_back(entry.record);
    return records;
}

}  // namespace model
