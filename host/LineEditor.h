#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace host {

// Lines from a terminal, with editing, a history that outlives the program, and completion by the tabulator
// key.
class LineEditor {
public:
    // `names` gives the tables and columns that can be completed; it is asked at each use. `historyFile` may
    // be empty.
    LineEditor(std::string historyFile, std::function<std::vector<std::string>()> names);
    ~LineEditor();
    LineEditor(const LineEditor&) = delete;
    LineEditor& operator=(const LineEditor&) = delete;

    enum class Outcome { line, interrupted, end };
    // A line without its line end, behind the prompt.
    Outcome read(const std::string& prompt, std::string& line);
    // Puts a whole statement or command into the history.
    void remember(const std::string& entry);

private:
    struct State;
    std::unique_ptr<State> state_;
};

// $XDG_STATE_HOME/wsql/history, or ~/.local/state/wsql/history; its directory is made. Empty when there is no
// home.
std::string historyPath();

}  // namespace host
