/* sqlengine.h - the SQL engine's C ABI. Library: libsqlengine.so. Language: C11 / C++20. */
#ifndef SQLENGINE_H
#define SQLENGINE_H

#include <stdint.h>

#if defined(__GNUC__)
#define SQLENGINE_API __attribute__((visibility("default")))
#else
#define SQLENGINE_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef struct FilterData {
    char     host[24];       /* the host's own, never touched */
    char     filterName[64];
    char    *output;         /* out: the answer, released by the host with free() */
    int32_t  outputLength;   /* out: bytes without the NUL */
    int32_t  pad1;
    char    *text;           /* in/out: writable memory of textLength bytes */
    int32_t  textLength;
    int32_t  pad2;
    uint32_t wdb_options;
    int32_t  pad3;
    int32_t  status;         /* out: also the return value */
    char     message[256];   /* out */
    int32_t  pad4;
} FilterData;

SQLENGINE_API int32_t execsql(FilterData *data, void *reserved);
SQLENGINE_API int32_t sqlgetencoding(FilterData *data, void *reserved);
SQLENGINE_API int32_t sqlgetobject(FilterData *data, void *reserved);
SQLENGINE_API int32_t sqlsetobject(FilterData *data, void *reserved);
SQLENGINE_API int32_t sqlgettabledesc(FilterData *data, void *reserved);

#ifdef __cplusplus
}
#endif

#endif /* SQLENGINE_H */
