// The one object that lives for the length of an exported call.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "include/wdb.h"
#include "src/parser/ParseContext.h"
#include "src/support/CFilterBase.h"
#include "src/support/CStringBuffer.h"
#include "src/support/Encoding.h"
#include "src/tree/WSQLList.h"
#include "src/welkhelp/SessionFacts.h"

namespace wsql {

struct ColumnFaultLines;
struct DictionaryResult;
class SelectOutput;
class ValueFilter;
class WELKFieldInfo;
class WELKFieldInfoList;
class WSQLColumnElement;
class WSQLColumnRef;
class WSQLComparison;
class WSQLCondition;
class WSQLPredicate;
class WSQLResultSet;
class WSQLRowBuffers;
class WSQLRowData;
class WSQLScalar;
class WSQLStatement;
class WSQLStmtCreateTable;
class WSQLStmtDelete;
class WSQLStmtDropTable;
class WSQLStmtGetObject;
class WSQLStmtInsert;
class WSQLStmtPrivileges;
class WSQLStmtProperty;
class WSQLStmtSelect;
class WSQLStmtSetObject;
class WSQLStmtUpdate;
class WSQLTableRef;
class WSQLTimestamp;
enum class RowOutcome;
struct DatabaseEntry;

// Built on the export's stack around the caller's record: one operation, then destroyed. Validators and
// executors are its methods, each group in the source file that its heading names. They return true to go on;
// false after they have answered with a fault. The status of the call lives in the record and is written by
// answers only; the status of the last kernel look-up lives in lastStatus. An answer replaces an earlier one
// of the same call, which is released.
class WSQLFilter : public CFilterBase, public ParseContext {
public:
    // data may be null: every operation then answers 8866.
    explicit WSQLFilter(FilterData* data);
    ~WSQLFilter() override;

    // ---- the operations behind the exports; each returns the record's status ----
    std::int32_t execSql();
    std::int32_t getEncoding();
    std::int32_t getObject();
    std::int32_t setObject();
    std::int32_t getTableDesc();

    // ---- answers: WSQLAnswers.cpp ----
    // The Success document; the text is cut at 8191 bytes. A null format is the empty text.
    void ReportSuccess(const char* format, ...) __attribute__((format(printf, 2, 3)));
    // A fault of the engine: code 0 or lastStatus; text of length bytes (-1: up to its NUL), finished, never
    // a format. The source is the file part of sourceFile, ":" and the line. Status: code * 2.
    void ReportFault(std::uint32_t code, const char* text, std::int32_t length, const char* sourceFile,
                     std::int32_t line, const char* context);
    // A fault for a kernel status, with the kernel's text. Status: the code itself. lastStatus becomes the
    // code.
    void ReportKernelError(std::int32_t code, const char* source, const char* context);
    // The document and the record's fields for both of the above. Status: code * 2.
    void WriteFaultDocument(std::uint32_t code, const char* text, std::int32_t length, const char* source,
                            const char* context);
    // The fault of statements that have no executor.
    void ReportUnsupported();
    // Hands a finished document to the host, without touching the status.
    void SetAnswer(CStringBuffer& document);
    // Hands length bytes of process-heap memory with a NUL behind them to the host (large objects).
    void SetAnswer(platform::HeapText memory, std::int32_t length);
    // Whether this call has produced a document.
    bool answered() const { return answered_; }
    // The last resort of an export: answers for an exception that reached it. Returns the status.
    std::int32_t AnswerException(const char* context) noexcept;
    // The same where there is no memory for a document: status and message only. Returns the status, 8866 for
    // a null record.
    static std::int32_t AnswerWithoutDocument(FilterData* data) noexcept;

    // ---- state shared by the methods ----
    // 1 at the start of an operation; every kernel look-up that fails leaves its status here, DBColumnExists
    // sets it to 1.
    std::int32_t lastStatus() const { return lastStatus_; }
    void setLastStatus(std::int32_t status) { lastStatus_ = status; }
    const SessionFacts& facts() const { return facts_; }
    bool newCcl() const { return newCcl_; }
    // What the call's large objects took is given back to the system at its end, when all is committed.
    void trimAtEnd() { trimAtEnd_ = true; }
    // A file deleted at the end of the call.
    std::string& temporaryFileName() { return temporaryFileName_; }
    // Root of the parsed statement: the slot that the parser fills.
    std::unique_ptr<WSQLStatement>& statementSlot() { return statement_; }

    // ---- what the parser asks: WSQLParserSetup.cpp ----
    const WSQLSymbolTable* symbolTable() const override { return symbols_.get(); }
    void parserMessage(std::string_view text) override { parserMessage_.set(text); }
    const WSQLTimestamp* statementInstant() override;
    DateSettings dateSettings() override;

    // ---- settings and properties: WSQLProperty.cpp ----
    bool ExecuteProperty(WSQLStmtProperty* statement);
    // Lets searches without hits succeed for the rest of the session. Called before every search.
    bool UseZeroSearchSets();
    // Whether rows carry the contents of TEXT and binary fields; true for both while RawValues is in force.
    bool selectText() const;
    bool selectBlob() const;
    void setSelectText(bool on);
    void setSelectBlob(bool on);
    bool batchIndex() const;
    bool lazyIndex() const;
    // While one of these lives, selectText and selectBlob are true for this call; the setting store is not
    // touched.
    class RawValues {
    public:
        explicit RawValues(WSQLFilter& filter) : filter_(filter), before_(filter.rawValues_) {
            filter_.rawValues_ = true;
        }
        RawValues(const RawValues&) = delete;
        RawValues& operator=(const RawValues&) = delete;
        ~RawValues() { filter_.rawValues_ = before_; }

    private:
        WSQLFilter& filter_;
        bool before_;
    };

    // ---- encoding: WSQLEncoding.cpp over support/Encoding ----
    const CaseTable& caseTable() const override;
    // The set chosen at the start of the call.
    const CharacterSet& characterSet() const { return characterSet_; }
    // The set that the session's texts are converted from; asked for once per call.
    const CharacterSet& conversionSet() const;
    // Appends session text as XML character data. A length below 1 means up to the NUL.
    void XmlText(CStringBuffer& buffer, const char* text, std::int32_t length = -1) const;

    // ---- column resolution, validation: WSQLColumnResolution.cpp, WSQL*Validation.cpp ----
    bool DBTableExists(const char* tableName);
    bool DBColumnExists(WSQLColumnRef* column, const char* tableName);
    bool DBColumnExists(WSQLColumnRef* column, const WSQLList<WSQLTableRef*>* tables);
    // Binds to a column of that table alone, whatever the column's qualifier.
    bool BindInTable(WSQLColumnRef* column, const WSQLTableRef& table);
    bool LoadFields(WSQLTableRef* table);
    // Binds a column over the FROM list of a SELECT or in the target table of another statement; answers the
    // fault when it is not there.
    bool BindColumn(WSQLStatement* statement, WSQLColumnRef* column, const ColumnFaultLines& lines,
                    const char* context);
    // A fault of "WSQLValidation:<line>" with lastStatus as its code.
    void ReportValidationFault(std::int32_t line, const char* context, const char* format, ...)
        __attribute__((format(printf, 4, 5)));
    bool ValidateScalar(WSQLStatement* statement, WSQLScalar* scalar);
    bool ValidateCondition(WSQLStatement* statement, WSQLCondition* condition);
    bool ValidatePredicate(WSQLStatement* statement, WSQLPredicate* predicate);
    std::int32_t RelocateJoinComparison(WSQLStatement* statement, WSQLComparison* comparison);
    bool ValidateSelect(WSQLStmtSelect* select);
    bool ValidateInsert(WSQLStmtInsert* insert);
    bool ValidateLiteralSelect(WSQLStmtSelect* select);
    bool ValidateUpdate(WSQLStmtUpdate* update);
    bool ValidateDelete(WSQLStmtDelete* statement);

    // ---- condition translation: WSQLTranslateCondition.cpp ----
    // depth 0 or less runs the expression, 1 or more builds its text only. The slots may be null.
    bool TranslateCondition(WSQLCondition* condition, std::int32_t depth, std::int32_t* status,
                            CStringBuffer* text);

    // Whether a condition over constants alone holds. False when it is none; that is answered then.
    bool EvaluateConstantCondition(WSQLCondition* condition, bool& holds);

    // ---- execution: one file per statement ----
    // setReference (optional) receives "S=%d" after the search, setNumber (optional) the set's number; either
    // ends the operation there. firstRow is passed 0.
    bool ExecuteSelect(WSQLStmtSelect* select, std::int32_t firstRow = 0,
                       CStringBuffer* setReference = nullptr, std::int32_t* setNumber = nullptr,
                       bool subselect = false);
    bool ExecuteUnion(WSQLStmtSelect* select);
    bool ExecuteInsert(WSQLStmtInsert* insert);
    bool ExecuteUpdate(WSQLStmtUpdate* update);
    bool ExecuteDelete(WSQLStmtDelete* statement);
    bool ExecuteCreateTable(WSQLStmtCreateTable* create);
    bool ExecuteDropTable(WSQLStmtDropTable* drop);
    bool ExecuteModifyAccess(WSQLStmtPrivileges* privileges);
    bool ExecuteGetObject(WSQLStmtGetObject* statement);
    bool ExecuteSetObject(WSQLStmtSetObject* statement);

    // ---- rows: WSQLGetRow.cpp ----
    // Both fill the row with the next one's values. kNone is the end of the rows, kFailed a fault that is
    // already answered. GetNextJoinRow makes the row object when there is none.
    RowOutcome GetNextJoinRow(std::unique_ptr<WSQLRowData>& row, SelectOutput& output,
                              WSQLRowBuffers& buffers);
    RowOutcome GetStaticRow(std::unique_ptr<WSQLRowData>& row, SelectOutput& output);
    RowOutcome GetNextDictRow(std::unique_ptr<WSQLRowData>& row, SelectOutput& output);
    WSQLResultSet* resultSet() const { return resultSet_.get(); }
    void setResultSet(std::unique_ptr<WSQLResultSet> resultSet);

    // ---- the dictionary: WSQLDictionary.cpp ----
    // Adds the columns of a dictionary selection to the result's description.
    bool CreateDictionaryMetaData(WSQLStmtSelect* select);
    // What the latest dictionary selection of this call found.
    void setDictionaryResult(std::unique_ptr<DictionaryResult> result);

    // ---- CREATE TABLE: WSQLExecCreateTable.cpp ----
    bool CreateField(WSQLColumnElement* column);
    void ApplyReferences(WSQLStmtCreateTable* create);

    // ---- kernel access: welkhelp/WSQLWelk*.cpp ----
    // mode is WDB_MODE_READ or WDB_MODE_WRITE. The control is null when false is returned; the caller deletes
    // it otherwise.
    bool CreateControl(WdbRecordControl*& control, const char* databaseName, std::int32_t mode);
    // Loads the record with that 1-based ordinal of a set. False without a fault, and lastStatus 0 or 2882,
    // behind the last record and for a record that was deleted after the search; FoundRecords.h tells it
    // apart.
    bool GetRecordInSearch(WdbRecordControl*& control, std::int32_t searchNumber, std::int32_t recordNumber,
                           std::int32_t mode, std::int32_t* recordId);
    // One CCL command of any length. Reports nothing.
    std::int32_t ExecuteCCL(const char* format, ...) __attribute__((format(printf, 2, 3)));
    // The same for a finished command.
    std::int32_t ExecuteCommand(const char* command);
    std::int32_t SearchHitCount();
    // In: a command's canonical name; out: its word in the session's command language. 17 bytes at least.
    std::int32_t GetShellSymbol(char* symbol);
    bool SearchOpenDB(const char* databaseName);
    std::int32_t SetFieldValue(WdbRecordControl* control, const WELKFieldInfo* field, std::int32_t partNumber,
                               const char* data, std::int32_t length, std::int32_t position);
    std::int32_t RemoveFieldValue(WdbRecordControl* control, const WELKFieldInfo* field,
                                  std::int32_t partNumber, std::int32_t position);
    // All values of one field of one record, from the part when one is named. -1: nothing to deliver. With
    // forXml the values pass through the filter; without it TEXT and binary values arrive raw, of other types
    // the first item.
    std::int32_t GetFieldValue(const WELKFieldInfo& field, std::int32_t recordId, std::int32_t partNumber,
                               CStringBuffer& output, const ValueFilter& filter, bool forXml);
    // The databases that the session's user may see, in name order.
    std::int32_t ListDatabases(std::vector<DatabaseEntry>& list);
    std::int32_t IndexDatabase(const char* databaseName, bool wait, bool raiseFaults);
    std::int32_t IndexReferencedDatabases(const char* databaseName, bool raiseFaults);

private:
    // ---- the request cycle: WSQLFilter.cpp ----
    void begin();
    std::int32_t nullRecord(const char* context);
    std::int32_t badMask(const char* context);
    void chooseCharacterSets();
    void readVersion();
    void loadParserSymbols();
    bool parse(const char* text);
    void dispatch();
    void finish(bool done, const char* method);
    void writeContentType();
    void writeTypeLine(const std::string& line);

    // ---- the arguments of the object exports: WSQLObjectArguments.cpp ----
    bool setObjectTable(WSQLStmtSetObject& statement);
    bool setObjectColumn(WSQLStmtSetObject& statement);
    bool setObjectRecord(WSQLStmtSetObject& statement);
    void badArgument(const char* text, std::int32_t line, const char* context);

    // ---- WSQLProperty.cpp ----
    bool setProperty(const std::string& name, std::string_view value, std::string& answer);
    bool getProperty(const std::string& name, std::string& answer) const;
    void writeProperty(const std::string& name, const std::string& value);

    void releaseAnswer() noexcept;
    bool settingOn(const char* name) const;

    const SessionFacts facts_;
    bool newCcl_ = false;
    std::unique_ptr<WSQLSymbolTable> symbols_;
    std::unique_ptr<WSQLStatement> statement_;
    std::unique_ptr<WSQLTimestamp>
        statementTime_;  // made when the statement first asks, so that all its uses agree
    CStringBuffer parserMessage_{64};
    std::unique_ptr<WSQLResultSet> resultSet_;
    std::unique_ptr<DictionaryResult> dictionary_;
    std::string temporaryFileName_;

    std::int32_t lastStatus_ = WDB_OK;
    bool answered_ = false;
    char* answer_ = nullptr;  // the document of this call that the record now points to
    bool rawValues_ = false;
    bool trimAtEnd_ = false;
    CharacterSet characterSet_{};
    mutable CharacterSet conversionSet_{};
    mutable bool conversionSetKnown_ = false;
};

/// The kernel's text for a status; for one that it has no text for, a line that names status, source and
/// context.
std::string kernelMessage(std::int32_t code, const char* source, const char* context);

}  // namespace wsql
