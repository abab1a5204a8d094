#include "kernel/ccl/Printer.h"

#include <limits>

#include "kernel/ccl/CommandWords.h"
#include "kernel/ccl/ReaderState.h"
#include "kernel/ccl/Spelling.h"

namespace wdb::ccl {

namespace {

class Printer {
public:
    std::string take() { return std::move(out_); }

    void token(std::string_view text) {
        if (!out_.empty()) out_ += ' ';
        out_ += text;
    }
    void word(Word word) { token(canonicalWord(word)); }
    void number(int64_t value) { token(std::to_string(value)); }

    void print(const BaseCommand& command);
    void print(const FindCommand& command);
    void print(const DefineCommand& command);
    void print(const SelectCommand& command);
    void print(const UnionCommand& command);
    void expression(const Expression& expression);
    void criterion(const Criterion& criterion);
    void aggregate(const Aggregate& aggregate, std::string_view before = {});

private:
    template <typename Items, typename One>
    void list(const Items& items, One&& one) {
        token("(");
        bool first = true;
        for (const auto& item : items) {
            if (!first) token(",");
            first = false;
            one(item);
        }
        token(")");
    }
    void recordRange(const Criterion& criterion);
    void setValue(const SetValue& value);
    void fieldItem(const FieldItem& item);
    void arithmetic(const std::vector<ArithmeticTerm>& terms);
    void operand(const ArithmeticTerm& term, bool alone);
    void sort(const std::vector<SortItem>& items);

    std::string out_;
};

// One step of printing a tree: a node, or a token that stands between nodes.
struct Step {
    size_t node;
    std::string_view token;
};

std::string_view connectiveWord(Connective connective) {
    switch (connective) {
        case Connective::And:
            return canonicalWord(Word::And);
        case Connective::Or:
            return canonicalWord(Word::Orx);
        default:
            return canonicalWord(Word::Not);
    }
}

std::string_view operatorSign(ArithmeticTerm::Kind kind) {
    switch (kind) {
        case ArithmeticTerm::Kind::Add:
            return "+";
        case ArithmeticTerm::Kind::Subtract:
            return "-";
        case ArithmeticTerm::Kind::Multiply:
            return "*";
        case ArithmeticTerm::Kind::Divide:
            return "/";
        default:
            return {};
    }
}

void Printer::expression(const Expression& expression) {
    std::vector<Step> steps{{expression.nodes.size() - 1, {}}};
    while (!steps.empty()) {
        const Step step = steps.back();
        steps.pop_back();
        if (!step.token.empty()) {
            token(step.token);
            continue;
        }
        const ExpressionNode& node = expression.nodes[step.node];
        if (node.kind == Connective::Criterion) {
            criterion(expression.criteria[node.left]);
            continue;
        }
        token("(");
        steps.push_back({0, ")"});
        steps.push_back({node.right, {}});
        steps.push_back({0, connectiveWord(node.kind)});
        steps.push_back({node.left, {}});
    }
}

void Printer::criterion(const Criterion& criterion) {
    using Form = Criterion::Form;
    if (criterion.form == Form::InSet) {
        token("S =");
        return number(criterion.number);
    }
    token(printColumn(criterion.column));
    token(comparisonSign(criterion.comparison));
    switch (criterion.form) {
        case Form::Any:
            return token("$");
        case Form::Empty:
            return token("\"\"");
        case Form::Set:
            return setValue(criterion.setValue[0]);
        case Form::Number:
            return number(criterion.number);
        case Form::NumberRange:
            return recordRange(criterion);
        default:
            break;
    }
    token(spellValue(criterion.low));
    if (criterion.form != Form::TextRange) return;
    word(Word::Ftl);
    token(spellValue(criterion.high));
}

void Printer::recordRange(const Criterion& criterion) {
    if (criterion.numberHigh == std::numeric_limits<int64_t>::max()) {
        word(Word::Frl);
        return number(criterion.number);
    }
    if (criterion.number != std::numeric_limits<int64_t>::min()) number(criterion.number);
    word(Word::Ftl);
    number(criterion.numberHigh);
}

void Printer::setValue(const SetValue& value) {
    const std::string prefix = std::to_string(value.set) + '.';
    if (const Column* column = std::get_if<Column>(&value.column))
        return token(prefix + printColumn(*column));
    aggregate(std::get<Aggregate>(value.column), prefix);
}

void Printer::aggregate(const Aggregate& aggregate, std::string_view before) {
    token(std::string(before) + std::string(functionName(aggregate.function)));
    token("(");
    if (aggregate.distinct) token("DISTINCT");
    token(aggregate.column ? printColumn(*aggregate.column) : "*");
    token(")");
}

// A subfield before a minus sign would be read as a range, a quoted name alone as a text: these columns stand
// in parentheses.
void Printer::operand(const ArithmeticTerm& term, bool alone) {
    if (term.kind == ArithmeticTerm::Kind::Number) return token(term.number);
    if (term.kind == ArithmeticTerm::Kind::Aggregate) return aggregate(term.aggregate);
    const std::string column = printColumn(term.column);
    const bool quotedAlone = term.column.qualifier.empty() && column.front() == '"';
    const bool enclosed = (term.column.first > 0 && !alone) || quotedAlone;
    if (enclosed) token("(");
    token(column);
    if (enclosed) token(")");
}

void Printer::arithmetic(const std::vector<ArithmeticTerm>& terms) {
    std::vector<size_t> leftOf(terms.size()), open;  // the right operand stands just before its operator
    for (size_t i = 0; i < terms.size(); ++i) {
        if (!operatorSign(terms[i].kind).empty()) {
            open.pop_back();
            leftOf[i] = open.back();
            open.pop_back();
        }
        open.push_back(i);
    }
    std::vector<Step> steps{{terms.size() - 1, {}}};
    while (!steps.empty()) {
        const Step step = steps.back();
        steps.pop_back();
        const std::string_view sign =
            step.token.empty() ? operatorSign(terms[step.node].kind) : std::string_view();
        if (!step.token.empty()) {
            token(step.token);
        } else if (sign.empty()) {
            operand(terms[step.node], terms.size() == 1);
        } else {
            token("(");
            steps.insert(steps.end(), {{0, ")"}, {step.node - 1, {}}, {0, sign}, {leftOf[step.node], {}}});
        }
    }
}

void Printer::fieldItem(const FieldItem& item) {
    if (item.kind == FieldItem::Kind::Null) return token("NULL");
    if (item.kind == FieldItem::Kind::Text) return token(spellQuoted(item.text));
    arithmetic(item.terms);
}

void Printer::sort(const std::vector<SortItem>& items) {
    if (items.empty()) return;
    token("SORT");
    list(items, [&](const SortItem& item) {
        token(item.item > 0 ? std::to_string(item.item) : printColumn(item.column));
        if (item.descending) word(Word::Des);
    });
}

void Printer::print(const BaseCommand& command) {
    word(Word::Bas);
    if (!command.name.empty()) {
        token(spellName(command.name));
        token("=");
    }
    bool first = true;
    for (const TableRef& base : command.bases) {
        if (!first) token(",");
        first = false;
        token(spellName(base.base));
    }
}

void Printer::print(const FindCommand& command) {
    word(Word::Fin);
    expression(command.expression);
}

void Printer::print(const DefineCommand& command) {
    word(Word::Def);
    word(Word::Fin);
    word(Word::Min);
    token("=");
    number(command.minimum);
}

void Printer::print(const SelectCommand& command) {
    word(Word::Sel);
    if (command.values) word(Word::Sfx);
    if (command.distinct) token("DISTINCT");
    word(Word::Frl);
    list(command.tables, [&](const TableRef& table) {
        token(spellName(table.base));
        if (!table.alias.empty()) token(spellName(table.alias));
    });
    token("FIELD");
    list(command.fields, [&](const FieldItem& item) { fieldItem(item); });
    for (const Join& join : command.joins) {
        token(join.kind == Join::Kind::Inner  ? "INNER ("
              : join.kind == Join::Kind::Left ? "LEFT ("
                                              : "RIGHT (");
        token(printColumn(join.left));
        token(comparisonSign(join.comparison));
        token(printColumn(join.right));
        token(")");
    }
    if (command.where) {
        word(Word::Whr);
        token("(");
        expression(*command.where);
        token(")");
    }
    sort(command.sort);
    if (command.group.empty()) return;
    token("GROUP");
    list(command.group, [&](const Column& column) { token(printColumn(column)); });
}

void Printer::print(const UnionCommand& command) {
    word(Word::Sel);
    token(command.all ? "ALL" : "DISTINCT");
    token("UNION (");
    number(command.left);
    token(",");
    number(command.right);
    token(")");
    sort(command.sort);
}

}  // namespace

std::string printCommand(const Command& command) {
    Printer printer;
    std::visit([&](const auto& alternative) { printer.print(alternative); }, command);
    return printer.take();
}

std::string printExpression(const Expression& expression) {
    Printer printer;
    printer.expression(expression);
    return printer.take();
}

std::string printCriterion(const Criterion& criterion) {
    Printer printer;
    printer.criterion(criterion);
    return printer.take();
}

std::string printAggregate(const Aggregate& aggregate) {
    Printer printer;
    printer.aggregate(aggregate);
    return printer.take();
}

std::string printColumn(const Column& column) {
    std::string result = column.qualifier.empty() ? std::string() : spellName(column.qualifier) + '.';
    result += column.record ? std::string(canonicalWord(Word::Rxx)) : spellName(column.field);
    if (column.first > 0) result += '.' + std::to_string(column.first);
    if (column.range) result += '-' + std::to_string(column.last);
    return result;
}

}  // namespace wdb::ccl
