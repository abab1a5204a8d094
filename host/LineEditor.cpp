#include "host/LineEditor.h"

#include <histedit.h>
#include <signal.h>

#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "host/text/Completion.h"

namespace host {

namespace {
constexpr int kHistorySize = 2000;
constexpr const char* kDelimiters = " \t\n,()=<>*+-/;'\"`[]";

void onInterrupt(int) {}  // only so that reading ends

// Ctrl-C drops the line that is being typed; while a statement runs it ends the program as everywhere.
class InterruptEndsReading {
public:
    InterruptEndsReading() {
        struct sigaction action {};
        action.sa_handler = onInterrupt;  // without SA_RESTART
        sigaction(SIGINT, &action, &before_);
    }
    ~InterruptEndsReading() { sigaction(SIGINT, &before_, nullptr); }
    InterruptEndsReading(const InterruptEndsReading&) = delete;
    InterruptEndsReading& operator=(const InterruptEndsReading&) = delete;

private:
    struct sigaction before_ {};
};
}  // namespace

struct LineEditor::State {
    EditLine* edit = nullptr;
    History* history = nullptr;
    std::string historyFile, prompt;
    std::function<std::vector<std::string>()> names;

    static State* of(EditLine* edit) {
        void* data = nullptr;
        el_get(edit, EL_CLIENTDATA, &data);
        return static_cast<State*>(data);
    }
    static char* showPrompt(EditLine* edit) { return of(edit)->prompt.data(); }
    static unsigned char complete(EditLine* edit, int);
};

unsigned char LineEditor::State::complete(EditLine* edit, int) {
    const LineInfo* line = el_line(edit);
    const char* start = line->cursor;
    while (start > line->buffer && std::string_view(kDelimiters).find(start[-1]) == std::string_view::npos)
        --start;
    std::string word(start, line->cursor);
    // A column may stand behind its table's name and a point.
    const auto dot = word.rfind('.');
    if (dot != std::string::npos && dot > 0) word.erase(0, dot + 1);
    const std::vector<std::string> found = completions(word, of(edit)->names());
    const std::string prefix = commonPrefix(found);
    if (found.empty()) return CC_REFRESH_BEEP;
    if (found.size() == 1 || prefix.size() > word.size()) {
        el_deletestr(edit, static_cast<int>(word.size()));
        const std::string text = prefix + (found.size() == 1 ? " " : "");
        return el_insertstr(edit, text.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
    }
    std::printf("\n");
    for (const std::string& name : found) std::printf("%s  ", name.c_str());
    std::printf("\n");
    std::fflush(stdout);
    return CC_REDISPLAY;
}

LineEditor::LineEditor(std::string historyFile, std::function<std::vector<std::string>()> names)
    : state_(new State) {
    std::setlocale(LC_CTYPE, "");
    state_->historyFile = std::move(historyFile);
    state_->names = std::move(names);
    state_->edit = el_init("wsql", stdin, stdout, stderr);
    state_->history = history_init();
    HistEvent event;
    history(state_->history, &event, H_SETSIZE, kHistorySize);
    history(state_->history, &event, H_SETUNIQUE, 1);
    if (!state_->historyFile.empty()) history(state_->history, &event, H_LOAD, state_->historyFile.c_str());
    EditLine* edit = state_->edit;
    if (edit == nullptr) return;
    el_set(edit, EL_CLIENTDATA, state_.get());
    el_set(edit, EL_PROMPT, &State::showPrompt);
    el_set(edit, EL_EDITOR, "emacs");
    el_set(edit, EL_HIST, history, state_->history);
    el_set(edit, EL_ADDFN, "wsql-complete", "complete a name", &State::complete);
    el_set(edit, EL_BIND, "^I", "wsql-complete", nullptr);
    el_source(edit, nullptr);
}

LineEditor::~LineEditor() {
    HistEvent event;
    if (!state_->historyFile.empty()) history(state_->history, &event, H_SAVE, state_->historyFile.c_str());
    if (state_->edit != nullptr) el_end(state_->edit);
    history_end(state_->history);
}

LineEditor::Outcome LineEditor::read(const std::string& prompt, std::string& line) {
    if (state_->edit == nullptr) return Outcome::end;
    state_->prompt = prompt;
    const InterruptEndsReading guard;
    int count = 0;
    errno = 0;
    const char* text = el_gets(state_->edit, &count);
    if (text == nullptr || count <= 0) {
        if (count != 0 && errno == EINTR) {
            std::printf("\n");
            el_reset(state_->edit);
            return Outcome::interrupted;
        }
        return Outcome::end;
    }
    line.assign(text, static_cast<std::size_t>(count));
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
    return Outcome::line;
}

void LineEditor::remember(const std::string& entry) {
    HistEvent event;
    history(state_->history, &event, H_ENTER, entry.c_str());
}

std::string historyPath() {
    const char* state = std::getenv("XDG_STATE_HOME");
    const char* home = std::getenv("HOME");
    if ((state == nullptr || *state == 0) && (home == nullptr || *home == 0)) return {};
    const std::string directory =
        (state != nullptr && *state != 0 ? std::string(state) : std::string(home) + "/.local/state") +
        "/wsql";
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    return error ? std::string() : directory + "/history";
}

}  // namespace host
