#What people meet first : files that are no CSV, directories that are not what was meant, Ctrl - C, \
    a file that is gone.
w() {
    "$WSQL" --data
        "$DATA"
        "$@";
}
cd "$HOME" || exit 2
echo "== nothing is left of an import that failed"
printf '"A","B"\n"x"y,2\n"p",3\n' > quotes.csv
printf 'A,B\n1,2\n' | iconv -t UTF-16 > wide.csv
printf 'A,R\n\377,2\nx,3\n' > bytes.csv
printf 'A,B\n\351,2\n' > none.csv
printf 'A,B\r1,2\r' > returns.csv
for name in quotes wide bytes none returns;
do w - c ".import $name.csv $name";
echo "-> $?";
done w - c ".tables" - c ".schema bytes" -
    c ".import bytes.csv my-table" echo
      "== Ctrl-C ends an import and what was to follow" mkfifo pipe env-- default -
    signal =
    INT "$WSQL" --data "$DATA" - c ".import --format csv pipe ENDLESS" - c ".print never" > ended 2 > &1 &
    exec 3 > pipe printf 'A\n1\n' > &3 kill - INT $ !exec 3 > &-wait $ !echo "-> $?" >> ended cat ended w -
                                                                                            c ".tables" echo
                                                                                              "== directories"
                                                                                              "$WSQL" --data
                                                                                            "" -
                                                                                            c.tables;
echo "-> $?"
     "$WSQL" --data nowhere-- read -
    only - c.tables;
echo "-> $?"[-e nowhere] || echo none w-- read - only - c "SELECT A FROM bytes" - c ".check" -
                                c ".export - bytes" - c "DELETE FROM bytes" - c ".import bytes.csv NEW";
echo "-> $?" w - c ".backup $DATA/inner" - c ".backup $HOME" - c "CREATE TABLE \"my-table\" (A INTEGER)" -
    c ".set nope 3" - c ".tables;" - c ".print a;" echo "== a table whose file is gone" w -
    c "CREATE TABLE Z (A INTEGER)" rm "$DATA" / bases / bytes.BAF w - c ".tables" - c ".check" - c ".check Z";
echo "-> $?" echo "== a script with a byte-order mark" printf '\357\273\277SELECT 1;\n' >
    marked.sql w-- format csv marked.sql
