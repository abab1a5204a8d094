// Large objects: fetched by key, stored by record or by condition, over the real kernel.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string_view>

#include "tests/unit/engine/Database.h"
#include "tests/unit/engine/Faults.h"

namespace {

const std::string kXml = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n";

/// Name of the table in hexadecimal, record, part and field.
std::string keyOf(const std::string& numbers) {
    return "4f424a-" + numbers;  // OBJ
}

class Objects : public testing::Test {
protected:
    Objects() {
        database_.prepare(
            {"CREATE TABLE OBJ (K VARCHAR PRIMARY KEY, T LONG VARCHAR, B LONG VARBINARY, N INTEGER)",
             "INSERT INTO OBJ (K) VALUES ('one')", "INSERT INTO OBJ (K) VALUES ('two')"});
    }

    /// A request whose text slot holds size bytes; what came back in it is left in line_.
    Answer call(std::int32_t (*function)(FilterData*, void*), const std::string& request,
                std::uint32_t options, char* output = nullptr, std::int32_t length = 0) {
        std::string text = request;
        FilterData data{};
        data.text = text.data();
        data.textLength = static_cast<std::int32_t>(text.size());
        data.wdb_options = options;
        data.output = output;
        data.outputLength = length;
        Answer answer;
        answer.status = function(&data, nullptr);
        options_ = data.wdb_options;
        line_ = text.substr(0, static_cast<std::size_t>(data.textLength));
        if (data.output != nullptr && data.output != output)
            answer.document.assign(data.output, static_cast<std::size_t>(data.outputLength));
        if (data.output != output) std::free(data.output);
        database_.expectClean(request);
        return answer;
    }
    Answer get(const std::string& key, std::uint32_t options = 36) {
        return call(sqlgetobject, "FETCHKEY=" + key + "\n", options);
    }
    Answer set(const std::string& column, int record, std::string bytes) {
        return call(sqlsetobject,
                    "TABLE=OBJ\nCOLUMNNAME=" + column + "\nRID=" + std::to_string(record) + "\n", 32,
                    bytes.data(), static_cast<std::int32_t>(bytes.size()));
    }
    std::string file(const std::string& name, const std::string& bytes) {
        const std::string path = database_.directory() + "/" + name;
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }
    std::string count(const std::string& condition) {
        return database_.run("SELECT K FROM OBJ WHERE " + condition).rowCount();
    }

    Database database_;
    std::string line_;
    std::uint32_t options_ = 0;
};

TEST_F(Objects, TextsBecomeParagraphs) {
    const struct {
        const char *text, *xml, *raw, *reason;
    } rows[] = {
        {"plain", "<P>plain\r\n</P>", "plain\r\n", "one line"},
        {"a < b & c", "<P>a &lt; b &amp; c\r\n</P>", "a < b & c\r\n", "escaped once"},
        {"one\ntwo\r\nthree", "<P>one\r\ntwo\r\nthree\r\n</P>", "one\r\ntwo\r\nthree\r\n",
         "line ends of either kind"},
        {"a\n\nb", "<P>a\r\n</P><P>b\r\n</P>", "a\r\n\r\nb\r\n", "an empty line ends a paragraph"},
        {"a\n\n\nb\n", "<P>a\r\n</P><P></P><P>b\r\n</P>", "a\r\n\r\n\r\nb\r\n", "an empty paragraph"},
    };
    for (const auto& row : rows) {
        const Answer stored = set("T", 1, row.text);
        EXPECT_EQ(stored.document, kXml + "<Success>Object successfully stored.</Success>\r\n");
        EXPECT_EQ(options_, 36u) << "how the answer was given";
        const Answer xml = get(keyOf("1-0-2"));
        EXPECT_EQ(xml.status, 1);
        EXPECT_EQ(xml.document, kXml + "<Object fetchKey=\"4f424a-1-0-2\" type=\"LONG VARCHAR\">" + row.xml +
                                    "</Object>\r\n")
            << row.reason;
        EXPECT_EQ(line_, "TEXT\nUTF-8");
        EXPECT_EQ(get(keyOf("1-0-2"), 37).document, row.raw) << row.reason;
    }
    EXPECT_EQ(count("T = 'b'"), "1") << "what was stored is found";
}

TEST_F(Objects, LongLinesComeInOnePiece) {
    for (const std::size_t length : {8190u, 8191u, 8192u, 16382u, 16383u, 50000u}) {
        std::string line;
        while (line.size() < length) line += "\xC3\xA4";  // cut in the middle by an odd length
        line.resize(length);
        set("T", 1, line + "\n\nend");
        const bool merged = length % 8191 == 0;  // a line that fills its last piece goes on with the next one
        EXPECT_EQ(get(keyOf("1-0-2"), 5).document, line + (merged ? "" : "\r\n") + "\r\nend\r\n") << length;
        EXPECT_EQ(get(keyOf("1-0-2")).document,
                  kXml + "<Object fetchKey=\"4f424a-1-0-2\" type=\"LONG VARCHAR\"><P>" + line +
                      (merged ? "" : "\r\n") + "</P><P>end\r\n</P></Object>\r\n")
            << length;
    }
}

TEST_F(Objects, BinaryValuesKeepTheirBytes) {
    std::string all;
    for (int i = 0; i < 256; ++i) all += static_cast<char>(i);
    for (int doublings = 0; doublings < 13; ++doublings) all += all;  // 2 MiB: more than one block
    const struct {
        std::string bytes;
        const char* encoded;
        const char* reason;
    } rows[] = {
        {"f", "Zg==", ""},
        {"fo", "Zm8=", ""},
        {"foo", "Zm9v", ""},
        {std::string("\0\xff\r\n", 4), "AP8NCg==", "any byte"},
        {all, nullptr, "several blocks"},
        {all + "x", nullptr, "and a piece"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(set("B", 2, row.bytes).status, 1);
        const Answer raw = get(keyOf("2-0-3"), 5);
        EXPECT_TRUE(raw.document == row.bytes) << row.reason;
        EXPECT_EQ(line_, "STRING\n");
        const Answer xml = get(keyOf("2-0-3"));
        const std::string head =
            kXml + "<Object fetchKey=\"4f424a-2-0-3\" type=\"LONG VARBINARY\" encoding=\"base64\">";
        ASSERT_EQ(xml.document.substr(0, head.size()), head);
        const std::string encoded = xml.document.substr(head.size(), xml.document.size() - head.size() - 11);
        if (row.encoded != nullptr) {
            EXPECT_EQ(encoded, row.encoded);
            continue;
        }
        database_.prepare({"UPDATE OBJ SET OBJECT (B, 'data[base64]=" + encoded + "') WHERE K = 'one'"});
        EXPECT_TRUE(get(keyOf("1-0-3"), 5).document == row.bytes)
            << row.reason << ": the encoding, read back";
    }
}

TEST_F(Objects, EmptyOnes) {
    const char* keys[] = {"1-0-2", "1-0-3"};
    const char* columns[] = {"T", "B"};
    for (int filled = 0; filled < 2; ++filled) {
        EXPECT_EQ(get(keyOf(keys[0])).document,
                  kXml + "<Object fetchKey=\"4f424a-1-0-2\" type=\"LONG VARCHAR\" null=\"true\" />\r\n");
        EXPECT_EQ(
            get(keyOf(keys[1])).document,
            kXml + "<Object fetchKey=\"4f424a-1-0-3\" type=\"LONG VARBINARY\" encoding=\"base64\" />\r\n");
        for (const char* key : keys) {
            const Answer raw = get(keyOf(key), 5);
            EXPECT_EQ(raw.status, 1);
            EXPECT_EQ(raw.document, "");
            EXPECT_EQ(line_.substr(0, 2), key == keys[0] ? "TE" : "ST")
                << "the type is told for an empty one";
        }
        for (const char* column : columns) {
            set(column, 1, "something");
            EXPECT_EQ(set(column, 1, "").status, 1) << "nothing replaces the old value";
        }
    }
}

TEST_F(Objects, KeysAreReadStrictly) {
    const std::string invalid = "0 SQLFilter::getObject validation Invalid fetch key \"";
    const struct {
        std::string key, fault;
        std::int32_t status;
    } rows[] = {
        {"nodash", invalid + "nodash\"", 0},
        {"-1-0-2", invalid + "-1-0-2\"", 0},
        {"4f4-1-0-2", invalid + "4f4-1-0-2\"", 0},
        {"4g424a-1-0-2", invalid + "4g424a-1-0-2\"", 0},
        {"00424a-1-0-2", invalid + "00424a-1-0-2\"", 0},
        {std::string(128, '4') + "-1-0-2", invalid + std::string(128, '4') + "-1-0-2\"", 0},
        {"4f424a-1", invalid + "4f424a-1\"", 0},
        {"4f424a-1-0", invalid + "4f424a-1-0\"", 0},
        {"4f424a- 1-0-2", invalid + "4f424a- 1-0-2\"", 0},
        {"4f424a-+1-0-2", invalid + "4f424a-+1-0-2\"", 0},
        {"4f424a--1-0-2", invalid + "4f424a--1-0-2\"", 0},
        {"4f424a-1-0-", invalid + "4f424a-1-0-\"", 0},
        {"4f424a-1-0-2x", invalid + "4f424a-1-0-2x\"", 0},
        {"4f424a-1-0-2-", invalid + "4f424a-1-0-2-\"", 0},
        {"4f424a-0-0-2", "0 SQLFilter::getObject validation Invalid record id (0)", 0},
        {"4f424a-0-x", "0 SQLFilter::getObject validation Invalid record id (0)", 0},
        {"4f424a-1-0-4",
         "0 SQLFilter::getObject validation Column #4 (N, typeid=9) does not contain an object. Valid column "
         "types "
         "are LONG VARCHAR and LONG VARBINARY.",
         0},
        {"4e4f4e45-1-0-2", "610 WSQLFilter::getObject WdbSetBase The database is not available.", 610},
        {"4f424a-1-0-9",
         std::to_string(WDB_E_FIELD) + " WSQLFilter::getObject WdbGetRecordInBase Unknown field.",
         WDB_E_FIELD},
        {"4f424a-99-0-2",
         "0 WSQLFilter::getObject WdbGetRecordInBase Unknown WELK error #0 "
         "(source=\"WSQLFilter::getObject\", "
         "context=\"WdbGetRecordInBase\").",
         0},
        {"4f424a-99999999999-0-2",
         "0 WSQLFilter::getObject WdbGetRecordInBase Unknown WELK error #0 "
         "(source=\"WSQLFilter::getObject\", "
         "context=\"WdbGetRecordInBase\").",
         0},
    };
    for (const auto& row : rows) {
        const Answer answer = get(row.key);
        EXPECT_EQ(answer.status, row.status) << row.key;
        EXPECT_EQ(faultOf(answer), row.fault);
        EXPECT_EQ(line_, "FETCHKEY=" + row.key + "\n") << "no type without an object";
    }
    EXPECT_EQ(get("4F424A-1-7-2").status, 1)
        << "digits of either case; a part number of a head field means nothing";
}

TEST_F(Objects, StatementsFetchThem) {
    set("B", 1, "abc");
    const std::string key = database_.run("SELECT B FROM OBJ WHERE K = 'one'").rows().substr(1);
    EXPECT_EQ(key, "4f424a-1-0-3");
    const std::string sql = "GET OBJECT = '" + key + "'";
    EXPECT_EQ(call(execsql, sql, 36).document, kXml +
                                                   "<Object fetchKey=\"4f424a-1-0-3\" type=\"LONG "
                                                   "VARBINARY\" encoding=\"base64\">YWJj</Object>\r\n");
    EXPECT_EQ(line_, "STRING\n") << "the object's own line stays";
    EXPECT_EQ(call(execsql, sql, 1).document, "abc") << "raw";
    EXPECT_EQ(faultOf(call(execsql, "GET OBJECT = 'a\"<b'", 36)),
              "0 SQLFilter::getObject validation Invalid fetch key \"a\"<b\"");
    EXPECT_EQ(line_, "TEXT\nUTF-8") << "a fault is a document";
}

TEST_F(Objects, StatementsStoreThem) {
    const std::string path = file("object.bin", std::string(20000, 'x') + "\nlast");
    const std::string counted =
        "<ResultSetMetaData statementType=\"UPDATE\" columnCount=\"1\" rowCount=\"1\">\r\n<ColumnMetaData "
        "ID=\"1\" "
        "columnLabel=\"Row Count\" tableName=\"OBJ\"";
    const struct {
        std::string clause, condition, rows, key, raw;
        const char* reason;
    } rows[] = {
        {"T, 'data=hello'", "K = 'one'", "1", "1-0-2", "hello\r\n", "as it stands"},
        {"T, 'data=file=x'", "K = 'one'", "1", "1-0-2", "file=x\r\n", "one prefix only"},
        {"T, 'data='", "K = 'one'", "1", "1-0-2", "", "empty"},
        {"B, 'data[base64]=AP8N Cg=='", "K = 'one'", "1", "1-0-3", std::string("\0\xff\r\n", 4), "decoded"},
        {"B, 'data=both'", "K = 'one' OR K = 'two'", "2", "2-0-3", "both", "every hit"},
        {"B, 'data=none'", "K = 'three'", "0", "2-0-3", "both", "no hit is no failure"},
        {"B, 'file=" + path + "'", "R > 0", "2", "1-0-3", std::string(20000, 'x') + "\nlast",
         "a file, read twice"},
        {"T, 'file=" + path + "'", "K = 'one'", "1", "1-0-2", std::string(20000, 'x') + "\r\nlast\r\n",
         "as text"},
    };
    for (const auto& row : rows) {
        const Answer answer =
            call(execsql, "UPDATE OBJ SET OBJECT (" + row.clause + ") WHERE " + row.condition, 4);
        EXPECT_EQ(answer.status, 1) << answer.document;
        EXPECT_NE(answer.document.find(counted), std::string::npos) << answer.document;
        EXPECT_NE(answer.document.find("<P>" + row.rows + "</P>"), std::string::npos) << row.reason;
        EXPECT_EQ(options_, 36u);
        EXPECT_TRUE(get(keyOf(row.key), 5).document == row.raw) << row.reason;
    }
    EXPECT_EQ(count("T = 'last'"), "1");
}

TEST_F(Objects, WhatCannotBeStored) {
    const std::string missing = database_.directory() + "/missing";
    const std::string own = "0 WSQLFilter::ExecuteSetObject ";
    const struct {
        std::string sql, fault;
        std::int32_t status;
        const char* reason;
    } rows[] = {
        {"UPDATE OBJ SET OBJECT (N, 'data=5') WHERE K = 'one'",
         own + "validation Column \"N\" in table \"OBJ\" is of an incompatible type. Must be LONG VARCHAR or "
               "LONG "
               "VARBINARY.",
         0, "an integer"},
        {"UPDATE OBJ SET OBJECT (R, 'data=5') WHERE K = 'one'",
         own + "validation Column \"R\" in table \"OBJ\" is of an incompatible type. Must be LONG VARCHAR or "
               "LONG "
               "VARBINARY.",
         0, "the record's number"},
        {"UPDATE NONE SET OBJECT (T, 'data=5') WHERE K = 'one'",
         "610 src/WSQLExecSetObject validation The database is not available.", 610, "no table"},
        {"UPDATE OBJ SET OBJECT (X, 'data=5') WHERE K = 'one'",
         std::to_string(WDB_E_FIELD) + " WSQLFilter::ExecuteSetObject validation Unknown field.", WDB_E_FIELD,
         "no column"},
        {"UPDATE OBJ SET OBJECT (T, 'data=5') WHERE X = 'one'",
         std::to_string(WDB_E_FIELD) + " src/WSQLExecSetObject validation Unknown field.", WDB_E_FIELD,
         "no column in the condition"},
        {"UPDATE OBJ SET OBJECT (T, 'data=5') WHERE COUNT(*) = 1",
         "1 WSQLValidation:212 WSQLFilter::ValidateScalar NULL scalar expression in condition.", 2,
         "a condition that no look-up failed in keeps its own fault"},
        {"UPDATE OBJ SET OBJECT (B, 'file=" + database_.directory() + "') WHERE K = 'one'",
         own + "fopen Could not open file \"" + database_.directory() + "\" for reading.", 0, "a directory"},
        {"UPDATE OBJ SET OBJECT (B, 'file=/dev/zero') WHERE K = 'one'",
         own + "fopen Could not open file \"/dev/zero\" for reading.", 0, "a device"},
    };
    set("B", 1, "old");
    for (const auto& row : rows) {
        const Answer answer = call(execsql, row.sql, 4);
        EXPECT_EQ(answer.status, row.status) << row.sql;
        EXPECT_EQ(faultOf(answer), row.fault) << row.reason;
        EXPECT_EQ(options_, 4u) << "only success changes it";
    }
    EXPECT_EQ(get(keyOf("1-0-3"), 5).document, "old");
}

// Files whose size says nothing of what reading them yields.
TEST_F(Objects, FilesThatCannotBeReadLeaveTheOldValue) {
    const std::string fault = "0 WSQLFilter::ExecuteSetObject fopen Failed to read file data";
    for (const char* column : {"T", "B"}) {
        set(column, 1, "old");
        const std::string key = keyOf(column == std::string("T") ? "1-0-2" : "1-0-3"),
                          old = get(key, 5).document;
        const Answer unreadable =
            call(execsql,
                 std::string("UPDATE OBJ SET OBJECT (") + column + ", 'file=/proc/self/mem') WHERE R = 1", 4);
        EXPECT_EQ(faultOf(unreadable), fault) << column << ": reading fails at once";
        FILE* writing = std::fopen(file("stream", "bytes").c_str(), "ab");
        ASSERT_NE(writing, nullptr);
        const Answer stream = call(sqlsetobject, std::string("TABLE=OBJ\nCOLUMNNAME=") + column + "\nRID=1\n",
                                   32 + 2, reinterpret_cast<char*>(writing), 0);
        EXPECT_EQ(faultOf(stream), fault) << column << ": a stream that is open for writing alone";
        std::fclose(writing);
        EXPECT_EQ(get(key, 5).document, old) << column;
        if (*column == 'T') {
            FILE* zeros = std::fopen("/dev/zero", "rb");
            ASSERT_NE(zeros, nullptr);
            const Answer endless = call(sqlsetobject, "TABLE=OBJ\nCOLUMNNAME=T\nRID=1\n", 32 + 2,
                                        reinterpret_cast<char*>(zeros), 0);
            EXPECT_EQ(faultOf(endless), fault) << "a stream without an end";
            std::fclose(zeros);
        }
        std::ifstream limits("/proc/self/limits");
        std::string line;
        std::getline(limits, line);
        call(execsql,
             std::string("UPDATE OBJ SET OBJECT (") + column + ", 'file=/proc/self/limits') WHERE R = 1", 4);
        EXPECT_EQ(get(key, 5).document.substr(0, line.size()), line) << column << ": a size of 0, and bytes";
    }
}

TEST_F(Objects, FaultsNameTheKernelsFunction) {
    constexpr std::int32_t kStatus = WDB_E_STORAGE;
    const std::string code = std::to_string(kStatus);
    const std::string get = "WSQLFilter::getObject", store = "WSQLFilter::ExecuteSetObject";
    set("T", 1, "text");
    set("B", 1, "binary");
    const std::string getText = "FETCHKEY=" + keyOf("1-0-2") + "\n",
                      getBinary = "FETCHKEY=" + keyOf("1-0-3") + "\n";
    const std::string setText = "TABLE=OBJ\nCOLUMNNAME=T\nRID=1\n",
                      setBinary = "TABLE=OBJ\nCOLUMNNAME=B\nRID=1\n";
    const std::string setPart = setText + "PART=1\n";
    const struct {
        const char* function;
        std::int32_t skip;
        const std::string& request;
        std::string source, context;
    } rows[] = {
        {"WdbSetBase", 0, getText, get, "WdbSetBase"},
        {"WdbSetBase", 1, getText, "WSQLFilter::CreateControl", "WdbSetBase"},
        {"WdbGetRecordInBase", 0, getText, get, "WdbGetRecordInBase"},
        {"WdbCheckField", 0, getText, get, "WdbGetRecordInBase"},
        {"WdbSetCursor", 0, getText, get, "WdbSetCursor"},
        {"WdbParaCount", 0, getText, get, "WdbParaCount"},
        {"WdbGetLine", 0, getText, get, "WdbGetLine"},
        {"WdbGetLine", 1, getText, get, "WdbGetLine"},
        {"WdbGetBlobSize", 0, getBinary, get, "WdbGetBlobSize"},
        {"WdbGetBlobBlock", 0, getBinary, get, "WdbGetBlobBlock"},
        {"WdbExecuteCcl", 2, setText, store, "execution"},
        {"WdbGetSearch", 0, setText, store, "execution"},
        {"WdbGetRecordInSearchRis", 0, setText, "WSQLFilter::CreateControl", "WdbGetRecordInSearchRis"},
        {"WdbSetCursor", 0, setText, store, "WdbSetCursor"},
        {"WdbSetRecordPart", 0, setPart, store, "WdbSetRecordPart"},
        {"WdbPutLine", 0, setText, store, "WdbPutLine"},
        {"WdbPutBlobBlock", 0, setBinary, store, "WdbPutBlobBlock"},
        {"WdbPutRecord", 0, setBinary, store, "WdbPutRecord"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.function) + " " + std::to_string(row.skip) + " " + row.request);
        const bool fetches = row.request[0] == 'F';
        ASSERT_EQ(WdbInjectFailure(row.function, row.skip, kStatus), WDB_OK);
        // A block is the engine's from the moment that the records are found; what fails earlier leaves it
        // ours.
        char* const block = fetches ? nullptr : strdup("new");
        const std::unique_ptr<char, decltype(&std::free)> kept(
            std::string_view(row.context) == "execution" ? block : nullptr, &std::free);
        const Answer answer =
            call(fetches ? sqlgetobject : sqlsetobject, row.request, 36, block, fetches ? 0 : 3);
        EXPECT_EQ(answer.status, kStatus);
        EXPECT_EQ(faultOf(answer),
                  code + " " + row.source + " " + row.context + " The storage reports an error.");
        WdbInjectFailure(nullptr, 0, 0);
    }
    EXPECT_EQ(this->get(keyOf("1-0-2"), 5).document, "text\r\n") << "nothing was stored";
    EXPECT_EQ(this->get(keyOf("1-0-3"), 5).document, "binary");
}

TEST_F(Objects, ARecordGoneSinceTheSearchIsSkipped) {
    WdbInjectFailure("WdbGetRecordInSearchRis", 0, WDB_E_DELETED);
    const Answer answer = call(execsql, "UPDATE OBJ SET OBJECT (T, 'data=here') WHERE R > 0", 4);
    EXPECT_NE(answer.document.find("<P>2</P>"), std::string::npos)
        << "the search's count: " << answer.document;
    EXPECT_EQ(get(keyOf("1-0-2"), 5).document, "");
    EXPECT_EQ(get(keyOf("2-0-2"), 5).document, "here\r\n");
}

}  // namespace
