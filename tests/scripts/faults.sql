-- A fault names the place where it is known and does not end the script.
SELECT 1;
SELECT * FROM NOWHERE;
CREATE TABLE T (A VARCHAR);
SELECT A,
  NOSUCH
FROM T;
SELEC 1;
.mode fancy
.nosuch
.read nosuch.sql
.import nosuch.csv T
.schema NOWHERE
.set verbose on
SELECT * FROM NOWHERE;
.print still here
SELECT 'open
