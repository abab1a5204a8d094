#include "host/input/Deb822Reader.h"

#include <gtest/gtest.h>

#include "host/input/ImportError.h"
#include "host/input/TableMaker.h"
#include "tests/unit/host/TempFile.h"

namespace host {
namespace {

std::vector<std::string> read(const std::string& bytes) {
    const TempFile file(bytes);
    LineReader lines(file.path());
    Deb822Reader reader(lines);
    std::vector<std::string> found;
    InputRecord record;
    while (reader.next(record)) {
        std::string text =
            std::to_string(record.line) + (record.problem.empty() ? ":" : "! " + record.problem);
        for (const InputValue& value : record.values) {
            if (record.problem.empty())
                text += " " + reader.columns()[value.column] + "=" + std::string(value.text);
        }
        found.push_back(text);
    }
    return found;
}

TEST(Deb822Reader, ReadsRecords) {
    using Records = std::vector<std::string>;
    struct Row {
        const char* why;
        const char* bytes;
        Records records;
    };
    const Row rows[] = {
        {"names in columns' spelling, Package is NAME",
         "Package: a\nInstalled-Size: 5\n",
         {"1: NAME=a INSTALLED_SIZE=5"}},
        {"records parted by empty lines, any number", "\n\nA: 1\n\n \n\nA: 2", {"3: A=1", "7: A=2"}},
        {"further lines lose their first blank; a point is an empty line",
         "D: s\n one\n .\n   two\n",
         {"1: D=s\none\n\n  two"}},
        {"nothing on the first line", "T:\n a,\n b\n", {"1: T=\na,\nb"}},
        {"an empty field is no value", "A:\nB: x\n", {"1: B=x"}},
        {"comments", "# c\nA: 1\n# d\nB: 2\n", {"2: A=1 B=2"}},
        {"a colon in the value, blanks around it, CR LF", "H:  a:b \r\nB: 1\r\n", {"1: H=a:b B=1"}},
        {"field names that differ in case are one", "Package: a\n\nPACKAGE: b\n", {"1: NAME=a", "3: NAME=b"}},
        {"twice the same field", "A: 1\nA: 2\n\nA: 3\n", {"1! the field A is there twice", "4: A=3"}},
        {"no field", "A: 1\nhello\n\nA: 2\n", {"1! line 2 is no field", "4: A=2"}},
        {"continues nothing", " x\n\nA: 1\n", {"1! a continuation line without a field", "3: A=1"}},
    };
    for (const Row& row : rows) EXPECT_EQ(read(row.bytes), row.records) << row.why;
}

std::string planned(const std::string& bytes) {
    const TempFile file(bytes);
    LineReader lines(file.path());
    Deb822Reader reader(lines);
    return createStatement("T", planTable(reader, InputFormat::deb822));
}

TEST(Deb822Reader, PlansATable) {
    EXPECT_EQ(
        planned(
            "Package: 7\nSize: 5\nTag: 1\nDepends: x\nDescription: 3\nSha: 12ab\n\nPackage: b\nSize: 007\n"),
        "CREATE TABLE \"T\" (\"NAME\" VARCHAR PRIMARY KEY, \"SIZE\" INTEGER, \"TAG\" VARCHAR, \"DEPENDS\" "
        "VARCHAR, "
        "\"DESCRIPTION\" LONG VARCHAR, \"SHA\" VARCHAR)");
    EXPECT_EQ(planned("A: 1234567890123456789\nLong: " + std::string(32001, 'x') + "\n"),
              "CREATE TABLE \"T\" (\"A\" VARCHAR, \"LONG\" LONG VARCHAR)");
    EXPECT_THROW(planned("\n\n"), ImportError);
    EXPECT_THROW(planned(std::string("\x7F"
                                     "ELF\0\1\2",
                                     7)),
                 ImportError);
}

}  // namespace
}  // namespace host
