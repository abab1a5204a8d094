#include "host/Shell.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <charconv>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "host/Engine.h"
#include "host/FaultHint.h"
#include "host/Kernel.h"
#include "host/Session.h"
#include "host/format/DisplayText.h"
#include "host/format/StepTree.h"
#include "host/input/ColumnNames.h"
#include "host/text/FaultPlace.h"
#include "host/upkeep/Dump.h"

namespace host {

namespace {

constexpr std::int32_t kAllRowsBlock = 5000;  // rows fetched at a time when all are wanted
constexpr int kDefaultWidth = 120;            // where there is no terminal to measure
constexpr int kDeepestRead = 16;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

class Stopwatch {
public:
    double milliseconds() const {
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start_).count();
    }

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

struct FreeLine {
    char* text = nullptr;
    std::size_t room = 0;
    ~FreeLine() { std::free(text); }
};

}  // namespace

struct Shell::Rows {
    std::string table;
    std::int64_t line = 0;            // of the block, 1-based
    std::unique_ptr<RowBlock> block;  // null after a fault: the rest is passed over
};

Shell::Shell(const Settings& settings) : settings_(settings) {}
Shell::~Shell() = default;

void Shell::write(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), out_);
}

int Shell::terminalWidth() const {
    winsize size{};
    if (::isatty(STDOUT_FILENO) == 1 && ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    const char* columns = std::getenv("COLUMNS");
    int width = 0;
    if (columns != nullptr) std::from_chars(columns, columns + std::strlen(columns), width);
    return width > 0 ? width : kDefaultWidth;
}

void Shell::reportFault(int code, std::string_view message) {
    faulted_ = true;
    flush();
    std::fprintf(stderr, "fault %d: %s\n%s", code, printable(message).c_str(),
                 faultHint(code, dataDirectory()).c_str());
}

void Shell::reportFault(const Fault& fault, const Statement& statement, std::string_view sourceName) {
    faulted_ = true;
    flush();
    const std::string text = faultText(fault, settings_.verbose) + faultPlace(fault, statement, sourceName) +
                             faultHint(fault.code, dataDirectory());
    std::fwrite(text.data(), 1, text.size(), stderr);
    constexpr std::string_view kCreate = "CREATE";
    if (fault.code == WDB_E_NAME && equalNames(statement.text.substr(0, kCreate.size()), kCreate))
        std::fprintf(stderr, "  %s\n", kNameRule);
}

void Shell::choosePaging() {
    if (settings_.allRows) {
        setPaging(settings_.format == Format::xml ? -1 : kAllRowsBlock, 1);
    } else {
        setPaging(settings_.blockSize, settings_.block);
    }
}

void Shell::showSteps(const StepTree& steps) {
    write(steps.draw(terminalWidth()));
}

bool Shell::explain(const Statement& statement, std::string_view sourceName) {
    choosePaging();
    StepTree steps;
    const RawAnswer raw = execute(statement.text, &steps);
    if (!raw.succeeded())
        reportFault(readFault(raw.text(), raw.status, raw.message), statement, sourceName);
    else if (steps.empty())
        write("no command went to the kernel\n");
    showSteps(steps);
    return goesOn();
}

bool Shell::runStatement(const Statement& statement, std::string_view sourceName) {
    choosePaging();
    StepTree steps;
    const Stopwatch watch;
    const RawAnswer raw = execute(statement.text, settings_.explain ? &steps : nullptr);
    const double milliseconds = watch.milliseconds();
    if (!raw.succeeded()) {
        reportFault(readFault(raw.text(), raw.status, raw.message), statement, sourceName);
    } else if (settings_.format == Format::xml) {
        write(raw.text());
        showTime(milliseconds);
    } else {
        showAnswer(readAnswer(raw.document.get(), raw.length), statement, sourceName, milliseconds);
    }
    showSteps(steps);
    return goesOn();
}

void Shell::showTime(double milliseconds) {
    if (!settings_.timer) return;
    flush();
    std::fprintf(stderr, "(%s)\n", duration(milliseconds).c_str());
}

namespace {

// What an INSERT, UPDATE or DELETE did, for a person.
std::string changeText(const ResultSet& result) {
    const std::string& kind = result.statementType;
    const char* done = kind == "INSERT"   ? "inserted"
                       : kind == "UPDATE" ? "updated"
                       : kind == "DELETE" ? "deleted"
                                          : nullptr;
    if (done == nullptr || result.rows.size() != 1 || result.rows[0].size() != 1) return {};
    const std::string& count = result.rows[0][0].text;
    return count + (count == "1" ? " row " : " rows ") + done;
}

}  // namespace

void Shell::showAnswer(Answer answer, const Statement& statement, std::string_view sourceName,
                       double milliseconds) {
    const bool forPeople = settings_.format == Format::table || settings_.format == Format::line;
    const std::string time = settings_.timer ? " (" + duration(milliseconds) + ")" : "";
    if (auto* unreadable = std::get_if<Unreadable>(&answer)) {
        reportFault(0, "the engine's answer cannot be read: " + unreadable->reason);
        return;
    }
    if (auto* result = std::get_if<ResultSet>(&answer)) {
        const std::string change = forPeople ? changeText(*result) : std::string();
        if (change.empty())
            showRows(std::move(*result), statement, sourceName, milliseconds);
        else
            write(change + time + "\n");
        return;
    }
    if (auto* property = std::get_if<Property>(&answer)) {
        ResultSet result;
        result.total = 1;
        result.columns = {{property->name, "VARCHAR"}};
        result.rows = {{Cell{property->value, false}}};
        showRows(std::move(result), statement, sourceName, milliseconds);
        return;
    }
    const std::string& text = std::get<Success>(answer).text;
    if (forPeople)
        write((text.empty() ? "done" : text) + time + "\n");
    else
        showTime(milliseconds);
}

// A further block of a result of which every row is wanted; nothing, with a fault, when it cannot be had.
std::optional<ResultSet> Shell::fetchBlock(const Statement& statement, std::string_view sourceName,
                                           std::int32_t number, double& milliseconds) {
    setPaging(kAllRowsBlock, number);
    const Stopwatch watch;
    const RawAnswer raw = execute(statement.text);
    milliseconds += watch.milliseconds();
    if (!raw.succeeded()) {
        reportFault(readFault(raw.text(), raw.status, raw.message), statement, sourceName);
        return std::nullopt;
    }
    Answer answer = readAnswer(raw.document.get(), raw.length);
    if (auto* block = std::get_if<ResultSet>(&answer)) return std::move(*block);
    reportFault(0, "the engine's answer cannot be read");
    return std::nullopt;
}

void Shell::showRows(ResultSet block, const Statement& statement, std::string_view sourceName,
                     double milliseconds) {
    const std::unique_ptr<Formatter> formatter = makeFormatter(settings_.format, terminalWidth());
    std::string out;
    ResultEnd end{block.first, 0, block.total, std::nullopt};
    formatter->begin(block.columns, out);
    bool changed = false;
    for (std::int32_t number = 2;; ++number) {
        formatter->rows(block.rows, out);
        end.shown += static_cast<std::int64_t>(block.rows.size());
        write(out);
        out.clear();
        const bool more = settings_.allRows && block.statementType == "SELECT" && !block.rows.empty();
        if (!more || end.shown >= end.total) break;
        std::optional<ResultSet> next = fetchBlock(statement, sourceName, number, milliseconds);
        if (!next) break;
        changed = changed || next->total != end.total;
        block = std::move(*next);
    }
    if (settings_.timer) end.milliseconds = milliseconds;
    formatter->end(end, out);
    write(out);
    if (settings_.format != Format::table) showTime(milliseconds);
    if (changed) reportFault(0, "the result changed while it was read");
}

void Shell::writeResult(const ResultSet& result) {
    const Format format = settings_.format == Format::xml ? Format::table : settings_.format;
    const auto formatter = makeFormatter(format, terminalWidth());
    std::string out;
    const auto count = static_cast<std::int64_t>(result.rows.size());
    formatter->begin(result.columns, out);
    formatter->rows(result.rows, out);
    formatter->end({1, count, count, std::nullopt}, out);
    write(out);
}

void Shell::beginRows(const std::string& table) {
    rows_ = std::make_unique<Rows>();
    rows_->table = table;
    rows_->block = std::make_unique<RowBlock>(table);
}

bool Shell::runRowLine(std::string_view line, std::string_view sourceName) {
    ++rows_->line;
    try {
        if (line == ".end") {
            if (rows_->block) {
                const std::int64_t stored = rows_->block->end();
                write(rows_->table + ": " + counted(stored, "record") + "\n");
            }
            rows_.reset();
        } else if (rows_->block) {
            rows_->block->line(line);
        }
    } catch (const std::exception& error) {
        const auto* kernel = dynamic_cast<const KernelError*>(&error);
        const bool ended = line == ".end";
        reportFault(kernel == nullptr ? 0 : kernel->status(),
                    (sourceName.empty() ? "" : std::string(sourceName) + ": ") + "rows of " + rows_->table +
                        ", line " + std::to_string(rows_->line) + ": " + error.what() + "; none is stored");
        rows_->block.reset();
        if (ended) rows_.reset();
    }
    return goesOn();
}

void Shell::endSource() {
    if (!rows_) return;
    const std::string table = rows_->table;
    rows_.reset();
    reportFault(0, "rows of " + table + " have no .end; none is stored");
}

bool Shell::runReady(StatementSplitter& splitter, std::string_view sourceName) {
    Statement statement;
    while (goesOn() && splitter.next(statement)) runStatement(statement, sourceName);
    return goesOn();
}

bool Shell::runLine(StatementSplitter& splitter, std::string_view line, std::string_view sourceName) {
    if (rows_) return runRowLine(line, sourceName);
    const auto first = line.find_first_not_of(" \t");
    if (splitter.idle() && first != std::string_view::npos && line[first] == '.') {
        splitter.feed("");  // counts the line
        return runDotCommand(line.substr(first));
    }
    splitter.feed(line);
    return runReady(splitter, sourceName);
}

bool Shell::runText(std::string_view text, std::string_view sourceName) {
    StatementSplitter splitter;
    while (!text.empty()) {
        const auto end = text.find('\n');
        if (!runLine(splitter, text.substr(0, end), sourceName)) return false;
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    endSource();
    Statement statement;
    if (splitter.finish(statement)) runStatement(statement, sourceName);
    return goesOn();
}

bool Shell::runStream(std::FILE* input, std::string_view sourceName) {
    StatementSplitter splitter;
    FreeLine line;
    ssize_t length = 0;
    bool first = true;
    while ((length = ::getline(&line.text, &line.room, input)) >= 0) {
        std::string_view text(line.text, static_cast<std::size_t>(length));
        if (text.ends_with('\n')) text.remove_suffix(1);
        if (text.ends_with('\r')) text.remove_suffix(1);
        if (std::exchange(first, false) && text.starts_with(kByteOrderMark))
            text.remove_prefix(kByteOrderMark.size());
        const bool on = runLine(splitter, text, sourceName);
        flush();
        if (!on) return false;
    }
    if (std::ferror(input) != 0) reportFault(0, "cannot read " + std::string(sourceName));
    endSource();
    Statement statement;
    if (splitter.finish(statement)) runStatement(statement, sourceName);
    flush();
    return goesOn();
}

bool Shell::runFile(const std::string& path) {
    if (depth_ >= kDeepestRead) {
        reportFault(0, "scripts that read scripts go too deep: " + path);
        return goesOn();
    }
    if (path == "-") return runStream(stdin, "standard input");
    const File file(std::fopen(path.c_str(), "re"));
    if (!file) {
        reportFault(0, "cannot open " + path + ": " + std::strerror(errno));
        return goesOn();
    }
    ++depth_;
    const bool on = runStream(file.get(), path);
    --depth_;
    return on;
}

bool Shell::runInto(const std::string& path, Format format, const Statement& statement) {
    File file(std::fopen(path.c_str(), "we"));
    if (!file) {
        reportFault(0, "cannot write " + path + ": " + std::strerror(errno));
        return false;
    }
    flush();
    const Settings before = settings_;
    const bool faulted = faulted_;
    settings_.format = format;
    settings_.allRows = true;
    settings_.timer = false;
    faulted_ = false;
    out_ = file.get();
    runStatement(statement, "");
    const bool written = std::fflush(out_) == 0 && std::ferror(out_) == 0;
    out_ = stdout;
    settings_ = before;
    if (!written) reportFault(0, "cannot write " + path);
    const bool good = !faulted_;
    faulted_ = faulted_ || faulted;
    return good;
}

}  // namespace host
