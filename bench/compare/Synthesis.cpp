#include "bench/compare/Synthesis.h"

#include <algorithm>

namespace compare {

namespace {

constexpr size_t kShortest = 4, kLongest = 14;  // words of a fragment

bool isSpace(char c) {
    return c == ' ' || c == '\n';
}

// The place behind `words` more words from `at` on, or the end.
size_t behindWords(std::string_view text, size_t at, size_t words) {
    while (words-- > 0 && at < text.size()) {
        while (at < text.size() && isSpace(text[at])) ++at;
        while (at < text.size() && !isSpace(text[at])) ++at;
    }
    return at;
}

// A number that depends on n alone.
uint64_t mix(uint64_t n) {
    n = (n ^ (n >> 31)) * 0x9E3779B97F4A7C15U;
    return n ^ (n >> 29);
}

}  // namespace

Synthesis::Synthesis(const std::vector<Package>& catalogue, uint64_t seed)
    : catalogue_(catalogue), random_(seed), seed_(seed) {}

// A name can be told from its number, so that a target needs no list of names.
std::string Synthesis::name(uint64_t n) const {
    const std::string& base = catalogue_[mix(n + seed_) % catalogue_.size()].name;
    return base + "-" + std::to_string(n);
}

std::string Synthesis::description() {
    const size_t length = std::max<size_t>(any().description.size(), 40);
    std::string out;
    while (out.size() < length) {
        const std::string_view source = any().description;
        const size_t from = source.empty() ? 0 : behindWords(source, below(source.size()), 1);
        const size_t to = behindWords(source, from, kShortest + below(kLongest - kShortest + 1));
        if (!out.empty()) out += below(12) == 0 ? ".\n\n" : below(6) == 0 ? "\n" : " ";
        const size_t word = std::min(source.find_first_not_of(" \n", from), to);
        out += source.substr(word, to - word);
    }
    return out;
}

Package Synthesis::make(uint64_t n) {
    Package out;
    out.name = name(n);
    out.version = any().version;
    out.section = any().section;
    out.size = any().size + static_cast<long long>(below(64));
    out.description = description();
    // Half as many dependencies as real packages have; small numbers are wanted more often.
    const size_t wanted = any().targets.size() / 2;
    for (size_t i = 0; i < wanted && n > 0; ++i) {
        const double u = static_cast<double>(below(1000000)) / 1e6;
        std::string target = name(static_cast<uint64_t>(u * u * u * static_cast<double>(n)));
        if (std::find(out.targets.begin(), out.targets.end(), target) == out.targets.end())
            out.targets.push_back(std::move(target));
    }
    return out;
}

}  // namespace compare
