#include "src/support/LineReader.h"

#include <cstdio>
#include <memory>

namespace wsql {

namespace {
struct CloseFile {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
}  // namespace

std::optional<std::vector<std::string>> readLines(const char* path, std::size_t limit) {
    const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path, "rb"));
    if (!file) return std::nullopt;
    std::vector<std::string> lines;
    std::string piece(limit, '\0');
    while (std::fgets(piece.data(), static_cast<int>(limit), file.get()) != nullptr) {
        std::string line(piece.c_str());
        if (!line.empty() && line.back() == '\n') line.pop_back();
        lines.push_back(std::move(line));
    }
    if (std::ferror(file.get()) != 0) return std::nullopt;
    return lines;
}

}  // namespace wsql
