#include "src/parser/Keywords.h"

#include <iterator>
#include <utility>

#include "src/parser/TreeBuilder.h"
#include "src/parser/WSQLSymbolTable.h"
#include "wsql.tab.h"

namespace wsql {
namespace {

// "like" stands here twice; the later entry hides the earlier one and has the same code.
constexpr Keyword kKeywordList[] = {
    {"and", T_AND},
    {"or", T_OR},
    {"not", T_NOT},
    {"like", T_LIKE},
    {"between", T_BETWEEN},
    {"is", T_IS},
    {"like", T_LIKE},
    {"null", T_NULL},
    {"in", T_IN},
    {"count", T_COUNT},
    {"avg", T_AVG},
    {"min", T_MIN},
    {"max", T_MAX},
    {"sum", T_SUM},
    {"commit", T_COMMIT},
    {"rollback", T_ROLLBACK},
    {"work", T_WORK},
    {"select", T_SELECT},
    {"from", T_FROM},
    {"where", T_WHERE},
    {"as", T_AS},
    {"distinct", T_DISTINCT},
    {"all", T_ALL},
    {"group", T_GROUP},
    {"by", T_BY},
    {"insert", T_INSERT},
    {"into", T_INTO},
    {"values", T_VALUES},
    {"location", T_LOCATION},
    {"create", T_CREATE},
    {"drop", T_DROP},
    {"table", T_TABLE},
    {"with", T_WITH},
    {"long", T_LONG},
    {"varchar", T_VARCHAR},
    {"char", T_VARCHAR},
    {"varbinary", T_VARBINARY},
    {"date", T_DATE},
    {"time", T_TIME},
    {"numeric", T_NUMERIC},
    {"integer", T_INTEGER},
    {"grant", T_GRANT},
    {"revoke", T_REVOKE},
    {"privileges", T_PRIVILEGES},
    {"read", T_READ},
    {"on", T_ON},
    {"to", T_TO},
    {"write", T_WRITE},
    {"update", T_UPDATE},
    {"set", T_SET},
    {"get", T_GET},
    {"delete", T_DELETE},
    {"property", T_PROPERTY},
    {"true", T_TRUE},
    {"false", T_FALSE},
    {"object", T_OBJECT},
    {"valuelist", T_VALUELIST},
    {"order", T_ORDER},
    {"asc", T_ASC},
    {"desc", T_DESC},
    {"default", T_DEFAULT},
    {"references", T_REFERENCES},
    {"cascade", T_CASCADE},
    {"no", T_NO},
    {"action", T_ACTION},
    {"restrict", T_RESTRICT},
    {"primary", T_PRIMARY},
    {"key", T_KEY},
    {"union", T_UNION},
    {"using", T_USING},
    {"join", T_JOIN},
    {"natural", T_NATURAL},
    {"inner", T_INNER},
    {"left", T_LEFT},
    {"right", T_RIGHT},
    {"outer", T_OUTER},
    {"cross", T_CROSS},
    {"serial", T_SERIAL},
    {"ignore", T_IGNORE},
    {"current_timestamp", T_CURRENT_TIMESTAMP},
    {"current_date", T_CURRENT_DATE},
    {"current_time", T_CURRENT_TIME},
    {"if", T_IF},
    {"exists", T_EXISTS},
    {"character", T_CHARACTER},
    {"charset", T_CHARSET},
    {"foreign", T_FOREIGN},
    {"alter", T_ALTER},
    {"add", T_ADD},
    {"column", T_COLUMN},
    {"type", T_TYPE},
    {"data", T_DATA},
};

/// The keywords as a table links them: the newest, which is the last one, in front.
class KeywordSymbols {
public:
    static constexpr size_t kCount = std::size(kKeywordList);

    /// Called with the sequence of all indexes: clang makes the constructor in time only where it is called.
    template <size_t... kIndex>
    constexpr explicit KeywordSymbols(std::index_sequence<kIndex...> /*all*/)
        : symbols_{WSQLSymbol(kKeywordList[kIndex].word, kKeywordList[kIndex].code, bucket(kIndex),
                              olderInBucket(kIndex), kIndex > 0 ? symbols_ + kIndex - 1 : nullptr)...} {}

    constexpr WSQLSymbolImage image() const {
        WSQLSymbolImage result;
        result.head = &symbols_[kCount - 1];
        for (size_t i = 0; i < kCount; ++i) result.buckets[bucket(i)] = &symbols_[i];
        return result;
    }

private:
    static constexpr uint32_t bucket(size_t index) {
        return WSQLSymbolTable::bucketIgnoringCase(kKeywordList[index].word);
    }
    constexpr const WSQLSymbol* olderInBucket(size_t index) const {
        for (size_t i = index; i-- > 0;) {
            if (bucket(i) == bucket(index)) return symbols_ + i;
        }
        return nullptr;
    }

    WSQLSymbol symbols_[kCount];
};
constexpr KeywordSymbols kKeywordSymbols(std::make_index_sequence<KeywordSymbols::kCount>{});
constexpr WSQLSymbolImage kKeywordImage = kKeywordSymbols.image();

}  // namespace

std::span<const Keyword> keywords() {
    return kKeywordList;
}

void loadKeywords(WSQLSymbolTable& table) {
    table.SetCopyNames(0);
    table.SetCaseSensitive(false);
    table.Borrow(kKeywordImage);
}

}  // namespace wsql
