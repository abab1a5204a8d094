#include "tests/differential/Generator.h"

#include <cstdlib>

#include "tests/differential/Features.h"
#include "tests/differential/Text.h"

namespace differential {
namespace {

const std::vector<std::string> kTexts{"alpha",
                                      "Alpha",
                                      "ALPHA",
                                      "beta",
                                      "Beta x",
                                      "beta  x",
                                      "gamma",
                                      "gamma ray",
                                      "x%y",
                                      "50%",
                                      "a_b",
                                      "aXb",
                                      "$5",
                                      "a$b",
                                      "hi!",
                                      "10",
                                      "2",
                                      "-3",
                                      "1.5",
                                      "and",
                                      "TO",
                                      "R",
                                      "S=1",
                                      "a(b)",
                                      "it\"s",
                                      "<&>",
                                      "O-1",
                                      "\xC3\xA9t\xC3\xA9",
                                      "\xC3\x89T\xC3\x89",
                                      "z\xC3\xA4h",
                                      "zz",
                                      "a\\b",
                                      "not a",
                                      "FROM 1",
                                      "1 TO 5",
                                      "b, c"};
const std::vector<std::string> kWords{"red", "Red", "green", "blue", "blues", "bluish",           "sky",
                                      "SKY", "sea", "x1",    "2024", "a",     "\xC3\xA9t\xC3\xA9"};

std::string padded(int number) {
    return (number < 10 ? "0" : "") + std::to_string(number);
}

/// In comparisons and ranges "%" cannot be meant otherwise.
void percentIsWildcard(Constant& constant) {
    for (char& c : constant.text) c = c == '%' ? kAnyRun : c;
}

bool isNumber(Kind kind) {
    return kind == Kind::kInteger || kind == Kind::kNumeric;
}

}  // namespace

// ---- tables ----

std::string Generator::phrase() {
    std::string text = random_.pick(kWords);
    for (int more = random_.between(0, 5); more > 0; --more) {
        const char* gaps[] = {" ", " ", ", ", "\n", "\n\n"};
        text += gaps[random_.below(5)];
        text += random_.pick(kWords);
    }
    return text;
}

std::string Generator::value(Kind kind) {
    switch (kind) {
        case Kind::kInteger:
            return std::to_string(random_.percent(5) ? random_.between(-2147483647, 2147483647)
                                                     : random_.between(-12, 40));
        case Kind::kNumeric:
            return std::to_string(random_.percent(50) ? random_.between(-5, 20) * 100
                                                      : random_.between(-400, 2000));
        case Kind::kDate: {
            const int month = random_.between(1, 12), day = random_.between(1, 28);
            return std::to_string(random_.between(2022, 2024)) + "-" + padded(month) + "-" + padded(day);
        }
        case Kind::kTime: {
            const int hour = random_.between(0, 23), minute = random_.between(0, 3) * 15;
            return padded(hour) + ":" + padded(minute) + ":" +
                   padded(random_.percent(70) ? 0 : random_.between(0, 59));
        }
        case Kind::kText:
            return phrase();
        default:
            return random_.pick(kTexts);
    }
}

Cell Generator::cell(Kind kind) {
    if (random_.percent(20)) return {};
    Cell cell{value(kind)};
    if (kind != Kind::kItems) return cell;
    while (random_.percent(50) && cell.size() < 4) {
        if (random_.percent(15)) cell.emplace_back();
        cell.push_back(value(kind));
    }
    return cell;
}

Row Generator::row(const Table& table) {
    Row row;
    for (const Column& column : table.columns) row.push_back(cell(column.kind));
    return row;
}

std::vector<Table> Generator::tables() {
    std::vector<Table> tables;
    for (const char* name : {"T", "U"}) {
        Table table;
        table.name = name;
        const std::pair<const char*, Kind> kColumns[] = {
            {"V", Kind::kVarchar}, {"W", Kind::kVarchar}, {"I", Kind::kInteger},
            {"J", Kind::kInteger}, {"N", Kind::kNumeric}, {"D", Kind::kDate},
            {"H", Kind::kTime},    {"X", Kind::kText},    {"M", Kind::kItems}};
        for (const auto& [column, kind] : kColumns) table.columns.push_back({column, kind});
        for (int rows = random_.between(0, 40); rows > 0; --rows) table.rows.push_back(row(table));
        tables.push_back(std::move(table));
    }
    return tables;
}

// ---- constants ----

ColumnUse Generator::use(const Table& table, const std::string& alias) {
    if (random_.percent(6)) return {alias, "", Kind::kInteger, 0};
    const Column& drawn = column(table);
    const int item = drawn.kind == Kind::kItems && random_.percent(40) ? random_.between(1, 3) : 0;
    return {alias, drawn.name, drawn.kind, item};
}

/// A value that the column holds, mostly, so that conditions are met now and then.
std::string Generator::someValue(const Table& table, const ColumnUse& use) {
    if (use.isRecord()) return std::to_string(random_.between(0, 42));
    if (!table.rows.empty() && random_.percent(75)) {
        for (std::size_t i = 0; i < table.columns.size(); ++i) {
            if (table.columns[i].name != use.name) continue;
            const Cell& cell = random_.pick(table.rows)[i];
            if (!cell.empty()) return cell[random_.below(cell.size())];
        }
    }
    return value(use.kind);
}

Constant Generator::textConstant(const Table& table, const ColumnUse& use, bool wildcards) {
    Constant constant;
    constant.type = Constant::Type::kText;
    constant.text = someValue(table, use);
    if (use.kind == Kind::kText) {
        // One word, or a few that stand side by side.
        const std::size_t paragraph = constant.text.find("\n\n");
        if (paragraph != std::string::npos) constant.text.resize(paragraph);
        const std::size_t blank = constant.text.find_first_of(" \n,");
        if (blank != std::string::npos && random_.percent(60)) constant.text.resize(blank);
        for (char& c : constant.text) c = c == '\n' ? ' ' : c;
    }
    if (use.kind == Kind::kNumeric)
        constant.text = decimals(std::strtoll(constant.text.c_str(), nullptr, 10));
    if (wildcards && random_.percent(50)) {
        const std::size_t at = random_.below(constant.text.size() + 1);
        if (random_.percent(50)) {
            // A cut must not fall into a character of two bytes, nor leave a blank or a backslash beside the
            // wildcard.
            constant.text.resize(at);
            while (!constant.text.empty() &&
                   (constant.text.back() < 0 || constant.text.back() == '\\' || constant.text.back() == ' '))
                constant.text.pop_back();
            constant.text += kAnyRun;
        } else if (random_.percent(50)) {
            constant.text = kAnyRun + constant.text;
        } else {
            constant.text = kAnyRun + constant.text + kAnyRun;
        }
    } else if (random_.percent(30)) {
        for (char& c : constant.text) {
            if (c >= 'a' && c <= 'z' && random_.percent(50)) c = static_cast<char>(c - 32);
        }
    }
    return constant;
}

Constant Generator::constant(const Table& table, const ColumnUse& use, bool wildcards) {
    Constant constant;
    if (random_.percent(3)) return constant;
    if (!use.isRecord() && !isNumber(use.kind) && random_.percent(2)) {
        constant.type = Constant::Type::kText;
        return constant;
    }
    if (isNumber(use.kind)) {
        if (!use.isRecord() && wildcards && random_.percent(8)) {
            Constant text = textConstant(table, use, true);
            if (text.hasWildcards()) return text;
        }
        const std::int64_t number = std::strtoll(someValue(table, use).c_str(), nullptr, 10);
        const bool real = !use.isRecord() && random_.percent(use.kind == Kind::kNumeric ? 80 : 15);
        constant.type = real ? Constant::Type::kReal : Constant::Type::kInteger;
        if (use.kind == Kind::kNumeric) {
            constant.number = real ? number : number / 100;
        } else {
            constant.number = real ? number * 100 + (random_.percent(50) ? 50 : 0) : number;
        }
        return constant;
    }
    if (use.kind == Kind::kDate || use.kind == Kind::kTime) {
        if (wildcards && random_.percent(10)) {
            Constant text = textConstant(table, use, true);
            if (text.hasWildcards()) return text;
        }
        constant.type = use.kind == Kind::kDate ? Constant::Type::kDate : Constant::Type::kTime;
        constant.text = someValue(table, use);
        return constant;
    }
    return textConstant(table, use, wildcards);
}

// ---- conditions ----

ConditionPtr Generator::test(const Table& table, const std::string& alias) {
    auto result = std::make_shared<Condition>();
    if (random_.percent(4)) {
        result->type = Condition::Type::kConstants;
        const bool numbers = random_.percent(50);
        for (Constant* side : {&result->low, &result->high}) {
            side->type = numbers ? Constant::Type::kInteger : Constant::Type::kText;
            side->number = random_.between(-2, 2);
            side->text = random_.pick(kWords);
        }
        result->op = static_cast<Operator>(random_.below(6));
        return result;
    }
    result->column = use(table, alias);
    const ColumnUse& column = result->column;
    result->negated = random_.percent(30);
    const bool isText =
        column.kind == Kind::kVarchar || column.kind == Kind::kText || column.kind == Kind::kItems;
    const std::size_t draw = random_.below(100);
    if (draw < 12 && !column.isRecord()) {
        result->type = Condition::Type::kNull;
    } else if (draw < 28) {
        result->type = Condition::Type::kBetween;
        result->low = constant(table, column, false);
        result->high = constant(table, column, false);
        for (Constant* end : {&result->low, &result->high}) {
            percentIsWildcard(*end);
            if (column.isRecord() && end->isAbsent() && !has(Feature::kOpenRecordRange))
                end->type = Constant::Type::kInteger;
        }
    } else if (draw < 48 && isText) {
        result->type = Condition::Type::kLike;
        result->low = textConstant(table, column, true);
        const std::size_t one = random_.below(result->low.text.size() + 1);
        // "!" is a wildcard of every pattern and cannot be meant otherwise; a backslash means something else
        // there.
        std::string& text = result->low.text;
        if (one < text.size() && text[one] > ' ' && random_.percent(30)) text[one] = kAnyOne;
        for (char& c : text) c = c == '!' ? kAnyOne : c == '\\' ? '-' : c;
    } else {
        result->type = Condition::Type::kCompare;
        result->op = static_cast<Operator>(random_.below(random_.percent(50) ? 2 : 6));
        const bool equality = result->op == Operator::kEqual || result->op == Operator::kNotEqual;
        result->low = constant(table, column, equality || isText);
        percentIsWildcard(result->low);
        const bool open = !equality && !result->low.text.empty() && result->low.text.front() == kAnyRun;
        if (open && column.kind == Kind::kText && !has(Feature::kOpenTextOrder))
            result->op = Operator::kEqual;
        result->reversed = random_.percent(10);
    }
    return result;
}

ConditionPtr Generator::condition(const Table& table, const std::string& alias, int depth) {
    if (depth <= 0 || random_.percent(40)) return test(table, alias);
    auto result = std::make_shared<Condition>();
    const std::size_t draw = random_.below(10);
    result->left = condition(table, alias, depth - 1);
    if (draw < 2) {
        result->type = Condition::Type::kNot;
    } else {
        result->type = draw < 6 ? Condition::Type::kAnd : Condition::Type::kOr;
        result->right = condition(table, alias, depth - 1);
    }
    return result;
}

// ---- queries ----

Expression Generator::shown(const ColumnUse& use) {
    const std::string twin = columnForTwin(use);
    Expression expression{columnForEngine(use), twin};
    if (use.kind == Kind::kNumeric) expression.twin = "decimals(" + twin + ")";
    if (use.kind == Kind::kText) expression.twin = "paragraphs(" + twin + ")";
    if (use.kind == Kind::kItems && use.item == 0) expression.twin = "shown_items(" + twin + ")";
    return expression;
}

Expression Generator::sorted(const ColumnUse& use) {
    const std::string twin = columnForTwin(use);
    Expression expression{columnForEngine(use), twin};
    if (use.kind == Kind::kVarchar || use.kind == Kind::kText) expression.twin = "norm(" + twin + ")";
    if (use.kind == Kind::kItems)
        expression.twin = "norm(" + (use.item > 0 ? twin : "item(" + twin + ", 1)") + ")";
    return expression;
}

void Generator::addOrder(Query& query, const Table& table, const std::string& alias,
                         const std::vector<ColumnUse>& items) {
    for (int count = random_.between(0, 3); count > 0; --count) {
        OrderItem item;
        item.descending = random_.percent(40);
        if (random_.percent(40)) {
            const std::size_t position = random_.below(items.size());
            if (items[position].item > 0 && !has(Feature::kOrderByItem)) continue;
            item.key = sorted(items[position]);
            item.key.engine = std::to_string(position + 1);
        } else {
            ColumnUse column = use(table, alias);
            if (column.isRecord()) continue;
            if (column.item > 0 && !has(Feature::kOrderByItem)) column.item = 0;
            item.key = sorted(column);
        }
        query.order.push_back(std::move(item));
    }
}

void Generator::addPage(Query& query) {
    if (!random_.percent(25)) return;
    query.blockSize = random_.between(1, 12);
    query.block = random_.between(1, 4);
}

Query Generator::query(const std::vector<Table>& tables) {
    const Table& table = random_.pick(tables);
    const bool named = random_.percent(30);
    const std::string alias = named ? "k" : random_.percent(30) ? table.name : "";
    Query query;
    query.from = {table.name + (named ? " k" : ""), table.name + (named ? " k" : "")};
    query.records = {"R"};
    std::vector<ColumnUse> items;
    for (int count = random_.between(1, 4); count > 0; --count) {
        items.push_back(use(table, alias));
        query.items.push_back(shown(items.back()));
    }
    if (random_.percent(85)) query.where = condition(table, alias, random_.between(0, 3));
    addOrder(query, table, alias, items);
    addPage(query);
    return query;
}

}  // namespace differential
