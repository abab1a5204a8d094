#include <charconv>
#include <cstring>
#include <pugixml.hpp>

#include "host/text/Answer.h"
#include "host/text/Base64.h"

namespace host {

namespace {

// A text comes as paragraph elements, each with the line ends of its lines; an empty line stands between two.
std::string cellText(const pugi::xml_node& node, const Column& column) {
    std::string text;
    bool paragraphs = false;
    for (const pugi::xml_node& child : node.children()) {
        if (child.type() == pugi::node_element) {
            if (paragraphs) text += '\n';
            paragraphs = true;
            text += child.child_value();
        } else {
            text += child.value();
        }
    }
    if (column.isText() && std::strcmp(node.attribute("encoding").value(), "base64") == 0)
        return decodeBase64(text);
    if (paragraphs && text.ends_with('\n')) text.pop_back();  // of the last line
    return text;
}

Cell readCell(const pugi::xml_node& node, const Column& column) {
    if (node.attribute("null").as_bool()) return {"", true};
    const pugi::xml_attribute key = node.attribute("fetchKey");
    if (key) return {key.value(), false};
    return {cellText(node, column), false};
}

ResultSet readResultSet(const pugi::xml_node& root) {
    ResultSet result;
    const pugi::xml_node meta = root.child("ResultSetMetaData");
    result.statementType = meta.attribute("statementType").value();
    result.total = meta.attribute("rowCount").as_llong();
    for (const pugi::xml_node& node : meta.children("ColumnMetaData")) {
        const pugi::xml_attribute label = node.attribute("columnLabel");
        result.columns.push_back({label ? label.value() : node.attribute("columnName").value(),
                                  node.attribute("columnType").value()});
    }
    bool first = true;
    for (const pugi::xml_node& node : root.child("ResultSetData").children("Row")) {
        if (first) result.first = node.attribute("rowNumber").as_llong(1);
        first = false;
        Row row;
        row.reserve(result.columns.size());
        for (const pugi::xml_node& column : node.children("Column")) {
            if (row.size() == result.columns.size()) break;
            row.push_back(readCell(column, result.columns[row.size()]));
        }
        row.resize(result.columns.size(), Cell{"", true});
        result.rows.push_back(std::move(row));
    }
    return result;
}

// The text between the end of the root's start tag and its end tag, which is the last thing in the document.
std::string_view rootText(std::string_view document, std::size_t root) {
    const auto from = document.find('>', root);
    const auto to = document.rfind("</");
    if (from == std::string_view::npos || document[from - 1] == '/' || to == std::string_view::npos ||
        to < from)
        return {};
    return document.substr(from + 1, to - from - 1);
}

// The value of an attribute whose text may hold anything: it ends where the next known piece begins.
std::string_view between(std::string_view text, std::string_view from, std::string_view to) {
    const auto start = text.find(from);
    if (start == std::string_view::npos) return {};
    text.remove_prefix(start + from.size());
    return text.substr(0, text.find(to));
}

// An object as a person reads it: a text with its paragraphs, bytes as the base64 that the document holds.
std::string objectText(const pugi::xml_node& root) {
    if (root.attribute("null").as_bool()) return "NULL";
    if (root.attribute("encoding")) return root.child_value();
    std::string text;
    for (const pugi::xml_node& paragraph : root.children("P")) {
        if (!text.empty()) text += '\n';
        text += paragraph.child_value();
    }
    std::erase(text, '\r');
    while (text.ends_with('\n')) text.pop_back();
    return text;
}

}  // namespace

Answer readAnswer(char* document, std::size_t length) {
    const std::string_view text(document, length);
    std::size_t root = text.find("?>");
    root = root == std::string_view::npos ? 0 : text.find('<', root);
    if (root == std::string_view::npos) return Unreadable{"the answer is no document"};
    const std::string_view body = text.substr(root);
    if (body.starts_with("<Success")) return Success{std::string(rootText(text, root))};
    if (body.starts_with("<property")) {
        return Property{std::string(between(body, "name=\"", "\">")), std::string(rootText(text, root))};
    }
    const bool isObject = body.starts_with("<Object");
    if (!isObject && !body.starts_with("<ResultSet")) return Unreadable{"the answer is of an unknown kind"};
    pugi::xml_document xml;
    const pugi::xml_parse_result parsed = xml.load_buffer_inplace(
        document, length, pugi::parse_escapes | pugi::parse_ws_pcdata_single, pugi::encoding_utf8);
    if (!parsed)
        return Unreadable{std::string(parsed.description()) + " at byte " + std::to_string(parsed.offset)};
    if (isObject) return Success{objectText(xml.child("Object"))};
    return readResultSet(xml.child("ResultSet"));
}

Fault readFault(std::string_view document, int status, std::string_view message) {
    const auto root = document.find("<Fault faultCode=\"");
    if (root == std::string_view::npos) return {status, std::string(message), "", ""};
    const std::string_view body = document.substr(root);
    Fault fault;
    const std::string_view code = between(body, "faultCode=\"", "\"");
    std::from_chars(code.data(), code.data() + code.size(), fault.code);
    fault.source = between(body, "faultSource=\"", "\"\r\n");
    fault.context = between(body, "faultContext=\"", "\">");
    const auto context = body.find("faultContext=\"");
    const auto start = context == std::string_view::npos ? context : body.find("\">", context);
    const auto end = body.rfind("</Fault>");
    if (start != std::string_view::npos && end != std::string_view::npos && start + 2 <= end) {
        fault.message = body.substr(start + 2, end - start - 2);
    } else {
        fault.message = message;
    }
    return fault;
}

}  // namespace host
