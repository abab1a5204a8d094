#include "tests/differential/Text.h"

#include "tests/differential/Schema.h"

namespace differential {
namespace {

bool isWordCharacter(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c < 0 ||
           c == kAnyRun || c == kAnyOne;
}

/// Bytes of the character at the front.
std::size_t characterSize(std::string_view text) {
    std::size_t size = 1;
    while (size < text.size() && (static_cast<unsigned char>(text[size]) & 0xC0U) == 0x80U) ++size;
    return size;
}

bool matchesFrom(std::string_view text, std::string_view pattern) {
    if (pattern.empty()) return text.empty();
    if (pattern.front() == kAnyRun) {
        for (std::size_t skip = 0; skip <= text.size(); ++skip) {
            if (matchesFrom(text.substr(skip), pattern.substr(1))) return true;
        }
        return false;
    }
    if (text.empty()) return false;
    if (pattern.front() == kAnyOne) return matchesFrom(text.substr(characterSize(text)), pattern.substr(1));
    return text.front() == pattern.front() && matchesFrom(text.substr(1), pattern.substr(1));
}

std::vector<std::string> wordsIn(std::string_view text) {
    std::vector<std::string> words;
    std::string word;
    for (std::size_t i = 0; i <= text.size(); ++i) {
        if (i < text.size() && isWordCharacter(text[i])) {
            word += text[i];
        } else if (!word.empty()) {
            words.push_back(normalized(word));
            word.clear();
        }
    }
    return words;
}

}  // namespace

std::string normalized(std::string_view text) {
    std::string result;
    bool blank = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == ' ' || c == '\n' || c == '\t') {
            blank = !result.empty();
            continue;
        }
        if (blank) result += ' ';
        blank = false;
        const bool latin = i > 0 && text[i - 1] == '\xC3' && c >= '\xA0' && c <= '\xBE' && c != '\xB7';
        if ((c >= 'a' && c <= 'z') || latin) {
            result += static_cast<char>(c - 32);
        } else {
            result += c;
        }
    }
    return result;
}

bool matches(std::string_view text, std::string_view pattern) {
    return matchesFrom(normalized(text), normalized(pattern));
}

bool holdsPhrase(std::string_view text, std::string_view pattern) {
    const std::vector<std::string> wanted = wordsIn(pattern);
    if (wanted.empty()) return false;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find("\n\n", start), text.size());
        const std::vector<std::string> words = wordsIn(text.substr(start, end - start));
        for (std::size_t at = 0; at + wanted.size() <= words.size(); ++at) {
            std::size_t same = 0;
            while (same < wanted.size() && matchesFrom(words[at + same], wanted[same])) ++same;
            if (same == wanted.size()) return true;
        }
        start = end + 1;
    }
    return false;
}

std::vector<std::string> wordsOf(std::string_view text) {
    return wordsIn(text);
}

namespace {

std::string escaped(std::string_view text) {
    std::string result;
    for (char c : text) {
        if (c == '<') {
            result += "&lt;";
        } else if (c == '>') {
            result += "&gt;";
        } else if (c == '&') {
            result += "&amp;";
        } else {
            result += c;
        }
    }
    return result;
}

}  // namespace

std::string paragraphs(std::string_view text) {
    std::string result = "<P>";
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        const std::string_view line = text.substr(start, end - start);
        result += line.empty() ? "</P><P>" : escaped(line) + "\n";
        start = end + 1;
    }
    return result + "</P>";
}

std::vector<std::string> itemsOf(std::string_view cell) {
    std::vector<std::string> items;
    for (std::size_t start = 0; start <= cell.size();) {
        const std::size_t end = std::min(cell.find(kItemEnd, start), cell.size());
        items.emplace_back(cell.substr(start, end - start));
        start = end + 1;
    }
    return items;
}

}  // namespace differential
