// One field of one record: reading it whole, writing or removing one value.
#include <algorithm>
#include <cstring>
#include <string>

#include "src/WSQLFilter.h"
#include "src/tree/WELKFieldInfo.h"
#include "src/welkhelp/ValueFilter.h"
#include "src/welkhelp/WelkRecord.h"

namespace wsql {
namespace {

constexpr std::int32_t kNothing = -1;  ///< the field has no value
constexpr std::int32_t kLineSize =
    8192;  ///< line and item buffers; a line of 8191 bytes goes on in the next piece
constexpr const char* kSource = "src/welkhelp/WSQLWelk";

/// Longest value written, in bytes; longer ones are cut.
std::int32_t valueLimit(std::int32_t type) {
    if (type == WDB_T_TEXT) return 32000;
    return type >= WDB_T_INTEGER && type <= WDB_T_TIME ? 30 : 256;
}

/// Moves the control to the part, when the field lives there and a part is named, and places the cursor.
std::int32_t placeForWriting(WSQLFilter& filter, const char* context, WdbRecordControl* control,
                             const WELKFieldInfo& field, std::int32_t partNumber, std::int32_t position,
                             WelkTuple& tuple) {
    if (field.partField && partNumber >= 1) {
        const std::int32_t status = WdbSetRecordPart(nullptr, control, partNumber);
        if (!WDB_SUCCESS(status)) return status;
        filter.debug(context, "Using part #%d\n", partNumber);
    }
    const bool text = field.type == WDB_T_TEXT;
    const auto number = static_cast<std::int32_t>(field.number);
    const std::int32_t status = tuple.place(control, number, text ? position : 0, text ? 0 : position);
    if (WDB_SUCCESS(status)) filter.debug(context, "Cursor set to pos#%d of field #%d\n", position, number);
    return status;
}

/// Reads the values of one field into a buffer; made for one call of GetFieldValue.
class FieldReader {
public:
    FieldReader(WSQLFilter& filter, const WELKFieldInfo& field, CStringBuffer& output,
                const ValueFilter& values, bool forXml)
        : filter_(filter), field_(field), output_(output), values_(values), forXml_(forXml) {}

    std::int32_t read(std::int32_t recordId, std::int32_t partNumber) {
        std::int32_t status = open(recordId, partNumber);
        if (!WDB_SUCCESS(status)) return status;
        output_.clear();
        if (field_.type == WDB_T_STRING) return readBinary();
        std::int32_t count = 0;
        const bool text = field_.type == WDB_T_TEXT;
        status = text ? WdbParaCount(tuple_.get(), &count) : WdbItemCount(tuple_.get(), &count);
        if (!WDB_SUCCESS(status) || count < 1) return kNothing;
        status = text ? readText() : readItems(count);
        if (filter_.logs(kLogDebug)) filter_.debug(kSource, "Fetched value \"%s\"\n", output_.text());
        return status;
    }

private:
    std::int32_t record(std::int32_t status, const char* function) {
        if (!WDB_SUCCESS(status)) filter_.messageToStatus(status, function);
        return status;
    }

    std::int32_t open(std::int32_t recordId, std::int32_t partNumber) {
        std::int32_t status = WdbCreateRecordControl(&control_.slot());
        if (!WDB_SUCCESS(status)) return record(status, "WdbCreateRecordControl");
        status = WdbSetBase(control_.get(), field_.database.c_str(), WDB_MODE_READ);
        if (!WDB_SUCCESS(status)) return record(status, "WdbSetBase");
        status = WdbGetRecordInBase(control_.get(), recordId);
        if (!WDB_SUCCESS(status)) return record(status, "WdbGetRecordInBase");
        if (field_.partField && partNumber >= 1) {
            status = WdbSetRecordPart(nullptr, control_.get(), partNumber);
            if (!WDB_SUCCESS(status)) return record(status, "WdbSetRecordPart");
        }
        status = tuple_.place(control_.get(), static_cast<std::int32_t>(field_.number), 0, 0);
        return record(status, "WdbSetCursor");
    }

    std::int32_t readText() {
        const bool plain = (field_.flags & WDB_F_PLAIN) != 0;
        const bool markup = forXml_ && !plain;
        CStringBuffer work(kLineSize);
        CStringBuffer& target = markup || !forXml_ ? output_ : work;
        if (markup) target.append("<P>");
        std::string line;
        for (;;) {
            const std::int32_t status = nextLine(line);
            if (!WDB_SUCCESS(status)) {
                if (status != WDB_FAIL) record(status, "WdbGetLine");
                break;
            }
            if (markup && line.empty()) {
                target.append("</P><P>");
                continue;
            }
            if (markup) {
                values_.xml(line, target);
            } else {
                target.append(std::string_view(line));
            }
            target.append('\n');
        }
        if (markup) {
            target.append("</P>");
        } else if (forXml_) {
            values_.plainText(work.view(), output_);
        }
        return WDB_OK;
    }

    /// One whole line: the kernel hands a long one out in pieces that are cut at any byte.
    std::int32_t nextLine(std::string& line) {
        line.clear();
        if (paragraphBreak_) {
            paragraphBreak_ = false;
            return WDB_OK;
        }
        char piece[kLineSize];
        for (bool first = true;; first = false) {
            std::int32_t length = kLineSize;
            const std::int32_t status = WdbGetLine(tuple_.get(), piece, &length);
            if (!WDB_SUCCESS(status)) return first ? status : WDB_OK;
            // Behind a line that filled its last piece exactly, an empty piece is the next, empty line.
            paragraphBreak_ = !first && length == 0;
            line.append(piece, static_cast<std::size_t>(length));
            if (length + 1 < kLineSize) return WDB_OK;
        }
    }

    std::int32_t readBinary() {
        std::int32_t size = 0;
        if (!WDB_SUCCESS(WdbGetBlobSize(tuple_.get(), &size)) || size < 1) return kNothing;
        const platform::HeapText bytes(
            static_cast<char*>(platform::heapAllocate(static_cast<std::size_t>(size) + 10)));
        std::int32_t read = size;
        const std::int32_t status = WdbGetBlobBlock(tuple_.get(), 1, size, bytes.get(), &read);
        if (!WDB_SUCCESS(status)) read = 0;
        const std::string_view content(bytes.get(), static_cast<std::size_t>(read));
        if (forXml_) {
            ValueFilter::binary(content, output_);
        } else {
            output_.append(content);
        }
        filter_.debug(kSource, "Fetched binary value of %d bytes", read);
        return status;
    }

    std::int32_t readItems(std::int32_t count) {
        char item[kLineSize];
        for (std::int32_t n = 1; n <= count; ++n) {
            std::int32_t length = kLineSize;
            if (!WDB_SUCCESS(tuple_.place(control_.get(), static_cast<std::int32_t>(field_.number), 0, n)) ||
                !WDB_SUCCESS(WdbGetItem(tuple_.get(), item, &length))) {
                continue;
            }
            const std::string_view text(item, static_cast<std::size_t>(length));
            if (!forXml_) {
                output_.append(text);
                return WDB_OK;
            }
            values_.value(n, text, output_);
        }
        values_.value(ValueFilter::kEnd, {}, output_);
        return WDB_OK;
    }

    WSQLFilter& filter_;
    const WELKFieldInfo& field_;
    CStringBuffer& output_;
    const ValueFilter& values_;
    bool forXml_;
    bool paragraphBreak_ = false;
    WelkRecord control_;
    WelkTuple tuple_;  // behind the control: it is deleted first
};

}  // namespace

std::int32_t WSQLFilter::GetFieldValue(const WELKFieldInfo& field, std::int32_t recordId,
                                       std::int32_t partNumber, CStringBuffer& output,
                                       const ValueFilter& filter, bool forXml) {
    return FieldReader(*this, field, output, filter, forXml).read(recordId, partNumber);
}

std::int32_t WSQLFilter::SetFieldValue(WdbRecordControl* control, const WELKFieldInfo* field,
                                       std::int32_t partNumber, const char* data, std::int32_t length,
                                       std::int32_t position) {
    constexpr const char* kContext = "WSQLFilter::SetFieldValue";
    if (length == -1) length = static_cast<std::int32_t>(std::strlen(data));
    debug(kContext, "Data length is %d\n", length);
    WelkTuple tuple;
    std::int32_t status = placeForWriting(*this, kContext, control, *field, partNumber, position, tuple);
    if (WDB_SUCCESS(status)) {
        status = WdbReplaceItem(tuple.get(), data, std::min(length, valueLimit(field->type)));
        debug(kContext, "Completed (rc=%d).\n", status);
    }
    return status;
}

std::int32_t WSQLFilter::RemoveFieldValue(WdbRecordControl* control, const WELKFieldInfo* field,
                                          std::int32_t partNumber, std::int32_t position) {
    constexpr const char* kContext = "WSQLFilter::RemoveFieldValue";
    WelkTuple tuple;
    std::int32_t status = placeForWriting(*this, kContext, control, *field, partNumber, position, tuple);
    if (WDB_SUCCESS(status)) {
        status = WdbDeleteItem(tuple.get());
        debug(kContext, "Completed (rc=%d).\n", status);
    }
    return status;
}

}  // namespace wsql
