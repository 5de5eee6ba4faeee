// The message-file language, as far as Ostrel's message module uses it:
// MessageIdTypedef, SeverityNames, FacilityNames, LanguageNames, and message
// blocks of MessageId, Severity, Facility, SymbolicName and Language followed
// by text lines ended by a line holding a single '.'.
#pragma once
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace mc {

struct Message {
    uint32_t id = 0;           // the full 32-bit number: severity, facility, code
    std::string symbol;        // SymbolicName, may be empty
    std::string text;          // lines joined with "\r\n", each line ended by it
};

struct MessageFile {
    std::string idTypedef;     // MessageIdTypedef, may be empty
    std::vector<Message> messages;  // in file order
};

// A syntax or meaning error, with the line it was found on.
struct ParseError : std::runtime_error {
    ParseError(int line, const std::string& what)
        : std::runtime_error("line " + std::to_string(line) + ": " + what) {}
};

MessageFile ParseMessageFile(const std::string& content);

}  // namespace mc
