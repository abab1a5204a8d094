// Row elements straight from the kernel's row into the document.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "src/support/CStringBuffer.h"
#include "src/support/Encoding.h"

namespace wsql {

class SelectOutput;
class WSQLRowBuffers;

/// Writes the rows that need no assembling: one item to a column, its text in the document's encoding, no
/// constants of the statement, no values that stay in their record. Of other rows WSQLRowData and appendRow
/// make the same element.
class RowElements {
public:
    /// The document outlives the writer.
    RowElements(CStringBuffer& document, const SelectOutput& output, const CharacterSet& set);

    /// Appends the element of the row that the buffers stand at the start of. False, with nothing appended
    /// and nothing read, when the row is not of that kind.
    bool append(WSQLRowBuffers& row, std::int32_t rowNumber);
    CStringBuffer& document() { return document_; }

private:
    /// A column's element up to its size, in room that is copied whole.
    struct Opening {
        std::array<char, 40> text{};
        std::uint32_t element = 0;  ///< bytes up to the attributes
        std::uint32_t size = 0;     ///< bytes in all
    };

    bool isPlain(const WSQLRowBuffers& row) const;
    char* writeColumn(char* out, const Opening& opening, std::string_view text, bool escaped) const;

    CStringBuffer& document_;
    std::vector<Opening>
        openings_;    ///< by column; empty when there is a column that needs more than its item
    bool asciiOnly_;  ///< other bytes would have to be converted
};

}  // namespace wsql
