#include "host/UserCommands.h"

#include <algorithm>
#include <optional>

#include "host/Kernel.h"
#include "host/Password.h"
#include "host/Shell.h"
#include "host/input/ColumnNames.h"

namespace host {

namespace {

struct User {
    std::string name;
    std::uint32_t rights = 0;
};

std::vector<User> listUsers() {
    std::vector<User> users;
    char name[256] = "";
    for (;;) {
        std::int32_t length = sizeof name;
        std::uint32_t rights = 0;
        const std::int32_t status = WdbNextUser(name, &length, &rights);
        if (status == WDB_FAIL) return users;
        check(status);
        users.push_back({name, rights});
    }
}

// Nothing where there is no such user, or the list is not for this session's one.
std::optional<User> findUser(const std::string& name) {
    try {
        for (User& user : listUsers()) {
            if (equalNames(user.name, name)) return std::move(user);
        }
    } catch (const KernelError& error) {
        if (error.status() != WDB_E_RIGHT) throw;
    }
    return std::nullopt;
}

std::string rightsText(std::uint32_t rights) {
    if ((rights & WDB_USER_ADMIN) != 0) return "administrator";
    return (rights & WDB_USER_CREATE) != 0 ? "may create tables" : "";
}

std::string sessionUser() {
    char name[256] = "";
    std::int32_t length = sizeof name;
    check(WdbSessionInfo(WDB_SI_USER, nullptr, name, &length));
    return name;
}

// Takes "--password-file FILE" out of the words.
std::string takePasswordFile(Words& words) {
    const auto option = std::find(words.begin(), words.end(), "--password-file");
    if (option == words.end() || option + 1 == words.end()) return {};
    std::string file = *(option + 1);
    words.erase(option, option + 2);
    return file;
}

// The new password: from the file, or typed twice.
std::string newPassword(const std::string& file, const std::string& user) {
    if (!file.empty()) return *givenPassword(file);
    const auto once = askPassword(user + " (new)");
    if (!once)
        throw std::runtime_error("there is no terminal to ask for a password on: --password-file FILE");
    const auto again = askPassword(user + " (again)");
    if (once != again) throw std::runtime_error("the two passwords differ; nothing is changed");
    return *once;
}

}  // namespace

void showUsers(Shell& shell, const Words& words) {
    if (words.size() != 1) throw UsageError(".users");
    ResultSet result;
    result.columns = {{"USER", "VARCHAR"}, {"RIGHTS", "VARCHAR"}};
    for (const User& user : listUsers()) {
        const std::string rights = rightsText(user.rights);
        result.rows.push_back({{user.name, false}, {rights, rights.empty()}});
    }
    shell.writeResult(result);
}

void addUser(Shell& shell, const Words& words) {
    constexpr const char* kUsage = ".adduser NAME [admin|create] [--password-file FILE]";
    Words rest = words;
    const std::string file = takePasswordFile(rest);
    if (rest.size() != 2 && rest.size() != 3) throw UsageError(kUsage);
    std::uint32_t rights = 0;
    if (rest.size() == 3 && rest[2] == "admin")
        rights = WDB_USER_ADMIN | WDB_USER_CREATE;
    else if (rest.size() == 3 && rest[2] == "create")
        rights = WDB_USER_CREATE;
    else if (rest.size() == 3)
        throw UsageError(kUsage);
    if (findUser(rest[1])) throw KernelError(WDB_E_EXISTS, "there is a user " + rest[1] + " already");
    const std::string password = newPassword(file, rest[1]);
    check(WdbPutUser(rest[1].c_str(), password.c_str(), rights));
    shell.write("user " + rest[1] + " added\n");
}

void changePassword(Shell& shell, const Words& words) {
    Words rest = words;
    const std::string file = takePasswordFile(rest);
    if (rest.size() > 2) throw UsageError(".passwd [NAME] [--password-file FILE]");
    const std::string own = sessionUser();
    const std::string name = rest.size() == 2 ? rest[1] : own;
    // Who is no administrator changes the own password only, and the rights stay as they are.
    std::uint32_t rights = 0;
    if (const auto user = findUser(name); user)
        rights = user->rights;
    else if (!equalNames(name, own))
        throw KernelError(WDB_E_USER, "there is no user " + name);
    const std::string password = newPassword(file, name);
    check(WdbPutUser(name.c_str(), password.c_str(), rights));
    shell.write("password of " + name + " changed\n");
}

void removeUser(Shell& shell, const Words& words) {
    if (words.size() != 2) throw UsageError(".deluser NAME");
    check(WdbDeleteUser(words[1].c_str()));
    shell.write("user " + words[1] + " removed\n");
}

}  // namespace host
