#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "include/wdb.h"

// A system in a temporary directory of its own and the few kernel calls that every test of this folder
// repeats. Failures of these helpers end the process with a message: they mean that the test could not be set
// up.
namespace model {

class Home {
public:
    Home();
    ~Home();
    Home(const Home&) = delete;
    Home& operator=(const Home&) = delete;

    const std::string& path() const { return path_; }

private:
    std::string path_;
};

// A session of the home directory's owner, bound to the calling thread for its lifetime.
class BoundSession {
public:
    explicit BoundSession(const Home& home) : BoundSession(home.path()) {}
    explicit BoundSession(const std::string& path);
    ~BoundSession();
    BoundSession(const BoundSession&) = delete;
    BoundSession& operator=(const BoundSession&) = delete;

private:
    WdbSession* session_ = nullptr;
};

struct FieldPlan {
    const char* name;
    const char* typeName;
    bool part = false;
};

// Field numbers count from 1 in the order of the plan; uniqueKey may be empty.
void createBase(const char* name, const std::vector<FieldPlan>& fields, const char* uniqueKey);

// One item, or one text, of the control's current record; an empty value leaves the field empty.
int32_t putItem(WdbRecordControl* control, int32_t field, int32_t item, std::string_view value);

// Runs FIND and answers the record numbers of its set in order, or {-status} when a call failed.
std::vector<int32_t> find(const std::string& expression);
// Runs a SELECT of R alone over the base and answers the column in row order, or {-status}.
std::vector<int32_t> select(const std::string& base, const std::string& where, const std::string& sort);

void require(int32_t status, const char* what);

}  // namespace model
