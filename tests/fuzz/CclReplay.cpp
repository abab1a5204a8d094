// Runs the fuzz target without a fuzzer: command lines, pieced together and bent at random. The dice are
// fixed.
#include <gtest/gtest.h>

#include <random>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

const char* const kLines[] = {
    "BASE X=A,,B",
    "DEFINE FIND MIN=0",
    "FIND (R=TO 1) NOT (R=TO 1)",
    "FIND T.F.2=a TO b AND T.NAME<>ab$c! ORX \"a b\".\"c\"\"d\"=\"x\\$\\_\"\"\"",
    "FIND T.A=3.COUNT(DISTINCT U.B) NOT T.R=1 TO 5 OR S=3",
    "FIND T.A= AND (T.B=2024.Jan.5)",
    "SEL SFX DISTINCT FRL(T A,U) FIELD(A.X,A.G.1-3,(A.G.1)-3,COUNT(*),-1.5*(A.B+2)/A.C,\"q\"\"q\",NULL) "
    "INNER(A.X<=U.Y) "
    "WHERE(A.X=1) SORT(A.X DESC,2) GROUP(A.X,A.0)",
    "SELECT ALL UNION(3,4) SORT(1 DES)",
};
const char* const kPieces[] = {"(",      ")",     "\"",       "\"\"", "$",
                               "!",      "\\",    ".",        "=",    "<>",
                               " TO ",   " AND ", " NOT ",    "3.B",  "0",
                               "-",      "NULL",  "DISTINCT", "R",    "S",
                               "COUNT(", ",",     "\xC3\xA4", "R.2",  "99999999999999999999"};

std::string bent(std::mt19937& dice) {
    const auto below = [&](size_t limit) {
        return std::uniform_int_distribution<size_t>(0, limit - 1)(dice);
    };
    std::string text = kLines[below(std::size(kLines))];
    for (size_t changes = 1 + below(4); changes > 0; --changes) {
        const size_t at = below(text.size() + 1);
        switch (below(5)) {
            case 0:
                text.insert(at, 1, static_cast<char>(below(256)));
                break;
            case 1:
                text.erase(at, 1 + below(8));
                break;
            case 2:
                text.insert(at, kPieces[below(std::size(kPieces))]);
                break;
            case 3:
                text.insert(at, text.substr(0, below(text.size() + 1)));
                break;
            default:
                text = text.substr(0, at) + kLines[below(std::size(kLines))];
                break;
        }
    }
    return text;
}

TEST(CclReplay, SurvivesBentCommands) {
    std::mt19937 dice{20261121};
    for (int round = 0; round < 60000; ++round) {
        const std::string text = bent(dice);
        SCOPED_TRACE(text);
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(text.data()), text.size());
    }
}

}  // namespace
