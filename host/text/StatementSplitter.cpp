#include "host/text/StatementSplitter.h"

#include <utility>

namespace host {

namespace {
bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v';
}
}  // namespace

void StatementSplitter::complete() {
    if (started_) {
        current_.text.resize(end_);
        ready_.push_back(std::move(current_));
    }
    clear();
}

void StatementSplitter::clear() {
    current_ = Statement();
    end_ = 0;
    started_ = false;
    quote_ = 0;
}

void StatementSplitter::feed(std::string_view line) {
    ++line_;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (quote_ == 0) {
            if (c == ';') {
                complete();
                continue;
            }
            if (c == '-' && i + 1 < line.size() && line[i + 1] == '-') {
                if (started_) current_.text.append(line.substr(i));
                break;
            }
            if (isBlank(c)) {
                if (started_) current_.text += c;
                continue;
            }
        }
        if (!started_) {
            started_ = true;
            current_.line = line_;
        }
        current_.text += c;
        if (quote_ == 0) {
            if (c == '\'' || c == '"' || c == '`') quote_ = c;
        } else if (c == quote_ && (i == 0 || line[i - 1] != '\\')) {
            quote_ = 0;
        }
        end_ = current_.text.size();
    }
    if (started_) {
        current_.text += '\n';
        if (quote_ != 0) end_ = current_.text.size();
    }
}

bool StatementSplitter::next(Statement& statement) {
    if (ready_.empty()) return false;
    statement = std::move(ready_.front());
    ready_.pop_front();
    return true;
}

bool StatementSplitter::finish(Statement& statement) {
    complete();
    return next(statement);
}

}  // namespace host
