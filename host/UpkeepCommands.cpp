#include "host/UpkeepCommands.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>

#include "host/Catalog.h"
#include "host/FaultHint.h"
#include "host/Shell.h"
#include "host/define/TableDefinition.h"
#include "host/upkeep/Dump.h"
#include "host/upkeep/Upkeep.h"

namespace host {

namespace {

// The tables that a command names, or all of them.
Words tablesOf(const Words& words, std::size_t from = 1) {
    if (words.size() > from) return {words.begin() + static_cast<std::ptrdiff_t>(from), words.end()};
    Words names;
    for (const TableEntry& table : listTables()) names.push_back(table.name);
    return names;
}

std::string many(std::size_t count) {
    return counted(static_cast<std::int64_t>(count), "table");
}

[[noreturn]] void cannot(const char* what, const std::string& path) {
    throw std::runtime_error(std::string("cannot ") + what + " " + path + ": " + std::strerror(errno));
}

// A file that appears whole under its name, or not at all; "-" is standard output.
class OutputFile {
public:
    OutputFile(Shell& shell, std::string path) : shell_(shell), path_(std::move(path)) {
        if (path_ == "-") return;
        partial_ = path_ + ".partial";
        file_.reset(std::fopen(partial_.c_str(), "we"));
        if (!file_) cannot("write", path_);
    }
    ~OutputFile() {
        if (file_ && !kept_) std::remove(partial_.c_str());
    }
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    void write(std::string_view text) {
        if (path_ == "-") return shell_.write(text);
        if (std::fwrite(text.data(), 1, text.size(), file_.get()) != text.size()) cannot("write", path_);
    }
    void keep() {
        if (path_ == "-") return;
        if (std::fflush(file_.get()) != 0 || std::rename(partial_.c_str(), path_.c_str()) != 0)
            cannot("write", path_);
        kept_ = true;
    }

private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    Shell& shell_;
    std::string path_, partial_;
    std::unique_ptr<std::FILE, Close> file_;
    bool kept_ = false;
};

std::optional<RowFormat> rowFormat(const std::string& name) {
    if (name == "csv") return RowFormat::csv;
    if (name == "jsonl") return RowFormat::jsonl;
    if (name == "sql") return RowFormat::sql;
    return std::nullopt;
}

void exportAll(Shell& shell, const std::string& path, RowFormat format, const std::string& table) {
    OutputFile file(shell, path);
    const ExportReport report = exportTable(table, format, [&](std::string_view text) { file.write(text); });
    file.keep();
    if (report.refused == 0) return;
    shell.flush();
    for (const std::string& reason : report.reasons) std::fprintf(stderr, "%s\n", reason.c_str());
    shell.reportFault(0, counted(report.refused, "record") + (report.refused == 1 ? " was" : " were") +
                             " left out (--format jsonl takes all)");
}

}  // namespace

void showSchema(Shell& shell, const Words& words) {
    for (const std::string& name : tablesOf(words)) {
        const TableDefinition definition = readDefinition(name);
        shell.write((fitsCreateTable(definition) ? createTable(definition)
                                                 : ".define " + definitionJson(definition)) +
                    "\n");
    }
}

void defineTable(Shell& shell, const Words& words) {
    if (words.size() != 2) throw UsageError(".define FILE.json, or .define {\"table\": ...}");
    std::string text = words[1];
    if (!text.starts_with('{')) {
        std::ifstream file(words[1], std::ios::binary);
        if (!file) cannot("open", words[1]);
        std::ostringstream content;
        content << file.rdbuf();
        text = std::move(content).str();
    }
    const TableDefinition definition = parseDefinition(text);
    storeDefinition(definition);
    shell.write("table " + definition.name + " defined\n");
}

void exportRows(Shell& shell, const Words& words) {
    constexpr const char* kUsage = ".export [--format csv|jsonl|sql|json|xml|line] FILE TABLE";
    std::size_t at = 1;
    std::string format = "csv";
    if (words.size() > 2 && words[1] == "--format") {
        format = words[2];
        at = 3;
    }
    if (words.size() != at + 2) throw UsageError(kUsage);
    if (const auto rows = rowFormat(format)) return exportAll(shell, words[at], *rows, words[at + 1]);
    const auto shown = formatNamed(format);
    if (!shown) throw UsageError(kUsage);
    shell.runInto(words[at], *shown, {"SELECT * FROM \"" + words[at + 1] + "\"", 1});
}

void dumpScript(Shell& shell, const Words& words) {
    if (words.size() < 2) throw UsageError(".dump FILE [TABLE...]");
    OutputFile file(shell, words[1]);
    dumpTables(tablesOf(words, 2), [&](std::string_view text) { file.write(text); });
    file.keep();
}

void beginRows(Shell& shell, const Words& words) {
    if (words.size() != 2) throw UsageError(".rows TABLE");
    shell.beginRows(words[1]);
}

void checkSoundness(Shell& shell, const Words& words) {
    const Words tables = tablesOf(words);
    CheckReport report = checkTables(tables);
    if (!report.findings.rows.empty()) shell.writeResult(report.findings);
    if (report.damaged > 0)
        shell.reportFault(0, counted(report.damaged, "finding") +
                                 (report.repairable > 0 ? " (.reindex mends those called repairable)" : ""));
    else
        shell.write(many(tables.size()) + (tables.size() == 1 ? " is sound\n" : " are sound\n"));
}

void reindex(Shell& shell, const Words& words) {
    const Words tables = tablesOf(words);
    rebuildIndexes(tables);
    shell.write(many(tables.size()) + " indexed\n");
}

void compact(Shell& shell, const Words& words) {
    const Words tables = tablesOf(words);
    compactTables(tables);
    shell.write(many(tables.size()) + " compacted\n");
}

void makeBackup(Shell& shell, const Words& words) {
    if (words.size() != 2) throw UsageError(".backup DIR");
    namespace fs = std::filesystem;
    const fs::path home = fs::weakly_canonical(dataDirectory());
    const fs::path target = fs::weakly_canonical(words[1]);
    if (std::mismatch(home.begin(), home.end(), target.begin(), target.end()).first == home.end())
        throw std::runtime_error(words[1] + " lies in the data directory itself");
    if (fs::exists(target) && !(fs::is_directory(target) && fs::is_empty(target)))
        throw std::runtime_error(words[1] + " is there already and not an empty directory");
    backup(words[1]);
    shell.write("copied to " + words[1] + "\n");
}

}  // namespace host
