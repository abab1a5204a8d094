-- Control records: a made table, values of lists, paragraphs; then the same file into a table that lacks columns.
.import --format deb822 packages.deb822 PACKAGES
.schema PACKAGES
.mode line
SELECT * FROM PACKAGES ORDER BY NAME;
.mode table
SELECT NAME FROM PACKAGES WHERE DEPENDS = 'libc6';
SELECT NAME FROM PACKAGES WHERE DESCRIPTION = 'second paragraph';
CREATE TABLE SMALL (NAME VARCHAR PRIMARY KEY, DESCRIPTION LONG VARCHAR);
.import packages.deb822 SMALL
.import packages.deb822 SMALL
SELECT NAME FROM SMALL ORDER BY NAME;
.import damaged.deb822 SMALL
SELECT NAME FROM SMALL ORDER BY NAME;
