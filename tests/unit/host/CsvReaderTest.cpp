#include "host/input/CsvReader.h"

#include <gtest/gtest.h>

#include "host/input/ImportError.h"
#include "tests/unit/host/TempFile.h"

namespace host {
namespace {

// A record as "line: column=value|column=value", or "line! problem".
std::vector<std::string> read(const std::string& bytes) {
    const TempFile file(bytes);
    LineReader lines(file.path());
    CsvReader reader(lines);
    std::vector<std::string> found;
    InputRecord record;
    while (reader.next(record)) {
        std::string text = std::to_string(record.line);
        if (!record.problem.empty())
            text += "! " + record.problem;
        else
            text += ":";
        for (const InputValue& value : record.values) {
            if (record.problem.empty())
                text += " " + reader.columns()[value.column] + "=" + std::string(value.text);
        }
        found.push_back(text);
    }
    return found;
}

TEST(CsvReader, ReadsRecords) {
    using Records = std::vector<std::string>;
    struct Row {
        const char* why;
        std::string bytes;
        Records records;
    };
    const Row rows[] = {
        {"plain", "A,B\n1,2\n", {"2: A=1 B=2"}},
        {"no line end at the end", "A,B\n1,2", {"2: A=1 B=2"}},
        {"CR LF", "A,B\r\n1,2\r\n", {"2: A=1 B=2"}},
        {"byte-order mark",
         "\xEF\xBB\xBF"
         "A\n1\n",
         {"2: A=1"}},
        {"empty fields are NULL, quoted or not", "A,B,C\n,\"\",x\n", {"2: C=x"}},
        {"quotes, commas and line ends in a field",
         "A,B\n\"x \"\"y\"\", z\",\"l1\nl2\"\n3,4\n",
         {"2: A=x \"y\", z B=l1\nl2", "4: A=3 B=4"}},
        {"blanks belong to the value", "A\n x \n", {"2: A= x "}},
        {"empty lines are passed over", "A\n\n1\n\r\n2\n", {"3: A=1", "5: A=2"}},
        {"too few and too many fields",
         "A,B\n1\n1,2,3\n1,2\n",
         {"2! 1 field where the header has 2", "3! 3 fields where the header has 2", "4: A=1 B=2"}},
        {"a quote in the middle of a field", "A,B\n5\" disk,\"6\"\" disk\"\n", {"2: A=5\" disk B=6\" disk"}},
        {"a carriage return alone ends nothing", "A\n1\r2\n", {"2: A=1\r2"}},
        {"a header alone", "A,B\n", {}},
    };
    for (const Row& row : rows) EXPECT_EQ(read(row.bytes), row.records) << row.why;
}

TEST(CsvReader, RefusesWhatIsNoSuchFile) {
    struct Row {
        const char* why;
        std::string bytes;
        const char* message;
    };
    using namespace std::string_literals;
    const Row rows[] = {
        {"empty", "", "has no header line"},
        {"empty lines", "\n\n", "has no header line"},
        {"an open quote", "A\n\"open\n1\n", "line 2: a quote that is opened here"},
        {"one in the header", "\"A\n1\n", "line 1: a quote that is opened here"},
        {"two records would be one value", "A,B\n1,2\n\"x\"y,2\n\"p\",3\n", "line 3: text behind the quote"},
        {"a blank is text as well", "A,B\n\"x\" ,2\n", "line 2: text behind the quote"},
        {"quoted fields, carriage returns", "\"A\",\"B\"\r\"1\",\"2\"\r", "not a carriage return alone"},
        {"UTF-16 with its mark", "\xFF\xFE"s + "A\0\n\0"s, "line 1: the header is not UTF-8, but UTF-16"},
        {"UTF-16 without", "A\0\n\0"s, "UTF-16"},
        {"one byte a character",
         "Stra\xDF"
         "e\n1\n",
         "line 1: the header is not UTF-8"},
    };
    for (const Row& row : rows) {
        try {
            read(row.bytes);
            ADD_FAILURE() << row.why;
        } catch (const ImportError& error) {
            EXPECT_NE(std::string(error.what()).find(row.message), std::string::npos)
                << row.why << ": " << error.what();
        }
    }
}

TEST(CsvReader, SaysWhatLooksLikeAnotherForm) {
    const std::pair<const char*, const char*> rows[] = {
        {"A;B\n1;2\n", "semicolons"},       {"A\tB\n1\t2\n", "tabulators"},
        {"A,B\r1,2\r", "carriage returns"}, {"A,B\r1,2\r\n", "carriage returns"},
        {"A;B,C\n1,2\n", nullptr},          {"A\r\n1;2\r\n", nullptr},
    };
    for (const auto& [bytes, word] : rows) {
        const TempFile file(bytes);
        LineReader lines(file.path());
        const std::string hint = CsvReader(lines).hint();
        if (word == nullptr)
            EXPECT_EQ(hint, "") << bytes;
        else
            EXPECT_NE(hint.find(word), std::string::npos) << bytes << ": " << hint;
    }
}

TEST(CsvReader, StartsAgainBehindTheHeader) {
    const TempFile file("A\n1\n2\n");
    LineReader lines(file.path());
    CsvReader reader(lines);
    InputRecord record;
    while (reader.next(record)) {
    }
    reader.rewind();
    ASSERT_TRUE(reader.next(record));
    EXPECT_EQ(record.values.at(0).text, "1");
    EXPECT_EQ(record.line, 2);
}

TEST(LineReader, LinesLongerThanTheBuffer) {
    const std::string line(3 << 20, 'x');
    const TempFile file("a\n" + line + "\nb");
    LineReader lines(file.path());
    std::string_view text;
    ASSERT_TRUE(lines.next(text));
    ASSERT_TRUE(lines.next(text));
    EXPECT_EQ(text.size(), line.size() + 1);
    ASSERT_TRUE(lines.next(text));
    EXPECT_EQ(text, "b");
    EXPECT_EQ(lines.bytesRead(), lines.size());
    EXPECT_FALSE(lines.next(text));
}

TEST(LineReader, SaysWhatCannotBeRead) {
    EXPECT_THROW(LineReader("/nonexistent/file"), ImportError);
    EXPECT_THROW(LineReader("/tmp"), ImportError);
}

}  // namespace
}  // namespace host
