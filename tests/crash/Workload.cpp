#include "tests/crash/Workload.h"

#include <algorithm>
#include <cstring>

#include "tests/model/Home.h"

namespace crash {

namespace {

enum Field : int32_t { kName = 1, kNote, kSize, kData };

// A control on a base, gone at the end of the block.
class Control {
public:
    Control(const char* base, int32_t mode) {
        status_ = WdbCreateRecordControl(&control_);
        if (WDB_SUCCESS(status_)) status_ = WdbSetBase(control_, base, mode);
    }
    ~Control() { WdbDeleteRecordControl(&control_); }
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;
    int32_t status() const { return status_; }
    WdbRecordControl* get() const { return control_; }

private:
    WdbRecordControl* control_ = nullptr;
    int32_t status_ = WDB_OK;
};

int32_t putObject(WdbRecordControl* control, const std::string& object) {
    WdbCursor* cursor = nullptr;
    int32_t status = WdbSetCursor(&cursor, control, kData, 0, 0);
    for (size_t at = 0; at < object.size() && WDB_SUCCESS(status); at += 8192) {
        const size_t size = std::min<size_t>(8192, object.size() - at);
        status = WdbPutBlobBlock(cursor, static_cast<int32_t>(size), object.data() + at);
    }
    WdbDeleteCursor(&cursor);
    return status;
}

int32_t fill(WdbRecordControl* control, const std::string& name, const Row& row) {
    int32_t status = model::putItem(control, kName, 0, name);
    if (WDB_SUCCESS(status)) status = model::putItem(control, kNote, 0, row.note);
    if (WDB_SUCCESS(status)) status = model::putItem(control, kSize, 0, std::to_string(row.size));
    if (WDB_SUCCESS(status) && !row.object.empty()) status = putObject(control, row.object);
    return status;
}

int32_t put(WdbRecordControl* control) {
    int32_t number = 0;
    return WdbPutRecord(control, &number);
}

int32_t insert(const char* base, const std::string& name, const Row& row) {
    const Control control(base, WDB_MODE_WRITE);
    int32_t status = control.status();
    if (WDB_SUCCESS(status)) status = fill(control.get(), name, row);
    return WDB_SUCCESS(status) ? put(control.get()) : status;
}

// Searches leave no set behind.
int32_t numberOf(const char* base, const std::string& name, int32_t& number) {
    WdbSaveStatus();
    int32_t status = WDB_OK;
    WdbExecuteCcl((std::string("BASE ") + base).c_str(), &status);
    if (WDB_SUCCESS(status)) {
        const auto found = model::find("NAME=" + name);
        status = found.size() != 1 ? WDB_E_NO_RECORD : found.front() < 0 ? -found.front() : WDB_OK;
        number = WDB_SUCCESS(status) ? found.front() : 0;
    }
    const int32_t restored = WdbLoadStatus(3);
    return WDB_SUCCESS(status) ? restored : status;
}

int32_t update(const char* base, const std::string& name, const Row& row) {
    int32_t number = 0;
    int32_t status = numberOf(base, name, number);
    if (!WDB_SUCCESS(status)) return status;
    const Control control(base, WDB_MODE_WRITE);
    status = control.status();
    if (WDB_SUCCESS(status)) status = WdbGetRecordInBase(control.get(), number);
    if (WDB_SUCCESS(status)) status = fill(control.get(), name, row);
    return WDB_SUCCESS(status) ? put(control.get()) : status;
}

int32_t erase(const char* base, const std::string& name) {
    int32_t number = 0;
    int32_t status = numberOf(base, name, number);
    if (!WDB_SUCCESS(status)) return status;
    const Control control(base, WDB_MODE_DELETE);
    status = control.status();
    if (WDB_SUCCESS(status)) status = WdbGetRecordInBase(control.get(), number);
    return WDB_SUCCESS(status) ? WdbDeleteRecordInBase(control.get()) : status;
}

// Runs statements as one unit. As the engine does, it is acknowledged only when its commit is.
int32_t unit(const std::vector<std::function<int32_t()>>& steps) {
    WdbSaveStatus();
    int32_t status = WDB_OK;
    for (const auto& step : steps) {
        if (WDB_SUCCESS(status)) status = step();
    }
    const int32_t committed = WdbLoadStatus(3);
    return WDB_SUCCESS(status) ? committed : status;
}

Statement insertOf(size_t base, const std::string& name, const Row& row) {
    return {"insert " + name, [=] { return insert(kBases[base], name, row); },
            [=](Contents& contents) { contents.bases[base][name] = row; }};
}

Statement updateOf(size_t base, const std::string& name, Row row, const Contents& contents) {
    // An object that is not given stays.
    if (row.object.empty()) row.object = contents.bases[base].at(name).object;
    return {"update " + name, [=] { return update(kBases[base], name, row); },
            [=](Contents& changed) { changed.bases[base][name] = row; }};
}

Statement eraseOf(size_t base, const std::string& name) {
    return {"delete " + name, [=] { return erase(kBases[base], name); },
            [=](Contents& contents) { contents.bases[base].erase(name); }};
}

// Several statements as one; the steps of a unit may fail only all together.
Statement together(const std::string& name, const std::vector<Statement>& statements) {
    std::vector<std::function<int32_t()>> steps;
    for (const Statement& statement : statements) steps.push_back(statement.run);
    return {name, [steps] { return unit(steps); },
            [statements](Contents& contents) {
                for (const Statement& statement : statements) statement.expected(contents);
            },
            name.starts_with("unit of two bases")};
}

Statement pairOf(const std::string& name, const Row& row) {
    return together("unit of two bases " + name, {insertOf(0, name, row), insertOf(1, name, row)});
}

std::string someName(Random& random, const Rows& rows) {
    auto place = rows.begin();
    std::advance(place, random() % rows.size());
    return place->first;
}

Statement several(Random& random, const Contents& contents, size_t base) {
    std::vector<Statement> parts;
    std::vector<std::string> names;
    for (const auto& [name, row] : contents.bases[base]) {
        if (random() % 4 == 0 && names.size() < 6) names.push_back(name);
    }
    for (size_t i = 0; i < names.size(); ++i) {
        parts.push_back(i % 2 == 0 ? updateOf(base, names[i], randomRow(random), contents)
                                   : eraseOf(base, names[i]));
    }
    return together("unit of " + std::to_string(parts.size()), parts);
}

std::string textOf(WdbRecordControl* control, int32_t field) {
    WdbCursor* cursor = nullptr;
    std::string text;
    if (WDB_SUCCESS(WdbSetCursor(&cursor, control, field, 0, 0))) {
        char line[8192];
        int32_t length = sizeof line;
        while (WDB_SUCCESS(WdbGetLine(cursor, line, &length))) {
            text.append(line, static_cast<size_t>(length));
            length = sizeof line;
        }
    }
    WdbDeleteCursor(&cursor);
    return text;
}

std::string itemOf(WdbRecordControl* control, int32_t field) {
    WdbCursor* cursor = nullptr;
    char item[256] = "";
    int32_t length = sizeof item;
    if (WDB_SUCCESS(WdbSetCursor(&cursor, control, field, 0, 0))) WdbGetItem(cursor, item, &length);
    WdbDeleteCursor(&cursor);
    return item;
}

std::string objectOf(WdbRecordControl* control) {
    WdbCursor* cursor = nullptr;
    std::string object;
    int32_t size = 0;
    if (WDB_SUCCESS(WdbSetCursor(&cursor, control, kData, 0, 0)) &&
        WDB_SUCCESS(WdbGetBlobSize(cursor, &size)) && size > 0) {
        object.resize(static_cast<size_t>(size));
        int32_t read = 0;
        if (!WDB_SUCCESS(WdbGetBlobBlock(cursor, 1, size, object.data(), &read)) || read != size)
            object = "unreadable";
    }
    WdbDeleteCursor(&cursor);
    return object;
}

int32_t readBase(const char* base, Rows& rows) {
    int32_t status = WDB_OK;
    WdbExecuteCcl((std::string("BASE ") + base).c_str(), &status);
    if (!WDB_SUCCESS(status)) return status;
    const Control control(base, WDB_MODE_READ);
    for (const int32_t number : model::find("R=FROM 1")) {
        if (number < 0) return -number;
        status = WdbGetRecordInBase(control.get(), number);
        if (!WDB_SUCCESS(status)) return status == WDB_FAIL ? WDB_E_NO_RECORD : status;
        const Row row{textOf(control.get(), kNote), std::atoll(itemOf(control.get(), kSize).c_str()),
                      objectOf(control.get())};
        if (!rows.emplace(itemOf(control.get(), kName), row).second) return WDB_E_DUPLICATE;
    }
    return WDB_OK;
}

// What the criterion finds against what a look at all rows finds.
std::string compareSearch(const std::string& criterion, size_t expected) {
    const auto found = model::find(criterion);
    if (!found.empty() && found.front() < 0)
        return criterion + " answers " + std::to_string(-found.front()) + "\n";
    if (found.size() == expected) return {};
    return criterion + " finds " + std::to_string(found.size()) + " of " + std::to_string(expected) + "\n";
}

std::string compareSearches(const Rows& rows) {
    std::string wrong;
    for (int word = 0; word < 7; ++word) {
        const std::string text = "word" + std::to_string(word);
        wrong += compareSearch(
            "NOTE=" + text, static_cast<size_t>(std::ranges::count_if(
                                rows, [&](const auto& row) { return row.second.note.starts_with(text); })));
    }
    const auto small = std::ranges::count_if(rows, [](const auto& row) { return row.second.size < 500; });
    wrong += compareSearch("SIZE<500", static_cast<size_t>(small));
    int probes = 0;
    for (auto row = rows.rbegin(); row != rows.rend() && probes < 8; ++row, ++probes)
        wrong += compareSearch("NAME=" + row->first, 1);
    return wrong;
}

int32_t noteFinding(void* context, int32_t severity, int32_t record, const char* text) {
    if (severity > 1)
        *static_cast<std::string*>(context) +=
            "finding at record " + std::to_string(record) + ": " + text + "\n";
    return WDB_OK;
}

std::string difference(const Contents& wanted, const Contents& found) {
    std::string text;
    for (size_t base = 0; base < kBases.size(); ++base) {
        for (const auto& [name, row] : wanted.bases[base]) {
            const auto place = found.bases[base].find(name);
            if (place == found.bases[base].end())
                text += std::string(kBases[base]) + " lacks " + name + "\n";
            else if (!(place->second == row))
                text += std::string(kBases[base]) + " has another " + name + "\n";
        }
        for (const auto& [name, row] : found.bases[base]) {
            if (!wanted.bases[base].contains(name))
                text += std::string(kBases[base]) + " has " + name + " too many\n";
        }
    }
    return text;
}

}  // namespace

Session::Session(const std::string& home) {
    status_ = WdbOpenSession(home.c_str(), "OWNER", "", WDB_OPEN_CREATE, &session_);
    if (WDB_SUCCESS(status_)) status_ = WdbBindSession(session_);
    if (WDB_SUCCESS(status_)) WdbExecuteCcl("DEFINE FIND MIN=0", &status_);
}

Session::~Session() {
    if (session_ != nullptr) WdbCloseSession(&session_);
}

Row randomRow(Random& random) {
    Row row;
    row.note = "word" + std::to_string(random() % 7) + " and some text";
    if (random() % 8 == 0) row.note.append(6000, 'x');
    row.size = static_cast<int64_t>(random() % 1000);
    if (random() % 8 == 0) row.object.assign(random() % 90000, static_cast<char>('a' + random() % 26));
    return row;
}

Statement randomStatement(Random& random, const Contents& contents, int serial) {
    const size_t base = random() % kBases.size();
    const Rows& rows = contents.bases[base];
    const std::string name = "row" + std::to_string(serial);
    const unsigned choice = rows.size() < 4 ? 0 : random() % 100;
    if (choice < 40) return insertOf(base, name, randomRow(random));
    if (choice < 58) return updateOf(base, someName(random, rows), randomRow(random), contents);
    if (choice < 70) return eraseOf(base, someName(random, rows));
    if (choice < 80) return pairOf(name, randomRow(random));
    if (choice < 88) return several(random, contents, base);
    if (choice < 96) return bulkLoad("load" + std::to_string(serial), 20);
    return choice < 98 ? rebuildIndex(base) : compact(base);
}

Statement bulkLoad(const std::string& prefix, int rows) {
    Random random(7);
    Rows loaded;
    for (int i = 0; i < rows; ++i) loaded[prefix + "n" + std::to_string(i)] = randomRow(random);
    if (rows > 1000) {
        for (auto& [name, row] : loaded) row.object.clear();
    }
    const auto run = [loaded] {
        int32_t status = WdbBeginLoad(kBases[0], 0);
        if (!WDB_SUCCESS(status)) return status;
        for (const auto& [name, row] : loaded) {
            if (WDB_SUCCESS(status)) status = insert(kBases[0], name, row);
        }
        const int32_t ended = WdbEndLoad(kBases[0], WDB_SUCCESS(status) ? 1 : 0);
        return WDB_SUCCESS(status) ? ended : status;
    };
    return {"load of " + std::to_string(rows), run,
            [loaded](Contents& contents) { contents.bases[0].insert(loaded.begin(), loaded.end()); }};
}

Statement rebuildIndex(size_t base) {
    return {"rebuild", [=] { return WdbBatchLoadIndex(1, kBases[base], ""); }, [](Contents&) {}};
}

Statement compact(size_t base) {
    return {"compact", [=] { return WdbCompactBase(kBases[base]); }, [](Contents&) {}};
}

std::vector<Statement> kernelStatements() {
    Contents contents;
    Random random(3);
    Row big = randomRow(random);
    big.object.assign(200000, 'o');
    contents.bases[0]["row3"] = contents.bases[0]["row4"] = contents.bases[1]["row5"] = {};
    return {
        insertOf(0, "fresh", randomRow(random)),
        insertOf(0, "object", big),
        updateOf(0, "row3", big, contents),
        eraseOf(0, "row3"),
        together("unit of several", {insertOf(0, "fresh", big),
                                     updateOf(0, "row3", randomRow(random), contents), eraseOf(0, "row4")}),
        pairOf("fresh", big),
        together("unit of two bases, changing", {updateOf(0, "row3", big, contents), eraseOf(1, "row5")}),
        bulkLoad("load", 60),
        rebuildIndex(0),
        {"rebuild one field", [] { return WdbRebuildIndex(kBases[0], "NOTE"); }, [](Contents&) {}},
        compact(0),
    };
}

std::vector<Statement> queueFilling() {
    // The limit is 8 MB of images; each statement writes its record anew and keeps the image before.
    Random random(11);
    Row big = randomRow(random);
    big.object.clear();
    for (int i = 0; i < 30; ++i) big.note += " " + std::string(35000, static_cast<char>('a' + i % 26));
    std::vector<Statement> statements{insertOf(0, "big", big)};
    Contents contents;
    contents.bases[0]["big"] = big;
    for (int i = 0; i < 4; ++i) statements.push_back(updateOf(0, "big", big, contents));
    return statements;
}

Contents prepare(const std::string& home) {
    const Session session(home);
    model::require(session.status(), "open session");
    Contents contents;
    Random random(1);
    for (const char* base : kBases) {
        model::createBase(
            base, {{"NAME", "PHRASE"}, {"NOTE", "TEXT"}, {"SIZE", "INTEGER"}, {"DATA", "STRING"}}, "NAME");
    }
    for (int serial = 0; serial < 24; ++serial) {
        const auto base = static_cast<size_t>(serial % 2);
        for (const size_t target : {base, size_t{0}}) {
            const Statement statement = insertOf(target, "row" + std::to_string(serial), randomRow(random));
            if (contents.bases[target].contains("row" + std::to_string(serial))) continue;
            model::require(statement.run(), statement.name.c_str());
            statement.expected(contents);
        }
        if (serial == 15) {
            for (const char* name : kBases) model::require(WdbBatchLoadIndex(1, name, ""), "index job");
        }
    }
    return contents;
}

int32_t readContents(Contents& contents) {
    contents = {};
    WdbSaveStatus();
    int32_t status = WDB_OK;
    for (size_t base = 0; base < kBases.size() && WDB_SUCCESS(status); ++base)
        status = readBase(kBases[base], contents.bases[base]);
    const int32_t restored = WdbLoadStatus(3);
    return WDB_SUCCESS(status) ? restored : status;
}

std::string defectsHere(const Contents& before, const Contents& after, Contents& found) {
    std::string wrong;
    const int32_t status = readContents(found);
    if (!WDB_SUCCESS(status)) return "reading answers " + std::to_string(status) + "\n";
    if (!(found == before) && !(found == after))
        wrong +=
            "against before:\n" + difference(before, found) + "against after:\n" + difference(after, found);
    WdbSaveStatus();
    for (size_t base = 0; base < kBases.size(); ++base) {
        int32_t opened = WDB_OK;
        WdbExecuteCcl((std::string("BASE ") + kBases[base]).c_str(), &opened);
        if (!WDB_SUCCESS(opened)) wrong += "BASE answers " + std::to_string(opened) + "\n";
        wrong += compareSearches(found.bases[base]);
        const int32_t sound = WdbVerifyBase(kBases[base], 0, noteFinding, &wrong);
        if (sound != WDB_OK)
            wrong += std::string(kBases[base]) + " is not sound: " + std::to_string(sound) + "\n";
    }
    if (const int32_t restored = WdbLoadStatus(3); !WDB_SUCCESS(restored))
        wrong += "restore answers " + std::to_string(restored) + "\n";
    return wrong;
}

std::string defects(const std::string& home, const Contents& before, const Contents& after, Contents& found) {
    const Session session(home);
    if (session.status() != WDB_OK) return "open answers " + std::to_string(session.status()) + "\n";
    return defectsHere(before, after, found);
}

}  // namespace crash
