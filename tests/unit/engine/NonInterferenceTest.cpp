// What a user may not read shows in nothing that the user is answered.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/unit/engine/Database.h"

namespace {

// MIXED, of which ann may read A and write C; SHOWN, which everybody may read; HIDDEN. `secret` stands for
// all that she may not see.
class Twin {
public:
    explicit Twin(bool secret) {
        EXPECT_EQ(WdbSetClock("2026-03-04 05:06:07"), 1);
        EXPECT_EQ(WdbPutUser("ann", "", WDB_USER_CREATE), 1);
        const auto either = [&](const char* one, const char* other) {
            return std::string(secret ? one : other);
        };
        database_.prepare({
            "CREATE TABLE MIXED (A VARCHAR(20), B VARCHAR(40), C INTEGER, D LONG VARCHAR, O LONG VARBINARY, "
            "E DATE)",
            "CREATE TABLE SHOWN (K INTEGER, T VARCHAR(20))",
            "CREATE TABLE HIDDEN (K INTEGER, T VARCHAR(20))",
            "INSERT INTO MIXED (A, B, C, D) VALUES ('one', '" + either("red", "blue") + "', 1, '" +
                either("a long hidden text", "short") + "')",
            "INSERT INTO MIXED (A, B, C, E) VALUES ('two', '" + either("alpha", "zeta") + "', 1, DATE('" +
                either("2001-01-01", "1999-12-31") + "'))",
            either("INSERT INTO MIXED (A, B, C) VALUES ('three', 'red', 2)",
                   "INSERT INTO MIXED (A, C) VALUES ('three', 2)"),
            "UPDATE MIXED SET OBJECT (O, 'data=" + either("bytes and bytes", "b") + "') WHERE A = 'one'",
            "INSERT INTO SHOWN (K, T) VALUES (1, 'one')",
            "INSERT INTO SHOWN (K, T) VALUES (2, 'red')",
            "GRANT READ PRIVILEGES (A) ON MIXED TO ann",
            "GRANT ALL PRIVILEGES (C) ON MIXED TO ANN",
            "GRANT READ PRIVILEGES ON SHOWN TO PUBLIC",
        });
        for (int i = 0; i < (secret ? 7 : 2); ++i)
            database_.prepare({"INSERT INTO HIDDEN (K, T) VALUES (" + std::to_string(i) + ", 'one')"});
        keys_ = database_.run("SELECT D, O FROM MIXED WHERE A = 'one'").rows();
        EXPECT_EQ(keys_.front(), '@');
        boss_ = WdbBoundSession();
        EXPECT_EQ(WdbOpenSession(database_.directory().c_str(), "ann", "", 0, &ann_), 1);
        EXPECT_EQ(WdbBindSession(ann_), 1);
        EXPECT_EQ(WdbSetClock("2026-03-04 05:06:07"), 1);
        EXPECT_EQ(WdbBindSession(boss_), 1);
    }
    ~Twin() {
        WdbCloseSession(&ann_);
        WdbBindSession(boss_);
    }
    std::string asAnn(const std::string& sql) { return as(ann_, sql); }
    std::string asBoss(const std::string& sql) { return as(boss_, sql); }
    // The fetch keys of a hidden text and object.
    std::string textKey() const { return keys_.substr(1, keys_.find('|') - 1); }
    std::string objectKey() const { return keys_.substr(keys_.find("|@") + 2); }

private:
    std::string as(WdbSession* session, const std::string& sql) {
        EXPECT_EQ(WdbBindSession(session), 1);
        const Answer answer = database_.run(sql);
        return std::to_string(answer.status) + "\n" + answer.document;
    }
    Database database_;
    WdbSession* boss_ = nullptr;
    WdbSession* ann_ = nullptr;
    std::string keys_;
};

const struct {
    const char* sql;
    bool answered;  // else a fault
} kScript[] = {
    {"SELECT A, C FROM MIXED", true},
    {"SELECT A, R FROM MIXED ORDER BY A DESC", true},
    {"SELECT COUNT(*) FROM MIXED", true},
    {"SELECT C, COUNT(*) FROM MIXED GROUP BY C", true},
    {"SELECT DISTINCT C FROM MIXED", true},
    {"SELECT A FROM MIXED WHERE C = 1 AND A LIKE 't*'", true},
    {"SELECT M.A, S.T FROM MIXED M, SHOWN S WHERE M.C = S.K", true},
    {"SELECT A FROM MIXED WHERE C IN (SELECT K FROM SHOWN)", true},
    {"SELECT A FROM MIXED UNION SELECT T FROM SHOWN", true},
    {"SELECT * FROM MIXED", false},
    {"SELECT B FROM MIXED", false},
    {"SELECT D, O FROM MIXED", false},
    {"SELECT A FROM MIXED WHERE B = 'red'", false},
    {"SELECT A FROM MIXED WHERE B IS NULL", false},
    {"SELECT A FROM MIXED WHERE NOT B = 'red'", false},
    {"SELECT A FROM MIXED WHERE D LIKE 'hidden'", false},
    {"SELECT A FROM MIXED WHERE E BETWEEN DATE('2000-01-01') AND DATE('2002-01-01')", false},
    {"SELECT A FROM MIXED ORDER BY B", false},
    {"SELECT B, COUNT(*) FROM MIXED GROUP BY B", false},
    {"SELECT DISTINCT B FROM MIXED", false},
    {"SELECT MAX(B) FROM MIXED", false},
    {"SELECT COUNT(B) FROM MIXED", false},
    {"SELECT M.A FROM MIXED M, SHOWN S WHERE M.B = S.T", false},
    {"SELECT T FROM SHOWN WHERE T IN (SELECT B FROM MIXED)", false},
    {"SELECT T FROM SHOWN UNION SELECT B FROM MIXED", false},
    {"SELECT * FROM HIDDEN", false},
    {"SELECT COUNT(*) FROM HIDDEN", false},
    {"SELECT T FROM SHOWN WHERE K IN (SELECT K FROM HIDDEN)", false},
    {"SELECT T FROM SHOWN WHERE K = (SELECT COUNT(*) FROM HIDDEN)", false},
    {"SELECT S.T FROM SHOWN S, HIDDEN H WHERE S.K = H.K", false},
    {"SELECT T FROM SHOWN UNION SELECT T FROM HIDDEN", false},
    {"SELECT * FROM WDBS.TABLES", true},
    {"SELECT * FROM WDBS.COLUMNS", true},
    {"SELECT * FROM WDBS.KEYREFS", true},
    {"INSERT INTO HIDDEN (K) VALUES (9)", false},
    {"INSERT INTO MIXED (A, C) VALUES ('x', 4)", false},
    {"INSERT INTO SHOWN (K) SELECT K FROM HIDDEN", false},
    {"UPDATE HIDDEN SET T = 'x'", false},
    {"UPDATE MIXED SET B = 'x' WHERE A = 'one'", false},
    {"UPDATE MIXED SET C = 5 WHERE B = 'red'", false},
    {"UPDATE MIXED SET C = 5 WHERE A = 'one'", true},
    {"UPDATE MIXED SET OBJECT (O, 'data=x') WHERE A = 'one'", false},
    {"DELETE FROM MIXED WHERE A = 'one'", false},
    {"DELETE FROM HIDDEN", false},
    {"DROP TABLE HIDDEN", false},
    {"DROP TABLE MIXED", false},
    {"CREATE TABLE HIDDEN (K INTEGER)", false},
    {"GRANT READ PRIVILEGES ON HIDDEN TO ann", false},
    {"REVOKE ALL PRIVILEGES ON MIXED FROM ann", false},
    {"SELECT A, C FROM MIXED", true},
};

TEST(NonInterference, AnswersAreEqualOverHiddenData) {
    // One after the other: a thread has one session bound.
    const auto run = [](bool secret, bool ann) {
        Twin twin(secret);
        std::vector<std::string> answers;
        for (const auto& line : kScript) {
            const bool reads = std::string(line.sql).starts_with("SELECT");
            if (ann || reads) answers.push_back(ann ? twin.asAnn(line.sql) : twin.asBoss(line.sql));
        }
        for (const std::string& key : {twin.textKey(), twin.objectKey()}) {
            const std::string get = "GET OBJECT = '" + key + "'";
            answers.push_back(ann ? twin.asAnn(get) : twin.asBoss(get));
        }
        return answers;
    };
    const auto one = run(true, true), other = run(false, true);
    ASSERT_EQ(one.size(), other.size());
    for (size_t i = 0; i < std::size(kScript); ++i) {
        EXPECT_EQ(one[i], other[i]) << kScript[i].sql;
        const bool fault = one[i].find("<Fault") != std::string::npos;
        EXPECT_EQ(!fault, kScript[i].answered) << kScript[i].sql << "\n" << one[i];
    }
    for (size_t i = std::size(kScript); i < one.size(); ++i) {
        EXPECT_EQ(one[i], other[i]);
        EXPECT_EQ(one[i].find("bytes"), std::string::npos) << one[i];
        EXPECT_EQ(one[i].find("hidden text"), std::string::npos) << one[i];
    }
    // The script can tell the two apart: for who may read everything most of its answers differ.
    const auto first = run(true, false), second = run(false, false);
    size_t differing = 0;
    for (size_t i = 0; i < first.size(); ++i) differing += first[i] != second[i] ? 1 : 0;
    EXPECT_GT(differing, 18u);
}

TEST(NonInterference, RevokedAtTheNextStatement) {
    Twin twin(true);
    const auto answered = [&](const char* sql) {
        return twin.asAnn(sql).find("<Fault") == std::string::npos;
    };
    EXPECT_TRUE(answered("SELECT C FROM MIXED"));
    EXPECT_TRUE(answered("SELECT T FROM SHOWN"));
    twin.asBoss("REVOKE ALL PRIVILEGES ON SHOWN FROM PUBLIC");
    EXPECT_FALSE(answered("SELECT T FROM SHOWN"));
    twin.asBoss("REVOKE ALL PRIVILEGES (C) ON MIXED FROM ann");
    EXPECT_FALSE(answered("UPDATE MIXED SET C = 7 WHERE A = 'two'"));
    EXPECT_TRUE(answered("SELECT A FROM MIXED"));
    twin.asBoss("GRANT ALL PRIVILEGES ON HIDDEN TO ann");
    EXPECT_TRUE(answered("INSERT INTO HIDDEN (K) VALUES (9)"));
    EXPECT_TRUE(answered("DELETE FROM HIDDEN WHERE K = 9"));
    EXPECT_FALSE(answered("DROP TABLE HIDDEN")) << "that is for the owner";
    twin.asBoss("REVOKE ALL PRIVILEGES ON HIDDEN FROM ann");
    EXPECT_FALSE(answered("SELECT K FROM HIDDEN"));
    EXPECT_TRUE(answered("CREATE TABLE OWN (X INTEGER)"));
    EXPECT_TRUE(answered("GRANT READ PRIVILEGES ON OWN TO bob")) << "an owner needs no administrator";
}

}  // namespace
