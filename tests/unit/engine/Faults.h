// Fault documents as one line each.
#pragma once

#include <string>

#include "tests/unit/engine/Database.h"

/// "code source context text" of a Fault document, as far as it is one.
inline std::string faultOf(const Answer& answer) {
    std::size_t at = 0;
    std::string line = between(answer.document, "faultCode=\"", "\"", at);
    line += " " + between(answer.document, "faultSource=\"", "\"", at);
    line += " " + between(answer.document, "faultContext=\"", "\"", at);
    return line + " " + between(answer.document, ">", "</Fault>", at);
}

/// The kernel's text for a status.
inline std::string kernelText(std::int32_t status) {
    char text[256] = "";
    std::int32_t length = sizeof text;
    EXPECT_EQ(WdbMessage(status, text, &length), WDB_OK) << status;
    return text;
}
