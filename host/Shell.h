#pragma once

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "host/Settings.h"
#include "host/text/Answer.h"
#include "host/text/StatementSplitter.h"

namespace host {

class StepTree;

// Runs statements and dot commands from whatever source, writes results to standard output and faults to
// standard error.
class Shell {
public:
    explicit Shell(const Settings& settings);
    ~Shell();
    Shell(const Shell&) = delete;
    Shell& operator=(const Shell&) = delete;

    // Each answers false when nothing more is to be run: after .quit, or after a fault when faults end
    // everything.
    bool runText(std::string_view text, std::string_view sourceName);
    bool runFile(const std::string& path);
    // Statements as they come, each answer written out before the next is read.
    bool runStream(std::FILE* input, std::string_view sourceName);

    bool runStatement(const Statement& statement, std::string_view sourceName);
    // Runs the statement and writes its steps instead of its result.
    bool explain(const Statement& statement, std::string_view sourceName);
    bool runDotCommand(std::string_view line);
    // A fault of the program's own, not of a statement.
    void reportFault(int code, std::string_view message);

    bool faulted() const { return faulted_; }
    bool goesOn() const { return !quit_ && !(faulted_ && settings_.bail); }
    Settings& settings() { return settings_; }
    void quit() { quit_ = true; }
    // Somebody sits there: Ctrl-C ends one command, not all of them.
    void keepOnInterrupt() { interactive_ = true; }
    void write(std::string_view text);
    // A result of the program's own, in the format of the session (xml: as a table).
    void writeResult(const ResultSet& result);
    // The lines that follow are rows of the table, up to ".end". Throws KernelError.
    void beginRows(const std::string& table);
    // Writes every row of a statement's result to a file, in a format of its own. False, with a fault, when
    // that fails.
    bool runInto(const std::string& path, Format format, const Statement& statement);
    void flush() { std::fflush(out_); }
    int terminalWidth() const;
    // Runs what is complete in the splitter.
    bool runReady(StatementSplitter& splitter, std::string_view sourceName);
    // One line of a source: a dot command when no statement has begun, else part of a statement.
    bool runLine(StatementSplitter& splitter, std::string_view line, std::string_view sourceName);

private:
    struct Rows;
    bool runRowLine(std::string_view line, std::string_view sourceName);
    // A source ended; rows that it had begun are given up.
    void endSource();
    void reportFault(const Fault& fault, const Statement& statement, std::string_view sourceName);
    void showRows(ResultSet block, const Statement& statement, std::string_view sourceName,
                  double milliseconds);
    std::optional<ResultSet> fetchBlock(const Statement& statement, std::string_view sourceName,
                                        std::int32_t number, double& milliseconds);
    void showAnswer(Answer answer, const Statement& statement, std::string_view sourceName,
                    double milliseconds);
    void showTime(double milliseconds);
    void choosePaging();
    void showSteps(const StepTree& steps);

    Settings settings_;
    std::FILE* out_ = stdout;
    bool faulted_ = false, quit_ = false, interactive_ = false;
    int depth_ = 0;  // scripts that read scripts
    std::unique_ptr<Rows> rows_;
};

}  // namespace host
