// Letter case of single bytes, per character set, without the host's locale.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace wsql {

// Upper, lower and alphabetic tables of one code page. The four national pairs (bytes 252/220, 229/197,
// 228/196, 246/214) are letters in every single-byte table; in the tables of multi-byte sets only ASCII has
// case, because such a byte may be a part of another character there.
class CaseTable {
public:
    // The table of a code page: 28591, 28592, 28593; any other is a multi-byte one.
    static const CaseTable& forCodePage(std::int32_t codePage);
    // ASCII plus the national pairs: the table for texts of unknown set.
    static const CaseTable& latin();

    char upper(char c) const { return upper_[static_cast<unsigned char>(c)]; }
    char lower(char c) const { return lower_[static_cast<unsigned char>(c)]; }
    bool isAlpha(char c) const { return alpha_[static_cast<unsigned char>(c)]; }
    // Equal lengths and equal bytes when lowered.
    bool equal(std::string_view a, std::string_view b) const;

private:
    struct Pair {
        std::uint8_t upper, lower;
    };
    static constexpr CaseTable ascii();
    friend struct CaseTables;

    std::array<char, 256> upper_{};
    std::array<char, 256> lower_{};
    std::array<bool, 256> alpha_{};
};

}  // namespace wsql
