#include "host/Session.h"

#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "host/Kernel.h"
#include "host/Password.h"
#include "host/format/DisplayText.h"

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

std::int32_t Session::tryOpen(const Options& options, const char* password, std::uint32_t mode) {
    WdbSession* session = nullptr;
    const std::int32_t status =
        WdbOpenSession(options.data.c_str(), options.user.c_str(), password, mode, &session);
    session_.reset(session);
    return status;
}

// What is no data directory yet becomes one, and whoever mistyped a name is told.
void Session::open(const Options& options, const char* password) {
    const std::int32_t status = tryOpen(options, password, options.readOnly ? WDB_OPEN_READ_ONLY : 0);
    constexpr std::int32_t kNoDataDirectory = WDB_E_ARGUMENT;
    if (status != kNoDataDirectory) return check(status);
    if (options.readOnly) throw std::runtime_error("there is no data directory " + options.data);
    check(tryOpen(options, password, WDB_OPEN_CREATE));
    std::fprintf(stderr, "made the data directory %s\n", printable(options.data).c_str());
}

Session::Session(const Options& options) {
    if (!options.readOnly) makeDirectory(options.data);
    const std::optional<std::string> given = givenPassword(options.passwordFile);
    try {
        open(options, given ? given->c_str() : "");
    } catch (const KernelError& error) {
        if (error.status() != WDB_E_USER || given) throw;
        const std::optional<std::string> asked = askPassword(options.user);
        if (!asked) throw;
        open(options, asked->c_str());
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
