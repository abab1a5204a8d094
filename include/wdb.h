/* wdb.h - the kernel's C ABI. Library: libwdbsrtl64.so. Language: C11 / C++20. */
#ifndef WDB_H
#define WDB_H

#include <stdint.h>

#if defined(__GNUC__)
#define WDB_API __attribute__((visibility("default")))
#define WDB_FORMAT(f, a) __attribute__((format(printf, f, a)))
#else
#define WDB_API
#define WDB_FORMAT(f, a)
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- limits ----------------------------------------------------------- */
#define WDB_BASE_NAME_MAX      60   /* longest base name, in bytes */
#define WDB_BASE_NAME_SIZE     64   /* buffer that receives a base name */
#define WDB_FIELD_NAME_MAX     15   /* longest field name, in bytes */
#define WDB_FIELD_NAME_SIZE    64   /* least buffer passed to WdbCheckField */
#define WDB_FIELD_NUMBER_MAX 1000   /* highest field number */
#define WDB_WORD_MAX           16   /* longest shell word */
#define WDB_WORD_SIZE          17   /* buffer of WdbShellSymbol */
#define WDB_COMMAND_MAX  16777216   /* longest command line of WdbExecuteCcl */
#define WDB_COMMAND_AREA      400   /* command area of WdbCommandObject */

/* ---- status words ------------------------------------------------------ */
#define WDB_SUCCESS(status)  (((status) & 1) != 0)
#define WDB_CODE(number)     (32 * (number) + 2)   /* an error status */
#define WDB_FAIL             0                     /* failure without an error */
#define WDB_OK               1

/* codes the engine knows by value */
#define WDB_E_BASE           WDB_CODE(19)    /*   610 base not available */
#define WDB_E_DELETED        WDB_CODE(90)    /*  2882 record is deleted */
#define WDB_E_ONE_PARAGRAPH  WDB_CODE(99)    /*  3170 reserved, never returned */
#define WDB_E_DELETED_2      WDB_CODE(109)   /*  3490 reserved: deleted */
#define WDB_E_NO_MORE        WDB_CODE(142)   /*  4546 message text only */
#define WDB_E_DELETED_3      WDB_CODE(236)   /*  7554 reserved: deleted */
#define WDB_E_INVOCATION     WDB_CODE(277)   /*  8866 reserved for the engine */
#define WDB_E_DELETED_4      WDB_CODE(287)   /*  9186 reserved: deleted */
#define WDB_E_DELETED_5      WDB_CODE(360)   /* 11522 reserved: deleted */
#define WDB_E_DELETED_6      WDB_CODE(424)   /* 13570 reserved: deleted */

/* the kernel's own codes: numbers 500 and up */
#define WDB_E_NO_SESSION     WDB_CODE(500)   /* 16002 no session on this thread */
#define WDB_E_SESSION_BUSY   WDB_CODE(501)
#define WDB_E_ARGUMENT       WDB_CODE(502)
#define WDB_E_HANDLE         WDB_CODE(503)
#define WDB_E_BUFFER         WDB_CODE(504)   /* *length holds the size needed */
#define WDB_E_MEMORY         WDB_CODE(505)
#define WDB_E_STORAGE        WDB_CODE(506)
#define WDB_E_CORRUPT        WDB_CODE(507)
#define WDB_E_RIGHT          WDB_CODE(508)
#define WDB_E_USER           WDB_CODE(509)
#define WDB_E_NAME           WDB_CODE(510)
#define WDB_E_EXISTS         WDB_CODE(511)
#define WDB_E_FIELD          WDB_CODE(512)
#define WDB_E_TYPE           WDB_CODE(513)
#define WDB_E_READ_ONLY      WDB_CODE(514)
#define WDB_E_NO_RECORD      WDB_CODE(515)
#define WDB_E_PART           WDB_CODE(516)
#define WDB_E_CHANGED        WDB_CODE(517)
#define WDB_E_DUPLICATE      WDB_CODE(518)
#define WDB_E_MANDATORY      WDB_CODE(519)
#define WDB_E_NO_PARENT      WDB_CODE(520)   /* foreign key finds no record */
#define WDB_E_REFERENCED     WDB_CODE(521)   /* rule forbids delete or update */
#define WDB_E_VALUE          WDB_CODE(522)
#define WDB_E_NO_DEFINITION  WDB_CODE(523)
#define WDB_E_DEFINITION     WDB_CODE(524)
#define WDB_E_NOT_CHECKED    WDB_CODE(525)   /* no base checked, no record got */
#define WDB_E_CCL_SYNTAX     WDB_CODE(530)
#define WDB_E_CCL_FIELD      WDB_CODE(531)
#define WDB_E_CCL_NO_BASE    WDB_CODE(532)
#define WDB_E_CCL_SET        WDB_CODE(533)
#define WDB_E_CCL_NO_HITS    WDB_CODE(534)
#define WDB_E_CCL_LENGTH     WDB_CODE(535)
#define WDB_E_CCL_UNSUPPORTED WDB_CODE(536)
#define WDB_E_INDEX          WDB_CODE(540)
#define WDB_E_ASE            WDB_CODE(541)
#define WDB_E_SYMBOL         WDB_CODE(542)
#define WDB_E_NO_STATUS      WDB_CODE(543)   /* nothing saved */
#define WDB_E_UNSUPPORTED    WDB_CODE(545)
#define WDB_E_LOCKED         WDB_CODE(544)   /* 17410 waited too long to write */

/* ---- field types and flags -------------------------------------------- */
#define WDB_T_TEXT     1
#define WDB_T_PHRASE   3
#define WDB_T_INTEGER  9
#define WDB_T_NUMBER  10
#define WDB_T_DATE    11
#define WDB_T_TIME    12
#define WDB_T_STRING  14   /* binary large object; type name "STRING" */

#define WDB_F_INDEXED   1u
#define WDB_F_SERIAL    2u
#define WDB_F_PART      4u
#define WDB_F_UNIQUE    8u
#define WDB_F_NULLABLE 16u
#define WDB_F_PLAIN    32u  /* TEXT delivered line by line, no paragraph markup */
/* bits 24 to 31 are always zero */

#define WDB_MODE_READ    1
#define WDB_MODE_WRITE   3
#define WDB_MODE_DELETE  6

#define WDB_ACT_RESTRICT    1
#define WDB_ACT_CASCADE     2
#define WDB_ACT_NO_ACTION   3
#define WDB_ACT_SET_NULL    4
#define WDB_ACT_SET_DEFAULT 5

/* ---- handles ----------------------------------------------------------- */
typedef struct WdbSession       WdbSession;
typedef struct WdbRecordControl WdbRecordControl;
typedef struct WdbCursor        WdbCursor;
typedef struct WdbAse           WdbAse;

/* ---- records shared with the caller ------------------------------------ */
typedef struct WdbBaseDef {
    char    name[WDB_BASE_NAME_SIZE];
    char    baseFile[136];       /* "LOC:NAME.BAF", at most 132 characters */
    char    indexFile[136];      /* "LOC:NAME.BIF" */
    char    valueFile[136];      /* "LOC:NAME.VIF" */
    char    comment[256];
    int32_t active;              /* the flag that follows the comment */
    char    charset[8];          /* "MUL", "CHI": four characters used */
    int32_t charsetFlag;         /* 0 with "MUL", 1 with "CHI" */
    char    uniqueKey[20];       /* unique-key field, at most 16 characters */
    char    owner[64];           /* out: owner of the base */
    int32_t isNew;               /* out: 1 until the base has been stored */
    int32_t highestField;        /* out: highest field number in use */
    uint8_t reserved[60];
} WdbBaseDef;

typedef struct WdbFieldSpec {
    char    name[20];            /* at most 15 characters */
    char    typeName[20];        /* "PHRASE", "TEXT", "STRING", "INTEGER", ... */
    char    comment[128];
    char    reference[96];       /* "table.column" */
    char    defaultValue[256];   /* out; set through WdbPutDefaultValue */
    int32_t number;              /* out: field number */
    int32_t typeCode;            /* out: WDB_T_... */
    uint8_t indexed;             /* "first flag": the field is searchable */
    uint8_t serial;
    uint8_t mandatory;
    uint8_t wholeValue;          /* the item is indexed as one term */
    uint8_t hasDefault;
    uint8_t hasReference;
    uint8_t key;
    uint8_t part;                /* lives in the part records (loader only) */
    uint8_t plain;               /* TEXT without paragraph markup (loader) */
    uint8_t reserved[55];
} WdbFieldSpec;

typedef struct WdbIntegrityRule {
    int32_t kind;                /* 1 referential rule, 2 source rule */
    int32_t deleteAction;        /* first action code */
    int32_t updateAction;        /* second action code */
    char    fkTable[WDB_BASE_NAME_SIZE];
    char    fkColumn[20];
    char    pkTable[WDB_BASE_NAME_SIZE];
    char    pkColumn[20];
} WdbIntegrityRule;

typedef struct WdbIntegrityRules {
    int32_t           count;
    int32_t           reserved;
    WdbIntegrityRule *rule;      /* count entries, NULL when count is 0 */
} WdbIntegrityRules;

typedef struct WdbAccessRecord { /* 1802 bytes */
    uint8_t baseRights;          /* byte 0: rights on every field */
    uint8_t fieldwise;           /* byte 1: rights given field by field */
    uint8_t field[1000];         /* field n at index n - 1 */
    uint8_t reserved[800];
} WdbAccessRecord;

typedef struct WdbCommandObject {
    int32_t size;                /* set by the kernel */
    int32_t commandLength;       /* set by the caller to 400 */
    char    command[WDB_COMMAND_AREA];
    int32_t status;              /* out, after WdbDaoOrder */
    int32_t reserved[7];
} WdbCommandObject;

/* ==== called by the engine ============================================== */

/* sessions, versions, messages, settings */
WDB_API int32_t WdbVersion(char *text, int32_t *length);
WDB_API int32_t WdbSessionInfo(int32_t item, int32_t *number, char *text, int32_t *length);
WDB_API int32_t WdbMessage(int32_t code, char *text, int32_t *length);
WDB_API int32_t WdbSaveStatus(void);
WDB_API int32_t WdbLoadStatus(int32_t mode);
WDB_API int32_t QueryRCS(const char *name, char *value, int32_t *length, int32_t levels);
WDB_API int32_t UpdateRCS(const char *name, const char *value);

/* dates and shell symbols */
WDB_API int32_t WdbCurrentDate(char *text, int32_t *length);
WDB_API int32_t WdbCurrentTime(char *text, int32_t *length);
WDB_API int32_t WdbShellDefDateform(int32_t form, const char *separators);
WDB_API int32_t WdbShellSymbol(char *symbol, int32_t *length);

/* CCL and searches */
WDB_API int32_t WdbExecuteCcl(const char *command, int32_t *statusOut);
WDB_API int32_t WdbShellDaoPtr(WdbCommandObject **object, const char *format, ...) WDB_FORMAT(2, 3);
WDB_API int32_t WdbShellToDao(WdbCommandObject *object);
WDB_API int32_t WdbDaoOrder(int32_t *statusOut);
WDB_API int32_t WdbSearchResult(int32_t *setNumber, int32_t *hitCount, int32_t *recordCount,
                                int32_t *partCount, int32_t *kind);
WDB_API int32_t WdbGetSearch(int32_t *searchNumber, int32_t *recordCount, int32_t *partCount);
WDB_API int32_t WdbGetRows(int32_t setNumber, int32_t rowIndex, int32_t rowCount,
                           char **items, uint32_t **itemCount);
WDB_API int32_t WdbDeallocate(void *memory);
WDB_API int32_t WdbStrNormalize(const char *text, char *buffer, int32_t mode);

/* record controls and records */
WDB_API int32_t WdbCreateRecordControl(WdbRecordControl **control);
WDB_API int32_t WdbDeleteRecordControl(WdbRecordControl **control);
WDB_API int32_t WdbSetBase(WdbRecordControl *control, const char *baseName, int32_t mode);
WDB_API int32_t WdbGetRecordInSearchRis(WdbRecordControl *control, int32_t searchNumber,
                                        int32_t recordNumber, int32_t *recordId, char *baseName);
WDB_API int32_t WdbGetRecordInBase(WdbRecordControl *control, int32_t recordId);
WDB_API int32_t WdbPutRecord(WdbRecordControl *control, int32_t *recordId);
WDB_API int32_t WdbDeleteRecordInBase(WdbRecordControl *control);
WDB_API int32_t WdbHitParts(WdbRecordControl *control, int32_t ordinal, int32_t *partNumber,
                            int32_t *hitCount, int32_t *headHit);
WDB_API int32_t WdbPartCount(WdbRecordControl *control, int32_t *count);
WDB_API int32_t WdbSetRecordPart(WdbCursor *cursor, WdbRecordControl *control, int32_t partNumber);
WDB_API int32_t WdbShowControl(int32_t kind, int32_t option, const char *first, const char *last);
WDB_API int32_t WdbNextControl(WdbRecordControl **control);

/* fields, items, lines, large objects */
WDB_API int32_t WdbCheckField(WdbRecordControl *control, char *name, int32_t *number,
                              int32_t *type, uint32_t *flags);
WDB_API int32_t WdbSetCursor(WdbCursor **cursor, WdbRecordControl *control, int32_t fieldNumber,
                             int32_t paragraph, int32_t item);
WDB_API int32_t WdbDeleteCursor(WdbCursor **cursor);
WDB_API int32_t WdbItemCount(WdbCursor *cursor, int32_t *count);
WDB_API int32_t WdbParaCount(WdbCursor *cursor, int32_t *count);
WDB_API int32_t WdbGetItem(WdbCursor *cursor, char *text, int32_t *length);
WDB_API int32_t WdbReplaceItem(WdbCursor *cursor, const char *data, int32_t length);
WDB_API int32_t WdbDeleteItem(WdbCursor *cursor);
WDB_API int32_t WdbGetLine(WdbCursor *cursor, char *line, int32_t *length);
WDB_API int32_t WdbPutLine(WdbCursor *cursor, const char *data, int32_t length);
WDB_API int32_t WdbGetBlobSize(WdbCursor *cursor, int32_t *size);
WDB_API int32_t WdbGetBlobBlock(WdbCursor *cursor, int32_t start, int32_t size, void *buffer,
                                int32_t *sizeRead);
WDB_API int32_t WdbPutBlobBlock(WdbCursor *cursor, int32_t length, const void *data);

/* definitions, rules, rights, indexing */
WDB_API int32_t WdbBaseInfo(const char *baseName, int32_t item, void *info, int32_t *length);
WDB_API int32_t WdbCheckBase(const char *baseName, int32_t mode);
WDB_API int32_t WdbGetIntegrityRules(WdbIntegrityRules **rules);
WDB_API int32_t WdbFreeIntegrityRules(WdbIntegrityRules **rules);
WDB_API int32_t WdbGetBaseDef(const char *baseName, WdbBaseDef *definition);
WDB_API int32_t WdbPutBaseDef(const WdbBaseDef *definition);
WDB_API int32_t WdbDeleteBaseDef(void);
WDB_API int32_t WdbGetFieldSpec(WdbFieldSpec *field);
WDB_API int32_t WdbPutFieldSpec(const WdbFieldSpec *field);
WDB_API int32_t WdbPutDefaultValue(const WdbFieldSpec *field, const char *text);
WDB_API int32_t WdbSetForeignKey(const char *columnName, const char *referencedTable,
                                 const char *referencedColumn, int32_t updateAction,
                                 int32_t deleteAction);
WDB_API int32_t WdbGetDbAccess(const char *userName, WdbAccessRecord *record);
WDB_API int32_t WdbPutDbAccess(const WdbAccessRecord *record);
WDB_API int32_t WdbBaseStatus(const char *baseName, char *modificationDate, int32_t *modificationLength,
                              char *indexDate, int32_t *indexLength, int32_t *recordCount,
                              int32_t *pendingCount);
WDB_API int32_t WdbBatchLoadIndex(int32_t kind, const char *baseName, const char *options);

/* extension routines */
WDB_API int32_t WdbLoadAse(const char *name, WdbAse **routine);
WDB_API int32_t WdbCallAse(WdbAse *routine, const char *argument, char *result, int32_t *length);

/* ==== for hosts, loaders and tests ====================================== */

/* home directory and sessions */
#define WDB_OPEN_CREATE     1u   /* make the home directory's catalog if there is none */
#define WDB_OPEN_READ_ONLY  2u
#define WDB_OPEN_ASYNC_INDEX 4u  /* index jobs run on a kernel thread in the background */
/* option value 8 is reserved */
WDB_API int32_t WdbOpenSession(const char *home, const char *user, const char *password,
                               uint32_t options, WdbSession **session);
WDB_API int32_t WdbCloseSession(WdbSession **session);
WDB_API int32_t WdbBindSession(WdbSession *session);
WDB_API WdbSession *WdbBoundSession(void);
#define WDB_SI_USER          1   /* text   user name */
#define WDB_SI_DATE_FORM     2   /* number form 1 to 17, text the two separators */
#define WDB_SI_LANGUAGE      3   /* number 0 canonical words, 1 default words */
#define WDB_SI_HOME          4   /* text   home directory */
#define WDB_SI_FIND_MINIMUM  5   /* number value of DEF FIN MIN */
#define WDB_SI_SETS          6   /* number of search sets alive */
#define WDB_SI_SAVED         7   /* number of saved statuses */
#define WDB_SI_BASES         8   /* text   current search bases, separated by "," */
#define WDB_SI_CHARSET      10   /* number character-set identifier */
WDB_API int32_t WdbSetSessionInfo(int32_t item, int32_t number, const char *text);
WDB_API int32_t WdbSetShellSymbol(const char *symbol, const char *value);
WDB_API int32_t WdbSetResource(int32_t level, const char *name, const char *value);
WDB_API int32_t WdbSetClock(const char *isoInstant);

/* users */
#define WDB_USER_ADMIN  1u
#define WDB_USER_CREATE 2u
WDB_API int32_t WdbPutUser(const char *name, const char *password, uint32_t rights);
WDB_API int32_t WdbDeleteUser(const char *name);
WDB_API int32_t WdbNextUser(char *name, int32_t *length, uint32_t *rights);

/* definitions */
WDB_API int32_t WdbGetFieldSpecByNumber(int32_t fieldNumber, WdbFieldSpec *field);
WDB_API int32_t WdbDeleteFieldSpec(const char *fieldName);
WDB_API int32_t WdbDeleteForeignKey(const char *columnName);
WDB_API int32_t WdbSetBaseOwner(const char *baseName, const char *owner);

/* records: loaders */
WDB_API int32_t WdbNewRecord(WdbRecordControl *control);
WDB_API int32_t WdbAddRecordPart(WdbRecordControl *control, int32_t *partNumber);
WDB_API int32_t WdbDeleteRecordPart(WdbRecordControl *control, int32_t partNumber);
WDB_API int32_t WdbInsertItem(WdbCursor *cursor, const char *data, int32_t length);
WDB_API int32_t WdbNextRecordInBase(WdbRecordControl *control, int32_t *recordId);
WDB_API int32_t WdbPutRecordAs(WdbRecordControl *control, int32_t recordId);
WDB_API int32_t WdbBeginLoad(const char *baseName, uint32_t options);
WDB_API int32_t WdbEndLoad(const char *baseName, int32_t commit);

/* indexes */
WDB_API int32_t WdbRebuildIndex(const char *baseName, const char *fieldName);
WDB_API int32_t WdbWaitIndex(const char *baseName, int32_t milliseconds);
WDB_API int32_t WdbNextTerm(const char *baseName, int32_t fieldNumber, char *term, int32_t *length,
                            int32_t *recordCount);

/* search sets and CCL */
typedef struct WdbSetInfoRecord {
    int32_t number;      /* set number */
    int32_t kind;        /* 0 record set, 1 row set, 2 value set (SFX), 3 union */
    int32_t rows;        /* rows that WdbGetRows can deliver */
    int32_t records;     /* records */
    int32_t parts;       /* hit part records */
    int32_t columns;     /* output columns, 0 for a record set */
    int32_t bases;       /* bases */
    char    base[WDB_BASE_NAME_SIZE];   /* the first base */
    char    command[512];               /* the command line, cut to 511 bytes */
} WdbSetInfoRecord;
WDB_API int32_t WdbSetInfo(int32_t setNumber, WdbSetInfoRecord *info);
WDB_API int32_t WdbDropSet(int32_t setNumber);
WDB_API int32_t WdbCheckCcl(const char *command, char *canonical, int32_t *length, int32_t *position);
WDB_API int32_t WdbLastError(int32_t *code, int32_t *position, char *text, int32_t *length);

/* verification and upkeep */
typedef int32_t (*WdbReportFn)(void *context, int32_t severity, int32_t recordId, const char *text);
WDB_API int32_t WdbVerifyBase(const char *baseName, uint32_t options, WdbReportFn report, void *context);
WDB_API int32_t WdbBackupBase(const char *baseName, const char *directory);
WDB_API int32_t WdbCompactBase(const char *baseName);
typedef struct WdbLiveCounts {
    int32_t sessions, controls, cursors, rowBuffers, ruleLists, savedStatuses, sets, readers;
} WdbLiveCounts;
WDB_API int32_t WdbLiveHandles(WdbLiveCounts *counts);

/* test hooks: per session, for tests of the engine */
typedef void (*WdbTraceFn)(void *context, const char *function, int32_t status);
WDB_API int32_t WdbSetTrace(WdbTraceFn trace, void *context);
WDB_API int32_t WdbInjectFailure(const char *function, int32_t skip, int32_t status);
typedef void (*WdbStepFn)(void *context, int32_t depth, const char *step, int64_t count, int64_t nanoseconds);
WDB_API int32_t WdbSetProfile(WdbStepFn step, void *context);
typedef int32_t (*WdbProgressFn)(void *context, int64_t done, int64_t total);
WDB_API int32_t WdbSetProgress(WdbProgressFn progress, void *context);

/* extension routines */
typedef int32_t (*WdbAseFn)(void *context, const char *argument, char *result, int32_t *length);
WDB_API int32_t WdbRegisterAse(const char *name, WdbAseFn function, void *context);
WDB_API int32_t WdbUnregisterAse(const char *name);

#ifdef __cplusplus
}
static_assert(sizeof(WdbAccessRecord) == 1802, "access record");
static_assert(sizeof(WdbCommandObject) == 440, "command object");
static_assert(sizeof(WdbIntegrityRule) == 180, "integrity rule");
static_assert(sizeof(WdbFieldSpec) % 4 == 0 && sizeof(WdbBaseDef) % 4 == 0, "no tail padding");
#endif

#endif /* WDB_H */
