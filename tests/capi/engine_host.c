/* A host in plain C: every export in every way that a host can call it wrong or right, with the record, the
 * memory and the documents looked at byte by byte. Run under ASan as well, where a byte too many or a block
 * too few is a failure. */
#define _POSIX_C_SOURCE 200809L /* mkdtemp, unsetenv */

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "sqlengine.h"
#include "wdb.h"

typedef int32_t (*Export)(FilterData*, void*);

#define XML "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n"
#define FAULT(code, source, context, text)                                                                   \
    XML "<Fault faultCode=\"" code "\"\r\n      faultSource=\"" source "\"\r\n      faultContext=\"" context \
        "\">" text "</Fault>"
#define PROPERTY(name, value) XML "<property name=\"" name "\">" value "</property>\r\n"
#define BAD_MASK "Invalid filter invocation - bad wdb_options mask."
#define ONE_MASK "Filter invocation error: wdb_options must be set to EXPORT_ALLOC|IEOPT_MEMORY."
#define IN_MEMORY (SQLENGINE_EXPORT_ALLOC | SQLENGINE_IEOPT_MEMORY)
#define HOST_BYTE 0x5A

/* One call. The request lies in memory of exactly its length. */
typedef struct Call {
    Export function;
    uint32_t options;
    const char* text;
    int32_t status;
    const char* message;  /* NULL: not looked at */
    const char* document; /* a piece of it, or all of it where it begins with the XML declaration; NULL: none,
                           * and the host's own output pointer stays */
    const char* line;     /* the content-type line that comes back; NULL: the request is as it was */
} Call;

static int failures;

static void check(int holds, const char* what, const char* detail) {
    if (holds) return;
    ++failures;
    fprintf(stderr, "FAILED: %s: %s\n", what, detail != NULL ? detail : "");
}

static void checkDocument(const Call* call, const FilterData* data, const char* own) {
    const char* answer = data->output;

    if (call->document == NULL) {
        check(answer == own && data->outputLength == 4, "no document, the host's pointer stays", call->text);
        return;
    }
    check(answer != NULL && answer != own, "a document", call->text);
    if (answer == NULL || answer == own) return;
    check(strlen(answer) == (size_t)data->outputLength, "output length", answer);
    if (strncmp(call->document, "<?xml", 5) == 0) {
        check(strcmp(answer, call->document) == 0, call->document, answer);
    } else {
        check(*call->document != '\0' ? strstr(answer, call->document) != NULL : *answer == '\0',
              call->document, answer);
    }
}

static void run(const Call* call) {
    FilterData data;
    char own[] = "own";
    size_t length = strlen(call->text);
    char* memory = malloc(length > 0 ? length : 1);
    size_t i;

    if (memory == NULL) abort();
    memcpy(memory, call->text, length);
    memset(&data, 0, sizeof data);
    memset(data.host, HOST_BYTE, sizeof data.host);
    memset(data.message, 'm', sizeof data.message);
    data.text = memory;
    data.textLength = (int32_t)length;
    data.wdb_options = call->options;
    data.output = call->function == sqlsetobject ? NULL : own; /* which reads it */
    data.outputLength = call->function == sqlsetobject ? 0 : 4;
    data.status = 77;

    check(call->function(&data, NULL) == data.status, "the return value is the record's status", call->text);
    if (data.status != call->status) {
        fprintf(stderr, "status %d, expected %d: ", (int)data.status, (int)call->status);
        check(0, call->text, data.output);
    }
    for (i = 0; i < sizeof data.host; ++i) check(data.host[i] == HOST_BYTE, "the host's area", call->text);
    if (call->message != NULL) check(strcmp(data.message, call->message) == 0, call->message, data.message);
    checkDocument(call, &data, own);
    if (call->line != NULL) {
        check(data.textLength == (int32_t)strlen(call->line) && strcmp(data.text, call->line) == 0,
              call->line, call->text);
    } else {
        check(data.textLength == (int32_t)length && memcmp(memory, call->text, length) == 0,
              "request untouched", call->text);
    }
    if (data.output != own) free(data.output);
    free(memory);
}

static void runAll(const Call* calls, size_t count) {
    size_t i;

    for (i = 0; i < count; ++i) run(&calls[i]);
}
#define RUN_ALL(calls) runAll(calls, sizeof calls / sizeof calls[0])

#define TEXT_LINE "TEXT\nUTF-8"
#define SYNTAX FAULT("0", "WSQLFilter:585", "SQLFilter::execSql", "syntax error")

/* What needs no session. */
static void invocations(void) {
    static const Call calls[] = {
        {sqlgetencoding, IN_MEMORY, "anything", 1, "", "UTF-8", NULL},
        {sqlgetencoding, 4, "", 0, ONE_MASK, NULL, NULL},
        {sqlgetencoding, 32, "", 0, ONE_MASK, NULL, NULL},
        {sqlgetencoding, 37, "", 0, ONE_MASK, NULL, NULL},
        {execsql, 0, "COMMIT", SQLENGINE_BAD_INVOCATION, BAD_MASK, NULL, NULL},
        {execsql, 8, "COMMIT", SQLENGINE_BAD_INVOCATION, BAD_MASK, NULL, NULL},
        {execsql, 32, "COMMIT", SQLENGINE_BAD_INVOCATION, BAD_MASK, NULL, NULL},
        {execsql, 1, "COMMIT", 1, "", XML "<Success/>\r\n", NULL},
        {execsql, 2, "ROLLBACK", 1, "", XML "<Success/>\r\n", NULL},
        {execsql, IN_MEMORY, "COMMIT WOR", 0, "syntax error", SYNTAX, NULL},
        {execsql, IN_MEMORY, "COMMIT     ", 1, "", XML "<Success/>\r\n", TEXT_LINE},
        {execsql, IN_MEMORY, "COMMIT    ", 1, "", XML "<Success/>\r\n",
         NULL}, /* ten bytes leave no room for the NUL */
        {execsql, IN_MEMORY, "", 0, "syntax error", SYNTAX, NULL},
        {execsql, IN_MEMORY, "COMMIT; COMMIT; COMMIT", 0, "syntax error", SYNTAX, NULL},
        {execsql, IN_MEMORY, "ALTER TABLE T ADD COLUMN C INTEGER", 0, "Statement not currently supported.",
         FAULT("0", "WSQLFilter:656", "WSQLFilter::execSql", "Statement not currently supported."),
         TEXT_LINE},
        {sqlgetobject, 3, "FETCHKEY=x\n", SQLENGINE_BAD_INVOCATION, BAD_MASK, NULL, NULL},
        {sqlgetobject, IN_MEMORY, "FETCHKEY=x", 0, "Missing filter argument: \"FETCHKEY\".",
         "faultContext=\"WSQLFilter::getObject\"", NULL},
        {sqlgettabledesc, 0, "TABLE=x\n", 0, "Missing filter argument: \"TABLENAME\".",
         "faultContext=\"WSQLFilter::getTableDesc\"", NULL},
        {sqlsetobject, 0, "COLUMNNAME=x\n", 0, "Missing or invalid filter argument: \"TABLE\".",
         "faultContext=\"WSQLFilter::setObject\"", NULL},
    };
    static const Export exports[] = {execsql, sqlgetencoding, sqlgetobject, sqlsetobject, sqlgettabledesc};
    size_t i;

    RUN_ALL(calls);
    for (i = 0; i < sizeof exports / sizeof exports[0]; ++i) {
        check(exports[i](NULL, NULL) == SQLENGINE_BAD_INVOCATION, "null record", NULL);
    }
}

static void properties(void) {
    static const Call calls[] = {
        {execsql, IN_MEMORY, "GET PROPERTY selecttext", 1, "", PROPERTY("selecttext", "false"), TEXT_LINE},
        {execsql, IN_MEMORY, "SET PROPERTY selecttext = TRUE", 1, "", PROPERTY("selecttext", "true"),
         TEXT_LINE},
        {execsql, IN_MEMORY, "GET PROPERTY SelectText", 1, "", PROPERTY("selecttext", "true"), TEXT_LINE},
        {execsql, IN_MEMORY, "SET PROPERTY selectblob = 'FALSE'", 1, "", PROPERTY("selectblob", "true"),
         TEXT_LINE},
        {execsql, IN_MEMORY, "SET PROPERTY selectblob = false", 1, "", PROPERTY("selectblob", "false"),
         TEXT_LINE},
        {execsql, IN_MEMORY, "SET PROPERTY batchindex = 0", 1, "", PROPERTY("batchindex", "true"), TEXT_LINE},
        {execsql, IN_MEMORY, "SET PROPERTY batchindex = 'false'", 1, "", PROPERTY("batchindex", "false"),
         TEXT_LINE},
        {execsql, IN_MEMORY, "GET PROPERTY lazyindex", 1, "", PROPERTY("lazyindex", "false"), TEXT_LINE},
        {execsql, IN_MEMORY, "SET PROPERTY loglevel = '-2'", 1, "", PROPERTY("loglevel", "-2"), TEXT_LINE},
        {execsql, IN_MEMORY, "GET PROPERTY loglevel", 1, "", PROPERTY("loglevel", "0"), TEXT_LINE},
        {execsql, IN_MEMORY, "GET PROPERTY logging", 1, "", PROPERTY("logging", "false"), TEXT_LINE},
        {execsql, IN_MEMORY, "SET PROPERTY Colour = 1", 0, "Unknown property \"colour\".",
         FAULT("0", "WSQLFilter::ExecuteProperty", "execution", "Unknown property \"colour\"."), TEXT_LINE},
    };

    RUN_ALL(calls);
}

static void statements(void) {
    static const Call calls[] = {
        {execsql, IN_MEMORY,
         "CREATE TABLE ART (TITLE VARCHAR PRIMARY KEY, QTY INTEGER, BODY LONG VARCHAR, IMAGE "
         "LONG VARBINARY)",
         1, "The table \"ART\" was successfully created.",
         XML "<Success>The table \"ART\" was successfully created.</Success>\r\n", TEXT_LINE},
        {execsql, IN_MEMORY, "INSERT INTO ART (TITLE, QTY, BODY) VALUES ('first', 5, 'a < b & c')", 1, "",
         "<P>1</P>", TEXT_LINE},
        {execsql, IN_MEMORY, "INSERT INTO ART (TITLE, QTY) VALUES ('second', 15)", 1, "", "<P>1</P>",
         TEXT_LINE},
        {execsql, IN_MEMORY, "SELECT TITLE FROM ART WHERE QTY > 10 ORDER BY TITLE", 1, "", "second",
         TEXT_LINE},
        {execsql, IN_MEMORY, "SELECT BODY FROM ART WHERE TITLE = 'first'", 1, "", "a &lt; b &amp; c",
         TEXT_LINE},
        {execsql, IN_MEMORY, "SELECT NOTHING FROM ART", 2 * WDB_E_FIELD, NULL,
         "Could not find column \"NOTHING\"", TEXT_LINE},
        {sqlsetobject, 0, "TABLE=NONE\n", 2 * WDB_E_BASE, "Table \"%s\" does not exist.", "faultCode=\"610\"",
         NULL},
        {sqlsetobject, 0, "table=ART\n", 0, "Missing filter argument: \"COLUMNNAME\" or \"COLUMNID\".",
         "faultContext=\"WSQLFilter::setObject\"", NULL},
        {sqlsetobject, 0, "TABLE=ART\nCOLUMNNAME=NONE\n", WDB_E_FIELD, NULL,
         "faultSource=\"validation\"\r\n      faultContext=\"WSQLFilter::setObject\"", NULL},
        {sqlsetobject, 0, "TABLE=ART\nCOLUMNNAME=QTY\nRID=1\n", 0,
         "Column \"QTY\" in table \"ART\" is of an incompatible type. Must be LONG VARCHAR or LONG "
         "VARBINARY.",
         "is of an incompatible type.", NULL},
        {sqlsetobject, 0, "TABLE=ART\nCOLUMNNAME=BODY\nRID=0\n", 0,
         "Missing or invalid filter argument: \"RID\".", "\"RID\"", NULL},
    };

    RUN_ALL(calls);
}

/* The object's memory is the host's until the arguments have been accepted: freeing it here must not be the
 * second time. */
static void refusedObjectStaysTheHosts(void) {
    char request[] = "TABLE=ART\nCOLUMNNAME=BODY\n";
    FilterData data;
    char* object = malloc(3);

    if (object == NULL) abort();
    memcpy(object, "abc", 3);
    memset(&data, 0, sizeof data);
    data.text = request;
    data.textLength = (int32_t)strlen(request);
    data.wdb_options = IN_MEMORY;
    data.output = object;
    data.outputLength = 3;
    check(sqlsetobject(&data, NULL) == 0, "no record named", data.message);
    check(data.output != object, "the fault takes the place of the pointer", data.message);
    check(memcmp(object, "abc", 3) == 0, "the object is untouched", NULL);
    free(object);
    free(data.output);
}

/* ---- objects: the three ways in, the two ways out, and who owns what ---- */
#define OBJECT "FETCHKEY=415254-1-0-4\n"
#define SET_OBJECT "TABLE=ART\nCOLUMNNAME=IMAGE\nRID=1\n"
static const char kBytes[] = "\0\1\2 < & \377\r\n"; /* with its NUL */

/* Stores what output stands for; the record comes back as the engine left it. */
static FilterData store(char* output, int32_t length, uint32_t options) {
    static char request[] = SET_OBJECT;
    FilterData data;

    memset(&data, 0, sizeof data);
    data.text = request;
    data.textLength = (int32_t)strlen(SET_OBJECT);
    data.wdb_options = options;
    data.output = output;
    data.outputLength = length;
    check(sqlsetobject(&data, NULL) == data.status, "the return value is the record's status", data.message);
    return data;
}

static void stored(FilterData data, const char* how) {
    check(data.status == 1 && data.wdb_options == IN_MEMORY, how, data.message);
    check(data.output != NULL &&
              strcmp(data.output, XML "<Success>Object successfully stored.</Success>\r\n") == 0,
          how, data.output);
    free(data.output);
}

static void fetches(const char* bytes, int32_t length, const char* how) {
    FilterData data;
    char request[] = OBJECT;

    memset(&data, 0, sizeof data);
    data.text = request;
    data.textLength = (int32_t)sizeof request - 1;
    data.wdb_options = SQLENGINE_IEOPT_MEMORY | 1;
    check(sqlgetobject(&data, NULL) == 1, how, data.message);
    check(data.outputLength == length && data.output != NULL &&
              memcmp(data.output, bytes, (size_t)length) == 0 && data.output[length] == '\0',
          "raw bytes with a NUL behind them", how);
    check(data.textLength == 7 && strcmp(data.text, "STRING\n") == 0, "the type", how);
    free(data.output);
}

static void objects(const char* home) {
    static const Call calls[] = {
        {sqlgetobject, IN_MEMORY, OBJECT, 1, NULL,
         XML "<Object fetchKey=\"415254-1-0-4\" type=\"LONG VARBINARY\" encoding=\"base64\">AAECIDwgJiD/DQoA"
             "</Object>\r\n",
         "STRING\n"},
        {sqlgetobject, IN_MEMORY, "FETCHKEY=415254-1-0-3\n", 1, NULL,
         XML
         "<Object fetchKey=\"415254-1-0-3\" type=\"LONG VARCHAR\"><P>a &lt; b &amp; c\r\n</P></Object>\r\n",
         TEXT_LINE},
        {sqlgetobject, 5, "FETCHKEY=415254-1-0-3\n", 1, NULL, "a < b & c\r\n", TEXT_LINE},
        {sqlgetobject, 37, "FETCHKEY=415254-2-0-3\n", 1, NULL, "", TEXT_LINE},
        {sqlgetobject, 36, "FETCHKEY=no key\n", 0, "Invalid fetch key \"no key\"",
         FAULT("0", "SQLFilter::getObject", "validation", "Invalid fetch key \"no key\""), NULL},
        {execsql, IN_MEMORY, "GET OBJECT = '415254-1-0-4'", 1, "", "AAECIDwgJiD/DQoA", "STRING\n"},
    };
    char name[128], missing[128];
    char bytes[sizeof kBytes];
    char* memory;
    FilterData data;
    FILE* file;

    snprintf(name, sizeof name, "%s/object", home);
    snprintf(missing, sizeof missing, "%s/missing", home);
    file = fopen(name, "w+b");
    if (file == NULL) abort();
    fwrite("stream", 1, 6, file); /* stands at its end: it is read from its start */
    memcpy(bytes, kBytes, sizeof kBytes);

    stored(store(bytes, sizeof kBytes, 32), "memory that stays the host's");
    check(memcmp(bytes, kBytes, sizeof kBytes) == 0, "untouched", NULL);
    fetches(kBytes, sizeof kBytes, "memory that stays the host's");
    memory = malloc(3);
    if (memory == NULL) abort();
    memcpy(memory, "own", 3);
    stored(store(memory, 3, 36), "memory that becomes the engine's"); /* which frees it */
    fetches("own", 3, "memory that becomes the engine's");
    stored(store((char*)file, 0, 2), "an open stream");
    fetches("stream", 6, "an open stream");
    check(fseek(file, 0, SEEK_END) == 0 && fwrite("!", 1, 1, file) == 1 && fflush(file) == 0, "still open",
          NULL);
    stored(store(name, 0, 1), "a file by its name");
    fetches("stream!", 7, "a file by its name");
    stored(store((char*)file, 0, 3), "a stream that the engine closes");
    fetches("stream!", 7, "a stream that the engine closes");
    stored(store(NULL, 5, 36), "no memory is an empty object");
    fetches("", 0, "no memory is an empty object");
    data = store(missing, 0, 1);
    check(data.status == 0 && strncmp(data.message, "Could not open file \"", 21) == 0, "a missing file",
          data.message);
    free(data.output);
    data = store(NULL, 0, 1);
    check(data.status == 0 && strcmp(data.message, "Could not open file \"(null)\" for reading.") == 0,
          "no name", data.message);
    free(data.output);
    data = store(NULL, 0, 2);
    check(data.status == 0 && data.output != NULL, "no stream", data.message);
    free(data.output);
    stored(store(bytes, sizeof kBytes, 0), "no option at all");
    RUN_ALL(calls);
}

/* ---- what holds for every export, whatever is asked of it ---- */
typedef struct Request {
    Export function;
    const char* text;
    int succeeds; /* when the option mask allows it */
} Request;

static int allows(Export function, uint32_t options) {
    if (function == execsql) return (options & 7) != 0;
    if (function == sqlgetobject) return (options & 4) != 0;
    return function != sqlgetencoding || options == IN_MEMORY;
}

static void checkText(const FilterData* data, const char* sent, size_t room) {
    static const char* const kLines[] = {TEXT_LINE, "STRING\n"};
    size_t i;

    if (data->textLength == (int32_t)room && memcmp(data->text, sent, room) == 0) return;
    for (i = 0; i < 2; ++i) {
        if (data->textLength == (int32_t)strlen(kLines[i]) && strcmp(data->text, kLines[i]) == 0) {
            check(strlen(kLines[i]) < room && data->output != NULL, "a type line has room and an answer",
                  sent);
            return;
        }
    }
    check(0, "the request is as it was, or the type line", sent);
}

static void checkOutcome(const Request* request, const FilterData* data, const char* own, uint32_t options) {
    const int raw = (options & 1) != 0 && (request->function == sqlgetobject || request->function == execsql);
    const int wrong = !allows(request->function, options);

    check((data->status % 2 != 0) == (request->succeeds && !wrong), "success is odd", request->text);
    /* sqlgetobject that succeeds says nothing: the host's bytes stay */
    check(memchr(data->message, '\0', sizeof data->message) != NULL ||
              (request->function == sqlgetobject && data->message[0] == 'm'),
          "the message has its NUL", request->text);
    check(data->status % 2 != 0 || data->message[0] != '\0' || request->function == sqlgettabledesc,
          "a failure says why", request->text);
    if (data->output == own) {
        check(data->status % 2 == 0 && data->outputLength == 3, "success has an answer", request->text);
        check(wrong || request->function == sqlgettabledesc, "a failure has a document", request->text);
        return;
    }
    check(
        !wrong && data->output != NULL && data->outputLength >= 0 && data->output[data->outputLength] == '\0',
        "an answer has its NUL", request->text);
    if (data->status % 2 == 0) {
        check(strncmp(data->output, XML "<Fault faultCode=\"", strlen(XML) + 18) == 0, "a Fault",
              data->output);
    } else if (!raw && request->function != sqlgetencoding) {
        check(strncmp(data->output, XML "<", strlen(XML) + 1) == 0, "a document", data->output);
        check(strstr(data->output, "<Fault") == NULL, "success is no Fault", data->output);
        check(strlen(data->output) == (size_t)data->outputLength, "its length", data->output);
    }
}

/* The request in memory of exactly `room` bytes, zeros behind the text. */
static void keepsTheRules(const Request* request, uint32_t options, size_t room) {
    FilterData data;
    char own[] = "own", host[sizeof data.host];
    char* memory = calloc(room > 0 ? room : 1, 1);
    char* sent = calloc(room > 0 ? room : 1, 1);
    const int stores = request->function == sqlsetobject;

    if (memory == NULL || sent == NULL) abort();
    memcpy(memory, request->text, strlen(request->text));
    memcpy(sent, memory, room);
    memset(&data, 0, sizeof data);
    memset(data.message, 'm', sizeof data.message);
    memset(data.host, HOST_BYTE, sizeof data.host);
    memset(host, HOST_BYTE, sizeof host);
    strcpy(data.filterName, "name");
    data.text = memory;
    data.textLength = (int32_t)room;
    data.wdb_options = options;
    data.output = own;
    data.outputLength = 3;
    if (stores) data.wdb_options &= ~7u; /* memory that stays this host's */
    options = data.wdb_options;
    check(request->function(&data, NULL) == data.status, "the return value is the status", request->text);
    check(memcmp(data.host, host, sizeof host) == 0 && strcmp(data.filterName, "name") == 0,
          "the host's own fields", request->text);
    check(strcmp(own, "own") == 0, "the host's own memory", request->text);
    check(data.wdb_options == options ||
              (data.wdb_options == IN_MEMORY && (stores || request->function == sqlgettabledesc ||
                                                 strstr(request->text, "SET OBJECT") != NULL)),
          "the options", request->text);
    checkText(&data, sent, room);
    checkOutcome(request, &data, own, options);
    if (data.output != own) free(data.output);
    free(memory);
    free(sent);
}

static void everyExportKeepsTheRules(void) {
    static const Request requests[] = {
        {execsql, "SELECT * FROM ART", 1},
        {execsql, "SELECT * FROM WDBS.COLUMNS", 1},
        {execsql, "SELECT NOTHING", 0},
        {execsql, "GET OBJECT = '415254-1-0-4'", 1},
        {execsql, "GET OBJECT = '415254-9-0-4'", 0},
        {execsql, "UPDATE ART SET OBJECT (IMAGE, 'data=x') WHERE QTY = 15", 1},
        {execsql, "UPDATE ART SET OBJECT (QTY, 'data=x') WHERE QTY = 15", 0},
        {execsql, "GRANT ALL PRIVILEGES ON NOWHERE TO X", 0},
        {execsql, "", 0},
        {sqlgetencoding, "", 1},
        {sqlgetencoding, "what this is does not count", 1},
        {sqlgettabledesc, "TABLENAME=ART\n", 1},
        {sqlgettabledesc, "tablename=none\n", 1}, /* a table without columns */
        {sqlgettabledesc, "TABLENAME=\"\n", 1},
        {sqlgettabledesc, "TABLENAME=\"'`\n", 0},
        {sqlgettabledesc, "TABLENAME", 0},
        {sqlgetobject, OBJECT, 1},
        {sqlgetobject, "FETCHKEY=415254-1-0-3\n", 1},
        {sqlgetobject, "FETCHKEY=415254-1-0-2\n", 0},
        {sqlgetobject, "FETCHKEY=415254-0-0-4\n", 0},
        {sqlgetobject, "FETCHKEY=415254-1-0-999\n", 0},
        {sqlgetobject, "FETCHKEY=-\n", 0},
        {sqlgetobject, "", 0},
        {sqlsetobject, SET_OBJECT, 1},
        {sqlsetobject, "TABLE=ART\nCOLUMNID=3\nRID=2\n", 1},
        {sqlsetobject, "TABLE=ART\nCOLUMNID=2\nRID=2\n", 0},
        {sqlsetobject, "TABLE=ART\nCOLUMNNAME=IMAGE\nRID=two\n", 0},
        {sqlsetobject, "RID=1\n", 0},
    };
    static const uint32_t kOptions[] = {IN_MEMORY, 37, 4, 5, 1, 0, 32, 8};
    size_t i, k;

    for (i = 0; i < sizeof requests / sizeof requests[0]; ++i) {
        for (k = 0; k < sizeof kOptions / sizeof kOptions[0]; ++k) {
            const size_t length = strlen(requests[i].text);
            keepsTheRules(&requests[i], kOptions[k], length);
            keepsTheRules(&requests[i], kOptions[k], length + 1);
            keepsTheRules(&requests[i], kOptions[k], length + 64);
        }
    }
}

static void nothingStaysBehind(void) {
    WdbLiveCounts counts;

    memset(&counts, 0, sizeof counts);
    check(WdbLiveHandles(&counts) == WDB_OK, "WdbLiveHandles", NULL);
    check(counts.controls == 0 && counts.cursors == 0 && counts.rowBuffers == 0 && counts.ruleLists == 0 &&
              counts.savedStatuses == 0,
          "nothing of a statement stays behind", NULL);
}

int main(void) {
    char home[] = "/tmp/welk_capi_XXXXXX";
    char command[64];
    WdbSession* session = NULL;

    unsetenv("WELKSQL_LOG"); /* what the caller's environment says is not what is tested here */
    unsetenv("SQL_SELECTTEXT");
    unsetenv("SQL_LAZYINDEX");
    invocations();
    if (mkdtemp(home) == NULL) return 2;
    check(WdbOpenSession(home, "ADMIN", "", WDB_OPEN_CREATE, &session) == WDB_OK, "WdbOpenSession", home);
    check(WdbBindSession(session) == WDB_OK, "WdbBindSession", NULL);
    if (failures == 0) {
        invocations();
        properties();
        statements();
        refusedObjectStaysTheHosts();
        objects(home);
        everyExportKeepsTheRules();
        nothingStaysBehind();
    }
    WdbBindSession(NULL);
    check(WdbCloseSession(&session) == WDB_OK, "WdbCloseSession", NULL);
    snprintf(command, sizeof command, "rm -rf %s", home);
    if (system(command) != 0) return 2;
    if (failures == 0) puts("ok");
    return failures == 0 ? 0 : 1;
}
