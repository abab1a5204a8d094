#include "tests/differential/Twin.h"

#include <sqlite3.h>

#include <algorithm>
#include <functional>
#include <string_view>

#include "tests/differential/Schema.h"
#include "tests/differential/Text.h"

namespace differential {
namespace {

constexpr int kAllItems = 1000;

std::string_view text(sqlite3_value* value) {
    const void* bytes = sqlite3_value_text(value);
    return {static_cast<const char*>(bytes), static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

void answer(sqlite3_context* context, std::string_view value) {
    sqlite3_result_text(context, value.data(), static_cast<int>(value.size()), SQLITE_TRANSIENT);
}

bool stands(const std::string& value, std::string_view op, const std::string& constant) {
    if (op == "<") return value < constant;
    if (op == ">") return value > constant;
    return op == "<=" ? value <= constant : value >= constant;
}

bool itemsStand(std::string_view cell, std::string_view op, std::string_view constant) {
    const std::string wanted = normalized(constant.substr(0, constant.find_first_of("\x01\x02")));
    bool matched = false;
    for (const std::string& item : itemsOf(cell)) {
        if (item.empty()) continue;
        const bool equality = op == "=" || op == "<>";
        matched = matched || (equality ? matches(item, constant) : stands(normalized(item), op, wanted));
    }
    return op == "<>" ? !matched : matched;
}

template <class Values>
bool anyBetween(const Values& values, std::string_view low, std::string_view high) {
    const std::string from = normalized(low), to = normalized(high);
    return std::any_of(values.begin(), values.end(), [&](const std::string& value) {
        const std::string own = normalized(value);
        return !own.empty() && own >= from && own <= to;
    });
}

/// The items from one position to another (1-based), gaps left out.
std::string listed(std::string_view cell, std::string_view separator, int first, int last) {
    std::string list;
    int position = 0;
    for (const std::string& item : itemsOf(cell)) {
        if (++position < first || position > last || item.empty()) continue;
        if (!list.empty()) list += separator;
        list += item;
    }
    return list;
}

bool meet(std::string_view left, std::string_view right) {
    for (const std::string& item : itemsOf(left)) {
        if (!item.empty() && normalized(item) == normalized(right)) return true;
    }
    return false;
}

void itemAt(sqlite3_context* context, sqlite3_value** arguments) {
    const std::vector<std::string> items = itemsOf(text(arguments[0]));
    const auto position = static_cast<std::size_t>(sqlite3_value_int(arguments[1]));
    if (position <= items.size() && !items[position - 1].empty()) answer(context, items[position - 1]);
}

/// The cell with one item put in place or, when it is NULL, taken out; nothing moves.
void withItem(sqlite3_context* context, int /*count*/, sqlite3_value** arguments) {
    std::vector<std::string> items;
    if (sqlite3_value_type(arguments[0]) != SQLITE_NULL) items = itemsOf(text(arguments[0]));
    const auto position = static_cast<std::size_t>(sqlite3_value_int(arguments[1]));
    if (items.size() < position) items.resize(position);
    items[position - 1] =
        sqlite3_value_type(arguments[2]) == SQLITE_NULL ? std::string() : std::string(text(arguments[2]));
    while (!items.empty() && items.back().empty()) items.pop_back();
    std::string cell;
    for (std::size_t i = 0; i < items.size(); ++i) cell += (i > 0 ? std::string(1, kItemEnd) : "") + items[i];
    if (!cell.empty()) answer(context, cell);
}

/// Mean with six decimals, half away from zero, of a sum in hundredths; of the decimals two stay at least.
std::string mean(std::int64_t hundredths, std::int64_t count) {
    const bool negative = hundredths < 0;
    const std::int64_t magnitude = negative ? -hundredths : hundredths;
    const std::int64_t millionths = (magnitude * 10000 * 2 + count) / (2 * count);
    std::string digits = std::to_string(millionths % 1000000);
    digits.insert(0, 6 - digits.size(), '0');
    while (digits.size() > 2 && digits.back() == '0') digits.pop_back();
    return (negative && millionths > 0 ? "-" : "") + std::to_string(millionths / 1000000) + "." + digits;
}

/// NULL in front answers NULL, as of SQLite's own functions.
template <auto body>
void function(sqlite3_context* context, int /*count*/, sqlite3_value** arguments) {
    if (sqlite3_value_type(arguments[0]) != SQLITE_NULL) body(context, arguments);
}

/// first_of(place, value): the value at the lowest place.
struct First {
    std::int64_t place;
    bool seen, isNull;
    std::string* value;  // the library hands out zeroed memory and runs no destructor
};

void firstStep(sqlite3_context* context, int /*count*/, sqlite3_value** arguments) {
    auto* first = static_cast<First*>(sqlite3_aggregate_context(context, sizeof(First)));
    const std::int64_t place = sqlite3_value_int64(arguments[0]);
    if (first->seen && place >= first->place) return;
    if (first->value == nullptr) first->value = new std::string;
    first->seen = true;
    first->place = place;
    first->isNull = sqlite3_value_type(arguments[1]) == SQLITE_NULL;
    first->value->assign(first->isNull ? std::string_view() : text(arguments[1]));
}

void firstEnd(sqlite3_context* context) {
    auto* first = static_cast<First*>(sqlite3_aggregate_context(context, 0));
    if (first == nullptr) return;
    if (!first->isNull) answer(context, *first->value);
    delete first->value;
}

/// Equal for values that DISTINCT takes for one: of the same length, equal as texts compare.
std::string distinctKey(std::string_view value) {
    return normalized(value) + kItemEnd + std::to_string(value.size());
}

using C = sqlite3_context;
using V = sqlite3_value;

void registerFunctions(sqlite3* database) {
    const auto add = [database](const char* name, int count, void (*call)(C*, int, V**)) {
        sqlite3_create_function(database, name, count, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr, call,
                                nullptr, nullptr);
    };
    add("norm", 1, function<[](C* c, V** v) { answer(c, normalized(text(v[0]))); }>);
    add("matches", 2, function<[](C* c, V** v) { sqlite3_result_int(c, matches(text(v[0]), text(v[1]))); }>);
    add("holds_phrase", 2,
        function<[](C* c, V** v) { sqlite3_result_int(c, holdsPhrase(text(v[0]), text(v[1]))); }>);
    add("items_stand", 3,
        function<[](C* c, V** v) { sqlite3_result_int(c, itemsStand(text(v[0]), text(v[1]), text(v[2]))); }>);
    add("items_between", 3, function<[](C* c, V** v) {
            sqlite3_result_int(c, anyBetween(itemsOf(text(v[0])), text(v[1]), text(v[2])));
        }>);
    add("words_stand", 3, function<[](C* c, V** v) {
            const std::string wanted = normalized(text(v[2]));
            const std::vector<std::string> words = wordsOf(text(v[0]));
            sqlite3_result_int(c, std::any_of(words.begin(), words.end(), [&](const std::string& word) {
                                   return stands(word, text(v[1]), wanted);
                               }));
        }>);
    add("words_between", 3, function<[](C* c, V** v) {
            sqlite3_result_int(c, anyBetween(wordsOf(text(v[0])), text(v[1]), text(v[2])));
        }>);
    add("distinct_key", 1, function<[](C* c, V** v) { answer(c, distinctKey(text(v[0]))); }>);
    sqlite3_create_function(database, "first_of", 2, SQLITE_UTF8, nullptr, nullptr, firstStep, firstEnd);
    add("items_meet", 2, function<[](C* c, V** v) {
            if (sqlite3_value_type(v[1]) != SQLITE_NULL) sqlite3_result_int(c, meet(text(v[0]), text(v[1])));
        }>);
    add("item_count", 1, function<[](C* c, V** v) {
            const std::vector<std::string> items = itemsOf(text(v[0]));
            const auto gaps = std::count(items.begin(), items.end(), std::string());
            sqlite3_result_int64(c, static_cast<std::int64_t>(items.size()) - gaps);
        }>);
    add("value_list", 4, function<[](C* c, V** v) {
            const std::string list =
                listed(text(v[0]), text(v[1]), sqlite3_value_int(v[2]), sqlite3_value_int(v[3]));
            if (!list.empty()) answer(c, list);
        }>);
    add("item", 2, function<itemAt>);
    add("with_item", 3, withItem);
    add("shown_items", 1, function<[](C* c, V** v) { answer(c, listed(text(v[0]), "; ", 1, kAllItems)); }>);
    add("paragraphs", 1, function<[](C* c, V** v) { answer(c, paragraphs(text(v[0]))); }>);
    add("decimals", 1, function<[](C* c, V** v) { answer(c, decimals(sqlite3_value_int64(v[0]))); }>);
    add("mean", 2, function<[](C* c, V** v) {
            const std::int64_t count = sqlite3_value_int64(v[1]);
            if (count != 0) answer(c, mean(sqlite3_value_int64(v[0]), count));
        }>);
}

}  // namespace

Twin::Twin() {
    if (sqlite3_open(":memory:", &database_) == SQLITE_OK) registerFunctions(database_);
}

Twin::~Twin() {
    sqlite3_close(database_);
}

bool Twin::change(const std::string& sql, std::string& message) {
    char* error = nullptr;
    const int status = sqlite3_exec(database_, sql.c_str(), nullptr, nullptr, &error);
    if (error != nullptr) message = error;
    sqlite3_free(error);
    return status == SQLITE_OK;
}

Rows Twin::select(const std::string& sql) {
    Rows rows;
    sqlite3_stmt* statement = nullptr;
    int status = sqlite3_prepare_v2(database_, sql.c_str(), -1, &statement, nullptr);
    while (status == SQLITE_OK && sqlite3_step(statement) == SQLITE_ROW) {
        std::vector<Value> row;
        for (int i = 0; i < sqlite3_column_count(statement); ++i) {
            if (sqlite3_column_type(statement, i) == SQLITE_NULL) {
                row.emplace_back();
            } else {
                row.emplace_back(std::string(text(sqlite3_column_value(statement, i))));
            }
        }
        rows.rows.push_back(std::move(row));
    }
    if (sqlite3_finalize(statement) != SQLITE_OK || status != SQLITE_OK)
        rows.fault = sqlite3_errmsg(database_);
    rows.total = static_cast<std::int64_t>(rows.rows.size());
    return rows;
}

std::int64_t Twin::changes() const {
    return sqlite3_changes(database_);
}

}  // namespace differential
