# Exit statuses, sources and their order, batch mode, bailing out, passwords that are not asked for here.
run() {
    "$WSQL" --data "$DATA" "$@"
    echo "-> $?"
}
run -c "SELECT 1"
run -c "SELECT 1; SELECT" -c "SELECT 2"
run --bail -c "SELECT" -c "SELECT 2"
run --block 0
run --all-rows --block 2
run --format fancy
run --nosuch
echo "SELECT 3; .print not a command here
.print from the file
SELECT 4" > "$HOME/script.sql"
run -c "SELECT 'first'" "$HOME/script.sql" "$HOME/missing.sql"
printf 'SELECT 5;\n.print between\nSELECT bad;\nSELECT\n 6;\n.quit\nSELECT 7;\n' | run --batch --format csv
printf 'SELECT bad;\nSELECT 8;\n' | run --batch --bail
echo ".read $HOME/loop.sql" > "$HOME/loop.sql"
run --bail "$HOME/loop.sql"
WSQL_PASSWORD=wrong run -c "SELECT 9"
run --password-file "$HOME/missing" -c "SELECT 9"
run --user nobody -c "SELECT 9"
cat "$HOME/script.sql" | run -c ".import - T"
printf 'A;B\n1\n' | run -c ".import --format csv - T" -c "SELECT * FROM T"
ls -ld "$DATA" | cut -c 1-10
