#include "tests/crash/DamagedHome.h"

namespace crash {

std::string useHome(const std::string& home, const Contents& contents, bool complete) {
    const Session session(home);
    if (session.status() != WDB_OK) return {};
    Contents found;
    const int32_t reading = readContents(found);
    bool sound = true;
    for (const char* base : kBases) sound = WdbVerifyBase(base, 0, nullptr, nullptr) == WDB_OK && sound;
    if (complete && sound && reading != WDB_OK) return "reading answers " + std::to_string(reading) + "\n";
    if (complete && reading == WDB_OK && !(found == contents)) return "rows are missing or others\n";
    if (sound && reading == WDB_OK) {
        std::string wrong = defectsHere(found, found, found);
        if (!wrong.empty()) return wrong;
    }
    Random random(1);
    for (int i = 0; i < 6; ++i) static_cast<void>(randomStatement(random, found, 700 + i).run());
    for (const char* base : kBases) static_cast<void>(WdbBatchLoadIndex(1, base, ""));
    return {};
}

std::string verifyHome(const std::string& home, const Contents& contents) {
    const Session session(home);
    if (session.status() != WDB_OK) return {};
    bool sound = true;
    for (const char* base : kBases) sound = WdbVerifyBase(base, 0, nullptr, nullptr) == WDB_OK && sound;
    if (!sound) return {};
    Contents found;
    const int32_t reading = readContents(found);
    if (reading != WDB_OK) return "reading answers " + std::to_string(reading) + "\n";
    return found == contents ? "" : "the check found nothing, but rows are others\n";
}

bool isIndex(const std::string& file) {
    return file.ends_with(".BIF") || file.ends_with(".VIF");
}

}  // namespace crash
