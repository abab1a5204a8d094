#include "host/input/CsvReader.h"

#include "host/input/ImportError.h"
#include "host/text/Utf8.h"

namespace host {

namespace {
// The library would cut blanks off the fields; they are part of the values.
int noSpace(unsigned char) {
    return 0;
}
// A carriage return alone is a character like any other: several records on one line would run together.
int lineFeed(unsigned char c) {
    return c == '\n';
}
// The parser's state between the quotes of a field. The library itself reports an open quote only together
// with every quote inside an unquoted field, which people do write.
constexpr int kInsideField = 2;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr unsigned char kLenient = CSV_APPEND_NULL | CSV_EMPTY_IS_NULL;
constexpr unsigned char kStrict = kLenient | CSV_STRICT;

bool hasLoneReturn(std::string_view line) {
    const auto at = line.find('\r');
    return at != std::string_view::npos && at + 1 < line.size() && line[at + 1] != '\n';
}
}  // namespace

CsvReader::Parser::Parser() : csv_parser{} {
    if (csv_init(this, kStrict) != 0) throw ImportError("out of memory");
    csv_set_space_func(this, noSpace);
    csv_set_term_func(this, lineFeed);
}

CsvReader::CsvReader(LineReader& lines, ValueForm form) : lines_(lines), form_(form) {
    if (!readRow()) throw ImportError(lines_.name() + " has no header line");
    if (!isUtf8(text_) || text_.find('\0') != std::string::npos) {
        const bool wide = text_.find('\0') != std::string::npos;
        throw ImportError(place(line_) + ": the header is not UTF-8" + (wide ? ", but UTF-16 perhaps" : ""));
    }
    for (const Field& field : fields_) {
        const std::string_view name = std::string_view(text_).substr(field.begin, field.end - field.begin);
        if (form_ == ValueForm::free)
            names_.add(name);
        else
            names_.addExact(name);
    }
}

void CsvReader::onField(void* text, std::size_t length, void* self) {
    auto& reader = *static_cast<CsvReader*>(self);
    const std::size_t begin = reader.text_.size();
    if (text != nullptr) reader.text_.append(static_cast<const char*>(text), length);
    reader.fields_.push_back({begin, reader.text_.size(), text == nullptr});
}

void CsvReader::onRecord(int, void* self) {
    static_cast<CsvReader*>(self)->complete_ = true;
}

std::string CsvReader::place(std::int64_t line) const {
    return lines_.name() + ", line " + std::to_string(line);
}

std::string CsvReader::hint() const {
    const bool oneLine = lines_.bytesRead() == lines_.size();
    if (oneLine && text_.find('\r') != std::string::npos)
        return lines_.name() +
               " is one line: only a line feed ends a record, and here are carriage returns alone";
    if (fields_.size() == 1 && text_.find_first_of(";\t") != std::string::npos)
        return "the header of " + lines_.name() + " is one column: commas part the columns, not " +
               (text_.find(';') != std::string::npos ? "semicolons" : "tabulators");
    return {};
}

// A quote within a field that has none around it stands for itself. Text behind the quote that closes a field
// could mean anything, and where the record ends with it.
void CsvReader::parse(std::string_view text) {
    while (!text.empty()) {
        const std::size_t done = csv_parse(&parser_, text.data(), text.size(), onField, onRecord, this);
        if (done >= text.size()) return;
        if (csv_error(&parser_) != CSV_EPARSE)
            throw ImportError(place(lines_.lineNumber()) + ": " + csv_strerror(csv_error(&parser_)));
        text.remove_prefix(done);
        if (parser_.quoted != 0) {
            throw ImportError(
                place(lines_.lineNumber()) +
                ": text behind the quote that closes a field (a quote within quotes is written twice)" +
                (hasLoneReturn(text) ? "; only a line feed ends a record, not a carriage return alone" : ""));
        }
        csv_set_opts(&parser_, kLenient);
        csv_parse(&parser_, text.data(), 1, onField, onRecord, this);
        csv_set_opts(&parser_, kStrict);
        text.remove_prefix(1);
    }
}

// Feeding line by line gives one record at a time and the line where each begins.
bool CsvReader::readRow() {
    text_.clear();
    fields_.clear();
    complete_ = begun_ = false;
    std::string_view line;
    while (!complete_ && lines_.next(line)) {
        if (lines_.lineNumber() == 1 && line.starts_with(kByteOrderMark))
            line.remove_prefix(kByteOrderMark.size());
        if (!begun_ && line.find_first_not_of("\r\n") == std::string_view::npos) continue;
        if (!begun_) line_ = lines_.lineNumber();
        begun_ = true;
        // The carriage return belongs to the line end, not to the last field.
        if (line.ends_with("\r\n")) {
            parse(line.substr(0, line.size() - 2));
            parse("\n");
        } else {
            parse(line);
        }
    }
    if (!complete_ && !finished_) {
        finished_ = true;
        if (parser_.quoted != 0 && parser_.pstate == kInsideField) {
            throw ImportError(place(line_) + ": a quote that is opened here is not closed");
        }
        csv_fini(&parser_, onField, onRecord, this);
    }
    return complete_;
}

bool CsvReader::next(InputRecord& record) {
    record.values.clear();
    record.problem.clear();
    if (!readRow()) return false;
    record.line = line_;
    if (fields_.size() != names_.names().size()) {
        record.problem = std::to_string(fields_.size()) +
                         (fields_.size() == 1 ? " field where" : " fields where") + " the header has " +
                         std::to_string(names_.names().size());
        return true;
    }
    for (std::size_t i = 0; i < fields_.size(); ++i) {
        const Field& field = fields_[i];
        if (!field.isNull && field.end > field.begin) {
            record.values.push_back(
                {i, std::string_view(text_).substr(field.begin, field.end - field.begin)});
        }
    }
    return true;
}

void CsvReader::rewind() {
    csv_fini(&parser_, nullptr, nullptr, nullptr);
    finished_ = false;
    lines_.rewind();
    if (!readRow()) throw ImportError(lines_.name() + " has no header line");
}

}  // namespace host
