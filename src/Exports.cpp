// The five functions that the library exports. Nothing but a status leaves them.
#include "include/sqlengine.h"
#include "src/WSQLFilter.h"

namespace {

// One filter, one operation. A record that cannot even be given a filter keeps its output and says so by
// status and message.
std::int32_t run(FilterData* data, std::int32_t (wsql::WSQLFilter::*operation)(),
                 const char* context) noexcept {
    try {
        wsql::WSQLFilter filter(data);
        try {
            return (filter.*operation)();
        } catch (...) {
            return filter.AnswerException(context);
        }
    } catch (...) {
        return wsql::WSQLFilter::AnswerWithoutDocument(data);
    }
}

}  // namespace

extern "C" {

std::int32_t execsql(FilterData* data, void* /*reserved*/) {
    return run(data, &wsql::WSQLFilter::execSql, "WSQLFilter::execSql");
}

std::int32_t sqlgetencoding(FilterData* data, void* /*reserved*/) {
    return run(data, &wsql::WSQLFilter::getEncoding, "WSQLFilter::getEncoding");
}

std::int32_t sqlgetobject(FilterData* data, void* /*reserved*/) {
    return run(data, &wsql::WSQLFilter::getObject, "WSQLFilter::getObject");
}

std::int32_t sqlsetobject(FilterData* data, void* /*reserved*/) {
    return run(data, &wsql::WSQLFilter::setObject, "WSQLFilter::setObject");
}

std::int32_t sqlgettabledesc(FilterData* data, void* /*reserved*/) {
    return run(data, &wsql::WSQLFilter::getTableDesc, "WSQLFilter::getTableDesc");
}

}  // extern "C"
