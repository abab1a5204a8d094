// Texts that are written without blanks, from the statement to the rows.
#include "tests/unit/engine/Database.h"

namespace {

struct Found {
    const char* condition;
    const char* rows;
    const char* reason;
};

constexpr Found kFound[] = {
    {"BODY = '漁船'", "1", "Japanese: a word"},
    {"BODY = '港'", "1", "a word of one character"},
    {"BODY = '魚市場'", "1", "two words without a blank are a phrase"},
    {"BODY = '歴史の本'", "2", "a phrase with a particle"},
    {"BODY = '本の歴史'", "", "its words in another order"},
    {"BODY = '歴史%'", "2", "the beginning of a word"},
    {"BODY = '史'", "", "inside a word"},
    {"BODY = 'ラーメン' OR BODY = 'ﾗｰﾒﾝ'", "7", "half width and full width are one"},
    {"BODY = 'ﾗｰﾒﾝ'", "7", "half width alone"},
    {"BODY = '茶园'", "3", "Chinese: a word"},
    {"BODY = '新鲜的茶叶'", "3", "a phrase"},
    {"BODY = '茶叶' AND BODY = '工厂'", "3", "words of two sentences"},
    {"BODY = '火车站' AND NOT BODY = '茶园'", "4", "a word and not another"},
    {"BODY = '新鮮'", "1", "simplified and traditional characters are different ones"},
    {"BODY = 'ผลไม้'", "5", "Thai: a word"},
    {"BODY = 'ขายผลไม้'", "5", "a phrase"},
    {"BODY = 'นักเรียน'", "6", "a word of several syllables"},
    {"BODY = 'แม่น้ำ'", "6", "one whose parts stand in another text too"},
    {"BODY = 'เรียน'", "", "inside a word"},
    {"BODY = '駅 Tokyo'", "7", "two scripts side by side"},
    {"BODY = 'tokyo'", "7", "a Latin word between them"},
    {"TITLE LIKE '図%' OR TITLE LIKE 'โรง%'", "2\n6", "beginnings of short values"},
    {"TITLE = '茶园'", "3", "a whole value"},
};

void expectAll(Database& database, const char* state) {
    for (const Found& row : kFound) {
        const Answer answer = database.run(std::string("SELECT ID FROM NOTES WHERE ") + row.condition);
        EXPECT_EQ(answer.status, 1) << row.condition;
        EXPECT_EQ(answer.rows(), row.rows) << state << ", " << row.condition << ": " << row.reason;
    }
}

TEST(WritingSystems, WordsWithoutBlanksAreFound) {
    Database database;
    database.prepare({
        "CREATE TABLE NOTES (ID INTEGER, TITLE VARCHAR, BODY LONG VARCHAR)",
        "INSERT INTO NOTES VALUES (1, '港の朝', "
        "'小さな漁船が夜明けの港に戻ってきた。魚市場では新鮮な魚が並んでいる。')",
        "INSERT INTO NOTES VALUES (2, '図書館', "
        "'古い図書館の二階で、学生たちが静かに歴史の本を読んでいる。')",
        "INSERT INTO NOTES VALUES (3, '茶园', '山上的茶园在春天开始采摘。工人们把新鲜的茶叶送到工厂。')",
        "INSERT INTO NOTES VALUES (4, '火车站', '我们在火车站等了两个小时，天气很冷。')",
        "INSERT INTO NOTES VALUES (5, 'ตลาดน้ำ', 'แม่ค้าขายผลไม้สดในตลาดน้ำทุกเช้า นักท่องเที่ยวชอบถ่ายรูป')",
        "INSERT INTO NOTES VALUES (6, 'โรงเรียน', 'เด็กนักเรียนเดินไปโรงเรียนริมแม่น้ำ')",
        "INSERT INTO NOTES VALUES (7, '駅', '駅 Tokyo の ラーメン')",
    });
    expectAll(database, "kept in memory");
    ASSERT_EQ(WdbBatchLoadIndex(1, "NOTES", ""), WDB_OK);
    expectAll(database, "in the index files");
}

}  // namespace
