#pragma once

#include <cstddef>
#include <random>
#include <string>

namespace wdb {

// A text whose words and phrases come again, as in descriptions of like things; the same for the same number.
inline std::string prose(unsigned number, size_t size) {
    static constexpr const char* kPhrases[] = {"This package contains ",  "the shared library ",
                                               "development files for ",  "command line tools to ",
                                               "read and write records ", "documentation of ",
                                               "a graphical editor ",     "written in a small language ",
                                               "headers and examples ",   "for use with ",
                                               "other programs.\n",       "It is needed by "};
    std::minstd_rand random(number + 1);
    std::string text = "Item " + std::to_string(number) + "\n";
    while (text.size() < size) text += kPhrases[random() % std::size(kPhrases)];
    text.resize(size);
    return text;
}

}  // namespace wdb
