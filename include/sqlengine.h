/* sqlengine.h - the SQL engine's C ABI. Library: libsqlengine.so. Language: C11 / C++20.
 *
 * One request, one record, one call: the host fills a FilterData, calls an export, reads the answer from the
 * same record and releases it. Nothing of a request is kept between calls.
 *
 * Conventions
 *   1. Session. Every call works in the kernel session that is bound to the calling thread (see
 *      WdbBindSession in wdb.h).
 *   2. Status. The return value is the record's status on return. Odd is success (1), even is failure:
 *        0          a fault of the engine itself, described by a Fault document
 *        code * 2   a fault with an engine or kernel code
 *        other      a kernel code as it is (see WDB_E_... in wdb.h)
 *        8866       bad invocation: null record, or an option mask that the export cannot serve; no document
 *   3. Answer. output points to a UTF-8 document of outputLength bytes with a NUL behind it, on the C
 *      library's heap. It is the host's from then on: release it with free(). A call that gives no answer
 *      leaves output and outputLength as the host set them; hosts clear them before each call. sqlsetobject
 *      reads them first (see there).
 *   4. Documents. ResultSet, Success, Fault, property and Object documents, all with an XML declaration.
 *      Names, labels and values of a ResultSet are escaped. The texts inside Success, Fault and property
 *      documents are not: decide by status and message, never by parsing a Fault.
 *   5. Message. A NUL-terminated text of at most 255 bytes for people: the fault's text when it is that
 *      short, else "Fault in SQL processing."; empty after most successes.
 *   6. Request text. Writable memory of textLength bytes (not const: the content-type line comes back in
 *      it). The engine never reads beyond textLength nor beyond the first NUL; a null pointer or a length
 *      below 1 is an empty request.
 *   7. Content-type line. When an answer was produced and textLength is greater than 10, execsql,
 *      sqlgetobject and sqlgettabledesc put "TEXT\nUTF-8" with its NUL into the request text and set
 *      textLength to 10. For a binary object it is "STRING\n", where textLength is greater than 7. The text
 *      is left alone by a statement that does not parse, a bad argument and a bad invocation.
 *   8. Threads. Different records may be used by different threads at once, one record by one thread at a
 *      time. No C++ exception leaves the library, and it does not touch the process's locale, signals or
 *      standard streams.
 *   9. Environment. Some settings are looked up in the process environment; a host must not call setenv
 *      meanwhile.
 */
#ifndef SQLENGINE_H
#define SQLENGINE_H

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define SQLENGINE_API __attribute__((visibility("default")))
#else
#define SQLENGINE_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- bits of wdb_options ----
 * Hosts pass SQLENGINE_EXPORT_ALLOC | SQLENGINE_IEOPT_MEMORY, 36: the answer comes in memory that the engine
 * allocates. */
#define SQLENGINE_IEOPT_RAW 1u     /* objects raw, not in a document; sqlsetobject: output is a file name */
#define SQLENGINE_IEOPT_FILE 2u    /* sqlsetobject: output is an open FILE of the same C library */
#define SQLENGINE_IEOPT_MEMORY 4u  /* answer in memory; sqlsetobject: the engine frees the object's memory */
#define SQLENGINE_EXPORT_ALLOC 32u /* the engine allocates the answer */

#define SQLENGINE_BAD_INVOCATION 8866

/* ---- the request and its answer: 392 bytes ---- */
typedef struct FilterData {
    char host[24];        /* the host's own, never touched */
    char filterName[64];  /* in: name of the operation, NUL-terminated; not read by the exports */
    char* output;         /* out: the answer, released by the host with free() */
    int32_t outputLength; /* out: bytes of the answer without the NUL */
    int32_t pad1;
    char* text;         /* in/out: the request, writable memory of textLength bytes */
    int32_t textLength; /* in/out: bytes of the request; 10 or 7 after a content-type line was written */
    int32_t pad2;
    uint32_t wdb_options; /* in: SQLENGINE_... bits; sqlgettabledesc and sqlsetobject set 36 */
    int32_t pad3;
    int32_t status;    /* out: also the return value */
    char message[256]; /* out: NUL-terminated */
    int32_t pad4;
} FilterData;

/* ---- exports: data is the record, reserved is ignored ---- */

/* Runs one SQL statement. text: the statement, without ";". wdb_options: at least one of the bits 1, 2, 4.
 * Answers a ResultSet, a row count, a property, an Object, Success, or a Fault. */
SQLENGINE_API int32_t execsql(FilterData* data, void* reserved);

/* Tells the encoding of all answers: "UTF-8", length 5, status 1. wdb_options must be exactly 36; otherwise
 * status 0, a message and no document. text is not looked at. */
SQLENGINE_API int32_t sqlgetencoding(FilterData* data, void* reserved);

/* The three exports below take arguments instead of SQL: lines "NAME=value", each ended by a line feed (text
 * behind the last one does not count), names in any letter case, the first of equal names counts. Numbers are
 * decimal. */

/* Fetches one large object. FETCHKEY: the key that a ResultSet gave for it. wdb_options: the bit of value 4;
 * with value 1 the answer is the bare bytes. */
SQLENGINE_API int32_t sqlgetobject(FilterData* data, void* reserved);

/* Stores one large object. TABLE; COLUMNNAME, or else COLUMNID; RID, 1 or more; PART, 1 or more for fields of
 * part records. wdb_options: any. The object is where output points:
 *   value 2         a FILE open for reading
 *   else value 1    a NUL-terminated file name
 *   else            outputLength bytes of memory; null or a length below 1 is an empty object
 * Until the arguments have been accepted the memory stays the host's, although a Fault document overwrites
 * the pointer: keep a copy. From then on it is the engine's: released with free() when value 4 is set, only
 * forgotten otherwise. Answers Success and sets wdb_options to 36. */
SQLENGINE_API int32_t sqlsetobject(FilterData* data, void* reserved);

/* Describes a table as the selection of its rows in WDBS.COLUMNS does. TABLENAME. Sets wdb_options to 36.
 * When that selection fails only its status is given, without a document. */
SQLENGINE_API int32_t sqlgettabledesc(FilterData* data, void* reserved);

#ifdef __cplusplus
}
#define SQLENGINE_LAYOUT(field, at) static_assert(offsetof(FilterData, field) == (at), "FilterData." #field)
static_assert(sizeof(FilterData) == 392, "FilterData");
#else
#define SQLENGINE_LAYOUT(field, at) _Static_assert(offsetof(FilterData, field) == (at), "FilterData." #field)
_Static_assert(sizeof(FilterData) == 392, "FilterData");
#endif

SQLENGINE_LAYOUT(host, 0);
SQLENGINE_LAYOUT(filterName, 24);
SQLENGINE_LAYOUT(output, 88);
SQLENGINE_LAYOUT(outputLength, 96);
SQLENGINE_LAYOUT(pad1, 100);
SQLENGINE_LAYOUT(text, 104);
SQLENGINE_LAYOUT(textLength, 112);
SQLENGINE_LAYOUT(pad2, 116);
SQLENGINE_LAYOUT(wdb_options, 120);
SQLENGINE_LAYOUT(pad3, 124);
SQLENGINE_LAYOUT(status, 128);
SQLENGINE_LAYOUT(message, 132);
SQLENGINE_LAYOUT(pad4, 388);
#undef SQLENGINE_LAYOUT

#endif /* SQLENGINE_H */
