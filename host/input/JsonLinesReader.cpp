#include "host/input/JsonLinesReader.h"

#include <nlohmann/json.hpp>

#include "host/records/RowWriter.h"
#include "host/text/Base64.h"

namespace host {

// Events of the JSON library for one line. Where something stands that no row has, the reason is kept and
// parsing ends.
class JsonRowHandler : public nlohmann::json_sax<nlohmann::json> {
public:
    explicit JsonRowHandler(JsonRowParser& row) : row_(row) {}
    std::string problem;
    std::int32_t parts = 0;

    bool null() override {
        if (place_ == Place::list) ++position_;
        return place_ != Place::top || refuse("a row is an object");
    }
    bool boolean(bool value) override { return take(value ? "true" : "false"); }
    bool number_integer(number_integer_t value) override { return take(std::to_string(value)); }
    bool number_unsigned(number_unsigned_t value) override { return take(std::to_string(value)); }
    bool number_float(number_float_t, const string_t& digits) override { return take(digits); }
    bool string(string_t& value) override { return take(value); }
    bool binary(binary_t&) override { return refuse("a row has no binary values"); }

    bool key(string_t& name) override {
        if (place_ == Place::object) {
            return name == kObjectKey ||
                   refuse("a value that is an object has one member, " + std::string(kObjectKey));
        }
        partsKey_ = place_ == Place::head && name == kPartsKey;
        if (!partsKey_) column_ = row_.columnOf(name);
        return true;
    }
    bool start_object(std::size_t) override {
        switch (place_) {
            case Place::top:
                return enter(Place::head);
            case Place::head:
            case Place::part:
                if (partsKey_) return refuse("part records are an array");
                row_.columns_[column_].object = true;
                outer_ = place_;
                return enter(Place::object);
            case Place::parts:
                ++parts;
                return enter(Place::part);
            default:
                return refuse("values lie too deep");
        }
    }
    bool end_object() override {
        return enter(place_ == Place::object ? outer_ : place_ == Place::part ? Place::parts : Place::top);
    }
    bool start_array(std::size_t) override {
        if (place_ == Place::head && partsKey_) return enter(Place::parts);
        if (place_ != Place::head && place_ != Place::part)
            return refuse(place_ == Place::top ? "a row is an object" : "values lie too deep");
        row_.columns_[column_].list = true;
        position_ = 0;
        outer_ = place_;
        return enter(Place::list);
    }
    bool end_array() override {
        partsKey_ = false;
        return enter(place_ == Place::list ? outer_ : Place::head);
    }
    bool parse_error(std::size_t position, const std::string&, const nlohmann::detail::exception&) override {
        return refuse("no JSON object: error at byte " + std::to_string(position));
    }

private:
    enum class Place { top, head, list, object, parts, part };
    bool enter(Place place) {
        place_ = place;
        return true;
    }
    bool refuse(std::string reason) {
        if (problem.empty()) problem = std::move(reason);
        return false;
    }
    bool take(std::string_view value) {
        if (place_ == Place::top || place_ == Place::parts || partsKey_) return refuse("a row is an object");
        const std::size_t begin = row_.text_.size();
        if (place_ == Place::object)
            row_.text_ += decodeBase64(value);
        else
            row_.text_ += value;
        const std::int32_t position = place_ == Place::list ? ++position_ : 0;
        const bool inPart = (place_ == Place::part) || (place_ != Place::head && outer_ == Place::part);
        row_.values_.push_back({column_, begin, row_.text_.size(), position, inPart ? parts : 0});
        return true;
    }

    JsonRowParser& row_;
    Place place_ = Place::top, outer_ = Place::head;
    bool partsKey_ = false;
    std::size_t column_ = 0;
    std::int32_t position_ = 0;
};

std::size_t JsonRowParser::columnOf(std::string_view key) {
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        if (columns_[i].key == key) return i;
    }
    columns_.push_back({std::string(key)});
    return names_.addExact(key);
}

void JsonRowParser::parse(std::string_view line, InputRecord& record) {
    text_.clear();
    values_.clear();
    record.values.clear();
    record.problem.clear();
    JsonRowHandler handler(*this);
    const bool good = nlohmann::json::sax_parse(line, &handler);
    record.parts = handler.parts;
    if (!good) record.problem = handler.problem;
    for (const Value& value : values_) {
        record.values.push_back({value.column,
                                 std::string_view(text_).substr(value.begin, value.end - value.begin),
                                 value.position, value.part});
    }
}

bool JsonLinesReader::next(InputRecord& record) {
    std::string_view line;
    while (lines_.next(line)) {
        if (line.find_first_not_of(" \t\r\n") == std::string_view::npos) continue;
        parser_.parse(line, record);
        record.line = lines_.lineNumber();
        return true;
    }
    return false;
}

}  // namespace host
