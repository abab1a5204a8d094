#include "host/Interactive.h"

#include <algorithm>
#include <string>
#include <vector>

#include "host/Catalog.h"
#include "host/DotCommands.h"
#include "host/Kernel.h"
#include "host/LineEditor.h"

namespace host {

namespace {

// Dot commands, tables and columns, read anew at each use: a table may have come since the last one.
std::vector<std::string> catalogNames() {
    std::vector<std::string> names;
    for (const DotCommand& command : dotCommands()) names.emplace_back(command.name);
    try {
        for (const TableEntry& table : listTables()) {
            names.push_back(table.name);
            for (const TableColumn& column : listColumns(table.name)) names.push_back(column.name);
        }
    } catch (const KernelError&) {
        // A table that cannot be read has no columns to complete.
    }
    return names;
}

std::string promptFor(const StatementSplitter& splitter) {
    if (splitter.openQuote() != 0) return std::string("   ") + splitter.openQuote() + "> ";
    return splitter.idle() ? "wsql> " : "   -> ";
}

// The history holds a statement on one line, unless a comment in it needs its line end.
std::string historyEntry(std::string entry) {
    if (entry.find("--") == std::string::npos) std::replace(entry.begin(), entry.end(), '\n', ' ');
    return entry;
}

}  // namespace

void runInteractive(Shell& shell) {
    shell.write("wsql: statements end with a semicolon, .help lists the commands, .quit leaves\n");
    shell.flush();
    shell.keepOnInterrupt();
    LineEditor editor(historyPath(), catalogNames);
    StatementSplitter splitter;
    std::string line, entry;
    for (;;) {
        const LineEditor::Outcome outcome = editor.read(promptFor(splitter), line);
        if (outcome == LineEditor::Outcome::end) break;
        if (outcome == LineEditor::Outcome::interrupted) {
            splitter.clear();
            entry.clear();
            continue;
        }
        entry += (entry.empty() ? "" : "\n") + line;
        shell.runLine(splitter, line, "");
        shell.flush();
        if (splitter.idle()) {
            if (!line.empty()) editor.remember(historyEntry(entry));
            entry.clear();
        }
        if (!shell.goesOn()) break;
    }
}

}  // namespace host
