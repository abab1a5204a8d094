// sqlgetobject and GET OBJECT: the value behind a fetch key, in an Object document or raw.
#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>

#include "src/FetchKeyReader.h"
#include "src/WSQLFilter.h"
#include "src/support/base64.h"
#include "src/tree/Tree.h"
#include "src/welkhelp/WelkRecord.h"

namespace wsql {
namespace {

constexpr const char* kContext = "WSQLFilter::getObject";
constexpr std::uint32_t kRawOutput = 1;
constexpr std::int32_t kLineSize = 8192;        ///< a line that fills it goes on in the next piece
constexpr std::int32_t kBlock = 3 * (1 << 18);  ///< a multiple of three, so that base64 pieces join
constexpr const char* kLineEnd = "\r\n";

bool fault(WSQLFilter& filter, const std::string& text) {
    filter.WriteFaultDocument(0, text.c_str(), static_cast<std::int32_t>(text.size()), "SQLFilter::getObject",
                              "validation");
    return false;
}

struct ObjectKey {
    std::string database;
    std::int32_t record = 0, part = 0, field = 0;

    bool read(WSQLFilter& filter, const std::string& text) {
        const auto invalid = [&] { return fault(filter, "Invalid fetch key \"" + text + "\""); };
        FetchKeyReader key(text);
        const auto name = key.database();
        if (!name) return invalid();
        database = *name;
        filter.debug(kContext, "Database name is \"%s\"\n", database.c_str());
        const auto recordId = key.number();
        if (!recordId) return invalid();
        record = *recordId;
        filter.debug(kContext, "Record ID is %d\n", record);
        if (record < 1) return fault(filter, "Invalid record id (" + std::to_string(record) + ")");
        const auto partNumber = key.number();
        if (!partNumber) return invalid();
        part = *partNumber;
        filter.debug(kContext, "Part record number is %d\n", part);
        const auto fieldNumber = key.lastNumber();
        if (!fieldNumber) return invalid();
        field = *fieldNumber;
        filter.debug(kContext, "Field number is %d\n", field);
        return true;
    }
};

/// One object on its way to the host. The methods return false after they have answered with a fault.
class ObjectAnswer {
public:
    ObjectAnswer(WSQLFilter& filter, const std::string& keyText, bool xml)
        : filter_(filter), keyText_(keyText), xml_(xml) {}

    bool open() {
        if (!key_.read(filter_, keyText_)) return false;
        if (!filter_.DBTableExists(key_.database.c_str()))
            return kernelFault(filter_.lastStatus(), "WdbSetBase");
        if (!filter_.CreateControl(control_.slot(), key_.database.c_str(), WDB_MODE_READ)) return false;
        std::int32_t status = WdbGetRecordInBase(control_.get(), key_.record);
        if (!WDB_SUCCESS(status)) return kernelFault(status, "WdbGetRecordInBase");
        if (!describeField()) return false;
        if ((flags_ & WDB_F_PART) != 0 && key_.part >= 1) {
            status = WdbSetRecordPart(nullptr, control_.get(), key_.part);
            if (!WDB_SUCCESS(status)) return kernelFault(status, "WdbSetRecordPart");
        }
        status = cursor_.place(control_.get(), key_.field, 0, 0);
        return WDB_SUCCESS(status) || kernelFault(status, "WdbSetCursor");
    }

    bool write() {
        filter_.debug(kContext, "Processing info: usexml=%d base64=%d\n", xml_ ? 1 : 0, base64_ ? 1 : 0);
        if (xml_) begin();
        return type_ == WDB_T_STRING ? writeBinary() : writeText();
    }

    bool isBinary() const { return type_ == WDB_T_STRING; }

private:
    bool kernelFault(std::int32_t status, const char* function) {
        filter_.ReportKernelError(status, kContext, function);
        return false;
    }

    bool describeField() {
        char name[256] = {};
        std::int32_t number = key_.field;
        const std::int32_t status = WdbCheckField(control_.get(), name, &number, &type_, &flags_);
        // The function's name is the previous call's: hosts know it so.
        if (!WDB_SUCCESS(status)) return kernelFault(status, "WdbGetRecordInBase");
        if (type_ != WDB_T_TEXT && type_ != WDB_T_STRING) {
            return fault(filter_,
                         "Column #" + std::to_string(number) + " (" + name +
                             ", typeid=" + std::to_string(type_) +
                             ") does not contain an object. Valid column types are LONG VARCHAR and LONG "
                             "VARBINARY.");
        }
        filter_.debug(kContext, "Column info: type=%d, flags=%d, fieldno=%d\n", type_,
                      static_cast<std::int32_t>(flags_), number);
        base64_ = xml_ && (isBinary() || (flags_ & WDB_F_PLAIN) != 0);
        return true;
    }

    void begin() {
        document_.append("<?xml version=\"1.0\" encoding=\"");
        document_.append(kOutputEncoding);
        document_.append("\" ?>\r\n<Object fetchKey=\"");
        appendXmlAttribute(filter_.conversionSet(), document_, keyText_);
        document_.append(isBinary() ? "\" type=\"LONG VARBINARY\"" : "\" type=\"LONG VARCHAR\"");
        if (base64_) document_.append(" encoding=\"base64\"");
    }

    void writeEmpty() {
        if (xml_ && !base64_) document_.append(" null=\"true\"");
        if (xml_) document_.append(" />\r\n");
        filter_.SetAnswer(document_);
    }

    // ---- binary: straight into the memory that the host gets, sized once ----
    bool writeBinary() {
        std::int32_t size = 0;
        const std::int32_t status = WdbGetBlobSize(cursor_.get(), &size);
        if (!WDB_SUCCESS(status)) return kernelFault(status, "WdbGetBlobSize");
        filter_.debug(kContext, "Getting %d-byte binary object.\n", size);
        if (size < 1) {
            writeEmpty();
            return true;
        }
        return xml_ ? writeEncoded(size) : writeRaw(size);
    }

    bool writeRaw(std::int32_t size) {
        platform::HeapText memory(
            static_cast<char*>(platform::heapAllocate(static_cast<std::size_t>(size) + 10)));
        if (!readBlock(1, size, memory.get())) return false;
        filter_.SetAnswer(std::move(memory), size);
        return true;
    }

    bool writeEncoded(std::int32_t size) {
        constexpr const char* kEnd = "</Object>\r\n";
        document_.append(">");
        const std::size_t head = static_cast<std::size_t>(document_.length());
        const std::size_t encoded = base64Length(static_cast<std::size_t>(size));
        const std::size_t total = head + encoded + std::strlen(kEnd);
        if (total > INT32_MAX) throw std::length_error("document too long");
        platform::HeapText memory(static_cast<char*>(platform::heapAllocate(total + 1)));
        char* out = memory.get();
        std::memcpy(out, document_.text(), head);
        out += head;
        const platform::HeapText block(
            static_cast<char*>(platform::heapAllocate(static_cast<std::size_t>(std::min(size, kBlock)))));
        for (std::int32_t done = 0; done < size;) {
            const std::int32_t length = std::min(kBlock, size - done);
            if (!readBlock(done + 1, length, block.get())) return false;
            const std::string_view piece(block.get(), static_cast<std::size_t>(length));
            base64Write(piece, out);
            out += base64Length(piece.size());
            done += length;
        }
        std::memcpy(out, kEnd, std::strlen(kEnd));
        filter_.SetAnswer(std::move(memory), static_cast<std::int32_t>(total));
        return true;
    }

    /// Reads exactly that much; start is 1-based.
    bool readBlock(std::int32_t start, std::int32_t length, char* target) {
        std::int32_t read = length;
        const std::int32_t status = WdbGetBlobBlock(cursor_.get(), start, length, target, &read);
        if (!WDB_SUCCESS(status)) return kernelFault(status, "WdbGetBlobBlock");
        return read == length || kernelFault(WDB_E_CHANGED, "WdbGetBlobBlock");
    }

    // ---- text ----
    bool writeText() {
        std::int32_t count = static_cast<std::int32_t>(flags_ >> 24);
        if (count == 0) {
            const std::int32_t status = WdbParaCount(cursor_.get(), &count);
            if (status == WDB_E_ONE_PARAGRAPH) {
                count = 1;
            } else if (!WDB_SUCCESS(status)) {
                return kernelFault(status, "WdbParaCount");
            }
        }
        filter_.debug(kContext, "Number of paragraphs in TEXT field: %d\n", count);
        if (count < 1) {
            writeEmpty();
            return true;
        }
        if (xml_) document_.append(base64_ ? ">" : "><P>");
        if (!readLines()) return false;
        if (base64_) encodeText();
        if (xml_) document_.append(base64_ ? "</Object>\r\n" : "</P></Object>\r\n");
        filter_.SetAnswer(document_);
        return true;
    }

    bool readLines() {
        char piece[kLineSize];
        for (;;) {
            std::int32_t length = kLineSize;
            const std::int32_t status = WdbGetLine(cursor_.get(), piece, &length);
            if (status == WDB_FAIL) break;
            if (!WDB_SUCCESS(status)) return kernelFault(status, "WdbGetLine");
            filter_.debug(kContext, "TEXT line length: %d\n", length);
            addPiece(std::string_view(piece, static_cast<std::size_t>(length)));
        }
        flushLine();
        return true;
    }

    /// Pieces of a long line are cut at any byte, so they are put together before they are converted.
    void addPiece(std::string_view piece) {
        const bool complete = piece.size() + 1 < kLineSize;
        if (base64_) {
            work_.append(piece);
            if (complete) work_.append(kLineEnd);
        } else if (piece.empty()) {
            flushLine();
            document_.append(xml_ ? "</P><P>" : kLineEnd);
        } else if (complete && work_.empty()) {
            addLine(piece);
            document_.append(kLineEnd);
        } else {
            work_.append(piece);
            if (!complete) return;
            flushLine();
            document_.append(kLineEnd);
        }
    }

    void flushLine() {
        if (base64_ || work_.empty()) return;
        addLine(work_.view());
        work_.clear();
    }

    void addLine(std::string_view line) {
        if (xml_) {
            appendXmlText(filter_.conversionSet(), document_, line);
        } else if (!convertToUtf8(filter_.conversionSet(), document_, line, true)) {
            document_.append(line);
        }
    }

    void encodeText() {
        CStringBuffer converted(kLineSize);
        const bool inUtf8 = convertToUtf8(filter_.conversionSet(), converted, work_.view(), false);
        const std::string_view text = inUtf8 ? converted.view() : work_.view();
        const std::int32_t before = document_.length();
        base64Append(text, document_);
        filter_.debug(kContext, "Base64-encoding %d-character TEXT value (got %d bytes)\n",
                      static_cast<std::int32_t>(text.size()), document_.length() - before);
    }

    WSQLFilter& filter_;
    const std::string& keyText_;
    const bool xml_;
    bool base64_ = false;
    ObjectKey key_;
    std::int32_t type_ = 0;
    std::uint32_t flags_ = 0;
    WelkRecord control_;
    WelkTuple cursor_;  // behind the control: it is deleted first
    CStringBuffer document_{1024};
    CStringBuffer work_{kLineSize};  ///< lines to be encoded, or the pieces of one line
};

}  // namespace

bool WSQLFilter::ExecuteGetObject(WSQLStmtGetObject* statement) {
    const bool raw = (filterData()->wdb_options & kRawOutput) != 0;
    ObjectAnswer object(*this, statement->key, !raw);
    if (!object.open() || !object.write()) return false;
    setStatus(WDB_OK);
    setLastStatus(WDB_OK);
    writeTypeLine(object.isBinary() ? std::string("STRING\n") : std::string("TEXT\n") + kOutputEncoding);
    return true;
}

}  // namespace wsql
