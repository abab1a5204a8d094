#pragma once

#include <string>
#include <string_view>

namespace compare {

// What an engine without documents of its own writes from its rows, for the comparison of the whole way from
// a text to a document: the exact total, and for each row its number and its columns with their sizes, as
// XML.
class Document {
public:
    void begin(long long total);
    void row(int number);
    void column(int number, std::string_view text);
    void endRow() { text_ += "</Row>\n"; }
    // The document's bytes.
    size_t end();

private:
    std::string text_;  // used again by the next one
};

}  // namespace compare
