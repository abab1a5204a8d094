// The tables of the schema WDBS, which no base stands behind.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

namespace wsql {

class WELKFieldInfoList;
class WSQLColumnRef;
class WSQLStmtSelect;
class WSQLTableRef;

enum class DictionaryKind : std::int32_t { kNone = 0, kTables = 1, kColumns = 2, kKeyRefs = 3 };

/// Whether the reference is qualified with the dictionary's schema; the table need not exist.
bool isDictionaryTable(const WSQLTableRef& table);
/// Whether some FROM table is one of the dictionary.
bool namesDictionary(const WSQLStmtSelect& select);
/// kNone for a name that the schema does not hold.
DictionaryKind dictionaryKind(std::string_view table);
/// Its columns in their order, numbered from 1; none for kNone.
std::unique_ptr<WELKFieldInfoList> dictionaryFields(DictionaryKind kind);
/// 1-based number of the column of that name, whatever its letter case; 0 when the table has none.
std::int32_t dictionaryColumn(DictionaryKind kind, std::string_view name);
/// Makes the reference one to that column.
void bindDictionaryColumn(DictionaryKind kind, std::int32_t number, WSQLColumnRef& column);

}  // namespace wsql
