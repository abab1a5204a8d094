#pragma once

#include <string>

#include "src/parser/Keywords.h"
#include "src/parser/ParseContext.h"
#include "src/parser/WSQLSymbolTable.h"
#include "src/parser/parse.h"
#include "src/tree/TreeDump.h"
#include "src/tree/WSQLTimestamp.h"

/// A parse without a kernel: 21 November 2026, 10:11:12, date form 1.
class TestContext : public wsql::ParseContext {
public:
    TestContext() { wsql::loadKeywords(symbols); }
    const wsql::WSQLSymbolTable* symbolTable() const override { return keywords ? &symbols : nullptr; }
    void parserMessage(std::string_view text) override { message = text; }
    const wsql::WSQLTimestamp* statementInstant() override {
        ++instantsAsked;
        return &instant;
    }
    wsql::DateSettings dateSettings() override { return dates; }

    wsql::WSQLSymbolTable symbols;
    bool keywords = true;
    std::string message;
    wsql::WSQLTimestamp instant{"2026-11-21", "10:11:12"};
    int instantsAsked = 0;
    wsql::DateSettings dates{1, "2026-11-21", 0, 2026};
};
