#pragma once

#include "kernel/search/RowPlaces.h"

namespace wdb {

// Whether DISTINCT compares texts and objects by their contents, since rows deliver them so, or by their
// references.
struct InlineValues {
    bool texts = false;
    bool objects = false;
};

// Appends what a row is compared by: rows are equal when these bytes are. Values of different lengths differ;
// up to 256 bytes they are compared normalised, longer ones as they are (large objects by a digest of 128
// bits). Several values of a field are one text, as rows show them: without gaps, joined by "; ". Rows that
// look alike would otherwise be told apart here and dropped by whoever compares neighbours.
class RowKeyMaker {
public:
    RowKeyMaker(std::span<const OutputColumn> columns, DateForm form, InlineValues inlined)
        : columns_(columns), form_(form), inlined_(inlined) {}

    // WDB_E_CORRUPT.
    Status append(const RowView& row, std::string& key);

private:
    static void appendNull(std::string& key);
    void appendValue(Slice text, std::string& key);
    void appendItems(const OutputColumn& column, const RowRecord& record, std::string& key);
    Status appendReference(const OutputColumn& column, const RowRecord& record, std::string& key);
    Status appendObject(Slice reference, const BaseSnapshot& snapshot, std::string& key);

    std::span<const OutputColumn> columns_;
    const DateForm form_;
    const InlineValues inlined_;
    std::string text_;
};

// The first row of each kind of equal rows, ascending.
Status distinctRows(std::span<const OutputColumn> columns, const SourceRows& source, InlineValues inlined,
                    std::vector<uint32_t>& kept);

}  // namespace wdb
