# Data leave and come back: a dump makes the same tables, exports are taken back by imports, a backup can be opened.
set -eu
w() { "$WSQL" --data "$@"; }
w "$DATA" <<'SQL'
CREATE TABLE AUTHOR (ID VARCHAR PRIMARY KEY, NAME VARCHAR NOT NULL);
CREATE TABLE BOOK (N SERIAL, TITLE VARCHAR, BY_ VARCHAR);
SQL
w "$DATA" <<'SQL' || true
CREATE TABLE WORK_ (ID VARCHAR PRIMARY KEY, AUTHOR VARCHAR REFERENCES AUTHOR (ID) ON DELETE CASCADE, DAY DATE, TAGS VARCHAR, NOTE LONG VARCHAR, COVER LONG VARBINARY, SIZE INTEGER DEFAULT 7);
.define {"table":"WORK_","primaryKey":"ID","columns":[{"name":"PRIOR_","references":{"table":"WORK_","column":"ID"}}]}
.define {"table":"SCAN","primaryKey":"ID","columns":[{"name":"ID","notNull":true},{"name":"PAGE","type":"LONG VARCHAR","part":true}]}
.rows AUTHOR
{"ID":"a1","NAME":"Ada \"L\""}
{"ID":"a2","NAME":"Grace"}
.end
.rows WORK_
{"ID":"w1","AUTHOR":"a2","PRIOR_":"w2","DAY":"1952-01-31","TAGS":["x",null,"y"],"NOTE":"one\n\ntwo","COVER":{"base64":"AP8K"},"SIZE":-5}
{"ID":"w2","AUTHOR":"a1","SIZE":9223372036854775807}
.end
.rows SCAN
{"ID":"s","PAGE":"of the head",".parts":[{"PAGE":"first"},{},{"PAGE":"third"}]}
.end
.rows WORK_
{"ID":"w3","AUTHOR":"nobody"}
.end
SQL
echo "== a dump makes the same tables"
w "$DATA" -c '.dump one.sql' && cp one.sql "$DATA/../one.sql" && rm one.sql
one="$DATA/../one.sql"
cat "$one"
w "$DATA-2" "$one"
w "$DATA-2" -c '.dump -' > "$DATA/../two.sql"
cmp "$one" "$DATA/../two.sql" && echo same
echo "== exports come back"
for form in csv jsonl; do
    w "$DATA" -c ".export --format $form $DATA/../work.$form WORK_"
    w "$DATA-3" -c ".read $DATA/../one.sql" -c "DELETE FROM WORK_ WHERE ID = 'w1'" -c 'DELETE FROM WORK_' -c ".import --exported $DATA/../work.$form WORK_" \
        -c ".export --format jsonl - WORK_" || true
    rm -rf "$DATA-3"
done
echo "== INSERT says what it can"
w "$DATA" -c '.export --format sql - AUTHOR' -c '.export --format sql - WORK_' || true
w "$DATA-3" -c 'CREATE TABLE SIGNS (N INTEGER, C NUMERIC)' -c 'INSERT INTO SIGNS (N, C) VALUES ((SELECT -2147483647), (SELECT -0.25))'
w "$DATA-3" -c ".export --format sql $DATA/../signs.sql SIGNS" -c 'DELETE FROM SIGNS' -c ".read $DATA/../signs.sql" -c '.export --format jsonl - SIGNS'
echo "== a copy can be opened"
w "$DATA" -c ".backup $DATA-4"
w "$DATA-4" -c '.check' -c '.tables' -c 'SELECT ID, PAGE FROM SCAN'
w "$DATA" -c ".backup $DATA-4" || true
echo "== indexes and files anew"
w "$DATA" -c 'DELETE FROM WORK_ WHERE ID = '"'w1'" -c '.reindex' -c '.compact' -c '.check' -c "SELECT ID FROM WORK_ WHERE TAGS = 'x'"
w "$DATA" -c '.check NOWHERE' -c '.dump /nowhere/x' -c '.reindex NOWHERE' || true
