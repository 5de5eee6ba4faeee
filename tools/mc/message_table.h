// Output forms of a parsed message file.
#pragma once
#include <string>
#include <vector>

#include "message_file.h"

namespace mc {

// The platform's binary message-table resource: a count of blocks, the blocks
// of consecutive numbers {low, high, offset of their entries}, then entries
// {length, flags, text} with ANSI text padded to four bytes.
std::vector<unsigned char> BuildMessageTable(const MessageFile& file);

// A header defining each symbolic name as its number.
std::string HeaderText(const MessageFile& file, const std::string& guard);

// A C++ source that defines the module's resource table holding the message
// table as resource MESSAGETABLE 1.
std::string ResourceSourceText(const std::vector<unsigned char>& table);

}  // namespace mc
