#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>

#include "host/Settings.h"

namespace host {

namespace {

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr) return {};
    return value;
}

std::string defaultDirectory() {
    std::string directory = environment("WSQL_DATA");
    if (!directory.empty()) return directory;
    directory = environment("XDG_DATA_HOME");
    if (directory.empty()) directory = environment("HOME") + "/.local/share";
    return directory + "/wsql";
}

}  // namespace

ParseOutcome parseOptions(int argc, char** argv, Options& options) {
    CLI::App app("wsql - ask SQL questions over texts and records", "wsql");
    std::string format = "table";
    std::int32_t blockSize = 0, block = 0;
    options.user = "owner";
    auto* data =
        app.add_option("--data", options.data,
                       "data directory, made at first use (default: $WSQL_DATA, ~/.local/share/wsql)")
            ->type_name("DIR");
    app.add_option("--user", options.user, "user name (default: owner)")->type_name("NAME");
    app.add_option("--password-file", options.passwordFile,
                   "file whose first line is the password (or: WSQL_PASSWORD)")
        ->type_name("FILE");
    app.add_option("--format", format, "how results are written: table, csv, json, xml, line")
        ->type_name("FORMAT")
        ->check(CLI::IsMember(std::vector<std::string>(std::begin(kFormatNames), std::end(kFormatNames))));
    auto* all = app.add_flag("--all-rows", options.settings.allRows, "every row of a result");
    auto* size = app.add_option("--block-size", blockSize, "rows that are shown of a result (default: 20)")
                     ->type_name("N")
                     ->check(CLI::Range(1, 1000000000));
    auto* number = app.add_option("--block", block, "which block of rows is shown, from 1")
                       ->type_name("N")
                       ->check(CLI::Range(1, 1000000000));
    all->excludes(size)->excludes(number);
    app.add_option("-c", options.commands, "run this SQL or dot command (repeatable)")
        ->type_name("SQL")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->allow_extra_args(false);
    app.add_flag("--batch", options.batch,
                 "read statements from standard input, each answer written at once");
    app.add_flag("--read-only", options.readOnly, "change nothing, and make no data directory");
    app.add_flag("--bail", options.settings.bail, "stop at the first fault");
    app.add_flag("--verbose", options.settings.verbose, "faults with source and context");
    app.add_option("FILE", options.files, "scripts to run");
    app.footer(
        "Statements end with a semicolon. Without -c, FILE or --batch wsql reads statements from the "
        "terminal;\n"
        ".help lists its own commands. Exit status: 0 all well, 1 a fault, 2 wrong usage.");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? ParseOutcome::done : ParseOutcome::usageError;
    }
    if (*data && options.data.empty()) {
        std::fputs("--data: the directory has no name\n", stderr);
        return ParseOutcome::usageError;
    }
    if (options.data.empty()) options.data = defaultDirectory();
    options.settings.format = *formatNamed(format);
    if (*size) options.settings.blockSize = blockSize;
    if (*number) options.settings.block = block;
    return ParseOutcome::run;
}

}  // namespace host
