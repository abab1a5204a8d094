-- Questions over the package catalogue that scripts/demo imported. Run them again, or change them:
--     build/release/wsql --data demo-data scripts/demo.sql
.mode table
.timer on
.set block-size 8

.print
.print 1. A word anywhere in a long text: packages whose description speaks of compilers. The total is exact.
SELECT NAME, SECTION, MAINTAINER FROM PACKAGES WHERE DESCRIPTION = 'compiler';

.print
.print 2. A phrase: the two words one behind the other, not just both somewhere in the text.
SELECT NAME, SECTION, HOMEPAGE FROM PACKAGES WHERE DESCRIPTION = 'machine learning' ORDER BY NAME;

.print
.print 3. Part of a word, open on both ends: "crypt" inside encryption, decrypted, cryptographic ...
SELECT NAME, SECTION FROM PACKAGES WHERE DESCRIPTION = '%crypt%' AND SECTION = 'python';

.print
.print 4. A range of numbers, sorted: the largest packages between 500 MB and 2 GB installed.
SELECT NAME, INSTALLED_SIZE, SECTION FROM PACKAGES WHERE INSTALLED_SIZE BETWEEN 500000 AND 2000000 ORDER BY INSTALLED_SIZE DESC;

.print
.print 5. A column with many values a record: everything tagged as an editor that runs in a terminal.
SELECT NAME, TAG FROM PACKAGES WHERE TAG = 'use::editing' AND TAG = 'interface::text-mode';

.print
.print 6. A page deep in a large result: the 300th page of all libraries by name.
.set block 300
SELECT NAME, VERSION, SIZE FROM PACKAGES WHERE DESCRIPTION = 'library' ORDER BY NAME;
.set block default

.print
.print 7. One record with its long text.
.mode line
SELECT NAME, VERSION, SECTION, DEPENDS, DESCRIPTION FROM PACKAGES WHERE NAME = 'bash';
