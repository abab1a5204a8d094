/* Calls of the kernel that answer at once what takes many calls of wdb.h, for hosts that run many small
 * statements. Conventions are those of wdb.h. To a session whose host traces the calls or has one fail they
 * answer WDB_E_UNSUPPORTED, so that the calls that are watched are made. */
#ifndef WDB_BULK_H
#define WDB_BULK_H

#include "wdb.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct WdbFieldEntry {
    char name[WDB_FIELD_NAME_SIZE];
    int32_t number;
    int32_t type;   /* WDB_T_... */
    uint32_t flags; /* WDB_F_... */
    int32_t key;    /* 1: the unique key of the base */
} WdbFieldEntry;

/* All fields of a base, by number. *count: entries of the array on entry, fields of the base on return;
 * WDB_E_BUFFER when they do not fit, and none is given then. Errors: those of WdbSetBase for reading. */
WDB_API int32_t WdbBaseFields(const char* baseName, WdbFieldEntry* fields, int32_t* count);

/* *behind is 1 when a record was changed after the base's index was brought up to date, else 0: what the two
 * dates of WdbBaseStatus tell. Errors: those of WdbBaseStatus. */
WDB_API int32_t WdbIndexBehind(const char* baseName, int32_t* behind);

/* Which text of the session a WdbSessionText asks for. */
enum {
    WDB_ST_VERSION = 0, /* as WdbVersion gives it */
    WDB_ST_SETTING = 1, /* as QueryRCS gives it, from all levels */
    WDB_ST_SYMBOL = 2   /* as WdbShellSymbol gives it, without blanks behind it */
};
#define WDB_ST_MOST 8 /* texts of one call */

typedef struct WdbSessionText {
    const char* name; /* of the setting or the symbol; not looked at for the version */
    char* text;       /* room for the text */
    int32_t length;   /* bytes of the room on entry, the text's length without the NUL on return */
    int32_t kind;     /* WDB_ST_... */
    int32_t status; /* on return: WDB_OK, WDB_FAIL when there is no such setting or symbol; WDB_E_BUFFER with
                     * the room that is needed in length, WDB_E_ARGUMENT for a text or kind that cannot be */
} WdbSessionText;

/* Several texts of the session at once, 1 to WDB_ST_MOST. Each has a status of its own; text and length are
 * as they were unless that is WDB_OK or WDB_E_BUFFER. The call's own: WDB_E_ARGUMENT, and WDB_E_UNSUPPORTED
 * in a session whose calls are watched; nothing was asked then. */
WDB_API int32_t WdbSessionTexts(WdbSessionText* texts, int32_t count);

/* What the command DEF FIN MIN=0 does. */
WDB_API int32_t WdbAllowNoHits(void);

/* What the command BAS does with one base, when its index is up to date: *behind is 0 then. Otherwise *behind
 * is 1 and nothing is done. Errors: those of the command. */
WDB_API int32_t WdbOpenIndexed(const char* baseName, int32_t* behind);

/* Rows of a set from rowIndex on in one piece of memory: at most *rowCount on entry, as many as it gives on
 * return. *descriptors is the first row's descriptor and *items the first row's data, each as WdbGetRows
 * gives them; those of the next rows follow (a descriptor's second word is its number of words, the data of a
 * row ends with its last zero byte). It ends before a row that cannot be given and when the data grow large.
 * Give it back with WdbDeallocate(*descriptors); *items lies in the same piece. Errors: those of WdbGetRows
 * for the first row, with *rowCount 0; WDB_E_UNSUPPORTED also in another character set than UTF-8. */
WDB_API int32_t WdbGetRowBlock(int32_t setNumber, int32_t rowIndex, int32_t* rowCount, char** items,
                               uint32_t** descriptors);

#ifdef __cplusplus
}
static_assert(sizeof(WdbFieldEntry) == 80, "field entry");
static_assert(sizeof(WdbSessionText) == 32, "session text");
#endif

#endif /* WDB_BULK_H */
