#include "kernel/catalog/Passwords.h"

#include <sodium.h>

namespace wdb {

Result<std::string> hashPassword(Slice password) {
    if (password.empty()) return std::string();
    if (sodium_init() < 0) return Status{WDB_E_MEMORY};
    char hash[crypto_pwhash_STRBYTES];
    if (crypto_pwhash_str(hash, password.data(), password.size(), crypto_pwhash_OPSLIMIT_INTERACTIVE,
                          crypto_pwhash_MEMLIMIT_INTERACTIVE) != 0) {
        return Status{WDB_E_MEMORY};
    }
    return std::string(hash);
}

bool passwordMatches(const std::string& hash, Slice password) {
    if (hash.empty() || password.empty()) return hash.empty() && password.empty();
    if (sodium_init() < 0) return false;
    // The function wants a whole buffer, zero-filled behind the text.
    char stored[crypto_pwhash_STRBYTES] = {};
    if (hash.size() >= sizeof stored) return false;
    hash.copy(stored, hash.size());
    return crypto_pwhash_str_verify(stored, password.data(), password.size()) == 0;
}

}  // namespace wdb
