// What the pages for users say in figures and texts is what the code has.
#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "include/sqlengine.h"
#include "include/wdb.h"
#include "kernel/record/RecordImage.h"
#include "kernel/record/Value.h"
#include "kernel/search/TableJoin.h"
#include "kernel/session/Settings.h"
#include "kernel/session/StatusStack.h"
#include "src/tree/Tree.h"
#include "tests/tables/SourceDirectory.h"

namespace {

std::string fileText(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

std::string page(const char* name) {
    const std::string text = fileText(std::filesystem::path(sourceDirectory()) / "docs" / name);
    EXPECT_FALSE(text.empty()) << name;
    return text;
}

// The texts between quotes of the engine's sources, neighbours as the compiler joins them, escapes undone.
std::string engineTexts() {
    std::string all;
    const std::filesystem::path root = std::filesystem::path(sourceDirectory()) / "src";
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        if (entry.is_regular_file()) all += fileText(entry.path()) + '\n';
    }
    all = std::regex_replace(all, std::regex("\"\\s*\n\\s*\""), "");
    return std::regex_replace(all, std::regex("\\\\\""), "\"");
}

struct Code {
    int code;
    const char* name;
    const char* text;
};

constexpr Code kCodes[] = {
#define WDB_ERROR(name, number, message) {WDB_CODE(number), #name, message},
#include "kernel/common/errors.def"
#undef WDB_ERROR
};

TEST(Pages, EveryKernelCodeIsListed) {
    const std::string errors = page("errors.md");
    for (const Code& entry : kCodes) {
        const std::string number = std::to_string(entry.code);
        if (std::string(entry.name).starts_with("WDB_E_DELETED_")) {
            EXPECT_NE(errors.find(number), std::string::npos) << entry.name;
            continue;
        }
        const std::string row = "| " + number + " | `" + entry.name + "` | " + entry.text + " |";
        EXPECT_NE(errors.find(row), std::string::npos) << row;
    }
}

// A text of the page is in the code, piece by piece between its placeholders.
TEST(Pages, TextsOfTheEngineAreInItsCode) {
    const std::string errors = page("errors.md");
    const std::string code = engineTexts();
    const std::regex row("\n\\| `([^`]+)` \\|");
    const std::string tables = errors.substr(errors.find("## Texts of the engine"));
    int rows = 0;
    for (auto match = std::sregex_iterator(tables.begin(), tables.end(), row);
         match != std::sregex_iterator(); ++match, ++rows) {
        std::string rest = (*match)[1].str();
        const std::string mark = "…";
        while (!rest.empty()) {
            const std::size_t end = std::min(rest.find(mark), rest.size());
            const std::string piece = rest.substr(0, end);
            EXPECT_TRUE(piece.size() <= 3 || code.find(piece) != std::string::npos) << piece;
            rest.erase(0, end == rest.size() ? end : end + mark.size());
        }
    }
    EXPECT_GT(rows, 50);
}

struct Limit {
    const char* what;  // how its row begins
    long long value;
};

const Limit kLimits[] = {
    {"table name", WDB_BASE_NAME_MAX},
    {"column name", WDB_FIELD_NAME_MAX},
    {"column numbers of a table", WDB_FIELD_NUMBER_MAX},
    {"table named in a fetch key", WDB_BASE_NAME_SIZE - 1},
    {"values of a column in one record", wdb::record_image::kMaxItems},
    {"VARCHAR value that a program stores", wdb::kMaxPhrase},
    {"arithmetic within arithmetic", wsql::WSQLOperation::kMaxDepth},
    {"members of a UNION", wsql::WSQLStmtSelect::kMaxUnion},
    {"rows of a join", wdb::kMaxTuples},
    {"command of the kernel", WDB_COMMAND_MAX},
    {"statuses saved", wdb::StatusStack::kMax},
    {"value of a setting", wdb::kMaxSetting},
    {"message of the record", sizeof FilterData::message - 1},
};

TEST(Pages, LimitsAreThoseOfTheCode) {
    const std::string limits = page("limits.md");
    for (const Limit& limit : kLimits) {
        const std::size_t at = limits.find(std::string("\n| ") + limit.what);
        ASSERT_NE(at, std::string::npos) << limit.what;
        const std::size_t cell = limits.find('|', at + 3);
        EXPECT_EQ(std::stoll(limits.substr(cell + 1)), limit.value) << limit.what;
    }
}

TEST(Pages, TheRecordIsLaidOutAsShown) {
    const std::string embedding = page("embedding.md");
    const auto shown = [&](std::size_t at, std::size_t bytes, const std::string& field) {
        const std::string row =
            "\n| " + std::to_string(at) + " | " + std::to_string(bytes) + " | `" + field + "` |";
        EXPECT_NE(embedding.find(row), std::string::npos) << row;
    };
#define WELK_SHOWN(field) shown(offsetof(FilterData, field), sizeof FilterData::field, #field)
    WELK_SHOWN(host);
    WELK_SHOWN(filterName);
    WELK_SHOWN(output);
    WELK_SHOWN(outputLength);
    WELK_SHOWN(text);
    WELK_SHOWN(textLength);
    WELK_SHOWN(wdb_options);
    WELK_SHOWN(status);
    WELK_SHOWN(message);
#undef WELK_SHOWN
    EXPECT_NE(embedding.find(std::to_string(sizeof(FilterData)) + " bytes"), std::string::npos);
}

}  // namespace
