#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "bench/compare/Package.h"
#include "kernel/text/Analyzer.h"

namespace compare {

// Counts words, pairs and values while a collection goes by, and picks the arguments of the queries: several
// for each kind, of about the same weight, so that rotating them measures one thing with changing data.
class Statistics {
public:
    void add(const Package& package);
    // Writes lines "kind TAB argument ...". False when the file cannot be written.
    bool write(const std::string& path, uint64_t seed) const;

private:
    struct WordCount {
        std::string word;
        uint32_t records = 0;
        uint64_t dependencies = 0;  // of the records that hold it
        uint64_t last = 0;          // record that was counted last, from 1
    };
    struct Lines;

    uint32_t idOf(std::string_view word);
    std::vector<const WordCount*> wordsBetween(double low, double high) const;

    void addWordLines(Lines& lines) const;
    void addPrefixLines(Lines& lines) const;
    void addPhraseLines(Lines& lines) const;
    void addValueLines(Lines& lines) const;
    void addJoinLines(Lines& lines) const;

    wdb::Analyzer analyzer_;
    std::unordered_map<std::string, uint32_t> ids_;
    std::vector<WordCount> words_;
    std::unordered_map<uint64_t, std::pair<uint32_t, uint64_t>> pairs_;  // ids -> records, last record
    std::map<std::string, uint32_t> sections_;
    std::map<std::string, uint32_t> namePrefixes_;  // three letters
    std::vector<std::string> names_;                // every 97th
    std::vector<long long> sizes_;
    uint64_t records_ = 0;
};

}  // namespace compare
