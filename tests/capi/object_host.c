/* A host that moves one large object in and out in every way, and many small ones, and looks at the memory
 * that this takes: object_host MEGABYTES SMALL. Anonymous memory is sampled by a thread while the calls run.
 */
#define _POSIX_C_SOURCE 200809L /* mkdtemp, nanosleep */

#include <pthread.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include "sqlengine.h"
#include "wdb.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define OWN_MEMORY 0 /* a sanitizer keeps what was freed for a while */
#else
#define OWN_MEMORY 1
#endif

static int failures;
static atomic_long peak; /* KiB */
static atomic_int stopped;

static void check(int holds, const char* what, const char* detail) {
    if (holds) return;
    ++failures;
    fprintf(stderr, "FAILED: %s: %s\n", what, detail != NULL ? detail : "");
}

static double seconds(void) {
    struct timespec now;

    clock_gettime(CLOCK_MONOTONIC, &now);
    return (double)now.tv_sec + (double)now.tv_nsec / 1e9;
}

/* Anonymous memory of the process in KiB. */
static long anonymous(void) {
    char line[128];
    long result = 0;
    FILE* status = fopen("/proc/self/status", "r");

    if (status == NULL) abort();
    while (fgets(line, sizeof line, status) != NULL) {
        if (strncmp(line, "RssAnon:", 8) == 0) result = strtol(line + 8, NULL, 10);
    }
    fclose(status);
    return result;
}

static void* sample(void* unused) {
    const struct timespec pause = {0, 500000};

    while (!atomic_load(&stopped)) {
        const long now = anonymous();
        if (now > atomic_load(&peak)) atomic_store(&peak, now);
        nanosleep(&pause, NULL);
    }
    return unused;
}

static int32_t call(int32_t (*function)(FilterData*, void*), const char* text, FilterData* data) {
    static char request[256];

    snprintf(request, sizeof request, "%s", text);
    data->text = request;
    data->textLength = (int32_t)strlen(request);
    return function(data, NULL);
}

static void sql(const char* text) {
    FilterData data;

    memset(&data, 0, sizeof data);
    data.wdb_options = 36;
    check(call(execsql, text, &data) == 1, text, data.message);
    free(data.output);
}

static void put(const char* request, char* output, int32_t length, uint32_t options) {
    FilterData data;

    memset(&data, 0, sizeof data);
    data.output = output;
    data.outputLength = length;
    data.wdb_options = options;
    check(call(sqlsetobject, request, &data) == 1, request, data.message);
    free(data.output);
}

static FilterData fetched(const char* request, uint32_t options) {
    FilterData data;

    memset(&data, 0, sizeof data);
    data.wdb_options = options;
    check(call(sqlgetobject, request, &data) == 1, request, data.message);
    return data;
}

/* Bytes that no block repeats. */
static void fill(char* bytes, size_t size) {
    uint64_t state = 88172645463325252u;
    size_t i;

    for (i = 0; i < size; ++i) {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        bytes[i] = (char)state;
    }
}

static int base64Is(const char* text, const unsigned char* bytes, size_t size) {
    static const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    size_t i;

    for (i = 0; i + 3 <= size; i += 3, text += 4) {
        const uint32_t group = (uint32_t)bytes[i] << 16 | (uint32_t)bytes[i + 1] << 8 | bytes[i + 2];
        if (text[0] != kAlphabet[group >> 18] || text[1] != kAlphabet[group >> 12 & 63] ||
            text[2] != kAlphabet[group >> 6 & 63] || text[3] != kAlphabet[group & 63])
            return 0;
    }
    return 1;
}

static void within(const char* what, long base, size_t size, double factor, double start) {
    const double used = (double)(atomic_load(&peak) - base) * 1024 / (double)size;

    printf("%-28s %6.2f s  %5.2f times its size\n", what, seconds() - start, used);
    check(!OWN_MEMORY || used < factor, "memory", what);
}

static void large(const char* home, size_t size) {
    static const char kPut[] = "TABLE=D\nCOLUMNNAME=B\nRID=1\n", kGet[] = "FETCHKEY=44-1-0-2\n";
    char* bytes = malloc(size);
    char name[128];
    FILE* file;
    FilterData data;
    long base;
    double start;
    int way;

    if (bytes == NULL) abort();
    fill(bytes, size);
    base = anonymous(); /* with the host's own buffer, without what the engine and the kernel take */
    snprintf(name, sizeof name, "%s/object", home);
    file = fopen(name, "w+b");
    if (file == NULL || fwrite(bytes, 1, size, file) != size) abort();
    fflush(file);
    for (way = 0; way < 3; ++way) {
        static const char* const kWays[] = {"in from memory", "in from an open file", "in from a file"};
        atomic_store(&peak, 0);
        start = seconds();
        if (way == 0) put(kPut, bytes, (int32_t)size, 32);
        if (way == 1) put(kPut, (char*)file, 0, 2);
        if (way == 2) put(kPut, name, 0, 1);
        within(kWays[way], base, size, 1.5, start);
        atomic_store(&peak, 0);
        start = seconds();
        data = fetched(kGet, 37);
        within("out raw", base, size, 1.5, start);
        check((size_t)data.outputLength == size && memcmp(data.output, bytes, size) == 0, "bytes",
              kWays[way]);
        free(data.output);
        bytes[size / 2] ^= 1; /* the next one differs */
        if (fseek(file, (long)(size / 2), SEEK_SET) != 0 || fwrite(bytes + size / 2, 1, 1, file) != 1)
            abort();
        fflush(file);
    }
    bytes[size / 2] ^= 1;
    atomic_store(&peak, 0);
    start = seconds();
    data = fetched(kGet, 36);
    within("out in a document", base, size, 2.5, start);
    {
        const char* content = strstr(data.output, "base64\">");
        check(content != NULL && base64Is(content + 8, (const unsigned char*)bytes, size), "base64", NULL);
    }
    free(data.output);
    fclose(file);
    free(bytes);
}

/* Says how long count objects took. The bound counts for the long form: few are soon done. */
static void took(const char* what, int count, double start) {
    const double time = seconds() - start;

    printf("%d small ones %-24s %.2f s\n", count, what, time);
    check(!OWN_MEMORY || count < 10000 || time <= 5, "time", what);
}

/* Each object by a call of its own, and all of them by one statement. */
static void small(const char* home, int count) {
    char request[192], content[32], key[48], name[128];
    FilterData data;
    FILE* file;
    double start;
    int i;

    for (i = 0; i < count; ++i) sql("INSERT INTO D (N) VALUES (1)");
    start = seconds();
    for (i = 0; i < count; ++i) {
        const int length = snprintf(content, sizeof content, "object %d", i);
        snprintf(request, sizeof request, "TABLE=D\nCOLUMNNAME=B\nRID=%d\n", i + 1);
        put(request, content, length, 32);
    }
    took("in, a call each", count, start);
    start = seconds();
    for (i = 0; i < count; ++i) {
        snprintf(content, sizeof content, "object %d", i);
        snprintf(key, sizeof key, "FETCHKEY=44-%d-0-2\n", i + 1);
        data = fetched(key, 37);
        check(data.output != NULL && strcmp(data.output, content) == 0, key, data.output);
        free(data.output);
    }
    took("out, a call each", count, start);
    snprintf(name, sizeof name, "%s/object", home);
    file = fopen(name, "wb");
    if (file == NULL || fwrite("of a file", 1, 9, file) != 9 || fclose(file) != 0) abort();
    snprintf(request, sizeof request, "UPDATE D SET OBJECT (B, 'file=%s') WHERE N = 1", name);
    start = seconds();
    sql(request);
    took("in by one statement", count, start);
    data = fetched(key, 37);
    check(data.output != NULL && strcmp(data.output, "of a file") == 0, key, data.output);
    free(data.output);
}

/* A data directory made below place; home is its name afterwards. */
static WdbSession* begin(const char* place, char* home, size_t size) {
    WdbSession* session = NULL;

    snprintf(home, size, "%s/welk_object_XXXXXX", place);
    if (mkdtemp(home) == NULL) {
        check(0, "mkdtemp", home);
        return NULL;
    }
    check(WdbOpenSession(home, "ADMIN", "", WDB_OPEN_CREATE, &session) == WDB_OK, "WdbOpenSession", home);
    check(WdbBindSession(session) == WDB_OK, "WdbBindSession", NULL);
    sql("CREATE TABLE D (N INTEGER, B LONG VARBINARY)");
    return session;
}

static void end(WdbSession* session, const char* home) {
    char command[64];

    WdbBindSession(NULL);
    WdbCloseSession(&session);
    snprintf(command, sizeof command, "rm -rf %s", home);
    check(system(command) == 0, "removing", home);
}

int main(int argumentCount, char** arguments) {
    char home[48];
    WdbSession* session;
    pthread_t sampler;

    if (argumentCount != 3 || pthread_create(&sampler, NULL, sample, NULL) != 0) return 2;
    session = begin("/tmp", home, sizeof home);
    if (session != NULL) {
        sql("INSERT INTO D (N) VALUES (1)");
        large(home, (size_t)strtol(arguments[1], NULL, 10) << 20);
        end(session, home);
    }
    /* In memory where the system has that: the time is that of the engine, without the disk's for each sync.
     */
    session = begin(access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp", home, sizeof home);
    if (session != NULL) {
        small(home, (int)strtol(arguments[2], NULL, 10));
        end(session, home);
    }
    atomic_store(&stopped, 1);
    pthread_join(sampler, NULL);
    if (failures == 0) puts("ok");
    return failures == 0 ? 0 : 1;
}
