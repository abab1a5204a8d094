#include "tests/differential/Generator.h"

#include <algorithm>
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

Table Generator::table(const char* name, int rows) {
    Table table;
    table.name = name;
    const std::pair<const char*, Kind> kColumns[] = {
        {"V", Kind::kVarchar}, {"W", Kind::kVarchar}, {"I", Kind::kInteger},
        {"J", Kind::kInteger}, {"N", Kind::kNumeric}, {"D", Kind::kDate},
        {"H", Kind::kTime},    {"X", Kind::kText},    {"M", Kind::kItems}};
    for (const auto& [column, kind] : kColumns) table.columns.push_back({column, kind});
    for (; rows > 0; --rows) table.rows.push_back(row(table));
    return table;
}

/// A table whose columns go by names of their own, but for those by which a NATURAL join compares.
Table Generator::stranger(const char* name, int rows) {
    Table result = table(name, rows);
    const std::vector<std::string> comparable{"V", "I", "J", "D", "H"};
    const std::string shared = random_.pick(comparable), second = random_.pick(comparable);
    for (Column& column : result.columns) {
        if (column.name != shared && (column.name != second || random_.percent(50))) column.name += "Z";
    }
    return result;
}

std::vector<Table> Generator::tables() {
    std::vector<Table> tables;
    for (const char* name : {"T", "U", "Z"}) {
        const int rows = random_.between(0, 40);
        tables.push_back(name[0] == 'Z' ? stranger(name, rows) : table(name, rows));
        if (random_.percent(60)) tables.back().loaded = random_.below(tables.back().rows.size() + 1);
    }
    return tables;
}

std::vector<Table> Generator::largeTable(int rows) {
    std::vector<Table> tables{table("T", rows)};
    tables.back().loaded = tables.back().rows.size() - 50;
    return tables;
}

// ---- constants ----

ColumnUse Generator::use(const Source& source) {
    if (random_.percent(6)) return {source.alias, "", Kind::kInteger, 0};
    const Column& drawn = random_.pick(source.table->columns);
    const int item = drawn.kind == Kind::kItems && random_.percent(40) ? random_.between(1, 3) : 0;
    return {source.alias, drawn.name, drawn.kind, item};
}

/// Some column of that kind, of which there is one.
ColumnUse Generator::useOf(const Source& source, Kind kind) {
    std::vector<const Column*> fitting;
    for (const Column& column : source.table->columns) {
        if (column.kind == kind) fitting.push_back(&column);
    }
    return {source.alias, random_.pick(fitting)->name, kind, 0};
}

/// A value that the column holds, mostly, so that conditions are met now and then.
std::string Generator::someValue(const Table& table, const ColumnUse& use) {
    if (use.isRecord()) return std::to_string(random_.between(0, 42));
    if (!table.rows.empty() && random_.percent(75)) {
        for (std::size_t i = 0; i < table.columns.size(); ++i) {
            if (table.columns[i].name != use.name) continue;
            const Cell& cell = random_.pick(table.rows)[i];
            if (!cell.empty() && !cell.back().empty()) return cell[random_.percent(50) ? 0 : cell.size() - 1];
        }
    }
    return value(use.kind);
}

void Generator::addWildcard(std::string& text) {
    const std::size_t draw = random_.below(4);
    if (draw == 0) {
        text = kAnyRun + text;
    } else if (draw == 1) {
        text = kAnyRun + text + kAnyRun;
    } else {
        // A cut must not fall into a character of two bytes, nor leave a backslash or blank beside the
        // wildcard.
        text.resize(random_.below(text.size() + 1));
        while (!text.empty() && (text.back() < 0 || text.back() == '\\' || text.back() == ' '))
            text.pop_back();
        text += kAnyRun;
    }
}

Constant Generator::textConstant(const Table& table, const ColumnUse& use, bool wildcards) {
    Constant constant;
    constant.type = Constant::Type::kText;
    std::string& text = constant.text;
    text = someValue(table, use);
    if (use.kind == Kind::kText) {
        // One word, or a few that stand side by side.
        text.resize(std::min(text.find("\n\n"), text.size()));
        if (random_.percent(60)) text.resize(std::min(text.find_first_of(" \n,"), text.size()));
        for (char& c : text) c = c == '\n' ? ' ' : c;
    }
    if (use.kind == Kind::kNumeric) text = decimals(std::strtoll(text.c_str(), nullptr, 10));
    if (wildcards && random_.percent(50)) {
        addWildcard(text);
    } else if (random_.percent(30)) {
        for (char& c : text) {
            if (c >= 'a' && c <= 'z' && random_.percent(50)) c = static_cast<char>(c - 32);
        }
    }
    return constant;
}

Constant Generator::numberConstant(const Table& table, const ColumnUse& use) {
    Constant constant;
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

Constant Generator::constant(const Table& table, const ColumnUse& use, bool wildcards) {
    Constant constant;
    if (random_.percent(3)) return constant;
    const bool isText = use.kind == Kind::kVarchar || use.kind == Kind::kText || use.kind == Kind::kItems;
    if (isText && random_.percent(2)) {
        constant.type = Constant::Type::kText;
        return constant;
    }
    if (isText) return textConstant(table, use, wildcards);
    if (wildcards && !use.isRecord() && random_.percent(9)) {
        const Constant text = textConstant(table, use, true);
        if (text.hasWildcards()) return text;
    }
    if (isNumber(use.kind)) return numberConstant(table, use);
    constant.type = use.kind == Kind::kDate ? Constant::Type::kDate : Constant::Type::kTime;
    constant.text = someValue(table, use);
    return constant;
}

// ---- conditions ----

ConditionPtr Generator::constantTest() {
    auto result = std::make_shared<Condition>();
    result->type = Condition::Type::kConstants;
    result->op = static_cast<Operator>(random_.below(6));
    const bool numbers = random_.percent(50);
    for (Constant* side : {&result->low, &result->high}) {
        side->type = numbers ? Constant::Type::kInteger : Constant::Type::kText;
        side->number = random_.between(-2, 2);
        side->text = random_.pick(kWords);
    }
    return result;
}

ConditionPtr Generator::subquery(const ColumnUse& column, const std::vector<Table>& others) {
    auto result = std::make_shared<Condition>();
    const Table& other = random_.pick(others);
    result->type = Condition::Type::kSubquery;
    result->column = column;
    // "=" is left to joinedByQuery: where it becomes a join it repeats rows.
    result->in = random_.percent(60);
    result->op = result->in ? Operator::kEqual : static_cast<Operator>(1 + random_.below(5));
    const Source source{&other, "s" + std::to_string(depth_)};
    result->inner = useOf(source, column.kind);
    result->innerTable = other.name + " " + source.alias;
    if (random_.percent(70)) result->left = innerCondition(source, others);
    // The members of a union inside IN are a disjunction of sets.
    if (result->in && random_.percent(15)) {
        auto member = std::make_shared<Condition>(*subquery(column, others));
        member->in = true;
        member->op = Operator::kEqual;
        result->right = std::move(member);
    }
    return result;
}

/// The WHERE of a query inside another one, which may hold queries in its turn.
ConditionPtr Generator::innerCondition(const Source& source, const std::vector<Table>& others) {
    constexpr int kDeepest = 3;
    ++depth_;
    ConditionPtr result = condition({source}, 1, depth_ < kDeepest ? &others : nullptr);
    --depth_;
    return result;
}

void Generator::fillTest(Condition& test, const Table& table) {
    const ColumnUse& column = test.column;
    const bool isText =
        column.kind == Kind::kVarchar || column.kind == Kind::kText || column.kind == Kind::kItems;
    const std::size_t draw = random_.below(100);
    test.negated = random_.percent(30);
    if (draw < 12 && !column.isRecord()) {
        test.type = Condition::Type::kNull;
    } else if (draw < 28) {
        test.type = Condition::Type::kBetween;
        for (Constant* end : {&test.low, &test.high}) {
            *end = constant(table, column, false);
            percentIsWildcard(*end);
            if (column.isRecord() && end->isAbsent() && !has(Feature::kOpenRecordRange))
                end->type = Constant::Type::kInteger;
        }
    } else if (draw < 48 && isText) {
        test.type = Condition::Type::kLike;
        test.low = textConstant(table, column, true);
        std::string& text = test.low.text;
        const std::size_t one = random_.below(text.size() + 1);
        if (one < text.size() && text[one] > ' ' && random_.percent(30)) text[one] = kAnyOne;
        // "!" is a wildcard of every pattern and cannot be meant otherwise; a backslash means something else
        // there.
        for (char& c : text) c = c == '!' ? kAnyOne : c == '\\' ? '-' : c;
    } else {
        test.type = Condition::Type::kCompare;
        test.op = static_cast<Operator>(random_.below(random_.percent(50) ? 2 : 6));
        test.reversed = random_.percent(10);
        const bool equality = test.op == Operator::kEqual || test.op == Operator::kNotEqual;
        test.low = constant(table, column, equality || isText);
        percentIsWildcard(test.low);
        const bool open = !equality && !test.low.text.empty() && test.low.text.front() == kAnyRun;
        if (open && column.kind == Kind::kText && !has(Feature::kOpenTextOrder)) test.op = Operator::kEqual;
    }
}

ConditionPtr Generator::test(const Scope& scope, const std::vector<Table>* others) {
    if (random_.percent(4)) return constantTest();
    const Source& source = random_.pick(scope);
    auto result = std::make_shared<Condition>();
    result->column = use(source);
    const Kind kind = result->column.kind;
    if (others != nullptr && kind != Kind::kText && kind != Kind::kItems && !result->column.isRecord() &&
        random_.percent(15)) {
        return subquery(result->column, *others);
    }
    fillTest(*result, *source.table);
    return result;
}

ConditionPtr Generator::condition(const Scope& scope, int depth, const std::vector<Table>* others) {
    if (depth <= 0 || random_.percent(40)) return test(scope, others);
    auto result = std::make_shared<Condition>();
    const std::size_t draw = random_.below(10);
    result->left = condition(scope, depth - 1, others);
    if (draw < 2) {
        result->type = Condition::Type::kNot;
    } else {
        result->type = draw < 6 ? Condition::Type::kAnd : Condition::Type::kOr;
        result->right = condition(scope, depth - 1, others);
    }
    return result;
}

}  // namespace differential
