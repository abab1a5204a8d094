/* Many threads with several sessions each, every export mixed; then many statements one after another while
 * the process's memory and descriptors are watched. Usage: load_host [seconds [statements]]. Run under TSan
 * with 30 seconds. */
#define _GNU_SOURCE /* mallinfo2, mkdtemp, setenv */

#include <dirent.h>
#include <malloc.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "sqlengine.h"
#include "wdb.h"

#define THREADS 16
#define SESSIONS 4 /* of each thread, used in turn */
#define WARM_UP 5000
#define HEAP_SLACK (64 * 1024) /* bytes that the C library and the kernel's caches may shift */

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define OWN_HEAP 0 /* the sanitizer's allocator, which mallinfo2 does not see */
#else
#define OWN_HEAP 1
#endif

typedef int32_t (*Export)(FilterData*, void*);

typedef struct Worker {
    const char* home;
    double until; /* monotonic seconds */
    int number;
    long calls, failures;
} Worker;

static double now(void) {
    struct timespec time;

    clock_gettime(CLOCK_MONOTONIC, &time);
    return (double)time.tv_sec + (double)time.tv_nsec * 1e-9;
}

static void fail(Worker* worker, const char* what, const char* request, const FilterData* data) {
    ++worker->failures;
    fprintf(stderr, "thread %d: %s: %s: status %d, %s\n", worker->number, what, request, (int)data->status,
            data->output != NULL ? data->output : data->message);
}

/* One call. wanted is the status, or -1 for any; piece must stand in the document, unless it is NULL. */
static void call(Worker* worker, Export function, const char* request, int32_t wanted, const char* piece) {
    FilterData data;
    char text[256];

    memset(&data, 0, sizeof data);
    memset(text, 0, sizeof text);
    strncpy(text, request, sizeof text - 1);
    data.text = text;
    data.textLength = (int32_t)sizeof text;
    data.wdb_options = SQLENGINE_EXPORT_ALLOC | SQLENGINE_IEOPT_MEMORY;
    ++worker->calls;
    if (function(&data, NULL) != data.status) fail(worker, "return value", request, &data);
    if (wanted >= 0 && data.status != wanted) fail(worker, "status", request, &data);
    if (data.output != NULL) {
        if (strlen(data.output) != (size_t)data.outputLength) fail(worker, "length", request, &data);
        if ((strstr(data.output, "<Fault ") == NULL) != (data.status % 2 != 0))
            fail(worker, "outcome", request, &data);
        if (piece != NULL && strstr(data.output, piece) == NULL) fail(worker, "document", request, &data);
    } else if (piece != NULL) {
        fail(worker, "no document", request, &data);
    }
    free(data.output);
}

/* What a session of that number says to reading statements; nothing here makes a base grow. */
static void readingMix(Worker* worker, int session, long round) {
    char request[256];

    snprintf(request, sizeof request, "SET PROPERTY lazyindex = %s", session % 2 == 0 ? "TRUE" : "FALSE");
    call(worker, execsql, request, 1, NULL);
    call(worker, execsql, "COMMIT", 1, "<Success/>");
    snprintf(request, sizeof request, "SELECT TITLE FROM ART WHERE QTY = %ld", round % 20);
    call(worker, execsql, request, 1, "<ResultSet");
    call(worker, execsql, "SELECT TITLE, BODY FROM ART WHERE BODY = 'word' AND QTY > 3 ORDER BY TITLE", 1,
         "title 7");
    call(worker, sqlgetencoding, "", 1, "UTF-8");
    call(worker, sqlgetobject, "FETCHKEY=415254-1-0-3\n", -1, NULL);
    call(worker, sqlgetobject, "FETCHKEY=none", 0, "Missing filter argument");
    call(worker, sqlsetobject, "TABLE=ART\nCOLUMNNAME=QTY\nRID=1\n", 0, "incompatible type");
    call(worker, sqlsetobject, "TABLE=NONE\nCOLUMNNAME=QTY\nRID=1\n", 2 * WDB_E_BASE, "does not exist");
    call(worker, sqlgettabledesc, "TABLENAME=ART\n", -1, NULL);
    call(worker, execsql, "SELECT ) FROM", 0, "syntax error");
    call(worker, execsql, "SELECT NOTHING FROM ART", 2 * WDB_E_FIELD, "Could not find column");
    call(worker, execsql, "GET PROPERTY lazyindex", 1, session % 2 == 0 ? ">true<" : ">false<");
}
#define MIX_CALLS 13

static void writeSome(Worker* worker, long round) {
    char request[256];

    snprintf(request, sizeof request, "INSERT INTO T%d (A, B) VALUES (%ld, 'text of %ld')", worker->number,
             round, round);
    call(worker, execsql, request, 1, "<P>1</P>");
    snprintf(request, sizeof request, "SELECT B FROM T%d WHERE A = %ld", worker->number, round);
    snprintf(request + 200, 50, "text of %ld", round);
    call(worker, execsql, request, 1, request + 200);
}

static void* work(void* context) {
    Worker* worker = context;
    WdbSession* sessions[SESSIONS] = {NULL};
    char request[256];
    int k;
    long round;

    for (k = 0; k < SESSIONS; ++k) {
        if (WdbOpenSession(worker->home, "ADMIN", "", 0, &sessions[k]) != WDB_OK) ++worker->failures;
    }
    WdbBindSession(sessions[0]);
    snprintf(request, sizeof request, "CREATE TABLE T%d (A INTEGER, B VARCHAR)", worker->number);
    call(worker, execsql, request, 1, "successfully created");
    if (worker->number == 0) call(worker, execsql, "SET PROPERTY loglevel = 4", 1, NULL);
    for (round = 0; now() < worker->until && worker->failures == 0; ++round) {
        k = (int)(round % SESSIONS);
        if (WdbBindSession(sessions[k]) != WDB_OK) ++worker->failures;
        readingMix(worker, k, round);
        if (round % 16 == worker->number) writeSome(worker, round);
    }
    WdbBindSession(NULL);
    for (k = 0; k < SESSIONS; ++k) {
        if (WdbCloseSession(&sessions[k]) != WDB_OK) ++worker->failures;
    }
    return NULL;
}

static long descriptors(void) {
    long count = 0;
    DIR* directory = opendir("/proc/self/fd");

    if (directory == NULL) return -1;
    while (readdir(directory) != NULL) ++count;
    closedir(directory);
    return count;
}

static void prepare(Worker* worker) {
    char request[256];
    int i;

    call(worker, execsql, "CREATE TABLE ART (TITLE VARCHAR PRIMARY KEY, QTY INTEGER, BODY LONG VARCHAR)", 1,
         NULL);
    for (i = 0; i < 20; ++i) {
        snprintf(request, sizeof request,
                 "INSERT INTO ART (TITLE, QTY, BODY) VALUES ('title %d', %d, 'a word & %d')", i, i, i);
        call(worker, execsql, request, 1, "<P>1</P>");
    }
}

/* Runs the mix in one session; the heap in use and the open descriptors are the same before and after. */
static void watchGrowth(Worker* worker, long statements) {
    long i, filesBefore;
    size_t heapBefore, heapAfter;

    for (i = 0; i < WARM_UP / MIX_CALLS; ++i) readingMix(worker, (int)(i % 2), i);
    filesBefore = descriptors();
    heapBefore = mallinfo2().uordblks;
    for (i = 0; i < statements / MIX_CALLS && worker->failures == 0; ++i) readingMix(worker, (int)(i % 2), i);
    heapAfter = mallinfo2().uordblks;
    printf("%ld statements: heap %zu -> %zu bytes, descriptors %ld -> %ld\n", statements, heapBefore,
           heapAfter, filesBefore, descriptors());
    if (filesBefore < 0 || descriptors() != filesBefore) {
        ++worker->failures;
        fputs("descriptors have grown\n", stderr);
    }
    if (OWN_HEAP && heapAfter > heapBefore + HEAP_SLACK) {
        ++worker->failures;
        fputs("memory has grown\n", stderr);
    }
}

int main(int argc, char** argv) {
    const double seconds = argc > 1 ? atof(argv[1]) : 3;
    const long statements = argc > 2 ? atol(argv[2]) : 50000;
    char home[] = "/tmp/welk_load_XXXXXX";
    char command[64];
    WdbSession* session = NULL;
    Worker first = {0}, workers[THREADS];
    pthread_t threads[THREADS];
    long calls = 0;
    int i;

    if (mkdtemp(home) == NULL) return 2;
    setenv("WDBS_LOG", home, 1);
    unsetenv("WELKSQL_LOG");
    if (WdbOpenSession(home, "ADMIN", "", WDB_OPEN_CREATE, &session) != WDB_OK) return 2;
    WdbBindSession(session);
    prepare(&first);
    watchGrowth(&first, statements);
    for (i = 0; i < THREADS; ++i) {
        workers[i] = (Worker){home, now() + seconds, i, 0, 0};
        if (pthread_create(&threads[i], NULL, work, &workers[i]) != 0) return 2;
    }
    for (i = 0; i < THREADS; ++i) {
        pthread_join(threads[i], NULL);
        calls += workers[i].calls;
        first.failures += workers[i].failures;
    }
    printf("%d threads with %d sessions each: %ld calls in %.0f seconds\n", THREADS, SESSIONS, calls,
           seconds);
    WdbBindSession(NULL);
    if (WdbCloseSession(&session) != WDB_OK) ++first.failures;
    snprintf(command, sizeof command, "rm -rf %s", home);
    if (system(command) != 0) return 2;
    if (first.failures == 0) puts("ok");
    return first.failures == 0 ? 0 : 1;
}
