-- Texts that are written without blanks, are cut into words, found by them, by phrases and by beginnings of words.
CREATE TABLE NOTES (ID INTEGER, TITLE VARCHAR, BODY LONG VARCHAR);
INSERT INTO NOTES VALUES (1, '港の朝', '小さな漁船が夜明けの港に戻ってきた。魚市場では新鮮な魚が並んでいる。');
INSERT INTO NOTES VALUES (2, '図書館', '古い図書館の二階で、学生たちが静かに歴史の本を読んでいる。');
INSERT INTO NOTES VALUES (3, '茶园', '山上的茶园在春天开始采摘。工人们把新鲜的茶叶送到工厂。');
INSERT INTO NOTES VALUES (4, '火车站', '我们在火车站等了两个小时，天气很冷。');
INSERT INTO NOTES VALUES (5, 'ตลาดน้ำ', 'แม่ค้าขายผลไม้สดในตลาดน้ำทุกเช้า นักท่องเที่ยวชอบถ่ายรูป');
INSERT INTO NOTES VALUES (6, 'โรงเรียน', 'เด็กนักเรียนเดินไปโรงเรียนริมแม่น้ำ');
SELECT ID, TITLE FROM NOTES WHERE BODY = '漁船' OR BODY = '茶园' OR BODY = 'ผลไม้' ORDER BY ID;
SELECT ID, TITLE FROM NOTES WHERE TITLE LIKE '図%' OR TITLE LIKE 'โรง%';
SELECT ID, BODY FROM NOTES WHERE BODY = '歴史の本';
