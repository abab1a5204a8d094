#include "host/DotCommands.h"

#include <charconv>

#include "host/Catalog.h"
#include "host/CclCommand.h"
#include "host/Kernel.h"
#include "host/Session.h"
#include "host/Shell.h"
#include "host/UpkeepCommands.h"
#include "host/UserCommands.h"
#include "host/format/Formatter.h"
#include "host/import/Import.h"
#include "host/input/Interrupt.h"

namespace host {

namespace {

void showTables(Shell& shell, const Words&) {
    ResultSet result;
    result.columns = {{"TABLE", "VARCHAR"}, {"ROWS", "INTEGER"}, {"OWNER", "VARCHAR"}};
    const std::vector<TableEntry> tables = listTables();
    for (const TableEntry& table : tables) {
        const bool unread = !WDB_SUCCESS(table.status);
        result.rows.push_back({{table.name, false},
                               {unread ? "" : std::to_string(table.records), unread},
                               {table.owner, false}});
    }
    result.total = static_cast<std::int64_t>(result.rows.size());
    shell.writeResult(result);
    for (const TableEntry& table : tables) {
        if (!WDB_SUCCESS(table.status)) shell.reportFault(table.status, table.name + " cannot be read");
    }
}

void setMode(Shell& shell, const Words& words) {
    const auto format = words.size() == 2 ? formatNamed(words[1]) : std::nullopt;
    if (!format) throw UsageError(".mode table|csv|json|xml|line");
    shell.settings().format = *format;
}

bool onOrOff(const std::string& word, const char* usage) {
    if (word == "on") return true;
    if (word == "off") return false;
    throw UsageError(usage);
}

void setTimer(Shell& shell, const Words& words) {
    constexpr const char* kUsage = ".timer on|off";
    if (words.size() != 2) throw UsageError(kUsage);
    shell.settings().timer = onOrOff(words[1], kUsage);
}

void setExplain(Shell& shell, const Words& words) {
    constexpr const char* kUsage = ".explain on|off, or .explain STATEMENT";
    if (words.size() != 2) throw UsageError(kUsage);
    shell.settings().explain = onOrOff(words[1], kUsage);
}

void readScript(Shell& shell, const Words& words) {
    if (words.size() != 2) throw UsageError(".read FILE");
    shell.runFile(words[1]);
}

std::string optional(const std::optional<std::int32_t>& number, const char* absent) {
    return number ? std::to_string(*number) : absent;
}

void listSettings(Shell& shell) {
    const Settings& settings = shell.settings();
    const auto flag = [](bool on) { return on ? "on" : "off"; };
    shell.write(std::string("format      ") + kFormatNames[static_cast<int>(settings.format)] +
                "\nblock-size  " + optional(settings.blockSize, "default") + "\nblock       " +
                optional(settings.block, "default") + "\nall-rows    " + flag(settings.allRows) +
                "\nbail        " + flag(settings.bail) + "\nverbose     " + flag(settings.verbose) +
                "\ntimer       " + flag(settings.timer) + "\nexplain     " + flag(settings.explain) + "\n");
}

std::optional<std::int32_t> positive(const std::string& word) {
    if (word == "default") return std::nullopt;
    std::int32_t number = 0;
    const auto end = std::from_chars(word.data(), word.data() + word.size(), number);
    if (end.ec != std::errc() || end.ptr != word.data() + word.size() || number < 1) {
        throw UsageError("a number from 1, or default");
    }
    return number;
}

void setSetting(Shell& shell, const Words& words) {
    if (words.size() == 1) return listSettings(shell);
    if (words.size() != 3) throw UsageError(".set [NAME VALUE]");
    Settings& settings = shell.settings();
    const std::string& name = words[1];
    const std::string& value = words[2];
    constexpr const char* kSwitch = ".set NAME on|off";
    if (name == "format")
        setMode(shell, {"", value});
    else if (name == "block-size")
        settings.blockSize = positive(value);
    else if (name == "block")
        settings.block = positive(value);
    else if (name == "all-rows")
        settings.allRows = onOrOff(value, kSwitch);
    else if (name == "bail")
        settings.bail = onOrOff(value, kSwitch);
    else if (name == "verbose")
        settings.verbose = onOrOff(value, kSwitch);
    else if (name == "timer")
        settings.timer = onOrOff(value, kSwitch);
    else if (name == "explain")
        settings.explain = onOrOff(value, kSwitch);
    else if (name.find_first_of("abcdefghijklmnopqrstuvwxyz-") == std::string::npos)
        check(UpdateRCS(name.c_str(), value.c_str()));
    else
        throw std::runtime_error("no setting is called " + name +
                                 " (.set lists them; names in capitals are the kernel's)");
}

std::optional<InputFormat> inputFormat(const std::string& name) {
    if (name == "csv") return InputFormat::csv;
    if (name == "jsonl") return InputFormat::jsonl;
    if (name == "deb822") return InputFormat::deb822;
    return std::nullopt;
}

void importFile(Shell& shell, const Words& words) {
    constexpr const char* kUsage = ".import [--format csv|jsonl|deb822] [--exported] FILE TABLE";
    ImportRequest request;
    Words names;
    for (std::size_t i = 1; i < words.size(); ++i) {
        if (words[i] == "--exported") {
            request.exported = true;
        } else if (words[i] != "--format") {
            names.push_back(words[i]);
        } else if (i + 1 < words.size() && (request.format = inputFormat(words[i + 1]))) {
            ++i;
        } else {
            throw UsageError(kUsage);
        }
    }
    if (names.size() != 2) throw UsageError(kUsage);
    request.file = names[0];
    request.table = names[1];
    const ImportReport report = runImport(request);
    shell.write((!report.keptTable  ? "table " + request.table + " not made, "
                 : report.madeTable ? "table " + request.table + " made, "
                                    : request.table + ": ") +
                summary(report) + "\n");
    const std::int64_t refused = report.counts.refused;
    if (refused > 0)
        shell.reportFault(0, counted(refused, "record") + (refused == 1 ? " was refused" : " were refused"));
}

void showHelp(Shell& shell, const Words&) {
    std::string out;
    for (const DotCommand& command : dotCommands()) {
        std::string usage = std::string(command.name) + " " + command.arguments;
        usage.resize(std::max<std::size_t>(usage.size(), 60), ' ');
        out += usage + " " + command.help + "\n";
    }
    shell.write(out + "Everything else is SQL and ends with a semicolon.\n");
}

void quit(Shell& shell, const Words&) {
    shell.quit();
}

using Handler = void (*)(Shell&, const Words&);
struct Entry {
    DotCommand command;
    Handler handler;
};

const std::vector<Entry>& entries() {
    static const std::vector<Entry> table = {
        {{".tables", "", "the tables, with their numbers of rows"}, showTables},
        {{".schema", "[TABLE...]", "CREATE TABLE statements"}, showSchema},
        {{".import", "[--format csv|jsonl|deb822] [--exported] FILE TABLE",
          "read a file (- is standard input) into a table"},
         importFile},
        {{".export", "[--format csv|jsonl|sql|json|xml|line] FILE TABLE",
          "write every row of a table to a file"},
         exportRows},
        {{".dump", "FILE [TABLE...]", "write a script that makes the tables again (- is standard output)"},
         dumpScript},
        {{".rows", "TABLE", "rows as JSON lines follow, up to .end"}, beginRows},
        {{".define", "FILE.json|{...}", "make a table from a definition in JSON"}, defineTable},
        {{".check", "[TABLE...]", "read everything and say what is damaged"}, checkSoundness},
        {{".reindex", "[TABLE...]", "build the indexes anew"}, reindex},
        {{".compact", "[TABLE...]", "write the files again without free room"}, compact},
        {{".backup", "DIR", "copy everything, of one moment, while others work"}, makeBackup},
        {{".users", "", "the users and their rights"}, showUsers},
        {{".adduser", "NAME [admin|create] [--password-file FILE]", "add a user; the password is asked for"},
         addUser},
        {{".passwd", "[NAME] [--password-file FILE]", "change a password"}, changePassword},
        {{".deluser", "NAME", "remove a user"}, removeUser},
        {{".mode", "table|csv|json|xml|line", "how results are written"}, setMode},
        {{".timer", "on|off", "show how long statements take"}, setTimer},
        {{".explain", "on|off|STATEMENT", "the steps of statements, with counts and times"}, setExplain},
        {{".ccl", "COMMAND", "run a command of the kernel's command language"}, nullptr},
        {{".print", "TEXT", "write a line"}, nullptr},
        {{".read", "FILE", "run a script"}, readScript},
        {{".set", "[NAME VALUE]", "block-size, block, all-rows, ...; alone: list"}, setSetting},
        {{".help", "", "this list"}, showHelp},
        {{".quit", "", "leave"}, quit},
    };
    return table;
}

void dispatch(Shell& shell, std::string_view line) {
    Words words = splitWords(line);
    if (words[0] == ".print") {
        const std::string_view text = line.substr(6);
        shell.write(std::string(text.substr(text.empty() ? 0 : 1)) + "\n");
        return;
    }
    if (words[0] == ".ccl") {
        if (words.size() < 2) throw UsageError(".ccl COMMAND");
        return runCcl(shell, line.substr(line.find_first_not_of(" \t", 4)));
    }
    if (words[0] == ".explain" && words.size() > 2) {
        std::string_view statement = line.substr(words[0].size() + 1);
        while (!statement.empty() && (statement.back() == ';' || statement.back() == ' '))
            statement.remove_suffix(1);
        shell.explain({std::string(statement), 1}, "");
        return;
    }
    if (words[0] == ".define" && words.size() > 1 && words[1].starts_with('{')) {
        const auto brace = line.find('{');
        return defineTable(shell, {words[0], std::string(line.substr(brace))});
    }
    // Out of habit a semicolon ends these as well.
    if (line.back() == ';') words.back().pop_back();
    if (words.size() > 1 && words.back().empty()) words.pop_back();
    for (const Entry& entry : entries()) {
        if (words[0] == entry.command.name) return entry.handler(shell, words);
    }
    throw std::runtime_error("no command is called " + words[0] + " (.help lists them)");
}

}  // namespace

const std::vector<DotCommand>& dotCommands() {
    static const std::vector<DotCommand> commands = [] {
        std::vector<DotCommand> list;
        for (const Entry& entry : entries()) list.push_back(entry.command);
        return list;
    }();
    return commands;
}

std::vector<std::string> splitWords(std::string_view line) {
    std::vector<std::string> words;
    bool inWord = false;
    char quote = 0;
    for (const char c : line) {
        const bool blank = quote == 0 && (c == ' ' || c == '\t' || c == '\r');
        if (blank) {
            inWord = false;
            continue;
        }
        if (!inWord) words.emplace_back();
        inWord = true;
        if (quote != 0 && c == quote)
            quote = 0;
        else if (quote == 0 && (c == '"' || c == '\''))
            quote = c;
        else
            words.back() += c;
    }
    return words;
}

bool Shell::runDotCommand(std::string_view line) {
    while (!line.empty() && (line.back() == ' ' || line.back() == '\r')) line.remove_suffix(1);
    try {
        dispatch(*this, line);
    } catch (const KernelError& error) {
        reportFault(error.status(), error.what());
    } catch (const UsageError& error) {
        reportFault(0, std::string("usage: ") + error.what());
    } catch (const Interrupted& error) {
        reportFault(0, error.what());
        if (!interactive_) quit();
    } catch (const std::exception& error) {
        reportFault(0, error.what());
    }
    return goesOn();
}

}  // namespace host
