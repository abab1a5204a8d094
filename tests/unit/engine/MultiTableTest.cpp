// The commands of statements that name several tables or contain other statements.
#include <gtest/gtest.h>

#include "tests/unit/engine/Articles.h"

namespace {

struct Row {
    const char* sql;
    const char* commands;  ///< all but the find minimum's, a line each
    const char* reason;
};

std::string commandsOf(const std::string& sql) {
    loadArticles();
    fakeKernel().searches = true;
    Request request(sql);
    const std::int32_t status = runSql(request);
    EXPECT_EQ(status, 1) << sql << "\n" << request.document();
    EXPECT_EQ(fakeKernel().saves, fakeKernel().loads) << sql;
    EXPECT_EQ(fakeKernel().liveBuffers, 0) << sql;
    std::string commands;
    for (const std::string& command : fakeKernel().commands) {
        if (command == "wDEF wFIN wMIN=0") continue;
        commands += (commands.empty() ? "" : "\n") + command;
    }
    return commands;
}

template <std::size_t N>
void check(const Row (&rows)[N]) {
    for (const Row& row : rows)
        EXPECT_EQ(commandsOf(row.sql), row.commands) << row.sql << "\n  " << row.reason;
}

}  // namespace

TEST(MultiTable, WrittenJoins) {
    const Row rows[] = {
        {"SELECT A, ID FROM T JOIN U ON T.A = U.TID", "wSEL  wFRL(T,U) FIELD(T.A,U.ID)  INNER(T.A=U.TID) ",
         "the plain case; no base is opened for searching"},
        {"SELECT T.A FROM T JOIN U ON U.TID < T.A", "wSEL  wFRL(T,U) FIELD(T.A)  INNER(T.A>U.TID) ",
         "sides that are turned mirror their operator"},
        {"SELECT T.A FROM T JOIN U ON U.TID >= T.A", "wSEL  wFRL(T,U) FIELD(T.A)  INNER(T.A<=U.TID) ", ""},
        {"SELECT T.A FROM T JOIN U ON U.TID <> T.A", "wSEL  wFRL(T,U) FIELD(T.A)  INNER(T.A<>U.TID) ", ""},
        {"SELECT T.A FROM T JOIN U ON A = ID", "wSEL  wFRL(T,U) FIELD(T.A)  INNER(T.A=U.ID) ",
         "unqualified operands are looked for on both sides"},
        {"SELECT T.A FROM T JOIN U ON ID = A", "wSEL  wFRL(T,U) FIELD(T.A)  INNER(T.A=U.ID) ",
         "and then the other way round"},
        {"SELECT T.A FROM T JOIN U ON NAME = NAME", "wSEL  wFRL(T,U) FIELD(T.A)  INNER(T.NAME=U.NAME) ",
         "left of the operator the earlier table comes first, right of it the later one"},
        {"SELECT T.A FROM T LEFT JOIN U ON (T.A = U.TID AND U.NAME = T.NAME)",
         "wSEL  wFRL(T,U) FIELD(T.A)  LEFT(T.A=U.TID)  LEFT(T.NAME=U.NAME) ", "a clause per comparison"},
        {"SELECT T.A FROM T RIGHT JOIN U ON T.A = U.TID WHERE T.A > 1",
         "wSEL  wFRL(T,U) FIELD(T.A)  RIGHT(T.A=U.TID)  WHERE(T.A>1)", ""},
        {"SELECT T.A FROM T JOIN U USING (NAME)", "wSEL  wFRL(T,U) FIELD(T.A)  INNER(T.NAME=U.NAME) ", ""},
        {"SELECT T.A FROM T JOIN U ON T.A = U.ID JOIN V USING (TID, NAME)",
         "wSEL  wFRL(T,U,V) FIELD(T.A)  INNER(T.A=U.ID)  INNER(U.TID=V.TID)  INNER(T.NAME=V.NAME) ",
         "the first earlier table that has the column"},
        {"SELECT x.A FROM T x JOIN T y ON x.A = y.P", "wSEL  wFRL(T x,T y) FIELD(x.A)  INNER(x.A=y.P) ",
         "a table joined with itself"},
        {"SELECT T.A, y.A FROM T y JOIN T ON y.A = T.P", "wSEL  wFRL(T y,T) FIELD(T.A,y.A)  INNER(y.A=T.P) ",
         "the name of a table is that of the reference without an alias"},
        {"SELECT * FROM U JOIN V ON U.ID = V.ID",
         "wSEL  wFRL(U,V) FIELD(U.ID,U.TID,U.NAME,U.NOTE,V.ID,V.NAME,V.TID,V.W)  INNER(U.ID=V.ID) ",
         "join columns are not merged"},
        {"SELECT V.*, 1 FROM U JOIN V ON U.ID = V.ID",
         "wSEL  wFRL(U,V) FIELD(V.ID,V.NAME,V.TID,V.W,1)  INNER(U.ID=V.ID) ", ""},
        {"SELECT U.ID FROM U JOIN T ON U.ID = T.R", "wSEL  wFRL(U,T) FIELD(U.ID)  INNER(U.ID=T.R) ",
         "the row identifier"},
        {"SELECT U.ID FROM U JOIN T ON U.ID = T.\"odd name\"",
         "wSEL  wFRL(U,T) FIELD(U.ID)  INNER(U.ID=T.\"odd name\") ", ""},
    };
    check(rows);
}

TEST(MultiTable, NaturalJoins) {
    const Row rows[] = {
        {"SELECT U.ID FROM U NATURAL JOIN V",
         "wSEL  wFRL(U,V) FIELD(U.ID)  INNER(U.ID=V.ID)  INNER(U.NAME=V.NAME) ",
         "fields of one name and type; TID differs in type"},
        {"SELECT U.ID FROM T NATURAL LEFT JOIN U", "wSEL  wFRL(T,U) FIELD(U.ID)  LEFT(T.NAME=U.NAME) ",
         "texts are never compared"},
        {"SELECT T.A FROM T NATURAL RIGHT JOIN U JOIN V ON U.ID = V.ID",
         "wSEL  wFRL(T,U,V) FIELD(T.A)  RIGHT(T.NAME=U.NAME)  INNER(U.ID=V.ID) ", "in the place of the step"},
        {"SELECT x.ID FROM U x NATURAL JOIN U y", "wSEL  wFRL(U x,U y) FIELD(x.ID)  INNER(x.ID=y.ID) ",
         "a table with itself: by its primary key"},
    };
    check(rows);
}

TEST(MultiTable, JoinsInTheWhere) {
    const Row rows[] = {
        {"SELECT T.A FROM T, U WHERE T.A = U.TID", "wSEL  wFRL(T,U) FIELD(T.A)  INNER(T.A=U.TID) ",
         "the whole condition"},
        {"SELECT T.A FROM T, U WHERE T.A = U.TID AND T.P = 1",
         "wSEL  wFRL(T,U) FIELD(T.A)  INNER(T.A=U.TID)  WHERE(T.P=1)", "the rest stays"},
        {"SELECT T.A FROM T, U WHERE T.P = 1 AND U.TID >= T.A AND U.NAME LIKE 'x%'",
         "wSEL  wFRL(T,U) FIELD(T.A)  INNER(U.TID>=T.A)  WHERE((T.P=1) wAND (U.NAME=x$))",
         "the sides stay as they are written"},
        {"SELECT T.A FROM T, U, V WHERE (T.A = U.TID AND U.ID = V.ID) AND NOT T.P = V.W",
         "wSEL  wFRL(T,U,V) FIELD(T.A)  INNER(T.A=U.TID)  INNER(U.ID=V.ID)  INNER(T.P<>V.W) ",
         "nothing stays; a negated comparison is its opposite"},
        {"SELECT T.A FROM T, U, V WHERE U.ID = V.ID AND T.A = U.TID",
         "wSEL  wFRL(T,U,V) FIELD(T.A)  INNER(T.A=U.TID)  INNER(U.ID=V.ID) ",
         "each join reaches a table from those in front of it"},
        {"SELECT T.A FROM T, U WHERE T.A = U.TID AND (T.P = 1 OR U.ID = 2)",
         "wSEL  wFRL(T,U) FIELD(T.A)  INNER(T.A=U.TID)  WHERE((T.P=1) wORX (U.ID=2))", ""},
        {"SELECT a.A FROM T a, T b WHERE a.A = b.P", "wSEL  wFRL(T a,T b) FIELD(a.A)  INNER(a.A=b.P) ", ""},
        {"SELECT T.A FROM T, U WHERE T.NAME[2] = U.NAME",
         "wSEL  wFRL(T,U) FIELD(T.A)  INNER(T.NAME.2=U.NAME) ", "one value of a field"},
        {"SELECT T.A FROM T JOIN U ON T.A = U.ID WHERE T.NAME = U.NAME ORDER BY U.NAME DESC",
         "wSEL  wFRL(T,U) FIELD(T.A)  INNER(T.A=U.ID)  INNER(T.NAME=U.NAME)  SORT(U.NAME wDES)",
         "beside a written join"},
    };
    check(rows);
}

TEST(MultiTable, SubQueriesThatBecomeJoins) {
    const Row rows[] = {
        {"SELECT A FROM T WHERE A = (SELECT TID FROM U WHERE ID = 2)",
         "wSEL  wFRL(T,U) FIELD(T.A)  INNER(T.A=U.TID)  WHERE(U.ID=2)", "with its condition"},
        {"SELECT A FROM T x WHERE P = 1 AND A = (SELECT TID FROM U y WHERE ID = 2 AND NOTE LIKE 'z')",
         "wSEL  wFRL(T x,U y) FIELD(x.A)  INNER(x.A=y.TID)  WHERE(((x.P=1) wAND (y.ID=2)) wAND (y.NOTE=z))",
         "under the aliases of both"},
        {"SELECT A FROM T WHERE A IN (SELECT ID FROM U)", "wSEL  wFRL(T,U) FIELD(T.A)  INNER(T.A=U.ID) ",
         "IN with unique values"},
        {"SELECT A FROM T WHERE A = (SELECT TID FROM U) AND NAME = (SELECT NAME FROM V)",
         "wSEL  wFRL(T,U,V) FIELD(T.A)  INNER(T.A=U.TID)  INNER(T.NAME=V.NAME) ", "two of them"},
        {"SELECT * FROM V WHERE ID = (SELECT TID FROM U)",
         "wSEL  wFRL(V,U) FIELD(V.ID,V.NAME,V.TID,V.W)  INNER(V.ID=U.TID) ",
         "its columns are not among all columns"},
    };
    check(rows);
}

TEST(MultiTable, SubQueriesThatAreSearchedFirst) {
    const Row rows[] = {
        {"SELECT A FROM T WHERE A IN (SELECT TID FROM U)",
         "wBAS T\nwBAS U\nwSEL wSFX wFRL(U) FIELD(U.TID) \nwSEL  wFRL(T) FIELD(T.A)  WHERE(T.A=3.TID)",
         "a join would repeat rows"},
        {"SELECT A FROM T WHERE A <= (SELECT ID FROM U WHERE TID = 1)",
         "wBAS T\nwBAS U\nwSEL wSFX wFRL(U) FIELD(U.ID)  WHERE(U.TID=1)\nwSEL  wFRL(T) FIELD(T.A)  "
         "WHERE(T.A<3.ID)",
         "not more than some value reads as less"},
        {"SELECT A FROM T WHERE A <> (SELECT ID FROM U)",
         "wBAS T\nwBAS U\nwSEL wSFX wFRL(U) FIELD(U.ID) \nwSEL  wFRL(T) FIELD(T.A)  WHERE(T.A<>3.ID)", ""},
        {"SELECT A FROM T WHERE NOT A IN (SELECT ID FROM U)",
         "wBAS T\nwBAS U\nwSEL wSFX wFRL(U) FIELD(U.ID) \nwSEL  wFRL(T) FIELD(T.A)  WHERE(T.A<>3.ID)",
         "NOT turns the operator"},
        {"SELECT A FROM T WHERE NOT (A > (SELECT ID FROM U) OR A < (SELECT ID FROM V))",
         "wBAS T\nwBAS U\nwSEL wSFX wFRL(U) FIELD(U.ID) \nwBAS V\nwSEL wSFX wFRL(V) FIELD(V.ID) \n"
         "wSEL  wFRL(T) FIELD(T.A)  WHERE((T.A<3.ID) wAND (T.A>=4.ID))",
         "one set each"},
        {"SELECT A FROM T WHERE P = 1 OR A = (SELECT ID FROM U)",
         "wBAS T\nwBAS U\nwSEL wSFX wFRL(U) FIELD(U.ID) \n"
         "wSEL  wFRL(T) FIELD(T.A)  WHERE((T.P=1) wORX (T.A=3.ID))",
         "under an OR"},
        {"SELECT COUNT(*) FROM T WHERE A = (SELECT ID FROM U)",
         "wBAS T\nwBAS U\nwSEL wSFX wFRL(U) FIELD(U.ID) \nwSEL  wFRL(T) FIELD(COUNT(*))  WHERE(T.A=3.ID)",
         "rows are counted"},
        {"SELECT SUM(A) + 1 FROM T WHERE A = (SELECT ID FROM U)",
         "wBAS T\nwBAS U\nwSEL wSFX wFRL(U) FIELD(U.ID) \nwSEL  wFRL(T) FIELD(SUM(T.A)+1)  WHERE(T.A=3.ID)",
         "in an expression, too"},
        {"SELECT A FROM T WHERE A = (SELECT MAX(ID) FROM U)",
         "wBAS T\nwBAS U\nwSEL wSFX wFRL(U) FIELD(MAX(U.ID)) \n"
         "wSEL  wFRL(T) FIELD(T.A)  WHERE(T.A=3.\"MAX(ID)\")",
         "a computed column"},
        {"SELECT A FROM T WHERE A > (SELECT NULL FROM U)",
         "wBAS T\nwBAS U\nwSEL wSFX wFRL(U) FIELD(NULL) \nwSEL  wFRL(T) FIELD(T.A)  WHERE(T.A>3.\"1\")",
         "an item without a text still is the set's column"},
        {"SELECT A FROM T WHERE A >= (SELECT TID FROM U) AND NAME[2] > (SELECT '' FROM V)",
         "wBAS T\nwBAS U\nwSEL wSFX wFRL(U) FIELD(U.TID) \nwBAS V\nwSEL wSFX wFRL(V) FIELD(\"\") \n"
         "wSEL  wFRL(T) FIELD(T.A)  WHERE((T.A>=3.TID) wAND (T.NAME.2>4.\"1\"))",
         "every operator has its own text"},
        {"SELECT A FROM T WHERE A = (SELECT DISTINCT TID FROM U ORDER BY TID)",
         "wBAS T\nwBAS U\nwSEL wSFX DISTINCT wFRL(U) FIELD(U.TID)  SORT(U.TID)\n"
         "wSEL  wFRL(T) FIELD(T.A)  WHERE(T.A=3.TID)",
         ""},
        {"SELECT A FROM T WHERE NAME = (SELECT NAME[2] FROM U)",
         "wBAS T\nwBAS U\nwSEL wSFX wFRL(U) FIELD(U.NAME.2) \nwSEL  wFRL(T) FIELD(T.A)  WHERE(T.NAME=3.NAME)",
         "one value of a field"},
        {"SELECT A FROM T WHERE NAME[2] = (SELECT NAME FROM U)",
         "wBAS T\nwBAS U\nwSEL wSFX wFRL(U) FIELD(U.NAME) \n"
         "wSEL  wFRL(T) FIELD(T.A)  WHERE(T.NAME.2=3.NAME)",
         "on the other side"},
        {"SELECT A FROM T WHERE A = (SELECT P FROM T WHERE A = 1)",
         "wBAS T\nwBAS T\nwSEL wSFX wFRL(T) FIELD(T.P)  WHERE(T.A=1)\n"
         "wSEL  wFRL(T) FIELD(T.A)  WHERE(T.A=3.P)",
         "the table is in use"},
        {"SELECT A FROM T WHERE A = (SELECT R FROM U WHERE NAME <> (SELECT NAME FROM V)) AND A IN (SELECT R "
         "FROM U)",
         "wBAS U\nwSEL wSFX wFRL(U) FIELD(U.R) \nwBAS V\nwSEL wSFX wFRL(V) FIELD(V.NAME) \n"
         "wSEL  wFRL(T,U) FIELD(T.A)  INNER(T.A=U.R)  WHERE((T.A=3.R) wAND (U.NAME<>4.NAME))",
         "both ways in one statement, one inside the other"},
        {"SELECT A FROM T WHERE A IN (SELECT ID FROM U UNION SELECT ID FROM V)",
         "wBAS T\nwBAS U\nwSEL  wFRL(U) FIELD(U.ID) \nwBAS V\nwSEL  wFRL(V) FIELD(V.ID) \n"
         "wSEL DISTINCT UNION(3,4)\nwSEL  wFRL(T) FIELD(T.A)  WHERE(T.A=5.ID)",
         "a union is combined first"},
        {"SELECT T.A FROM T WHERE A > (SELECT 5)", "wBAS T\nwSEL  wFRL(T) FIELD(T.A)  WHERE(T.A>5)",
         "a constant has no set"},
        {"SELECT HEAD FROM PARTS WHERE HEAD = (SELECT NAME FROM U)",
         "wBAS PARTS\nwBAS U\nwSEL wSFX wFRL(U) FIELD(U.NAME) \n"
         "wSEL  wFRL(PARTS) FIELD(PARTS.HEAD)  WHERE(PARTS.HEAD=3.NAME)",
         "tables with part records are not joined"},
    };
    check(rows);
}

TEST(MultiTable, SubQueriesAsValues) {
    loadArticles();
    fakeKernel().searches = true;
    fakeKernel().rows = {{{{"it<s", 129 | 8}}, 4, 0}};
    Request request("SELECT (SELECT NAME FROM U), A FROM T");
    EXPECT_EQ(runSql(request), 1) << request.document();
    EXPECT_EQ(fakeKernel().commands,
              (std::vector<std::string>{"wDEF wFIN wMIN=0", "wBAS U", "wSEL  wFRL(U) FIELD(U.NAME) ",
                                        "wBAS T", "wSEL  wFRL(T) FIELD(\"it<s\",T.A) "}))
        << "once, in front of the statement's own search";
    EXPECT_NE(request.document().find("<ColumnMetaData ID=\"1\" tableName=\"U\" columnName=\"NAME\" "
                                      "columnType=\"VARCHAR\" maxLength=\"255\" isNullable=\"true\""),
              std::string::npos)
        << request.document();
    EXPECT_NE(request.document().find("<Column ID=\"1\" datasize=\"7\">it&lt;s</Column>"), std::string::npos)
        << request.document();
}

TEST(MultiTable, NumbersOfSubQueriesStandBare) {
    const struct {
        const char* query;
        const char* item;
    } rows[] = {{"(SELECT ID FROM U)", "7"},       {"(SELECT MAX(ID) FROM U)", "7"},
                {"(SELECT ID * 2 FROM U)", "7"},   {"(SELECT AVG(ID) FROM U)", "7"},
                {"(SELECT NAME FROM U)", "\"7\""}, {"(SELECT COUNT(NAME) FROM U)", "\"7\""}};
    for (const auto& row : rows) {
        loadArticles();
        fakeKernel().searches = true;
        fakeKernel().rows = {{{{"7", 129 | 8}}, 1, 0}};
        Request request(std::string("SELECT ") + row.query + " FROM T");
        EXPECT_EQ(runSql(request), 1) << request.document();
        EXPECT_EQ(fakeKernel().commands.back(), "wSEL  wFRL(T) FIELD(" + std::string(row.item) + ") ")
            << row.query;
    }
}

TEST(MultiTable, Unions) {
    const Row rows[] = {
        {"SELECT A FROM T UNION SELECT ID FROM U",
         "wBAS T\nwSEL  wFRL(T) FIELD(T.A) \nwBAS U\nwSEL  wFRL(U) FIELD(U.ID) \nwSEL DISTINCT UNION(3,4)",
         ""},
        {"SELECT DISTINCT A FROM T UNION ALL SELECT ID FROM U UNION SELECT W FROM V ORDER BY 1 DESC",
         "wBAS T\nwSEL  wFRL(T) FIELD(T.A) \nwBAS U\nwSEL  wFRL(U) FIELD(U.ID) \nwSEL ALL UNION(3,4)\n"
         "wBAS V\nwSEL  wFRL(V) FIELD(V.W) \nwSEL DISTINCT UNION(5,6) SORT(1 wDES)",
         "from left to right; the members neither sort nor drop rows"},
        {"SELECT A, NAME FROM T UNION SELECT ID, NAME FROM U ORDER BY U.NAME, ID",
         "wBAS T\nwSEL  wFRL(T) FIELD(T.A,T.NAME) \nwBAS U\nwSEL  wFRL(U) FIELD(U.ID,U.NAME) \n"
         "wSEL DISTINCT UNION(3,4) SORT(2,1)",
         "by the names of the last member"},
        {"SELECT A AS X, P FROM T UNION SELECT ID, W FROM V ORDER BY P DESC, X",
         "wBAS T\nwSEL  wFRL(T) FIELD(T.A,T.P) \nwBAS V\nwSEL  wFRL(V) FIELD(V.ID,V.W) \n"
         "wSEL DISTINCT UNION(3,4) SORT(2 wDES,1)",
         "or of the first one"},
        {"SELECT 1, 'x' UNION SELECT A, NAME FROM T",
         "wSEL  wFRL() FIELD(1,\"x\") \nwBAS T\nwSEL  wFRL(T) FIELD(T.A,T.NAME) \nwSEL DISTINCT UNION(3,4)",
         "a member without tables needs a set as well"},
        {"SELECT T.A FROM T JOIN U ON T.A = U.ID UNION SELECT ID FROM V WHERE ID IN (SELECT TID FROM U)",
         "wSEL  wFRL(T,U) FIELD(T.A)  INNER(T.A=U.ID) \nwBAS V\nwBAS U\nwSEL wSFX wFRL(U) FIELD(U.TID) \n"
         "wSEL  wFRL(V) FIELD(V.ID)  WHERE(V.ID=4.TID)\nwSEL DISTINCT UNION(3,5)",
         "members of every kind"},
    };
    check(rows);
}

TEST(MultiTable, DocumentOfAUnion) {
    loadArticles();
    fakeKernel().searches = true;
    fakeKernel().rows = {{{{"1", 129 | 8}, {"x", 129 | 8}, {"T.NOTE,7,0", 133 | 8}}, 7, 0},
                         {{{"2", 129 | 8}, {"y", 129 | 8}, {"U.NOTE,9,0", 133 | 8}}, 9, 0}};
    Request request("SELECT A, 'x', NOTE FROM T UNION ALL SELECT ID, 'y', NOTE FROM U");
    EXPECT_EQ(runSql(request), 1) << request.document();
    const std::string document = request.document();
    const std::size_t rows = document.find("<ResultSetData>\r\n");
    EXPECT_EQ(document.substr(rows),
              "<ResultSetData>\r\n"
              "<Row rowNumber=\"1\" recordNumber=\"7\" partNumber=\"0\">\r\n"
              "<Column ID=\"1\" datasize=\"1\">1</Column>\r\n<Column ID=\"2\" datasize=\"1\">x</Column>\r\n"
              "<Column ID=\"3\" datasize=\"8\" fetchKey=\"54-7-0-3\"/>\r\n</Row>\r\n"
              "<Row rowNumber=\"2\" recordNumber=\"9\" partNumber=\"0\">\r\n"
              "<Column ID=\"1\" datasize=\"1\">2</Column>\r\n<Column ID=\"2\" datasize=\"1\">y</Column>\r\n"
              "<Column ID=\"3\" datasize=\"8\" fetchKey=\"55-9-0-4\"/>\r\n</Row>\r\n"
              "</ResultSetData>\r\n</ResultSet>")
        << "constants and texts are those of each row's member";
    EXPECT_NE(document.find("rowCount=\"2\">\r\n<ColumnMetaData ID=\"1\" tableName=\"UNION_RESULT\""),
              std::string::npos)
        << document;
}

TEST(MultiTable, OddStatementsAreAnswered) {
    const char* statements[] = {
        "SELECT * FROM T JOIN WDBS.TABLES ON T.NAME = TABLES.NAME",
        "SELECT * FROM T NATURAL JOIN WDBS.TABLES",
        "SELECT A FROM T UNION SELECT * FROM WDBS.COLUMNS NATURAL JOIN U",
        "SELECT COUNT(*), NAME FROM WDBS.TABLES GROUP BY NAME",
        "SELECT x + 1 FROM WDBS.TABLES",
        "SELECT (SELECT NAME FROM WDBS.TABLES) FROM T",
        "SELECT (SELECT A FROM NOPE) FROM T",
        "SELECT (SELECT (SELECT A FROM T) FROM U) FROM V",
        "SELECT A FROM T WHERE A IN (SELECT NAME FROM WDBS.TABLES)",
        "SELECT A FROM T WHERE A IN (SELECT * FROM U)",
        "SELECT A FROM T WHERE A = (SELECT U.* FROM U)",
        "SELECT a.A FROM T a JOIN T a ON a.A = a.P",
        "SELECT A FROM T JOIN T ON A = P",
        "SELECT A FROM T x, T x WHERE x.A = x.P",
        "SELECT A FROM T JOIN U ON T.A = T.P",
        "SELECT A FROM T JOIN U ON U.ID = U.TID",
        "SELECT A FROM T JOIN U ON T.A = U.ID AND T.A = V.ID",
        "SELECT A FROM T JOIN U USING (A)",
        "SELECT A FROM T, U, V WHERE T.A = U.ID OR U.ID = V.ID",
        "SELECT A FROM T, U WHERE NOT (T.A = U.ID AND T.P = 1)",
        "SELECT A FROM T, U WHERE T.A = U.ID AND T.A = U.ID AND U.ID = T.A",
        "SELECT 1 WHERE 1 = (SELECT 1) UNION SELECT 2 ORDER BY 1",
        "SELECT SUM(A + P) FROM T",
        "SELECT VALUELIST(NOTE, ';') FROM T UNION SELECT NOTE FROM U",
        "SELECT R, COUNT(*) FROM T JOIN U ON R = R GROUP BY R ORDER BY R",
        "SELECT DISTINCT * FROM T LEFT JOIN U ON A = ID RIGHT JOIN V ON A = W WHERE W IN (SELECT R FROM "
        "PARTS)",
    };
    for (const char* sql : statements) {
        loadArticles();
        fakeKernel().searches = true;
        Request request(sql);
        const std::int32_t status = runSql(request);
        const bool isFault = request.document().find("<Fault ") != std::string::npos;
        EXPECT_EQ(isFault, (status & 1) == 0) << sql << "\n" << request.document();
        EXPECT_EQ(fakeKernel().saves, fakeKernel().loads) << sql;
    }
}

TEST(MultiTable, SubQueriesMayNestDeeply) {
    constexpr int kLevels = 300;
    for (const char* open : {" WHERE ID IN (SELECT TID FROM U", " WHERE ID = (SELECT ID FROM U"}) {
        std::string sql = "SELECT ID FROM U";
        for (int i = 0; i < kLevels; ++i) sql += open;
        sql += std::string(kLevels, ')');
        loadArticles();
        fakeKernel().searches = true;
        Request request(sql);
        EXPECT_EQ(runSql(request), 1) << request.document().substr(0, 300);
        EXPECT_EQ(fakeKernel().commands.size(), 2U + kLevels * 2 + 1) << "each level is searched once";
    }
}

TEST(MultiTable, LongChainsOfJoins) {
    std::string sql = "SELECT T.A FROM T, U WHERE T.A = U.ID";
    constexpr int kTerms = 5000;
    for (int i = 1; i < kTerms; ++i) sql += i % 2 == 0 ? " AND T.A = U.TID" : " AND T.P > 1";
    loadArticles();
    fakeKernel().searches = true;
    Request request(sql);
    EXPECT_EQ(runSql(request), 1) << request.document().substr(0, 300);
    const std::string& command = fakeKernel().commands.back();
    std::size_t joins = 0;
    for (std::size_t at = 0; (at = command.find(" INNER(", at)) != std::string::npos; ++at) ++joins;
    EXPECT_EQ(joins, kTerms / 2U);
}

TEST(MultiTable, TypesOfComputedColumns) {
    const struct {
        const char* item;
        const char* description;
    } rows[] = {
        {"A * 2 + R",
         "tableName=\"\" columnName=\"A*2+R\" columnType=\"INTEGER\" maxLength=\"4\" isNullable=\"true\""},
        {"A / 2", "tableName=\"\" columnName=\"A/2\" columnType=\"NUMERIC\""},
        {"A + P", "tableName=\"\" columnName=\"A+P\" columnType=\"NUMERIC\""},
        {"A * 1.5", "columnType=\"NUMERIC\""},
        {"MAX(A) - COUNT(NAME) * 2", "columnName=\"MAX(A)-COUNT(NAME)*2\" columnType=\"INTEGER\""},
        {"AVG(A) * 2", "columnType=\"NUMERIC\""},
        {"SUM(P) * 2", "columnType=\"NUMERIC\""},
        {"AVG(A)", "tableName=\"T\" columnName=\"AVG(A)\" columnType=\"NUMERIC\""},
        {"COUNT(*)",
         "tableName=\"\" columnName=\"COUNT(*)\" columnType=\"INTEGER\" maxLength=\"4\" "
         "isNullable=\"false\""},
        {"MAX(D) AS latest", "columnName=\"MAX(D)\" columnLabel=\"latest\" columnType=\"DATE\""},
        {"COUNT(NAME)", "columnName=\"COUNT(NAME)\" columnType=\"VARCHAR\""},
        {"(SELECT MAX(W) FROM V) AS m",
         "tableName=\"V\" columnName=\"MAX(W)\" columnLabel=\"m\" columnType=\"INTEGER\""},
        {"(SELECT ID FROM U)",
         "columnType=\"INTEGER\" maxLength=\"4\" isNullable=\"true\" isSerial=\"false\" "
         "isPrimaryKey=\"false\""},
    };
    for (const auto& row : rows) {
        loadArticles();
        fakeKernel().searches = true;
        Request request(std::string("SELECT ") + row.item + " FROM T");
        EXPECT_EQ(runSql(request), 1) << row.item;
        EXPECT_NE(request.document().find(row.description), std::string::npos) << row.item << "\n"
                                                                               << request.document();
    }
}
