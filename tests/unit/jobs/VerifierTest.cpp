#include <gtest/gtest.h>

#include "kernel/check/BaseVerifier.h"
#include "kernel/index/IndexFormat.h"
#include "kernel/jobs/IndexJob.h"
#include "tests/unit/catalog/HomeFixture.h"

namespace wdb {
namespace {

// Each row harms a sound base in one way; the verifier must say so, with the right weight.
struct Harm {
    const char* reason;
    std::function<void(BaseWriter&)> records;
    std::function<void(WriteTxn&)> words;
    Severity severity;
};

Status put(BaseWriter& writer, RecordNumber number, const std::string& image) {
    return writer.writeTxn().put(base_table::kRecords, number, image);
}

std::string bent(std::string image) {
    image.back() = static_cast<char>(image.back() ^ 1);
    return image;
}

void dropFirstPosting(WriteTxn& words) {
    std::string key;
    {
        Cursor cursor = words.cursor(word_table::kPostings);
        ASSERT_EQ(cursor.first(), WDB_OK);
        key = cursor.key();
    }
    ASSERT_EQ(words.remove(word_table::kPostings, key), WDB_OK);
}

void bendFirst(WriteTxn& words, Table table) {
    Cursor cursor = words.cursor(table);
    ASSERT_EQ(cursor.first(), WDB_OK);
    ASSERT_EQ(cursor.replace(bent(std::string(cursor.value()))), WDB_OK);
}

void copyFirstPosting(WriteTxn& words) {
    std::string key;
    std::string value;
    {
        Cursor cursor = words.cursor(word_table::kPostings);
        ASSERT_EQ(cursor.first(), WDB_OK);
        key = cursor.key();
        value = cursor.value();
    }
    key.insert(2, "zz");
    ASSERT_EQ(words.put(word_table::kPostings, key, value), WDB_OK);
}

TEST(VerifierTest, FindsWhatIsWrong) {
    const std::vector<Harm> harms{
        {"nothing", nullptr, nullptr, Severity::Note},
        {"a bent image",
         [](BaseWriter& w) { EXPECT_EQ(put(w, 2, bent(rowImage("b", "words", 2, 1))), WDB_OK); }, nullptr,
         Severity::Damage},
        {"a value of another type",
         [](BaseWriter& w) {
             RecordData record;
             record.head.at(3).items = {"xyz"};
             EXPECT_EQ(put(w, 2, *encodeRecord(record, 1)), WDB_OK);
         },
         nullptr, Severity::Damage},
        {"a field that the base does not have",
         [](BaseWriter& w) {
             RecordData record = RecordData::from(*RecordView::validate(rowImage("b", "words", 2, 1)));
             record.head.at(9).items = {"x"};
             EXPECT_EQ(put(w, 2, *encodeRecord(record, 1)), WDB_OK);
         },
         nullptr, Severity::Damage},
        {"a lost key",
         [](BaseWriter& w) {
             const ValueKey key = valueKey(FieldType::Phrase, "b");
             EXPECT_EQ(w.dropKey(uniqueKey(1, key.bytes, false, {})), WDB_OK);
         },
         nullptr, Severity::Damage},
        {"a key of nobody",
         [](BaseWriter& w) {
             EXPECT_EQ(w.setKey(uniqueKey(1, std::string("Q\0", 2), false, {}), 2), WDB_OK);
         },
         nullptr, Severity::Damage},
        {"a record that nobody counted",
         [](BaseWriter& w) { EXPECT_EQ(put(w, 9, rowImage("i", "words", 2, 1)), WDB_OK); }, nullptr,
         Severity::Damage},
        {"a changed text without a queue entry",
         [](BaseWriter& w) { EXPECT_EQ(put(w, 2, rowImage("b", "other", 2, 1)), WDB_OK); }, nullptr,
         Severity::Repairable},
        {"a lost posting", nullptr, dropFirstPosting, Severity::Repairable},
        {"a posting that does not fit its checksum", nullptr,
         [](WriteTxn& words) { bendFirst(words, word_table::kPostings); }, Severity::Repairable},
        {"positions that do not fit their checksum", nullptr,
         [](WriteTxn& words) { bendFirst(words, word_table::kPositions); }, Severity::Repairable},
        {"lost positions", nullptr,
         [](WriteTxn& words) {
             Cursor cursor = words.cursor(word_table::kPositions);
             ASSERT_EQ(cursor.first(), WDB_OK);
             ASSERT_EQ(cursor.remove(), WDB_OK);
         },
         Severity::Repairable},
        {"a posting of no text", nullptr, copyFirstPosting, Severity::Repairable},
    };
    for (const Harm& harm : harms) {
        const TempDirectory parent;
        const Home home(parent / "home");
        ASSERT_EQ(home.createBase("T"), WDB_OK);
        const auto base = *home->find("T");
        for (const char* name : {"a", "b", "c"}) ASSERT_TRUE(putRow(home, base, 0, name, "words of a text"));
        ASSERT_EQ(mergeQueue(*home, base, home.lock()), WDB_OK);
        ASSERT_TRUE(putRow(home, base, 0, "d", "pending"));
        if (harm.records) {
            auto writer = base->file()->write();
            harm.records(**writer);
            ASSERT_EQ((*writer)->setKey("x", 1), WDB_OK);  // so that there is something to commit
            ASSERT_EQ((*writer)->dropKey("x"), WDB_OK);
            ASSERT_EQ((*writer)->commit(5000), WDB_OK);
        }
        if (harm.words) {
            auto txn = base->indexFiles()->words->write();
            harm.words(*txn);
            ASSERT_EQ(txn->commit(), WDB_OK);
        }
        Severity worst = Severity::Note;
        int findings = 0;
        const FindingSink note = [&](Severity severity, RecordNumber, const std::string& text) {
            EXPECT_FALSE(text.empty());
            worst = std::max(worst, severity);
            ++findings;
            return true;
        };
        auto snapshot = base->snapshot();
        ASSERT_TRUE(snapshot);
        const bool sound = harm.severity == Severity::Note;
        EXPECT_EQ(verifyBase(*snapshot, {}, note), sound ? WDB_OK : WDB_E_CORRUPT) << harm.reason;
        EXPECT_EQ(worst, harm.severity) << harm.reason;
        EXPECT_EQ(findings == 0, sound) << harm.reason;
        findings = 0;
        EXPECT_EQ(verifyBase(*snapshot, {.skipIndex = false, .stopAtFirst = true}, note),
                  sound ? WDB_OK : WDB_E_CORRUPT);
        EXPECT_EQ(findings, sound ? 0 : 1) << harm.reason;
        if (harm.severity == Severity::Repairable) {
            EXPECT_EQ(verifyBase(*snapshot, {.skipIndex = true, .stopAtFirst = false}, note), WDB_OK)
                << harm.reason;
            ASSERT_EQ(rebuildIndex(*home, base, home.lock(), 6000), WDB_OK);
            EXPECT_EQ(verifyBase(*base->snapshot(), {}, note), WDB_OK) << harm.reason << ", built anew";
        }
    }
}

}  // namespace
}  // namespace wdb
