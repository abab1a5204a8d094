#include <gtest/gtest.h>

#include <random>

#include "host/format/DisplayText.h"
#include "host/format/Formatter.h"
#include "host/input/CsvReader.h"
#include "host/input/Deb822Reader.h"
#include "host/input/ImportError.h"
#include "host/input/TableMaker.h"
#include "host/text/Answer.h"
#include "host/text/FaultPlace.h"
#include "host/text/StatementSplitter.h"
#include "tests/unit/host/TempFile.h"

namespace host {
namespace {

// Bytes that mean something to one reader or another come often, the rest at random.
std::string randomBytes(std::mt19937& random, std::size_t most) {
    static const std::string kSpecial = "'\"`\\;-,:\n\r\t .<>&=#\0\x1B\xE6\x97\xA5\xCC\x81PA";
    std::string bytes(random() % (most + 1), '\0');
    for (char& c : bytes) {
        c = random() % 3 != 0 ? kSpecial[random() % kSpecial.size()] : static_cast<char>(random());
    }
    return bytes;
}

template <class Reader>
void readAll(const std::string& path, InputFormat format) {
    try {
        LineReader lines(path);
        Reader reader(lines);
        for (const NewColumn& column : planTable(reader, format)) {
            EXPECT_FALSE(column.name.empty());
            EXPECT_LE(column.name.size(), 15u);
        }
        reader.rewind();
        InputRecord record;
        while (reader.next(record)) {
            for (const InputValue& value : record.values) ASSERT_LT(value.column, reader.columns().size());
        }
    } catch (const ImportError&) {
        // Refusing is an answer.
    }
}

TEST(HostileBytes, EveryReaderAnswers) {
    std::mt19937 random(20240229);
    for (int round = 0; round < 2000; ++round) {
        const std::string bytes = randomBytes(random, 300);
        SCOPED_TRACE(testing::PrintToString(bytes));
        if (round % 4 == 0) {
            const TempFile file(bytes);
            readAll<Deb822Reader>(file.path(), InputFormat::deb822);
            readAll<CsvReader>(file.path(), InputFormat::csv);
        }
        StatementSplitter splitter;
        Statement statement;
        splitter.feed(bytes);
        while (splitter.next(statement)) EXPECT_FALSE(statement.text.empty());
        splitter.finish(statement);
        Fault fault = readFault("<Fault faultCode=\"" + bytes, 2, "m");
        fault.message = round % 2 == 0 ? "syntax error" : "\"" + bytes.substr(0, 3) + "\"";
        faultPlace(fault, Statement{bytes, 1}, "f");

        std::string document = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n<ResultSet>" + bytes;
        readAnswer(document.data(), document.size());
        const int width = static_cast<int>(random() % 12) + 1;
        for (const std::string& line : wrap(printable(bytes), width))
            EXPECT_LE(displayWidth(line), std::max(width, 2));
        for (const Format format : {Format::table, Format::csv, Format::json, Format::line}) {
            std::string out;
            const auto formatter = makeFormatter(format, width);
            formatter->begin({{bytes, "INTEGER"}}, out);
            formatter->rows({{{bytes, false}}}, out);
            formatter->end({1, 1, 1, std::nullopt}, out);
            EXPECT_FALSE(out.empty());
        }
    }
}

}  // namespace
}  // namespace host
