-- A table made from CSV with guessed types; then rows that do not fit.
.import people.csv PEOPLE
.schema PEOPLE
SELECT * FROM PEOPLE ORDER BY BORN;
.import people-more.csv PEOPLE
SELECT NAME, AGE FROM PEOPLE ORDER BY NAME;
.import empty.csv NOTHING
.import open-quote.csv BROKEN
.tables
