#include "host/import/Import.h"

#include <charconv>
#include <chrono>
#include <cstdio>
#include <memory>

#include "host/Engine.h"
#include "host/FaultHint.h"
#include "host/format/DisplayText.h"
#include "host/format/Formatter.h"
#include "host/import/Progress.h"
#include "host/input/CsvReader.h"
#include "host/input/Deb822Reader.h"
#include "host/input/ImportError.h"
#include "host/input/Interrupt.h"
#include "host/input/JsonLinesReader.h"
#include "host/input/LineReader.h"
#include "host/text/Answer.h"

namespace host {

namespace {

constexpr int kNotesShown = 20;

void note(const std::string& text) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s\n", printable(text).c_str());
}

std::unique_ptr<RecordReader> makeReader(InputFormat format, const ImportRequest& request,
                                         LineReader& lines) {
    if (format == InputFormat::csv)
        return std::make_unique<CsvReader>(lines, request.exported ? ValueForm::cells : ValueForm::free);
    if (format == InputFormat::jsonl) return std::make_unique<JsonLinesReader>(lines);
    return std::make_unique<Deb822Reader>(lines);
}

InputFormat formatOf(const ImportRequest& request, LineReader& lines) {
    if (request.format) return *request.format;
    std::string_view first;
    const InputFormat format = guessFormat(request.file, lines.next(first) ? first : std::string_view());
    lines.rewind();
    return format;
}

void makeTable(const ImportRequest& request, InputFormat format, RecordReader& reader) {
    const RawAnswer answer = execute(createStatement(request.table, planTable(reader, format)));
    if (!answer.succeeded()) {
        const Fault fault = readFault(answer.text(), answer.status, answer.message);
        throw KernelError(fault.code, "cannot make the table: " + fault.message +
                                          (fault.code == WDB_E_NAME ? std::string(" ") + kNameRule : ""));
    }
    reader.rewind();
}

void noteLacking(const std::vector<std::string>& names, const std::string& table) {
    if (names.empty()) return;
    std::string text = "columns that " + table + " lacks are left out:";
    for (const std::string& name : names) text += (&name == &names.front() ? " " : ", ") + name;
    note(text);
}

// Notes about records, only the first of them in full.
class Notes {
public:
    explicit Notes(std::string file) : file_(std::move(file)) {}
    void add(std::int64_t line, const std::string& reason) {
        if (++count_ <= kNotesShown) note(file_ + ":" + std::to_string(line) + ": " + reason);
        if (count_ == kNotesShown + 1) note("further records that cannot be used are only counted");
    }

private:
    std::string file_;
    std::int64_t count_ = 0;
};

LoadCounts load(const ImportRequest& request, RecordReader& reader, const std::string& fileName) {
    Loader loader(request.table);
    Progress progress(reader.size());
    Notes notes(fileName);
    InputRecord record;
    std::vector<std::string> lacking;
    std::size_t mapped = 0;
    std::int64_t malformed = 0, read = 0;
    while (reader.next(record)) {
        if (reader.columns().size() > mapped) {
            for (std::string& name : loader.mapColumns(reader)) lacking.push_back(std::move(name));
            mapped = reader.columns().size();
        }
        std::string reason = record.problem;
        if (!reason.empty())
            ++malformed;
        else
            loader.put(reader, record, reason);
        if (!reason.empty()) {
            progress.clear();
            notes.add(record.line, reason);
        }
        if ((++read & 255) == 0) progress.show(reader.bytesRead(), read);
    }
    progress.clear();
    noteLacking(lacking, request.table);
    if (mapped > 0 && lacking.size() == mapped)
        throw ImportError(request.table + " has none of the file's columns");
    if (interrupted()) throw Interrupted("interrupted");
    progress.say("storing and indexing ...");
    loader.commit();
    LoadCounts counts = loader.counts();
    counts.refused += malformed;
    return counts;
}

// A table that was made for a load that then stored nothing goes with it.
class MadeTable {
public:
    explicit MadeTable(const std::string& name) : name_(name) {}
    ~MadeTable() {
        if (!remove_ || countRecords(name_) != 0) return;
        if (!execute("DROP TABLE \"" + name_ + '"').succeeded())
            note("the empty table " + name_ + " is left");
    }
    MadeTable(const MadeTable&) = delete;
    MadeTable& operator=(const MadeTable&) = delete;
    void removeUnlessKept() { remove_ = true; }
    void keep() { remove_ = false; }

private:
    const std::string& name_;
    bool remove_ = false;
};

std::string fixed(double number, int decimals) {
    char text[64];
    const auto end = std::to_chars(text, text + sizeof text, number, std::chars_format::fixed, decimals);
    return {text, end.ec == std::errc() ? end.ptr : text};
}

}  // namespace

InputFormat guessFormat(std::string_view file, std::string_view firstLine) {
    if (file.ends_with(".csv") || file.ends_with(".CSV")) return InputFormat::csv;
    if (file.ends_with(".jsonl") || file.ends_with(".ndjson") || firstLine.starts_with('{'))
        return InputFormat::jsonl;
    const auto colon = firstLine.find(':'), comma = firstLine.find(',');
    return comma != std::string_view::npos && comma < colon ? InputFormat::csv : InputFormat::deb822;
}

ImportReport runImport(const ImportRequest& request) try {
    const auto start = std::chrono::steady_clock::now();
    const InterruptGuard guard;
    LineReader lines(request.file);
    const InputFormat format = formatOf(request, lines);
    const std::unique_ptr<RecordReader> reader = makeReader(format, request, lines);
    if (const std::string hint = reader->hint(); !hint.empty()) note(hint);
    ImportReport report;
    MadeTable made(request.table);
    if (!tableExists(request.table)) {
        makeTable(request, format, *reader);
        made.removeUnlessKept();
        report.madeTable = true;
    }
    report.counts = load(request, *reader, lines.name());
    report.keptTable = report.counts.stored > 0 || report.counts.refused == 0;
    if (report.keptTable) made.keep();
    report.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return report;
} catch (const Interrupted&) {
    throw Interrupted("the import was interrupted, nothing is stored");
}

std::string summary(const ImportReport& report) {
    const LoadCounts& counts = report.counts;
    std::string text = counted(counts.stored, "record") + " in " + fixed(report.seconds, 2) + " s";
    if (report.seconds > 0) {
        text += " (" +
                grouped(static_cast<std::int64_t>(static_cast<double>(counts.stored) / report.seconds)) +
                " records/s)";
    }
    if (counts.duplicates > 0) text += ", " + grouped(counts.duplicates) + " with a known key skipped";
    if (counts.refused > 0) text += ", " + grouped(counts.refused) + " refused";
    return text;
}

}  // namespace host
