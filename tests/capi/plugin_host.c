/* A host that loads the engine when a thread needs it and lets go of it before the thread ends: what the
 * engine keeps for each thread must outlive that. Usage: plugin_host LIBRARY */
#define _GNU_SOURCE /* mkdtemp, setenv */

#include <dlfcn.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include "sqlengine.h"

typedef int32_t (*Export)(FilterData*, void*);

static int commit(Export execute) {
    FilterData data;
    char text[16] = "COMMIT";
    int done;

    memset(&data, 0, sizeof data);
    data.text = text;
    data.textLength = (int32_t)sizeof text;
    data.wdb_options = SQLENGINE_EXPORT_ALLOC | SQLENGINE_IEOPT_MEMORY;
    done = execute(&data, NULL) == 1 && data.output != NULL && strcmp(text, "TEXT\nUTF-8") == 0;
    free(data.output);
    return done;
}

static void* loadCallAndLetGo(void* library) {
    static const char* const names[] = {"execsql", "sqlgetencoding", "sqlgetobject", "sqlsetobject",
                                        "sqlgettabledesc"};
    void* handle = dlopen(library, RTLD_NOW | RTLD_LOCAL);
    Export execute = NULL;
    void* symbol;
    size_t i;

    if (handle == NULL) return dlerror();
    for (i = 0; i < sizeof names / sizeof names[0]; ++i) {
        if (dlsym(handle, names[i]) == NULL) return dlerror();
    }
    symbol = dlsym(handle, "execsql");
    memcpy(&execute, &symbol, sizeof symbol); /* a function's address by way of an object's */
    if (!commit(execute)) return "the statement failed";
    if (dlclose(handle) != 0) return dlerror();
    return NULL;
}

int main(int argc, char** argv) {
    char home[] = "/tmp/welk_plugin_XXXXXX";
    char path[256];
    FILE* file;
    int i, failures = 0;

    if (argc != 2 || mkdtemp(home) == NULL) return 2;
    /* With a log to open, each thread reads the lines of the settings file and keeps them. */
    snprintf(path, sizeof path, "%s/conf", home);
    mkdir(path, 0700);
    snprintf(path, sizeof path, "%s/conf/wdbs.conf", home);
    file = fopen(path, "w");
    if (file == NULL) return 2;
    fprintf(file, "WDBS_LOG=%s # here\n", home);
    fclose(file);
    unsetenv("WDBS_LOG");
    setenv("WDBS_HOME", home, 1);
    setenv("WELKSQL_LOG", "4", 1);
    for (i = 0; i < 8; ++i) {
        pthread_t thread;
        void* fault = NULL;

        if (pthread_create(&thread, NULL, loadCallAndLetGo, argv[1]) != 0) return 2;
        pthread_join(thread, &fault);
        if (fault != NULL) {
            ++failures;
            fprintf(stderr, "FAILED: %s\n", (const char*)fault);
        }
    }
    snprintf(path, sizeof path, "test -n \"$(ls %s/sqlfilter_*.log)\" && rm -rf %s", home, home);
    if (system(path) != 0) ++failures;
    if (failures == 0) puts("ok");
    return failures == 0 ? 0 : 1;
}
