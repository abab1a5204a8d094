# What others change counts from the next statement of a session that is open in another process.
set -eu
boss() { "$WSQL" --data "$DATA" "$@" > "$DATA-boss" 2>&1 || cat "$DATA-boss"; }
boss -c "CREATE TABLE T (A VARCHAR PRIMARY KEY, B INTEGER)" -c "INSERT INTO T (A, B) VALUES ('one', 1)" \
    -c "CREATE TABLE U (A VARCHAR)"
echo secret > "$DATA-password"
boss -c ".adduser ada --password-file $DATA-password" -c "GRANT ALL PRIVILEGES ON T TO ada"

# Ada's session: she asks through one pipe and is answered through another.
mkfifo "$DATA-asks" "$DATA-answers"
"$WSQL" --data "$DATA" --user ada --password-file "$DATA-password" --format csv --batch \
    < "$DATA-asks" > "$DATA-answers" 2>&1 &
exec 8> "$DATA-asks" 9< "$DATA-answers"
ada() {
    echo "ada: $1"
    printf '%s;\n.print end\n' "$1" >&8
    while IFS= read -r line <&9 && [ "$line" != end ]; do echo "  $line"; done
}
does() {
    echo "owner: $1"
    boss -c "$1"
}
ada "SELECT A, B FROM T"
does "INSERT INTO T (A, B) VALUES ('two', 2)"
ada "SELECT A, B FROM T"
does "REVOKE WRITE PRIVILEGES ON T FROM ada"
ada "INSERT INTO T (A, B) VALUES ('three', 3)"
ada "SELECT COUNT(*) FROM T"
does "REVOKE ALL PRIVILEGES ON T FROM ada"
ada "SELECT A FROM T"
does "GRANT READ PRIVILEGES (A) ON T TO ada"
ada "SELECT A FROM T ORDER BY A DESC"
ada "SELECT A FROM T WHERE B = 1"
does "GRANT READ PRIVILEGES ON T TO PUBLIC"
ada "SELECT A FROM T WHERE B = 1"
does "REVOKE ALL PRIVILEGES ON T FROM PUBLIC"
ada "SELECT A FROM T WHERE B = 1"
does "REVOKE ALL PRIVILEGES ON T FROM ada"
ada "SELECT A FROM T"
does "GRANT READ PRIVILEGES ON U TO ada"
ada "SELECT COUNT(*) FROM U"
does "DROP TABLE U"
ada "SELECT COUNT(*) FROM U"
exec 8>&-
wait
