#include "bench/compare/Statistics.h"

#include <algorithm>
#include <fstream>
#include <random>

namespace compare {

namespace {

constexpr size_t kArguments = 32;
constexpr size_t kCountedPairs = 400000;  // pairs seen later than these are not counted

}  // namespace

struct Statistics::Lines {
    std::ofstream file;
    std::mt19937_64 random;

    template <typename... Texts>
    void add(const char* kind, const Texts&... texts) {
        file << kind;
        ((file << '\t' << texts), ...);
        file << '\n';
    }
    template <typename T>
    const T& pick(const std::vector<T>& from) {
        return from[random() % from.size()];
    }
    // In random order, at most kArguments.
    template <typename T>
    std::vector<T> some(std::vector<T> from) {
        std::shuffle(from.begin(), from.end(), random);
        if (from.size() > kArguments) from.resize(kArguments);
        return from;
    }
};

uint32_t Statistics::idOf(std::string_view word) {
    const auto [found, added] = ids_.try_emplace(std::string(word), static_cast<uint32_t>(words_.size()));
    if (added) words_.push_back({found->first});
    return found->second;
}

void Statistics::add(const Package& package) {
    ++records_;
    uint32_t before = UINT32_MAX;
    uint32_t expected = 0;  // position at which a word would stand next to the one before
    analyzer_.words(package.description, [&](const wdb::Word& word) {
        const uint32_t id = idOf(word.term);
        WordCount& count = words_[id];
        if (count.last != records_) {
            count.last = records_;
            ++count.records;
            count.dependencies += package.targets.size();
        }
        const uint64_t pair = uint64_t{before} << 32 | id;
        if (before != UINT32_MAX && word.position == expected) {
            auto at = pairs_.find(pair);
            if (at == pairs_.end() && pairs_.size() < kCountedPairs)
                at = pairs_.emplace(pair, std::pair(0U, 0U)).first;
            if (at != pairs_.end() && at->second.second != records_) {
                ++at->second.first;
                at->second.second = records_;
            }
        }
        before = id;
        expected = word.position + 1;
    });
    ++sections_[package.section];
    if (package.name.size() > 3) ++namePrefixes_[package.name.substr(0, 3)];
    if (records_ % 97 == 1) names_.push_back(package.name);
    sizes_.push_back(package.size);
}

// Words of letters only, held by such a share of the records.
std::vector<const Statistics::WordCount*> Statistics::wordsBetween(double low, double high) const {
    std::vector<const WordCount*> out;
    const auto records = static_cast<double>(records_);
    for (const WordCount& word : words_) {
        const auto share = static_cast<double>(word.records) / records;
        const bool letters = word.word.size() > 2 && std::all_of(word.word.begin(), word.word.end(),
                                                                 [](char c) { return c >= 'a' && c <= 'z'; });
        if (letters && share >= low && share <= high) out.push_back(&word);
    }
    return out;
}

void Statistics::addWordLines(Lines& lines) const {
    const auto records = static_cast<double>(records_);
    for (const WordCount* word : lines.some(wordsBetween(5 / records, 40 / records)))
        lines.add("rare", word->word);
    const std::vector<const WordCount*> common = wordsBetween(0.06, 0.45);
    for (const WordCount* word : lines.some(common)) {
        lines.add("common", word->word);
        lines.add("wordbyname", word->word);
    }
    const std::vector<const WordCount*> frequent = wordsBetween(0.03, 0.45);
    for (size_t i = 0; i < kArguments; ++i) {
        const auto word = [&] { return lines.pick(frequent)->word; };
        lines.add("and", word(), word());
        lines.add("or3", word(), word(), word());
        lines.add("andnot", word(), word());
    }
}

void Statistics::addPrefixLines(Lines& lines) const {
    std::map<std::string, double> prefixes;
    for (const WordCount& word : words_) {
        if (word.word.size() >= 4) prefixes[word.word.substr(0, 4)] += word.records;
    }
    std::vector<std::string> heavy;
    for (const auto& [prefix, hits] : prefixes) {
        const double share = hits / static_cast<double>(records_);
        const bool letters =
            std::all_of(prefix.begin(), prefix.end(), [](char c) { return c >= 'a' && c <= 'z'; });
        if (letters && share > 0.15 && share < 0.6) heavy.push_back(prefix);
    }
    for (const std::string& prefix : lines.some(heavy)) lines.add("wordprefix", prefix);
    for (const char* infix : {"crypt", "graph", "script", "ython", "ompil"}) lines.add("infix", infix);
    // The most frequent beginnings of names.
    std::vector<std::pair<uint32_t, std::string>> names;
    for (const auto& [prefix, count] : namePrefixes_) names.emplace_back(count, prefix);
    std::sort(names.rbegin(), names.rend());
    for (size_t i = 0; i < names.size() && i < 3; ++i) lines.add("nameprefix", names[i].second);
}

void Statistics::addPhraseLines(Lines& lines) const {
    std::vector<std::pair<std::string, std::string>> phrases;
    std::vector<std::pair<uint64_t, uint32_t>> ordered;
    for (const auto& [pair, count] : pairs_) ordered.emplace_back(pair, count.first);
    std::sort(ordered.begin(), ordered.end());
    const auto limit = static_cast<uint32_t>(records_ / 50);
    for (const auto& [pair, count] : ordered) {
        const WordCount& first = words_[pair >> 32];
        const WordCount& second = words_[pair & UINT32_MAX];
        const bool frequent = std::min(first.records, second.records) > limit;
        if (frequent && count * 20 > limit && count < limit * 2)
            phrases.emplace_back(first.word, second.word);
    }
    for (const auto& [first, second] : lines.some(phrases)) lines.add("phrase", first, second);
}

void Statistics::addValueLines(Lines& lines) const {
    for (const std::string& name : lines.some(names_)) lines.add("point", name);
    std::vector<std::string> sections;
    for (const auto& [section, count] : sections_) {
        if (count > records_ / 200) sections.push_back(section);
    }
    for (const std::string& section : lines.some(sections)) lines.add("exact", section);
    std::vector<long long> sizes = sizes_;
    std::sort(sizes.begin(), sizes.end());
    const std::vector<const WordCount*> common = wordsBetween(0.06, 0.45);
    for (size_t i = 0; i < kArguments; ++i) {
        const size_t from = lines.random() % (sizes.size() / 2);
        const size_t width = sizes.size() / 20 + lines.random() % (sizes.size() / 5);
        lines.add("range", sizes[from], sizes[from + width]);
        lines.add("rangeword", sizes[from], sizes[from + width], lines.pick(common)->word);
    }
    lines.add("firstpage");
    lines.add("page500");
    lines.add("group");
}

void Statistics::addJoinLines(Lines& lines) const {
    const uint64_t all = records_ < 200000 ? 100000 : 680000;  // rows of the big join that are aimed at
    std::vector<std::string> few;
    std::vector<std::string> many;
    std::vector<const WordCount*> words = wordsBetween(0, 1);
    for (const WordCount* word : words) {
        if (word->dependencies >= 150 && word->dependencies <= 250) few.push_back(word->word);
    }
    // The eight words nearest to the aim.
    const auto distance = [&](const WordCount* word) {
        return std::max(word->dependencies, all) - std::min(word->dependencies, all);
    };
    std::sort(words.begin(), words.end(), [&](auto* a, auto* b) { return distance(a) < distance(b); });
    for (size_t i = 0; i < words.size() && i < 8; ++i) many.push_back(words[i]->word);
    for (const std::string& word : lines.some(few)) lines.add("joinfew", word);
    for (const std::string& word : many) lines.add("joinall", word);
}

bool Statistics::write(const std::string& path, uint64_t seed) const {
    Lines lines{std::ofstream(path), std::mt19937_64(seed)};
    addWordLines(lines);
    addPrefixLines(lines);
    addPhraseLines(lines);
    addValueLines(lines);
    addJoinLines(lines);
    lines.file.close();
    return !lines.file.fail();
}

}  // namespace compare
