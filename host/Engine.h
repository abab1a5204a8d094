#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

namespace host {

class StepTree;

// What the engine left behind for one statement. The document is the engine's bytes, unchanged.
struct RawAnswer {
    struct Release {
        void operator()(char* memory) const { std::free(memory); }
    };
    std::int32_t status = 0;
    std::string message;
    std::unique_ptr<char, Release> document;
    std::size_t length = 0;

    bool succeeded() const { return (status & 1) != 0; }
    std::string_view text() const { return {document.get(), length}; }
};

// Runs one statement in the session bound to this thread. The steps of its commands are added to `steps` when
// there is one; memory that runs out meanwhile costs steps, not the answer.
RawAnswer execute(std::string_view statement, StepTree* steps = nullptr);

}  // namespace host
