#include "src/support/CaseTable.h"

namespace wsql {

struct CaseTables {
    using Pair = CaseTable::Pair;

    // ISO 8859-1: the letters from A-grave to thorn lie 32 apart; the multiplication and division signs are
    // none.
    static constexpr CaseTable western() {
        CaseTable table = CaseTable::ascii();
        for (int upper = 0xC0; upper <= 0xDE; ++upper) {
            if (upper != 0xD7)
                add(table, {static_cast<std::uint8_t>(upper), static_cast<std::uint8_t>(upper + 32)});
        }
        for (const std::uint8_t only : {0xAA, 0xB5, 0xBA, 0xDF, 0xFF}) table.alpha_[only] = true;
        return table;
    }

    // ISO 8859-2: A1 and its neighbours lie 16 apart, the rest 32.
    static constexpr CaseTable central() {
        CaseTable table = CaseTable::ascii();
        for (const std::uint8_t upper : {0xA1, 0xA3, 0xA5, 0xA6, 0xA9, 0xAA, 0xAB, 0xAC, 0xAE, 0xAF}) {
            add(table, {upper, static_cast<std::uint8_t>(upper + 16)});
        }
        for (int upper = 0xC0; upper <= 0xDE; ++upper) {
            if (upper != 0xD7)
                add(table, {static_cast<std::uint8_t>(upper), static_cast<std::uint8_t>(upper + 32)});
        }
        table.alpha_[0xDF] = true;
        return table;
    }

    // ISO 8859-3: the undotted i and the dotted I have their partners in ASCII, and three places of the
    // letter rows are empty.
    static constexpr CaseTable southern() {
        CaseTable table = CaseTable::ascii();
        for (const std::uint8_t upper : {0xA1, 0xA6, 0xAA, 0xAB, 0xAC, 0xAF}) {
            add(table, {upper, static_cast<std::uint8_t>(upper + 16)});
        }
        for (int upper = 0xC0; upper <= 0xDE; ++upper) {
            if (upper == 0xC3 || upper == 0xD0 || upper == 0xD7) continue;
            add(table, {static_cast<std::uint8_t>(upper), static_cast<std::uint8_t>(upper + 32)});
        }
        table.lower_[0xA9] = 'i';
        table.upper_[0xB9] = 'I';
        for (const std::uint8_t only : {0xA9, 0xB5, 0xB9, 0xDF}) table.alpha_[only] = true;
        return table;
    }

    static constexpr CaseTable national() {
        CaseTable table = CaseTable::ascii();
        for (const Pair& pair : {Pair{220, 252}, Pair{197, 229}, Pair{196, 228}, Pair{214, 246}})
            add(table, pair);
        return table;
    }

    static constexpr CaseTable multiByte() { return CaseTable::ascii(); }

private:
    static constexpr void add(CaseTable& table, Pair pair) {
        table.upper_[pair.lower] = static_cast<char>(pair.upper);
        table.lower_[pair.upper] = static_cast<char>(pair.lower);
        table.alpha_[pair.upper] = table.alpha_[pair.lower] = true;
    }
};

constexpr CaseTable CaseTable::ascii() {
    CaseTable table;
    for (int c = 0; c < 256; ++c) {
        const bool small = c >= 'a' && c <= 'z';
        const bool capital = c >= 'A' && c <= 'Z';
        const auto at = static_cast<std::size_t>(c);
        table.upper_[at] = static_cast<char>(small ? c - 32 : c);
        table.lower_[at] = static_cast<char>(capital ? c + 32 : c);
        table.alpha_[at] = small || capital;
    }
    return table;
}

const CaseTable& CaseTable::forCodePage(std::int32_t codePage) {
    static constexpr CaseTable kWestern = CaseTables::western();
    static constexpr CaseTable kCentral = CaseTables::central();
    static constexpr CaseTable kSouthern = CaseTables::southern();
    static constexpr CaseTable kMultiByte = CaseTables::multiByte();
    switch (codePage) {
        case 28591:
            return kWestern;
        case 28592:
            return kCentral;
        case 28593:
            return kSouthern;
        default:
            return kMultiByte;
    }
}

const CaseTable& CaseTable::latin() {
    static constexpr CaseTable kNational = CaseTables::national();
    return kNational;
}

bool CaseTable::equal(std::string_view a, std::string_view b) const {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (lower(a[i]) != lower(b[i])) return false;
    }
    return true;
}

}  // namespace wsql
