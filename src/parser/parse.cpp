#include "src/parser/parse.h"

#include "src/parser/Scanner.h"
#include "src/parser/TreeBuilder.h"
#include "wsql.tab.h"

namespace wsql {

int parseStatement(ParseContext& context, const char* text, std::unique_ptr<WSQLStatement>& statement) {
    statement.reset();
    TreeBuilder builder(context);
    try {
        const Scanner scanner(context, text);
        const int result = wsqlparse(scanner.handle(), builder);
        if (result == ParseResult::kSuccess) statement = builder.takeStatement();
        return result;
    } catch (const ScannerFailure& failure) {
        builder.error(failure.what());
        return ParseResult::kError;
    }
}

}  // namespace wsql
