#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

// What a command line says, and nothing about what its names and values mean: no field types, no bases. Trees
// are flat (children are indexes, operands stand before their operator), so that a line nested millions deep
// is read, walked and freed without recursion.
namespace wdb::ccl {

enum class Comparison : uint8_t { Equal, NotEqual, Less, Greater, LessOrEqual, GreaterOrEqual };

// A column, or the record number of a base.
struct Column {
    std::string qualifier;  // base, alias or correlation name; empty when there is none
    std::string field;      // empty for the record number
    bool record = false;
    int32_t first = 0;      // subfield from 1; 0: the whole field
    int32_t last = 0;       // the same as first without a range
    bool range = false;     // a-b was written, which may be 2-2
    uint32_t position = 0;  // byte offset in the command, from 0
};

enum class Function : uint8_t { Count, Avg, Min, Max, Sum };

struct Aggregate {
    Function function = Function::Count;
    bool distinct = false;
    std::optional<Column> column;  // none: COUNT(*)
};

// A piece of a value: literal text, `$` (any run of characters, none included) or `!` (exactly one).
struct ValuePiece {
    enum class Kind : uint8_t { Literal, AnyRun, AnyCharacter };
    Kind kind = Kind::Literal;
    std::string text;  // of a literal
};

// A constant: its pieces, escapes and quotes taken away, its parts joined by one blank. No pieces: the empty
// value.
struct Value {
    std::vector<ValuePiece> pieces;
    uint32_t position = 0;

    bool isLiteral() const { return pieces.size() == 1 && pieces[0].kind == ValuePiece::Kind::Literal; }
    // The text before the first wildcard.
    std::string_view prefix() const {
        return !pieces.empty() && pieces[0].kind == ValuePiece::Kind::Literal
                   ? std::string_view(pieces[0].text)
                   : std::string_view();
    }
};

// The values of a column of an earlier set.
struct SetValue {
    int32_t set = 0;
    std::variant<Column, Aggregate> column;
};

struct Criterion {
    enum class Form : uint8_t {
        InSet,       // S=number
        Text,        // low
        TextRange,   // low TO high
        Any,         // "$": any value
        Empty,       // "" or nothing: no value
        Set,         // setValue
        Number,      // record column: number
        NumberRange  // record column: number to numberHigh, both included
    };
    Form form = Form::Text;
    Comparison comparison = Comparison::Equal;
    Column column;  // not for InSet
    Value low;
    Value high;
    int64_t number = 0;
    int64_t numberHigh = 0;
    std::vector<SetValue> setValue;  // one entry for Form::Set, else none
    uint32_t position = 0;
};

enum class Connective : uint8_t { Criterion, And, Or, Not };

struct ExpressionNode {
    Connective kind;
    uint32_t left;   // index of a node before this one; of the criterion for Connective::Criterion
    uint32_t right;  // index of a node before this one
};

// Nodes stand behind their operands; the last one is the root. Not empty once read.
struct Expression {
    std::vector<Criterion> criteria;
    std::vector<ExpressionNode> nodes;
};

// Arithmetic in postfix order: an operator takes the two results before it.
struct ArithmeticTerm {
    enum class Kind : uint8_t { Column, Aggregate, Number, Add, Subtract, Multiply, Divide };
    Kind kind = Kind::Number;
    Column column;
    Aggregate aggregate;
    std::string number;  // as typed, without a plus sign
};

struct FieldItem {
    enum class Kind : uint8_t { Arithmetic, Text, Null };
    Kind kind = Kind::Arithmetic;
    std::vector<ArithmeticTerm> terms;
    std::string text;
    uint32_t position = 0;
};

struct TableRef {
    std::string base;
    std::string alias;  // empty when there is none
    uint32_t position = 0;
};

struct Join {
    enum class Kind : uint8_t { Inner, Left, Right };
    Kind kind = Kind::Inner;
    Column left;
    Comparison comparison = Comparison::Equal;
    Column right;
};

struct SortItem {
    int32_t item = 0;  // FIELD entry from 1; 0: column is meant
    Column column;
    bool descending = false;
    uint32_t position = 0;
};

struct BaseCommand {
    std::string name;  // before "=", empty when there is none
    std::vector<TableRef> bases;
};

struct FindCommand {
    Expression expression;
};

struct DefineCommand {
    int32_t minimum = 0;
};

struct SelectCommand {
    bool values = false;  // SFX
    bool distinct = false;
    std::vector<TableRef> tables;
    std::vector<FieldItem> fields;
    std::vector<Join> joins;
    std::optional<Expression> where;
    std::vector<SortItem> sort;
    std::vector<Column> group;
};

struct UnionCommand {
    bool all = false;
    int32_t left = 0;
    int32_t right = 0;
    uint32_t leftPosition = 0;
    uint32_t rightPosition = 0;
    std::vector<SortItem> sort;
};

using Command = std::variant<BaseCommand, FindCommand, DefineCommand, SelectCommand, UnionCommand>;

}  // namespace wdb::ccl
