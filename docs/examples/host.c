/* A host: opens a data directory, runs statements, shows what came back. docs/embedding.md tells how it is
 * compiled and what it prints.
 *
 *   host DIRECTORY [STATEMENT...]
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "sqlengine.h"
#include "wdb.h"

/* One request, one record, one call. Returns whether it succeeded. */
static int run(const char* statement) {
    FilterData data;
    size_t length = strlen(statement);
    char* text = malloc(length + 1); /* writable: the engine may put the content-type line there */
    int success;

    if (text == NULL) return 0;
    memcpy(text, statement, length + 1);
    memset(&data, 0, sizeof data);
    data.text = text;
    data.textLength = (int32_t)length;
    data.wdb_options = SQLENGINE_EXPORT_ALLOC | SQLENGINE_IEOPT_MEMORY;

    execsql(&data, NULL);
    success = WDB_SUCCESS(data.status); /* odd is success */
    printf("%s\n", statement);
    if (success) {
        fwrite(data.output, 1, (size_t)data.outputLength, stdout);
    } else {
        printf("status %d: %s\n", (int)data.status, data.message);
    }
    puts("\n");

    free(data.output); /* the answer is the host's */
    free(text);
    return success;
}

int main(int argc, char** argv) {
    static const char* const demo[] = {
        "CREATE TABLE BOOKS (TITLE VARCHAR PRIMARY KEY, PAGES INTEGER, ABSTRACT LONG VARCHAR)",
        "INSERT INTO BOOKS (TITLE, PAGES, ABSTRACT) VALUES ('Moby-Dick', 635, 'A captain and a white whale')",
        "SELECT TITLE, PAGES FROM BOOKS WHERE ABSTRACT = 'whale'",
        "SELECT AUTHOR FROM BOOKS",
        "DROP THE BOOKS",
    };
    WdbSession* session = NULL;
    int32_t status;
    int i;

    if (argc < 2) {
        fprintf(stderr, "usage: host DIRECTORY [STATEMENT...]\n");
        return 2;
    }
    /* The first session of an empty directory makes it a data directory and its user the owner. */
    status = WdbOpenSession(argv[1], "owner", "", WDB_OPEN_CREATE, &session);
    if (!WDB_SUCCESS(status)) {
        fprintf(stderr, "host: cannot open %s: status %d\n", argv[1], (int)status);
        return 1;
    }
    WdbBindSession(session); /* calls of this thread work in it from now on */
    if (argc > 2) {
        for (i = 2; i < argc; ++i) run(argv[i]);
    } else {
        for (i = 0; i < (int)(sizeof demo / sizeof demo[0]); ++i) run(demo[i]);
    }
    WdbCloseSession(&session);
    return 0;
}
