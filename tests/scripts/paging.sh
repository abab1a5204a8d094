# Blocks, all rows, and what the footer says; the total is exact in each.
{
    echo "N,WORD"
    i=1
    while [ $i -le 45 ]; do
        echo "$i,word$i"
        i=$((i + 1))
    done
} > "$HOME/numbers.csv"
"$WSQL" --data "$DATA" -c ".import $HOME/numbers.csv NUMBERS"
"$WSQL" --data "$DATA" -c "SELECT N, WORD FROM NUMBERS ORDER BY N" | tail -n 3
"$WSQL" --data "$DATA" --block-size 3 --block 2 -c "SELECT N, WORD FROM NUMBERS ORDER BY N DESC"
"$WSQL" --data "$DATA" --block-size 20 --block 3 -c "SELECT N FROM NUMBERS ORDER BY N" | tail -n 1
"$WSQL" --data "$DATA" --block 9 -c "SELECT N FROM NUMBERS"
"$WSQL" --data "$DATA" --all-rows --format csv -c "SELECT N FROM NUMBERS ORDER BY N" | tail -n 2
"$WSQL" --data "$DATA" --all-rows --format xml -c "SELECT N FROM NUMBERS" | grep -c '<Row '
"$WSQL" --data "$DATA" -c ".set block-size 2" -c ".set block 3" -c "SELECT N FROM NUMBERS ORDER BY N" -c ".set"
"$WSQL" --data "$DATA" -c ".export $HOME/out.csv NUMBERS" -c ".export --format json $HOME/out.json NOWHERE" -c ".export $HOME/no/out.csv NUMBERS"
wc -l < "$HOME/out.csv"
