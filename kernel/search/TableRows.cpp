#include "kernel/search/TableRows.h"

#include <algorithm>

namespace wdb {

bool TableRows::contains(PartRow row) const {
    return byPart ? std::binary_search(parts.begin(), parts.end(), row) : records.contains(row.record);
}

void TableRows::moveTo(Tuples& rows, uint32_t table) const {
    if (!byPart) return rows.set(table, records.toVector(), {});
    std::vector<RecordNumber> numbers;
    std::vector<PartNumber> partNumbers;
    numbers.reserve(parts.size());
    partNumbers.reserve(parts.size());
    for (const PartRow& row : parts) {
        numbers.push_back(row.record);
        partNumbers.push_back(row.part);
    }
    rows.set(table, std::move(numbers), std::move(partNumbers));
}

void TableRows::intersect(TableRows&& other) {
    whole = whole && other.whole;
    if (!byPart) return records.intersect(other.records);
    std::vector<PartRow> both;
    std::set_intersection(parts.begin(), parts.end(), other.parts.begin(), other.parts.end(),
                          std::back_inserter(both));
    parts = std::move(both);
}

}  // namespace wdb
