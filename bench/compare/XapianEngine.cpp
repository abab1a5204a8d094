#include <xapian.h>

#include <vector>

#include "bench/compare/Csv.h"
#include "bench/compare/Document.h"
#include "bench/compare/Engine.h"
#include "kernel/text/Analyzer.h"

namespace compare {

namespace {

// Slots of values, and prefixes of the terms that stand for whole values.
constexpr Xapian::valueno kSizeSlot = 0;
constexpr Xapian::valueno kNameSlot = 1;
constexpr const char* kNamePrefix = "XN";
constexpr const char* kSectionPrefix = "XS";
constexpr size_t kLongestTerm = 240;

Xapian::Query queryOf(const Query& query) {
    using Xapian::Query;
    const std::vector<std::string>& arguments = query.arguments;
    const auto range = [&] {
        return Query(Query::OP_VALUE_RANGE, kSizeSlot, Xapian::sortable_serialise(std::stod(arguments[0])),
                     Xapian::sortable_serialise(std::stod(arguments[1])));
    };
    switch (query.kind) {
        case Kind::Point:
            return Query(kNamePrefix + arguments[0]);
        case Kind::Exact:
            return Query(kSectionPrefix + arguments[0]);
        case Kind::And:
            return Query(Query::OP_AND, Query(arguments[0]), Query(arguments[1]));
        case Kind::OrOfThree:
            return Query(Query::OP_OR, arguments.begin(), arguments.end());
        case Kind::AndNot:
            return Query(Query::OP_AND_NOT, Query(arguments[0]), Query(arguments[1]));
        case Kind::WordPrefix:
            return Query(Query::OP_WILDCARD, arguments[0]);
        // Much faster here than a wildcard over the terms of the names.
        case Kind::NamePrefix:
            return Query(Query::OP_VALUE_RANGE, kNameSlot, arguments[0], arguments[0] + '\xFF');
        case Kind::Phrase:
            return Query(Query::OP_PHRASE, arguments.begin(), arguments.end(), 2);
        case Kind::Range:
            return range();
        case Kind::RangeAndWord:
            return Query(Query::OP_AND, range(), Query(arguments[2]));
        case Kind::FirstPage:
        case Kind::Page500:
            return Query::MatchAll;
        default:
            return Query(arguments[0]);
    }
}

// The query as a text of Xapian's own language, for the parser that `textParser` makes.
std::string textOf(const Query& query) {
    const std::vector<std::string>& arguments = query.arguments;
    switch (query.kind) {
        case Kind::Point:
            return "name:" + arguments[0];
        case Kind::Exact:
            return "section:" + arguments[0];
        case Kind::And:
            return arguments[0] + " AND " + arguments[1];
        case Kind::OrOfThree:
            return arguments[0] + " OR " + arguments[1] + " OR " + arguments[2];
        case Kind::AndNot:
            return arguments[0] + " NOT " + arguments[1];
        case Kind::WordPrefix:
            return arguments[0] + "*";
        case Kind::Phrase:
            return '"' + arguments[0] + ' ' + arguments[1] + '"';
        case Kind::Range:
            return "size:" + arguments[0] + ".." + arguments[1];
        case Kind::RangeAndWord:
            return arguments[2] + " size:" + arguments[0] + ".." + arguments[1];
        default:
            return arguments.empty() ? "" : arguments[0];
    }
}

// Takes those texts apart; all settings that a program makes once. What its language has no form for (a range
// of names, everything) is given as a tree.
class TextParser {
public:
    explicit TextParser(const Xapian::Database& database) : sizes_(kSizeSlot, "size:") {
        parser_.set_database(database);
        parser_.set_stemming_strategy(Xapian::QueryParser::STEM_NONE);
        parser_.set_default_op(Xapian::Query::OP_AND);
        parser_.add_boolean_prefix("name", kNamePrefix);
        parser_.add_boolean_prefix("section", kSectionPrefix);
        parser_.add_rangeprocessor(&sizes_);
    }
    TextParser(const TextParser&) = delete;
    TextParser& operator=(const TextParser&) = delete;

    Xapian::Query operator()(const Query& query) {
        if (query.kind == Kind::NamePrefix || query.kind == Kind::FirstPage || query.kind == Kind::Page500)
            return queryOf(query);
        return parser_.parse_query(textOf(query), Xapian::QueryParser::FLAG_BOOLEAN |
                                                      Xapian::QueryParser::FLAG_PHRASE |
                                                      Xapian::QueryParser::FLAG_WILDCARD);
    }

private:
    Xapian::NumberRangeProcessor sizes_;
    Xapian::QueryParser parser_;
};

class XapianEngine : public Engine {
public:
    XapianEngine(const std::string& data, Way way, bool ranked)
        : way_(way), ranked_(ranked), database_(data + "/xapian"), parser_(database_), enquire_(database_) {
        if (ranked) return;  // by default the documents are weighed and the best come first
        enquire_.set_weighting_scheme(Xapian::BoolWeight());
        enquire_.set_docid_order(Xapian::Enquire::ASCENDING);
    }

    const char* name() const override { return ranked_ ? "X. ranked" : "Xapian"; }
    bool deliversTheSame() const override { return !ranked_; }

    bool prepare(Kind kind) override {
        if (ranked_ && !asksForWords(kind)) return false;
        switch (kind) {
            case Kind::WordInfix:
            case Kind::Group:
            case Kind::JoinFew:
            case Kind::JoinAll:
                return false;
            case Kind::WordByName:
                enquire_.set_sort_by_value(kNameSlot, false);
                return true;
            case Kind::FirstPage:
            case Kind::Page500:
                enquire_.set_sort_by_value(kSizeSlot, true);
                return true;
            default:
                enquire_.set_sort_by_relevance();
                return true;
        }
    }

    Answer answer(const Query& query) override {
        enquire_.set_query(way_ == Way::Text ? parser_(query) : queryOf(query));
        const auto first =
            static_cast<Xapian::doccount>(query.kind == Kind::Page500 ? (kFarPage - 1) * kPageRows : 0);
        // Where the database knows the count of a term, nothing more has to be checked.
        Xapian::MSet hits = enquire_.get_mset(first, kPageRows);
        if (hits.get_matches_lower_bound() != hits.get_matches_upper_bound())
            hits = enquire_.get_mset(first, kPageRows, database_.get_doccount());
        Answer out;
        out.total = hits.get_matches_lower_bound();
        if (out.total != hits.get_matches_upper_bound()) die("no exact total");
        if (way_ == Way::Text) document_.begin(out.total);
        const bool sizes = query.kind == Kind::FirstPage || query.kind == Kind::Page500;
        for (Xapian::MSetIterator hit = hits.begin(); hit != hits.end(); ++hit) {
            ++out.rows;
            const std::string data = hit.get_document().get_data();
            out.bytes += data.size();
            if (way_ == Way::Text) writeRow(out.rows, data, sizes);
        }
        if (way_ == Way::Text) out.bytes = document_.end();
        return out;
    }

private:
    static bool asksForWords(Kind kind) {
        switch (kind) {
            case Kind::Rare:
            case Kind::Common:
            case Kind::And:
            case Kind::OrOfThree:
            case Kind::AndNot:
            case Kind::WordPrefix:
            case Kind::Phrase:
            case Kind::RangeAndWord:
                return true;
            default:
                return false;
        }
    }

    // Name, version and size stand in the data with tabulators between them.
    void writeRow(int number, std::string_view data, bool sizes) {
        const size_t first = data.find('\t'), second = data.find('\t', first + 1);
        document_.row(number);
        document_.column(1, data.substr(0, first));
        document_.column(2, sizes ? data.substr(second + 1) : data.substr(first + 1, second - first - 1));
        document_.endRow();
    }

    const Way way_;
    const bool ranked_;
    Document document_;
    Xapian::Database database_;
    TextParser parser_;
    Xapian::Enquire enquire_;
};

}  // namespace

void loadXapian(const std::string& data) {
    Xapian::WritableDatabase database(data + "/xapian", Xapian::DB_CREATE_OR_OVERWRITE | Xapian::DB_NO_SYNC);
    wdb::Analyzer analyzer;
    CsvReader packages(data + "/packages.csv");
    std::vector<std::string> fields;
    while (packages.row(fields)) {
        Xapian::Document document;
        document.set_data(fields[0] + '\t' + fields[1] + '\t' + fields[3]);
        document.add_value(kSizeSlot, Xapian::sortable_serialise(std::stod(fields[3])));
        document.add_value(kNameSlot, fields[0]);
        document.add_boolean_term(kNamePrefix + fields[0]);
        document.add_boolean_term(kSectionPrefix + fields[2]);
        analyzer.words(fields[4], [&](const wdb::Word& word) {
            if (word.term.size() <= kLongestTerm) document.add_posting(std::string(word.term), word.position);
        });
        database.add_document(document);
    }
    database.commit();
    database.close();
}

std::unique_ptr<Engine> openXapian(const std::string& data, Way way, bool ranked) {
    return std::make_unique<XapianEngine>(data, way, ranked);
}

}  // namespace compare
