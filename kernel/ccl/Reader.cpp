#include "kernel/ccl/Reader.h"

#include "kernel/ccl/ArithmeticReader.h"
#include "kernel/ccl/ExpressionReader.h"
#include "kernel/common/Ascii.h"

namespace wdb::ccl {

namespace {

constexpr size_t kUsualFields = 4;  // room made at once

class CommandReader {
public:
    explicit CommandReader(ReaderState& state) : state_(state) {}

    bool read(Command& command) {
        bool done = false;
        if (state_.accept(Word::Bas))
            done = readBase(command.emplace<BaseCommand>());
        else if (state_.accept(Word::Fin))
            done = readExpression(command.emplace<FindCommand>().expression);
        else if (state_.accept(Word::Def))
            done = readDefine(command.emplace<DefineCommand>());
        else if (state_.accept(Word::Sel))
            done = readSelection(command);
        else
            return state_.failHere();
        return done && (state_.scanner.peek().kind == TokenKind::End || state_.failHere());
    }

private:
    bool readBase(BaseCommand& command);
    bool readDefine(DefineCommand& command);
    bool readSelection(Command& command);
    bool readSelect(SelectCommand& command);
    bool readUnion(UnionCommand& command);
    bool readTable(TableRef& table);
    bool readJoins(SelectCommand& command);
    bool readSort(std::vector<SortItem>& items, bool positionsOnly);
    bool readSortItem(SortItem& item, bool positionsOnly);

    bool readExpression(Expression& expression) { return ExpressionReader(state_, expression).read(); }
    bool atName() const {
        const TokenKind kind = state_.scanner.peek().kind;
        return kind == TokenKind::Name || kind == TokenKind::Quoted;
    }
    // "(" one {"," one} ")"; mayBeEmpty: or nothing between the parentheses.
    template <typename One>
    bool readList(bool mayBeEmpty, One&& one) {
        if (!state_.expectSymbol('(')) return false;
        if (mayBeEmpty && state_.acceptSymbol(')')) return true;
        do {
            if (!one()) return false;
        } while (state_.acceptSymbol(','));
        return state_.expectSymbol(')');
    }

    ReaderState& state_;
};

// The name before "=" can only be told from a base's name by what follows it.
bool CommandReader::readBase(BaseCommand& command) {
    TableRef table;
    table.position = static_cast<uint32_t>(state_.scanner.peek().position);
    if (!state_.readName(table.base)) return false;
    if (state_.acceptSymbol('=')) {
        command.name = std::move(table.base);
        table.position = static_cast<uint32_t>(state_.scanner.peek().position);
        if (!state_.readName(table.base)) return false;
    }
    command.bases.push_back(std::move(table));
    while (state_.acceptSymbol(',')) {
        if (!atName()) continue;
        TableRef& next = command.bases.emplace_back();
        next.position = static_cast<uint32_t>(state_.scanner.peek().position);
        if (!state_.readName(next.base)) return false;
    }
    return true;
}

bool CommandReader::readDefine(DefineCommand& command) {
    return state_.expect(Word::Fin) && state_.expect(Word::Min) && state_.expectSymbol('=') &&
           state_.readInteger(command.minimum);
}

bool CommandReader::readSelection(Command& command) {
    Scanner ahead = state_.scanner;
    ahead.next();
    const Token& second = ahead.peek();
    if (second.kind == TokenKind::Name && equalsIgnoreCase(second.text, "UNION"))
        return readUnion(command.emplace<UnionCommand>());
    return readSelect(command.emplace<SelectCommand>());
}

bool CommandReader::readSelect(SelectCommand& command) {
    command.values = state_.accept(Word::Sfx);
    command.distinct = state_.acceptText("DISTINCT");
    if (!state_.expect(Word::Frl)) return false;
    if (!readList(true, [&] { return readTable(command.tables.emplace_back()); })) return false;
    if (!state_.expectText("FIELD")) return false;
    command.fields.reserve(kUsualFields);
    if (!readList(true, [&] { return ArithmeticReader(state_, command.fields.emplace_back()).read(); }))
        return false;
    if (!readJoins(command)) return false;
    if (state_.accept(Word::Whr)) {
        const bool read =
            state_.expectSymbol('(') && readExpression(command.where.emplace()) && state_.expectSymbol(')');
        if (!read) return false;
    }
    if (!readSort(command.sort, false)) return false;
    if (!state_.acceptText("GROUP")) return true;
    return readList(false, [&] { return state_.readColumn(command.group.emplace_back()); });
}

bool CommandReader::readUnion(UnionCommand& command) {
    command.all = state_.acceptText("ALL");
    if (!command.all && !state_.expectText("DISTINCT")) return false;
    const auto readSet = [this](int32_t& set, uint32_t& position) {
        position = static_cast<uint32_t>(state_.scanner.peek().position);
        return state_.readInteger(set);
    };
    return state_.expectText("UNION") && state_.expectSymbol('(') &&
           readSet(command.left, command.leftPosition) && state_.expectSymbol(',') &&
           readSet(command.right, command.rightPosition) && state_.expectSymbol(')') &&
           readSort(command.sort, true);
}

bool CommandReader::readTable(TableRef& table) {
    table.position = static_cast<uint32_t>(state_.scanner.peek().position);
    if (!state_.readName(table.base)) return false;
    return !atName() || state_.readName(table.alias);
}

bool CommandReader::readJoins(SelectCommand& command) {
    const auto atJoin = [this] {
        const Token& token = state_.scanner.peek();
        return token.kind == TokenKind::Name && (token.text.size() == 4 || token.text.size() == 5);
    };
    while (atJoin()) {
        Join join;
        if (state_.acceptText("INNER"))
            join.kind = Join::Kind::Inner;
        else if (state_.acceptText("LEFT"))
            join.kind = Join::Kind::Left;
        else if (state_.acceptText("RIGHT"))
            join.kind = Join::Kind::Right;
        else
            return true;
        const bool read = state_.expectSymbol('(') && state_.readColumn(join.left) &&
                          state_.readComparison(join.comparison) && state_.readColumn(join.right) &&
                          state_.expectSymbol(')');
        if (!read) return false;
        command.joins.push_back(std::move(join));
    }
    return true;
}

bool CommandReader::readSort(std::vector<SortItem>& items, bool positionsOnly) {
    if (!state_.acceptText("SORT")) return true;
    return readList(false, [&] { return readSortItem(items.emplace_back(), positionsOnly); });
}

bool CommandReader::readSortItem(SortItem& item, bool positionsOnly) {
    const Token token = state_.scanner.peek();
    item.position = static_cast<uint32_t>(token.position);
    if (token.kind == TokenKind::Integer) {
        if (!state_.readInteger(item.item)) return false;
        if (item.item == 0) return state_.fail(token.position);
    } else if (positionsOnly || !state_.readColumn(item.column)) {
        return positionsOnly ? state_.fail(token.position) : false;
    }
    item.descending = state_.accept(Word::Des);
    return true;
}

}  // namespace

Result<Command> readCommand(std::string_view text, const CommandWords& words, size_t* errorPosition) {
    if (text.size() > WDB_COMMAND_MAX) {
        if (errorPosition != nullptr) *errorPosition = WDB_COMMAND_MAX;
        return Status{WDB_E_CCL_LENGTH};
    }
    ReaderState state{Scanner(text), words};
    Result<Command> command{Command()};
    if (CommandReader(state).read(*command)) return command;
    if (errorPosition != nullptr) *errorPosition = state.errorPosition;
    return Status{WDB_E_CCL_SYNTAX};
}

}  // namespace wdb::ccl
