/* A host as small as one can be: a session in a fresh directory, statements, answers, release. */
#define _POSIX_C_SOURCE 200809L /* mkdtemp */

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "sqlengine.h"
#include "wdb.h"

typedef int32_t (*Export)(FilterData *, void *);

static int failures;

static void check(int holds, const char *what, const char *detail)
{
    if (holds) return;
    ++failures;
    fprintf(stderr, "FAILED: %s: %s\n", what, detail != NULL ? detail : "");
}

static const char *answer(const FilterData *data)
{
    return data->output != NULL ? data->output : "(no document)";
}

/* Runs one request from memory of exactly the text's length and expects a status and a piece of the answer (or, where the
 * piece is NULL, no answer). */
static void run(Export function, uint32_t options, const char *text, int32_t status, const char *piece)
{
    FilterData data;
    size_t length = strlen(text);
    char *memory = malloc(length > 0 ? length : 1);

    if (memory == NULL) abort();
    memcpy(memory, text, length);
    memset(&data, 0, sizeof data);
    data.text = memory;
    data.textLength = (int32_t)length;
    data.wdb_options = options;
    check(function(&data, NULL) == status, text, answer(&data));
    check(data.status == status, "status in the record", text);
    if (piece != NULL) {
        check(strstr(answer(&data), piece) != NULL, piece, answer(&data));
        check(data.output != NULL && strlen(data.output) == (size_t)data.outputLength, "length", answer(&data));
    } else {
        check(data.output == NULL && data.outputLength == 0, "no document", answer(&data));
    }
    free(data.output);
    free(memory);
}

static void withoutSession(void)
{
    run(sqlgetencoding, 36, "", 1, "UTF-8");
    run(sqlgetencoding, 4, "", 0, NULL);
    run(execsql, 0, "COMMIT", SQLENGINE_BAD_INVOCATION, NULL);
    run(execsql, 36, "COMMIT", 1, "<Success/>");
    run(execsql, 36, "COMMIT;", 0, ">syntax error</Fault>");
    run(sqlgetobject, 36, "FETCHKEY=x", 0, "Missing filter argument: \"FETCHKEY\".");
    check(execsql(NULL, NULL) == SQLENGINE_BAD_INVOCATION, "null record", NULL);
}

static void withSession(void)
{
    run(execsql, 36, "SET PROPERTY selecttext = TRUE", 1, "<property name=\"selecttext\">true</property>");
    run(execsql, 36, "GET PROPERTY selecttext", 1, "<property name=\"selecttext\">true</property>");
    run(execsql, 36, "CREATE TABLE ART (TITLE VARCHAR PRIMARY KEY, QTY INTEGER, BODY LONG VARCHAR)", 1,
        "The table \"ART\" was successfully created.");
    run(execsql, 36, "INSERT INTO ART (TITLE, QTY, BODY) VALUES ('first', 5, 'a < b & c')", 1, "<P>1</P>");
    run(execsql, 36, "INSERT INTO ART (TITLE, QTY) VALUES ('second', 15)", 1, "<P>1</P>");
    run(execsql, 36, "SELECT TITLE FROM ART WHERE QTY > 10 ORDER BY TITLE", 1, "second");
    run(execsql, 36, "SELECT BODY FROM ART WHERE TITLE = 'first'", 1, "a &lt; b &amp; c");
    run(execsql, 36, "SELECT NOTHING FROM ART", 2 * WDB_E_FIELD, "Could not find column \"NOTHING\"");
    run(sqlsetobject, 0, "TABLE=NONE\n", 2 * WDB_E_BASE, "Table \"%s\" does not exist.");
    run(sqlsetobject, 0, "TABLE=ART\nCOLUMNNAME=QTY\nRID=1\n", 0, "is of an incompatible type.");
}

int main(void)
{
    char home[] = "/tmp/welk_capi_XXXXXX";
    char command[64];
    WdbSession *session = NULL;
    WdbLiveCounts counts;

    withoutSession();
    if (mkdtemp(home) == NULL) return 2;
    check(WdbOpenSession(home, "ADMIN", "", WDB_OPEN_CREATE, &session) == WDB_OK, "WdbOpenSession", home);
    check(WdbBindSession(session) == WDB_OK, "WdbBindSession", NULL);
    if (failures == 0) {
        withSession();
        memset(&counts, 0, sizeof counts);
        check(WdbLiveHandles(&counts) == WDB_OK, "WdbLiveHandles", NULL);
        check(counts.controls == 0 && counts.cursors == 0 && counts.rowBuffers == 0 && counts.savedStatuses == 0,
              "nothing of a statement stays behind", NULL);
    }
    WdbBindSession(NULL);
    check(WdbCloseSession(&session) == WDB_OK, "WdbCloseSession", NULL);
    snprintf(command, sizeof command, "rm -rf %s", home);
    if (system(command) != 0) return 2;
    if (failures == 0) puts("ok");
    return failures == 0 ? 0 : 1;
}
