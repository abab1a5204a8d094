// Runs the fuzz target without a fuzzer: every input of the tables, and each of them bent at random. The dice
// are fixed, so a failure comes back.
#include <gtest/gtest.h>

#include <random>

#include "tests/tables/TableFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

void run(const std::string& text) {
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

std::vector<std::string> inputs() {
    std::vector<std::string> all;
    for (const char* name : {"sql/tokens.tbl", "sql/select_trees.tbl", "sql/condition_trees.tbl",
                             "sql/statement_trees.tbl", "sql/faults.tbl"}) {
        for (const tables::Row& row : tables::read(name)) all.push_back(tables::decoded(row.input));
    }
    return all;
}

class Dice {
public:
    size_t below(size_t limit) { return std::uniform_int_distribution<size_t>(0, limit - 1)(engine_); }

private:
    std::mt19937 engine_{20261121};
};

std::string word(const std::string& text, Dice& dice) {
    const size_t from = text.empty() ? 0 : dice.below(text.size());
    return text.substr(from, 1 + dice.below(12));
}

std::string bent(std::string text, const std::vector<std::string>& all, Dice& dice) {
    for (size_t changes = 1 + dice.below(4); changes > 0; --changes) {
        const size_t at = dice.below(text.size() + 1);
        switch (dice.below(5)) {
            case 0:
                text.insert(at, 1, static_cast<char>(dice.below(256)));
                break;
            case 1:
                text.erase(at, 1 + dice.below(8));
                break;
            case 2:
                text.insert(at, word(all[dice.below(all.size())], dice));
                break;
            case 3:
                text.insert(at, text.substr(0, dice.below(text.size() + 1)));
                break;
            default:
                text = text.substr(0, at) + all[dice.below(all.size())];
                break;
        }
        if (text.size() > 4096) text.resize(4096);
    }
    return text;
}

TEST(SqlReplay, SurvivesTheTables) {
    for (const std::string& text : inputs()) run(text);
}

TEST(SqlReplay, SurvivesBentStatements) {
    const std::vector<std::string> all = inputs();
    Dice dice;
    for (int round = 0; round < 40000; ++round) run(bent(all[dice.below(all.size())], all, dice));
}

}  // namespace
