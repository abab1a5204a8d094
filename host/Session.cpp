#include "host/Session.h"

#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "host/Kernel.h"
#include "host/Password.h"

namespace host {

namespace {

void makeDirectory(const std::string& path) {
    namespace fs = std::filesystem;
    std::error_code error;
    if (fs::is_directory(path, error)) return;
    if (!fs::create_directories(path, error) || error) {
        throw std::runtime_error("cannot make the data directory " + path +
                                 (error ? ": " + error.message() : ""));
    }
    fs::permissions(path, fs::perms::owner_all, error);
    if (error) throw std::runtime_error("cannot protect the data directory " + path + ": " + error.message());
}

void setOrRemove(const char* name, std::optional<std::int32_t> value) {
    check(UpdateRCS(name, value ? std::to_string(*value).c_str() : nullptr));
}

}  // namespace

void Session::open(const std::string& data, const std::string& user, const char* password) {
    WdbSession* session = nullptr;
    check(WdbOpenSession(data.c_str(), user.c_str(), password, WDB_OPEN_CREATE, &session));
    session_.reset(session);
}

Session::Session(const Options& options) {
    makeDirectory(options.data);
    const std::optional<std::string> given = givenPassword(options.passwordFile);
    try {
        open(options.data, options.user, given ? given->c_str() : "");
    } catch (const KernelError& error) {
        if (error.status() != WDB_E_USER || given) throw;
        const std::optional<std::string> asked = askPassword(options.user);
        if (!asked) throw;
        open(options.data, options.user, asked->c_str());
    }
    check(WdbBindSession(session_.get()));
    // A person wants to read texts, not their keys, unless the environment says otherwise.
    char value[16];
    std::int32_t length = sizeof value;
    if (!WDB_SUCCESS(QueryRCS("SQL_SELECTTEXT", value, &length, 7))) check(UpdateRCS("SQL_SELECTTEXT", "1"));
}

void Session::Close::operator()(WdbSession* session) const {
    WdbBindSession(nullptr);
    WdbCloseSession(&session);
}

void setPaging(std::optional<std::int32_t> blockSize, std::optional<std::int32_t> block) {
    setOrRemove("SQL_BLOCKSIZE", blockSize);
    setOrRemove("SQL_BLOCKNUMBER", block);
}

}  // namespace host
