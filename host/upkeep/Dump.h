#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/Catalog.h"
#include "host/import/Loader.h"
#include "host/input/JsonLinesReader.h"

namespace host {

// Where the text of a dump or an export goes, piece by piece.
using Sink = std::function<void(std::string_view)>;

enum class RowFormat { csv, jsonl, sql };

struct ExportReport {
    std::int64_t rows = 0, refused = 0;
    std::vector<std::string> reasons;  // "record 7: ...", the first few
};

// Writes every record of a table, one state of it. Throws KernelError.
ExportReport exportTable(const std::string& table, RowFormat format, const Sink& sink);

// Writes a script for .read that makes the tables again with everything in them: for each a definition and
// its records (".rows TABLE", JSON lines, ".end"), a table behind those that it refers to. One state of all
// of them.
void dumpTables(std::vector<std::string> tables, const Sink& sink);

// The records between ".rows TABLE" and ".end": stored as one change at the end, or not at all.
class RowBlock {
public:
    explicit RowBlock(const std::string& table);
    // Throws KernelError when nothing more can be stored; a line that cannot be used is an exception, too.
    void line(std::string_view text);
    // The number of records stored. Records whose parents come behind them find them now.
    std::int64_t end();

private:
    class LineSource : public RecordReader {
    public:
        bool next(InputRecord& record) override;
        void rewind() override {}
        const std::vector<std::string>& columns() const override { return parser.columns(); }
        bool isList(std::size_t column) const override { return parser.isList(column); }
        bool isKey(std::size_t) const override { return false; }
        ValueForm form() const override { return ValueForm::exact; }
        std::int64_t bytesRead() const override { return 0; }
        std::int64_t size() const override { return 0; }

        JsonRowParser parser;
        std::string_view text;
    };
    // False when the record waits for its parent.
    bool store(std::string_view text);

    LineSource source_;
    Loader loader_;
    InputRecord record_;
    std::size_t mapped_ = 0;
    std::vector<std::string> waiting_;
};

}  // namespace host
