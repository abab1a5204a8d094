#include "bench/compare/Document.h"

#include <charconv>

namespace compare {

namespace {

template <typename Number>
void append(std::string& to, Number number) {
    char digits[24];
    to.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

}  // namespace

void Document::begin(long long total) {
    text_ = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n<ResultSet>\n<ResultSetMetaData rowCount=\"";
    append(text_, total);
    text_ += "\"/>\n<ResultSetData>\n";
}

void Document::row(int number) {
    text_ += "<Row rowNumber=\"";
    append(text_, number);
    text_ += "\">\n";
}

void Document::column(int number, std::string_view text) {
    text_ += "<Column ID=\"";
    append(text_, number);
    text_ += "\" datasize=\"";
    append(text_, text.size());
    text_ += "\">";
    while (!text.empty()) {
        const size_t plain = text.find_first_of("&<>");
        text_ += text.substr(0, plain);
        if (plain == std::string_view::npos) break;
        text_ += text[plain] == '&' ? "&amp;" : text[plain] == '<' ? "&lt;" : "&gt;";
        text.remove_prefix(plain + 1);
    }
    text_ += "</Column>\n";
}

size_t Document::end() {
    text_ += "</ResultSetData>\n</ResultSet>\n";
    return text_.size();
}

}  // namespace compare
