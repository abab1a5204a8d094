#include "host/input/CsvReader.h"

#include "host/input/ImportError.h"

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
}  // namespace

CsvReader::Parser::Parser() : csv_parser{} {
    if (csv_init(this, CSV_APPEND_NULL | CSV_EMPTY_IS_NULL) != 0) throw ImportError("out of memory");
    csv_set_space_func(this, noSpace);
    csv_set_term_func(this, lineFeed);
}

CsvReader::CsvReader(LineReader& lines, ValueForm form) : lines_(lines), form_(form) {
    if (!readRow()) throw ImportError(lines_.name() + " has no header line");
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

void CsvReader::parse(const char* text, std::size_t length) {
    if (csv_parse(&parser_, text, length, onField, onRecord, this) != length) {
        throw ImportError(lines_.name() + ", line " + std::to_string(lines_.lineNumber()) + ": " +
                          csv_strerror(csv_error(&parser_)));
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
            parse(line.data(), line.size() - 2);
            parse("\n", 1);
        } else {
            parse(line.data(), line.size());
        }
    }
    if (!complete_ && !finished_) {
        finished_ = true;
        if (parser_.quoted != 0 && parser_.pstate == kInsideField) {
            throw ImportError(lines_.name() + ", line " + std::to_string(line_) +
                              ": a quote that is opened here is not closed");
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
        record.problem = std::to_string(fields_.size()) + " fields where the header has " +
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
