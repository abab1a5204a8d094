#include "kernel/search/RowWriter.h"

#include <gtest/gtest.h>

#include "kernel/record/Value.h"

namespace wdb {
namespace {

OutputColumn column(FieldNumber field, FieldType type, std::string name, uint32_t first = 0,
                    uint32_t last = 0) {
    OutputColumn result;
    result.kind = OutputColumn::Kind::Field;
    result.field = field;
    result.type = type;
    result.name = std::move(name);
    result.first = first;
    result.last = last;
    return result;
}

struct Fixture {
    Fixture() {
        RecordData data;
        data.head.at(1).items = {"x", "y"};
        data.head.at(3).items = {"a text"};
        data.head.at(4).items = {encodeInteger(-5), "", encodeInteger(7)};
        data.trim();
        image = *encodeRecord(data, 1);
        view = *RecordView::validate(image);
    }
    std::string image;
    RecordView view;
    RowItems row;
    RowRecord record;
};

RowView rowOf(Fixture& fixture, RecordNumber number) {
    fixture.record = {&fixture.view, number, 0, false};
    return {{&fixture.record, 1}, {}, 0};
}

TEST(RowWriterTest, ItemsFlagsLengthsAndTrailer) {
    Fixture f;
    const std::vector<OutputColumn> columns = {column(1, FieldType::Phrase, "NAME"),
                                               column(2, FieldType::Integer, "QTY"),
                                               column(3, FieldType::Text, "NOTE")};
    RowWriter(f.row, {}).write(columns, rowOf(f, 12), true);
    const std::vector<uint32_t> words = {4, 12, 1, 137, 1, 129, 0, 10, 9, 141, 12, 0};
    EXPECT_EQ(f.row.words, words);
    EXPECT_EQ(f.row.data, std::string("x\0y\0NOTE,12,0\0\0", 15));
}

TEST(RowWriterTest, SubfieldsGapsAndConstants) {
    Fixture f;
    OutputColumn record, constant, none;
    record.kind = OutputColumn::Kind::Record;
    constant.kind = OutputColumn::Kind::Constant;
    constant.text = "c";
    const std::vector<OutputColumn> columns = {column(4, FieldType::Integer, "N"),
                                               column(4, FieldType::Integer, "N", 3, 3),
                                               column(4, FieldType::Integer, "N", 2, 2),
                                               column(4, FieldType::Integer, "N", 2, 3),
                                               column(1, FieldType::Phrase, "P", 1, 1),
                                               column(1, FieldType::Phrase, "P", 9, 9),
                                               record,
                                               constant,
                                               none};
    RowWriter(f.row, {}).write(columns, rowOf(f, 3), true);
    std::string printed;
    size_t start = 0;
    for (uint32_t i = 0; i < f.row.words[0]; ++i) {
        const uint32_t length = f.row.words[2 + 2 * i], flags = f.row.words[3 + 2 * i];
        printed += (flags & 8u) != 0 ? " |" : ";";
        printed += (flags & 2u) != 0 ? "-" : f.row.data.substr(start, length);
        start += length + ((flags & 128u) != 0 ? 1 : 0);
    }
    EXPECT_EQ(printed, " |-5;-;7 |7 |- |-5;-;7 |x |- |3 |c |-");
}

TEST(RowWriterTest, ARowWithoutARecord) {
    Fixture f;
    OutputColumn constant;
    constant.kind = OutputColumn::Kind::Constant;
    constant.text = "1";
    RowWriter(f.row, {}).write(std::vector<OutputColumn>{constant}, {}, false);
    EXPECT_EQ(f.row.words, (std::vector<uint32_t>{1, 6, 1, 137, 0, 0}));
}

}  // namespace
}  // namespace wdb
